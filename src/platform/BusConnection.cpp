#include "platform/BusConnection.h"

#include <algorithm>
#include <cstdlib>
#include <dbus/dbus.h>

namespace marvo {

namespace {

class BusError {
public:
    BusError() { dbus_error_init(&error_); }
    ~BusError() { dbus_error_free(&error_); }
    BusError(const BusError&) = delete;
    BusError& operator=(const BusError&) = delete;

    DBusError* get() { return &error_; }
    std::string name() const { return error_.name ? error_.name : ""; }
    std::string text() const { return error_.message ? error_.message : "no answer"; }

private:
    DBusError error_;
};

struct MessageRelease {
    void operator()(DBusMessage* message) const { dbus_message_unref(message); }
};
using Message = std::unique_ptr<DBusMessage, MessageRelease>;

std::string addressOf(BusKind kind) {
    const bool system = kind == BusKind::system;
    if (const char* given = std::getenv(system ? "DBUS_SYSTEM_BUS_ADDRESS" : "DBUS_SESSION_BUS_ADDRESS"))
        return given;
    if (system) return "unix:path=/var/run/dbus/system_bus_socket";
    const char* const runtime = std::getenv("XDG_RUNTIME_DIR");
    return runtime ? "unix:path=" + std::string(runtime) + "/bus" : std::string();
}

int milliseconds(Duration timeout) {
    return static_cast<int>(std::clamp<std::int64_t>(timeout.nanoseconds / 1'000'000, 1, 60'000));
}

// The library's own call-and-wait flushes first, and that has no time-out: it would hang on a bus that hangs.
Message exchange(DBusConnection* connection, DBusMessage* request, Duration timeout) {
    const MonotonicClock clock;
    const MonotonicTime deadline = clock.now() + timeout;
    DBusPendingCall* pending = nullptr;
    if (!dbus_connection_send_with_reply(connection, request, &pending, milliseconds(timeout)) || !pending)
        return nullptr;
    while (!dbus_pending_call_get_completed(pending)) {
        const Duration left = deadline - clock.now();
        if (left <= Duration() || !dbus_connection_read_write_dispatch(connection, milliseconds(left))) break;
    }
    Message answer;
    if (dbus_pending_call_get_completed(pending)) answer.reset(dbus_pending_call_steal_reply(pending));
    dbus_pending_call_cancel(pending);
    dbus_pending_call_unref(pending);
    return answer;
}

void append(DBusMessageIter& target, const BusArgument& argument) {
    if (const auto* text = std::get_if<std::string>(&argument)) {
        const char* const bytes = text->c_str();
        dbus_message_iter_append_basic(&target, DBUS_TYPE_STRING, &bytes);
    } else if (const auto* small = std::get_if<std::uint32_t>(&argument)) {
        dbus_message_iter_append_basic(&target, DBUS_TYPE_UINT32, small);
    } else {
        const dbus_uint64_t large = std::get<std::uint64_t>(argument);
        dbus_message_iter_append_basic(&target, DBUS_TYPE_UINT64, &large);
    }
}

void take(DBusMessageIter* value, std::vector<BusValue>& values) {
    DBusBasicValue basic{};
    switch (dbus_message_iter_get_arg_type(value)) {
    case DBUS_TYPE_VARIANT: {
        DBusMessageIter inner;
        dbus_message_iter_recurse(value, &inner);
        take(&inner, values);
        break;
    }
    case DBUS_TYPE_STRING:
        dbus_message_iter_get_basic(value, &basic);
        values.emplace_back(std::string(basic.str));
        break;
    case DBUS_TYPE_UINT32:
        dbus_message_iter_get_basic(value, &basic);
        values.emplace_back(std::uint32_t{basic.u32});
        break;
    case DBUS_TYPE_UINT64:
        dbus_message_iter_get_basic(value, &basic);
        values.emplace_back(std::uint64_t{basic.u64});
        break;
    case DBUS_TYPE_INT32:
        dbus_message_iter_get_basic(value, &basic);
        values.emplace_back(std::int64_t{basic.i32});
        break;
    case DBUS_TYPE_INT64:
        dbus_message_iter_get_basic(value, &basic);
        values.emplace_back(std::int64_t{basic.i64});
        break;
    case DBUS_TYPE_UNIX_FD:
        dbus_message_iter_get_basic(value, &basic);
        values.emplace_back(BusDescriptor{basic.fd});
        break;
    default:
        break;
    }
}

} // namespace

std::unique_ptr<BusConnection> BusConnection::open(BusKind kind, Duration timeout, std::string& error) {
    const std::string address = addressOf(kind);
    if (address.empty()) {
        error = "there is no session bus";
        return nullptr;
    }
    dbus_threads_init_default();
    BusError failure;
    DBusConnection* const raw = dbus_connection_open_private(address.c_str(), failure.get());
    if (!raw) {
        error = failure.text();
        return nullptr;
    }
    dbus_connection_set_exit_on_disconnect(raw, FALSE);
    std::unique_ptr<BusConnection> connection(new BusConnection(raw));
    // The library's own registration waits 25 s for a bus that hangs, so the greeting is said here.
    const BusReply hello =
        connection->call({DBUS_SERVICE_DBUS, DBUS_PATH_DBUS, DBUS_INTERFACE_DBUS, "Hello", {}}, timeout);
    if (!hello.succeeded || hello.values.empty()) {
        error = hello.succeeded ? "the bus gave no name" : hello.error;
        return nullptr;
    }
    return connection;
}

BusConnection::~BusConnection() {
    dbus_connection_close(connection_);
    dbus_connection_unref(connection_);
}

BusReply BusConnection::call(const BusCall& request, Duration timeout) {
    BusReply reply;
    const Message message(dbus_message_new_method_call(request.service.c_str(), request.path.c_str(),
                                                       request.interface.c_str(), request.method.c_str()));
    if (!message) {
        reply.error = "out of memory";
        return reply;
    }
    DBusMessageIter target;
    dbus_message_iter_init_append(message.get(), &target);
    for (const BusArgument& argument : request.arguments) append(target, argument);
    const Message answer = exchange(connection_, message.get(), timeout);
    if (!answer) {
        reply.error = "no answer";
        return reply;
    }
    BusError failure;
    if (dbus_set_error_from_message(failure.get(), answer.get())) {
        reply.error = failure.text();
        reply.errorName = failure.name();
        return reply;
    }
    reply.succeeded = true;
    DBusMessageIter value;
    if (!dbus_message_iter_init(answer.get(), &value)) return reply;
    do take(&value, reply.values);
    while (dbus_message_iter_next(&value));
    return reply;
}

} // namespace marvo
