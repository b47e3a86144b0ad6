"""The scripts of the project, with stand-ins for what they call."""

import os
import signal
import stat
import subprocess
import sys
import tempfile
import time
import unittest

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))


class ScriptCase(unittest.TestCase):
    """A folder of stand-in commands that stands first in PATH."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name
        self.log = os.path.join(self.folder, "log")
        self.environment = dict(os.environ, PATH=self.folder + ":" + os.environ["PATH"], LOG=self.log, LC_ALL="C")

    def command(self, name, body):
        path = os.path.join(self.folder, name)
        with open(path, "w", encoding="utf-8") as stream:
            stream.write("#!/bin/bash\n" + body + "\n")
        os.chmod(path, os.stat(path).st_mode | stat.S_IXUSR | stat.S_IXGRP | stat.S_IXOTH)
        return path

    def logged(self):
        if not os.path.exists(self.log):
            return []
        with open(self.log, encoding="utf-8") as stream:
            return stream.read().splitlines()

    def script(self, *words, **more):
        return subprocess.run(["bash", *words], cwd=ROOT, env=dict(self.environment, **more), capture_output=True,
                              text=True, stdin=subprocess.DEVNULL, timeout=60, check=False)


class Installation(ScriptCase):
    """Packages are files of a folder: present when installed, and known to the lists when named in them."""

    def setUp(self):
        super().setUp()
        self.installed = os.path.join(self.folder, "installed")
        self.lists = os.path.join(self.folder, "lists")
        os.mkdir(self.installed)
        self.know("")
        self.command("dpkg-query", 'for name; do :; done; [ -e "%s/$name" ] && echo "ii "' % self.installed)
        self.command("apt-cache", 'for name; do :; done; grep -qxF "$name" "%s" && echo "Package: $name"' % self.lists)
        self.command("apt-get", """
            echo "apt-get $*" >>"$LOG"
            seen=no
            for word; do
                if [ "$seen" = yes ]; then
                    case $word in -*) ;; *) grep -qxF "$word" "%s" || exit 100; touch "%s/$word" ;; esac
                fi
                case $word in install) seen=yes ;; update) [ -z "$NEW_LISTS" ] || echo "$NEW_LISTS" >"%s" ;; esac
            done""" % (self.lists, self.installed, self.lists))
        self.command("sudo", 'echo "sudo $*" >>"$LOG"; [ -n "$NO_SUDO" ] && exit 1; while case $1 in -*) ;; *) false ;; esac; do shift; done; exec "$@"')
        self.be("root")

    def be(self, user):
        self.command("id", "echo %d" % (0 if user == "root" else 1000))

    def know(self, names):
        with open(self.lists, "w", encoding="utf-8") as stream:
            stream.write(names.replace(" ", "\n") + "\n")

    def have(self, names):
        for name in names.split():
            with open(os.path.join(self.installed, name), "w", encoding="utf-8"):
                pass

    def installs(self):
        return [line.split("--no-install-recommends ")[1].split() for line in self.logged()
                if line.startswith("apt-get") and " install " in line]

    BUILD = ("g++ cmake ninja-build pkg-config libexpat1-dev libicu-dev libspdlog-dev libfmt-dev libdbus-1-dev "
             "libasound2-dev libjack-jackd2-dev qt6-base-dev fonts-dejavu-core")

    def testAsksNobodyWhenNothingIsMissing(self):
        self.have(self.BUILD + " ccache mold qt6-wayland")
        self.be("somebody")
        done = self.script("scripts/install.sh", "build", NO_SUDO="1")
        self.assertEqual((done.returncode, done.stdout, self.logged()), (0, "", []))

    def testInstallsOnlyWhatIsMissing(self):
        self.have(self.BUILD.replace("cmake ", "") + " ccache")
        self.know("cmake mold g++")
        done = self.script("scripts/install.sh", "build")
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertEqual(done.stdout, "Installing cmake mold\n")
        self.assertEqual(self.installs(), [["cmake", "mold"]])
        self.assertFalse(any("sudo" in line for line in self.logged()))

    def testWaitsForAnotherInstallationAndAsksNoQuestions(self):
        self.command("apt-get", 'echo "$DEBIAN_FRONTEND $*" >>"$LOG"')
        self.know(self.BUILD)
        self.script("scripts/install.sh", "build")
        self.assertTrue(self.logged()[0].startswith("noninteractive -o DPkg::Lock::Timeout=300 -y -qq install"))

    def testDoesWithoutAConvenienceTheDistributionLacks(self):
        self.know(self.BUILD + " ccache")
        done = self.script("scripts/install.sh", "build")
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertNotIn("mold", self.installs()[0])

    def testTakesTheNameThisDistributionKnows(self):
        self.know("rtkit dbus policykit-1")
        self.assertEqual(self.script("scripts/install.sh", "run").returncode, 0)
        self.assertEqual(self.installs(), [["dbus", "policykit-1", "rtkit"]])
        # Either name of a pair will do.
        self.assertEqual(self.script("scripts/install.sh", "run").stdout, "")

    def testRenewsTheListsOnceWhenTheyDoNotNameAPackage(self):
        done = self.script("scripts/install.sh", "run", NEW_LISTS="rtkit\ndbus-daemon\npolkitd")
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertEqual(sum(" update" in line for line in self.logged()), 1)
        self.assertEqual(self.installs(), [["dbus-daemon", "polkitd", "rtkit"]])

    def testGoesThroughSudoForAnOrdinaryUser(self):
        self.be("somebody")
        self.know("rtkit dbus-daemon polkitd")
        self.assertEqual(self.script("scripts/install.sh", "run").returncode, 0)
        self.assertTrue(any(line.startswith("sudo env DEBIAN_FRONTEND=noninteractive") for line in self.logged()))

    def testNamesPackagesAndCommandWhereNobodyMayInstall(self):
        self.be("somebody")
        self.know("rtkit dbus-daemon polkitd")
        done = self.script("scripts/install.sh", "run", NO_SUDO="1")
        self.assertEqual((done.returncode, len(done.stderr.splitlines()), self.installs()), (1, 1, []))
        self.assertIn("apt-get install -y --no-install-recommends dbus-daemon polkitd rtkit", done.stderr)

    def testSaysWhichPackagesCouldNotBeHad(self):
        self.know("rtkit dbus-daemon")
        done = self.script("scripts/install.sh", "run")
        self.assertEqual(done.returncode, 1)
        self.assertIn("could not be installed: dbus-daemon polkitd rtkit", done.stderr)

    def testRefusesAGroupThatDoesNotExist(self):
        self.assertEqual(self.script("scripts/install.sh", "biuld").returncode, 2)
        self.assertEqual(self.script("scripts/install.sh").returncode, 2)


class Start(ScriptCase):
    def setUp(self):
        super().setUp()
        self.may_be_realtime(False)
        self.services = os.path.join(self.folder, "services")
        os.mkdir(self.services)
        self.environment.update(MARVO_BUS_SERVICES=self.services, MARVO_SYSTEM_BUS=os.path.join(self.folder, "bus"))
        self.environment.pop("DBUS_SYSTEM_BUS_ADDRESS", None)
        # Refuses with 3 unless told to do its best, as the program does.
        self.program = self.command("player", """
            echo "$*" >>"$LOG"
            case " $* " in *" --best-effort "*) exit ${BEST:-0} ;; *) exit ${STRICT:-0} ;; esac""")

    def may_be_realtime(self, granted):
        self.command("chrt", "exit %d" % (0 if granted else 1))

    def offer_realtimekit(self):
        with open(os.path.join(self.services, "org.freedesktop.RealtimeKit1.service"), "w", encoding="utf-8"):
            pass
        self.environment["DBUS_SYSTEM_BUS_ADDRESS"] = "unix:path=" + os.path.join(self.folder, "bus")

    def start(self, *words, **more):
        return self.script("scripts/start.sh", self.program, "run", *words, **more)

    def testLeavesTheProgramAloneWhereTheRightIsGranted(self):
        self.may_be_realtime(True)
        done = self.start("demo.mrv", "--for", "3")
        self.assertEqual((done.returncode, done.stdout, self.logged()), (0, "", ["run demo.mrv --for 3"]))

    def testLeavesTheAskingToTheProgramWhereRealtimeKitRuns(self):
        self.offer_realtimekit()
        self.assertEqual((self.start("a").returncode, self.logged()), (0, ["run a"]))

    def testPlaysWithoutTheRightAndSaysSoInOneLine(self):
        done = self.start("a")
        self.assertEqual((done.returncode, self.logged()), (0, ["run a --best-effort"]))
        self.assertEqual(len(done.stdout.splitlines()), 1)

    def testStartsAgainWhenTheProgramIsRefused(self):
        self.may_be_realtime(True)
        done = self.start("a", STRICT="3")
        self.assertEqual((done.returncode, self.logged()), (0, ["run a", "run a --best-effort"]))
        self.assertEqual(len(done.stdout.splitlines()), 1)

    def testHandsOnOtherEndings(self):
        self.may_be_realtime(True)
        self.assertEqual((self.start("a", STRICT="1").returncode, len(self.logged())), (1, 1))
        self.assertEqual(self.start("a", STRICT="2").returncode, 2)

    def testDoesNotAddWhatTheCallerSaid(self):
        done = self.start("a", "--best-effort", BEST="3")
        self.assertEqual((done.returncode, done.stdout, self.logged()), (3, "", ["run a --best-effort"]))

    def ending(self, signal_number, listens, group):
        """The status after a player that may listen to that signal was sent it, by itself or with its group."""
        # One that goes to the group comes twice, the second time in the middle of the end; held back, neither can
        # come between two lines of the player. What was sent before the script knew its child arrives as SIGTERM.
        program = self.command("player", """exec %s -c "
