// Trace scripts of any bytes: no crash, errors of one line with a place, and events that survive being
// written out.
#include "ScriptRules.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const std::string broken = marvo::testing::brokenScriptRule(text);
    if (broken.empty()) return 0;
    std::fprintf(stderr, "%s\n", broken.c_str());
    std::abort();
}
