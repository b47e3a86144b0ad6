#include "PrivateBus.h"

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace marvo {

namespace {

void writeConfiguration(const std::string& file, const std::string& address) {
    std::ofstream(file) << R"(<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <listen>)" << address << R"(</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
    <allow user="*"/>
  </policy>
</busconfig>
)";
}

} // namespace

PrivateBus::PrivateBus(const char* variable) : variable_(variable) {
    char folder[] = "/tmp/marvo-bus-XXXXXX";
    if (!mkdtemp(folder)) return;
    folder_ = folder;
    address_ = "unix:path=" + folder_ + "/socket";
    const std::string configuration = folder_ + "/bus.conf";
    writeConfiguration(configuration, address_);
    int ready[2];
    if (pipe(ready) != 0) return;
    const std::string option = "--config-file=" + configuration;
    const std::string announce = "--print-address=" + std::to_string(ready[1]);
    daemon_ = fork();
    if (daemon_ == 0) {
        close(ready[0]);
        prctl(PR_SET_PDEATHSIG, SIGKILL); // a test that crashes leaves nothing behind
        // It complains about limits that do not matter here, and must not hold the test's output open.
        const int quiet = open("/dev/null", O_WRONLY);
        if (quiet >= 0) {
            dup2(quiet, STDOUT_FILENO);
            dup2(quiet, STDERR_FILENO);
        }
        execlp("dbus-daemon", "dbus-daemon", option.c_str(), "--nofork", "--nopidfile", announce.c_str(),
               static_cast<char*>(nullptr));
        _exit(127);
    }
    close(ready[1]);
    // The daemon announces itself when it listens; end of file means that it did not start.
    char first = 0;
    const bool announced = read(ready[0], &first, 1) == 1;
    close(ready[0]);
    if (!announced && daemon_ > 0) {
        waitpid(daemon_, nullptr, 0);
        daemon_ = -1;
    }
    setenv(variable, address_.c_str(), 1);
}

PrivateBus::~PrivateBus() {
    unsetenv(variable_.c_str());
    if (daemon_ > 0) {
        kill(daemon_, SIGKILL);
        waitpid(daemon_, nullptr, 0);
    }
    std::error_code ignored;
    if (!folder_.empty()) std::filesystem::remove_all(folder_, ignored);
}

void PrivateBus::freeze() {
    if (daemon_ > 0) kill(daemon_, SIGSTOP);
}

ScriptedService::ScriptedService(const PrivateBus& bus, const char* name, Handler handler)
    : handler_(std::move(handler)) {
    dbus_threads_init_default();
    connection_ = dbus_connection_open_private(bus.address().c_str(), nullptr);
    if (!connection_) return;
    dbus_connection_set_exit_on_disconnect(connection_, FALSE);
    dbus_bus_register(connection_, nullptr);
    dbus_bus_request_name(connection_, name, DBUS_NAME_FLAG_DO_NOT_QUEUE, nullptr);
    thread_ = std::thread([this] { serve(); });
}

ScriptedService::~ScriptedService() {
    stop_ = true;
    if (thread_.joinable()) thread_.join();
    if (!connection_) return;
    dbus_connection_close(connection_);
    dbus_connection_unref(connection_);
}

void ScriptedService::serve() {
    while (!stop_ && dbus_connection_read_write(connection_, 5)) {
        while (DBusMessage* const call = dbus_connection_pop_message(connection_)) {
            if (dbus_message_get_type(call) == DBUS_MESSAGE_TYPE_METHOD_CALL) {
                if (DBusMessage* const reply = handler_(call)) {
                    dbus_connection_send(connection_, reply, nullptr);
                    dbus_connection_flush(connection_);
                    dbus_message_unref(reply);
                }
            }
            dbus_message_unref(call);
        }
    }
}

EnvironmentValue::EnvironmentValue(const char* name, const std::string& value) : name_(name) {
    if (const char* const present = std::getenv(name)) {
        wasSet_ = true;
        before_ = present;
    }
    if (value.empty())
        unsetenv(name);
    else
        setenv(name, value.c_str(), 1);
}

EnvironmentValue::~EnvironmentValue() {
    if (wasSet_)
        setenv(name_.c_str(), before_.c_str(), 1);
    else
        unsetenv(name_.c_str());
}

} // namespace marvo