import os, signal, sys
log = os.open(os.environ['LOG'], os.O_WRONLY | os.O_CREAT | os.O_APPEND, 0o600)
ends = [signal.SIGINT, signal.SIGTERM]
for end in ends: signal.signal(end, signal.SIG_DFL)
heard = ends if %s else []
signal.pthread_sigmask(signal.SIG_BLOCK, heard)
os.write(log, b'ready\\n')
if not signal.sigtimedwait(heard, 30): sys.exit(9)
os.write(log, b'ended\\n')" """ % (sys.executable, listens))
        if os.path.exists(self.log):
            os.remove(self.log)
        running = subprocess.Popen(["bash", "scripts/start.sh", program, "run"], cwd=ROOT, env=self.environment,
                                   stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                                   stderr=subprocess.DEVNULL, start_new_session=True)
        try:
            for _ in range(1000):
                if "ready" in self.logged():
                    break
                time.sleep(0.01)
            if group:
                os.killpg(running.pid, signal_number)
            else:
                os.kill(running.pid, signal_number)
            return running.wait(timeout=10)
        finally:
            if running.poll() is None:
                os.killpg(running.pid, signal.SIGKILL)

    def testEndsCleanlyWithCtrlC(self):
        self.assertEqual(self.ending(signal.SIGINT, listens=True, group=True), 0)
        self.assertIn("ended", self.logged())

    def testHandsASignalToTheProgram(self):
        for number in (signal.SIGTERM, signal.SIGINT):
            self.assertEqual(self.ending(number, listens=True, group=False), 0)
            self.assertIn("ended", self.logged())

    def testCountsAnEndAskedForAsCleanBeforeTheProgramListens(self):
        for number in (signal.SIGTERM, signal.SIGINT):
            self.assertEqual(self.ending(number, listens=False, group=False), 0)


