// Any bytes as a packet from the network: what can be read must be written and read back to the same bytes.
#include "endpoints/osc/OSCCodec.h"

#include <cstdint>
#include <cstdlib>
#include <vector>

namespace {

std::vector<std::byte> encoded(const marvo::OSCMessage& message) {
    std::vector<std::byte> space(marvo::encodedSize(message));
    if (marvo::encodeOSC(message, space) != space.size()) std::abort();
    return space;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    marvo::OSCMessage scratch;
    marvo::OSCMessage again;
    marvo::decodeOSC(std::as_bytes(std::span(data, size)), scratch,
                     [&again](const marvo::OSCMessage& message) {
                         const std::vector<std::byte> once = encoded(message);
                         std::size_t count = 0;
                         const auto error = marvo::decodeOSC(once, again, [&](const marvo::OSCMessage& back) {
                             ++count;
                             if (encoded(back) != once) std::abort();
                         });
                         if (error != marvo::OSCDecodeError::none || count != 1) std::abort();
                     });
    return 0;
}
