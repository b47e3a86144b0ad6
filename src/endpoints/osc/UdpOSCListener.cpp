#include "endpoints/osc/UdpOSCListener.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace marvo {

std::unique_ptr<UdpOSCListener> UdpOSCListener::open(const std::string& bindAddress, int port,
                                                     OSCMessageReceiver& receiver) {
    if (port < 1 || port > 65535) return nullptr;
    const auto number = static_cast<std::uint16_t>(port);
    const auto address =
        bindAddress.empty() ? SocketAddress::any(number) : SocketAddress::fromNumeric(bindAddress, number);
    if (!address) return nullptr;
    UdpSocket socket;
    if (socket.open(address->family()) != 0 || socket.bind(*address) != 0) return nullptr;
    return std::unique_ptr<UdpOSCListener>(new UdpOSCListener(std::move(socket), port, receiver));
}

UdpOSCListener::UdpOSCListener(UdpSocket socket, int port, OSCMessageReceiver& receiver)
    : socket_(std::move(socket)), port_(port), intake_(receiver),
      wake_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    // Room for the bursts that remotes send, for about a fifth of a second of a flood. Only an administrator
    // is given more than the system's own limit.
    const int room = 8 << 20;
    if (::setsockopt(socket_.descriptor(), SOL_SOCKET, SO_RCVBUFFORCE, &room, sizeof room) != 0)
        ::setsockopt(socket_.descriptor(), SOL_SOCKET, SO_RCVBUF, &room, sizeof room);
    thread_ = std::thread([this] { run(); });
}

UdpOSCListener::~UdpOSCListener() {
    stopping_.store(true, std::memory_order_release);
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = ::write(wake_, &one, sizeof one);
    thread_.join();
    ::close(wake_);
}

void UdpOSCListener::run() {
    pollfd watched[2] = {{socket_.descriptor(), POLLIN, 0}, {wake_, POLLIN, 0}};
    while (!stopping_.load(std::memory_order_acquire)) {
        if (::poll(watched, 2, -1) < 0) continue;
        while (!stopping_.load(std::memory_order_acquire) && intake_.takeFrom(socket_, stopping_)) {
        }
    }
}

} // namespace marvo