class RealtimeTests(ScriptCase):
    def setUp(self):
        super().setUp()
        self.command("seen", 'echo "seen $* with $CARRIED" >>"$LOG"; exit 7')
        self.environment["CARRIED"] = "two words"
        self.command("setpriv", 'echo "setpriv $*" >>"$LOG"; while case $1 in --reuid|--regid|--*-caps) shift 2 ;; --*) shift ;; '
                     '*) false ;; esac; do :; done; LIFTED=1 exec "$@"')
        self.command("chrt", '[ -n "$LIFTED" ]')
        self.command("sudo", 'while case $1 in -*) ;; *) false ;; esac; do shift; done; exec "$@"')

    def run_seen(self):
        done = self.script("scripts/with-realtime.sh", "seen", "a b")
        self.assertEqual(done.returncode, 7, done.stderr)
        return done

    def testRunAsTheyAreForAUserWhoHasTheRight(self):
        self.command("chrt", "exit 0")
        self.assertEqual((self.run_seen().stdout, self.logged()), ("", ["seen a b with two words"]))

    def testGetTheOneRightThroughSudo(self):
        self.assertEqual(self.run_seen().stdout, "")
        self.assertIn("--reuid %d" % os.getuid(), self.logged()[-2])
        self.assertIn("--ambient-caps +sys_nice", self.logged()[-2])
        self.assertEqual(self.logged()[-1], "seen a b with two words")

    def testSayInOneLineWhyTheyWillFail(self):
        self.command("sudo", "exit 1")
        done = self.run_seen()
        self.assertEqual(len(done.stdout.splitlines()), 1)
        self.assertEqual(self.logged(), ["seen a b with two words"])


