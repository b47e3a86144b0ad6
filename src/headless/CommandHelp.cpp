#include "headless/CommandHelp.h"

#include <string>

namespace marvo {
namespace {

// Of whatever plays in real time.
constexpr std::string_view showOptions =
    R"(  --play              press play-all once the project is loaded
  --for SECONDS       end after that long; fractions count
  --bind ADDRESS      listen for OSC on this numeric address only (default: on all)
  --midi WHICH        auto, alsa, jack or none (default: auto, ALSA where it is there, else JACK)
  --audio WHICH       auto or none; this version plays no audio, so both open nothing
  --best-effort       go on without real-time scheduling, with a warning, where none is granted
  --precise           sleep until 200 us before each tick, then watch the clock: ticks come to the
                      microsecond, for about a fifth of one processor
  --stats             on exit, print the number of ticks, how late they woke (p50, p99, p99.9, max),
                      the longest one, and the messages sent
  --pref KEY=VALUE    use this value of a preference for this run; may be given several times
  --config-dir DIR    keep preferences and logs below DIR (default: the XDG base directories)

Real time: without --best-effort the program ends with status 3 where it may not schedule in real
time. Start rtkit, or allow "rtprio 70" and "memlock unlimited" for the user in
/etc/security/limits.conf.
)";

} // namespace

std::string_view generalHelp() {
    return R"(marvo-headless plays Marvo projects on a machine that needs no display.

Usage:
  marvo-headless run [PROJECT.mrv] [options]   play for real: sockets, real time
  marvo-headless trace PROJECT.mrv [options]   rehearse and write down every message
  marvo-headless check PROJECT.mrv             say what is in the file and what had to be repaired
  marvo-headless COMMAND --help                the options of one command
  marvo-headless --version

Exit status:
  0  done
  1  the input is unusable; one line on standard error says which file, where and why
  2  wrong usage
  3  the system grants no real-time scheduling (run only; see run --help)
)";
}

std::string_view runHelp() {
    static const std::string text = std::string(R"(Usage: marvo-headless run [PROJECT.mrv] [options]

Loads the project (or starts an empty one), opens its OSC ports, and plays until it is told to stop:
by SIGINT, by SIGTERM, or by --for. When everything is open it prints one line on standard output:

  ready osc-in=PORT[,PORT] compositions=N

Options:
  --status            show on the terminal what plays and what is wrong (elsewhere: a line a second)
)") + std::string(showOptions) + R"(
Examples:
  marvo-headless run show.mrv --play --status
  marvo-headless run show.mrv --bind 127.0.0.1 --pref rewindOnStop=true --stats
)";
    return text;
}

std::string_view windowHelp() {
    static const std::string text = std::string(R"(Usage: marvo [PROJECT.mrv] [options]
       marvo --version

Opens the window, with the project where one is named. Without a display, or to play a show in the
background, there is marvo-headless.

Options:
)") + std::string(showOptions) + R"(
Options of the toolkit, such as -platform, are taken too.

Examples:
  marvo show.mrv --play
  marvo --best-effort --midi none
)";
    return text;
}

std::string_view traceHelp() {
    return R"(Usage: marvo-headless trace PROJECT.mrv [options]

Rehearses a project faster than real time: nothing is opened, a virtual clock advances by one
millisecond a tick, and every message is written down in order of sending, one JSON object a line.
The same project, options and script give the same bytes on every machine.

Options:
  --play              press play-all once the project is loaded
  --seconds S         virtual length (default: until no composition runs, at most 3600)
  --script FILE       timed input, below
  -o, --output FILE   write there (default: standard output)
  --pref KEY=VALUE    use this value of a preference for this run; may be given several times
  --config-dir DIR    read preferences below DIR (default: none are read, the program's own hold)

A script has one event a line, in any order; it is executed before the tick at its time. Empty
lines and lines that begin with # are skipped.

  TIME_MS osc ADDRESS [i:INT | f:FLOAT | s:STRING | T | F]...
  TIME_MS midi NODE HEXBYTES         a message that arrives from source NODE
  TIME_MS dmx CHANNEL VALUE          a change on the input universe, channel from 1

A text with blanks stands in double quotes, with \" for a quote and \\ for a backslash.

Example: marvo-headless trace show.mrv --script cues.txt --seconds 20 -o show.jsonl
with these lines in cues.txt:

  0 osc /marvo/overture/play i:1
  1500 osc /marvo/triggercompwithname s:"Act 2"
)";
}

std::string_view checkHelp() {
    return R"(Usage: marvo-headless check PROJECT.mrv

Reads a project without opening anything. Prints one line a composition (name, frame rate, length in
frames, tempo, tracks by type, keyframes, cues), then one line for each repair or oddity that
loading met. The status is 0 for every file that is a project, repaired or not, and 1 for any other.
)";
}

} // namespace marvo
