#include "platform/DatagramIntake.h"

namespace marvo {

DatagramIntake::DatagramIntake() : space_(std::make_unique_for_overwrite<std::byte[]>(most * stride)) {
    for (std::size_t i = 0; i < most; ++i) {
        parts_[i] = {space_.get() + i * stride, largest};
        headers_[i].msg_hdr.msg_iov = &parts_[i];
        headers_[i].msg_hdr.msg_iovlen = 1;
    }
}

std::span<const std::span<const std::byte>> DatagramIntake::take(const UdpSocket& socket) {
    const int got = ::recvmmsg(socket.descriptor(), headers_.data(), most, MSG_DONTWAIT, nullptr);
    const auto count = static_cast<std::size_t>(got > 0 ? got : 0);
    for (std::size_t i = 0; i < count; ++i)
        taken_[i] = {space_.get() + i * stride, static_cast<std::size_t>(headers_[i].msg_len)};
    return {taken_.data(), count};
}

} // namespace marvo