class Jobs(ScriptCase):
    def jobs(self, text, *names):
        path = self.command("ci", "source %s/scripts/jobs.sh\n%s\n" % (ROOT, text) +
                            'if [ "${1:-}" = --job ]; then run_one_job "$2"; exit; fi\nrun_jobs "$0" "$@"')
        return self.script(path, *names)

    def testRunsEachAndTellsItsTime(self):
        done = self.jobs("job_a() { echo A; }; job_b() { echo B; }", "a", "b")
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertRegex(done.stdout, r"(?s)=== a\nA\n.*=== b\nB\n.*a +\d+ s  passed\nb +\d+ s  passed\naltogether")

    def testNamesAJobThatFailsAndGoesOn(self):
        done = self.jobs("job_a() { false; echo A; }; job_b() { echo B; }", "a", "b")
        self.assertEqual(done.returncode, 1)
        self.assertIn("Failed: a\n", done.stderr)
        self.assertIn("B\n", done.stdout)
        self.assertNotIn("A\n", done.stdout)

    def testShowsTheTestsThatFailedOnceMoreAtTheEnd(self):
        done = self.jobs("""job_a() {
            printf '%s\\n' '      Start  1: early' '  1/3 Test #1: early ...   Passed  0.1 sec' \\
                '  2/3 Test #2: broken ...***Failed  0.1 sec' 'two is not three' '      Start  3: late' \\
                'chatter' '  3/3 Test #3: late ...   Passed  0.1 sec'
            false
        }; job_b() { echo B; }""", "a", "b")
        end = done.stdout[done.stdout.index("=== b: passed"):]
        self.assertRegex(end, r"(?s)=== what failed of a\n +2/3 Test #2: broken .*\ntwo is not three\n\njob")
        self.assertNotIn("early", end)

    def testShowsTheEndOfAJobWithoutTestsThatFailed(self):
        done = self.jobs("job_a() { echo 'no such file'; false; }; job_b() { echo B; }", "a", "b")
        self.assertIn("no such file", done.stdout[done.stdout.index("=== b: passed"):])

    def testRunsOneMoreWhereAnyHasFailed(self):
        text = "job_a() { %s; }; job_b() { echo B; }; job_z() { echo Z; }; job_after_failure=z"
        done = self.jobs(text % "false", "a", "b")
        self.assertRegex(done.stdout, r"(?s)\nB\n.*=== z\nZ\n.*=== what failed of a\n.*\nz +\d+ s  passed\n")
        self.assertEqual((done.returncode, done.stderr), (1, "Failed: a\n"))
        self.assertNotIn("z", self.jobs(text % ":", "a", "b").stdout)

    def testWaitsForNobodyWhomAJobLeftBehind(self):
        begin = time.monotonic()
        done = self.jobs("job_a() { setsid sleep 20 & echo A; }", "a")
        self.assertEqual(done.returncode, 0)
        self.assertLess(time.monotonic() - begin, 15)

    def testEndsAJobThatTakesTooLong(self):
        done = self.jobs("job_a() { sleep 50; }; job_limit=([a]=1)", "a")
        self.assertEqual(done.returncode, 1)
        self.assertRegex(done.stdout, r"a +\d+ s  out of time")

    def testKeepsAllJobsTogetherWithinTheirBound(self):
        done = self.jobs("job_a() { sleep 50; }; job_limit=([a]=100); total_limit=1", "a")
        self.assertRegex(done.stdout, r"a +\d+ s  out of time")

    def testRefusesAJobThatDoesNotExist(self):
        self.assertEqual(self.jobs("job_a() { :; }", "b").returncode, 2)


class Fuzzing(ScriptCase):
    """The script looks for seeds in the tree, so it is copied into one of its own."""

    def fuzz(self, body, seeds=True, **more):
        for path in ("scripts", "build/fuzz", "fuzz/corpus/words"):
            os.makedirs(os.path.join(self.folder, path))
        with open(os.path.join(ROOT, "scripts/fuzz.sh"), encoding="utf-8") as stream:
            script = stream.read()
        with open(os.path.join(self.folder, "scripts/fuzz.sh"), "w", encoding="utf-8") as stream:
            stream.write(script)
        os.chmod(os.path.join(self.folder, "scripts/fuzz.sh"), 0o755)
        if seeds:
            self.command("fuzz/corpus/words/one", "")
        if body is not None:
            self.command("build/fuzz/words_fuzz", body)
        return self.script(os.path.join(self.folder, "scripts/fuzz.sh"), "build/fuzz", "1", **more)

    def testRunsATargetOverItsSeeds(self):
        done = self.fuzz('echo "$*" >>"$LOG"; echo stat::number_of_executed_units: 12')
        self.assertEqual((done.returncode, done.stdout), (0, "words: 12 runs, nothing found\n"), done.stderr)
        self.assertTrue(self.logged()[0].endswith("build/fuzz/found/words fuzz/corpus/words"))

    def testGoesTheWayThatItIsTold(self):
        self.fuzz('echo "$*" >>"$LOG"', MARVO_FUZZ_SEED="4711")
        self.assertIn("-seed=4711 ", self.logged()[0])

    def testNamesATargetThatFails(self):
        done = self.fuzz("echo heap-buffer-overflow; exit 77")
        self.assertNotEqual(done.returncode, 0)
        self.assertIn("heap-buffer-overflow", done.stderr)
        self.assertIn("words: failed", done.stderr)

    def testRefusesATargetWithoutSeeds(self):
        self.assertNotEqual(self.fuzz("", seeds=False).returncode, 0)

    def testRefusesABuildWithoutTargets(self):
        self.assertEqual(self.fuzz(None).returncode, 1)


if __name__ == "__main__":
    unittest.main()
