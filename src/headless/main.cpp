#include "headless/CheckCommand.h"
#include "headless/CommandLine.h"
#include "headless/RunCommand.h"
#include "headless/TraceCommand.h"

#include <cstdio>
#include <variant>

int main(int argc, char** argv) {
    using namespace marvo;
    const CommandLine line = parseCommandLine(argc, argv);
    if (!line.output.empty()) std::fputs(line.output.c_str(), line.status == 0 ? stdout : stderr);
    if (const auto* run = std::get_if<RunOptions>(&line.command)) return runShow(*run);
    if (const auto* trace = std::get_if<TraceOptions>(&line.command)) return runTrace(*trace);
    if (const auto* check = std::get_if<CheckOptions>(&line.command)) return runCheck(*check);
    return line.status;
}
