// The message bus of the system or the session, as far as this program asks it for something.
#pragma once

#include "platform/Clock.h"

#include <cstdint>
#include <memory>
#include <string>
#include <variant>
#include <vector>

struct DBusConnection;

namespace marvo {

enum class BusKind { system, session };

using BusArgument = std::variant<std::string, std::uint32_t, std::uint64_t>;

// A descriptor in a reply belongs to whoever takes the reply.
struct BusDescriptor {
    int descriptor = -1;
};
using BusValue = std::variant<std::string, std::uint32_t, std::uint64_t, std::int64_t, BusDescriptor>;

struct BusReply {
    bool succeeded = false;
    std::string error;            // the service's or the bus's own words
    std::string errorName;        // the machine's, for instance "org.freedesktop.DBus.Error.UnknownMethod"
    std::vector<BusValue> values; // variants unpacked, 32-bit signed widened; other types are left out
};

struct BusCall {
    std::string service, path, interface, method;
    std::vector<BusArgument> arguments;
};

// A private connection, closed with this object. One thread at a time. Every wait is bounded by the time-out
// of the call. No bus is ever started: a session without one has none.
class BusConnection {
public:
    // Null, with the reason in `error`, when there is no bus or it does not answer.
    static std::unique_ptr<BusConnection> open(BusKind kind, Duration timeout, std::string& error);
    ~BusConnection();
    BusConnection(const BusConnection&) = delete;
    BusConnection& operator=(const BusConnection&) = delete;

    BusReply call(const BusCall& request, Duration timeout);

private:
    explicit BusConnection(DBusConnection* connection) : connection_(connection) {}

    DBusConnection* connection_;
};

} // namespace marvo
