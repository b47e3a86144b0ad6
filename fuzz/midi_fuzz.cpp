// Any bytes as what comes over a MIDI wire.
#include "MIDIStreamRules.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string broken = marvo::MIDIStreamRules::broken({data, size});
    if (broken.empty()) return 0;
    std::fprintf(stderr, "%s\n", broken.c_str());
    std::abort();
}
