// Whole projects, from any bytes.
#include "ProjectRules.h"

#include <cstdlib>
#include <iostream>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string error = marvo::testing::playAnyProject(data, size);
    if (error.empty()) return 0;
    std::cerr << "what was saved cannot be loaded: " << error << '\n';
    std::abort();
}
