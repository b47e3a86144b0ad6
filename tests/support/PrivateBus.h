// A message bus of the test's own, with services that the test scripts.
#pragma once

#include <atomic>
#include <dbus/dbus.h>
#include <functional>
#include <string>
#include <sys/types.h>
#include <thread>

namespace marvo {

// Starts a bus daemon on a socket in a fresh folder and names it in the environment variable that stands for
// the bus, until it is destroyed. Make it before the test starts threads that read the environment.
class PrivateBus {
public:
    explicit PrivateBus(const char* variable); // for instance "DBUS_SYSTEM_BUS_ADDRESS"
    ~PrivateBus();
    PrivateBus(const PrivateBus&) = delete;
    PrivateBus& operator=(const PrivateBus&) = delete;

    bool isUp() const { return daemon_ > 0; }
    const std::string& address() const { return address_; }

    // Stops the daemon from answering anything, as a bus that hangs; it goes on when this object is
    // destroyed.
    void freeze();

private:
    std::string variable_;
    std::string folder_;
    std::string address_;
    pid_t daemon_ = -1;
};

// Answers the calls to one bus name on a thread of its own. The handler makes the reply, or returns null to
// leave the caller without one.
class ScriptedService {
public:
    using Handler = std::function<DBusMessage*(DBusMessage* call)>;

    ScriptedService(const PrivateBus& bus, const char* name, Handler handler);
    ~ScriptedService();
    ScriptedService(const ScriptedService&) = delete;
    ScriptedService& operator=(const ScriptedService&) = delete;

    bool isUp() const { return connection_ != nullptr; }

private:
    void serve();

    DBusConnection* connection_ = nullptr;
    Handler handler_;
    std::atomic<bool> stop_{false};
    std::thread thread_;
};

// Names an address for the time of a test; an empty address takes the variable away.
class EnvironmentValue {
public:
    EnvironmentValue(const char* name, const std::string& value);
    ~EnvironmentValue();
    EnvironmentValue(const EnvironmentValue&) = delete;
    EnvironmentValue& operator=(const EnvironmentValue&) = delete;

private:
    const std::string name_;
    std::string before_;
    bool wasSet_ = false;
};

} // namespace marvo
