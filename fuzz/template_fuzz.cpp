// Any bytes as a template with names and input: the compiled form must send what the slow reading sends.
#include "OSCTemplateOracle.h"

#include <cstdint>
#include <cstdlib>
#include <iostream>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto made = marvo::testing::TemplateCase::fromBytes(data, size);
    const auto expected = made.expected();
    const auto compiled = made.compiled();
    if (!(compiled == expected)) {
        std::cerr << "address:  " << made.address << "\nexpected: " << expected << "\ncompiled: " << compiled
                  << '\n';
        std::abort();
    }
    return 0;
}
