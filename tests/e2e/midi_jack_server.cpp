#include "midi_jack_server.h"

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <initializer_list>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace marvo::e2e {

namespace {

bool mayPlayInRealTime() {
    const int policy = sched_getscheduler(0);
    sched_param parameters{};
    sched_getparam(0, &parameters);
    sched_param wanted{};
    wanted.sched_priority = 10;
    if (sched_setscheduler(0, SCHED_FIFO, &wanted) != 0) return false;
    sched_setscheduler(0, policy, &parameters);
    return true;
}

} // namespace

JackServer::JackServer() {
    setenv("JACK_DEFAULT_SERVER", "marvo-e2e", 1);
    setenv("JACK_NO_AUDIO_RESERVATION", "1", 1);
    setenv("JACK_NO_START_SERVER", "1", 1);
}

JackServer::~JackServer() {
    if (pid_ != 0) stop(SIGTERM);
}

void JackServer::start() {
    const char* const real = mayPlayInRealTime() ? "-R" : "-r";
    pid_ = fork();
    if (pid_ != 0) return;
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    const int nowhere = open("/dev/null", O_RDWR);
    for (const int descriptor : {0, 1, 2}) dup2(nowhere, descriptor);
    execlp("jackd", "jackd", "--name", "marvo-e2e", real, "-S", "-d", "dummy", "-r", "48000", "-p", "256",
           "-C", "1", "-P", "1", nullptr);
    _exit(127);
}

void JackServer::stop(int signal) {
    kill(pid_, SIGCONT);
    kill(pid_, signal);
    waitpid(pid_, nullptr, 0);
    pid_ = 0;
}

void JackServer::freeze() const {
    kill(pid_, SIGSTOP);
}

void JackServer::thaw() const {
    kill(pid_, SIGCONT);
}

} // namespace marvo::e2e
