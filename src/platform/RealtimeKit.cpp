#include "platform/RealtimeKit.h"

#include "platform/BusConnection.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <optional>
#include <sched.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace marvo {

namespace {

constexpr const char* service = "org.freedesktop.RealtimeKit1";
constexpr const char* path = "/org/freedesktop/RealtimeKit1";

std::optional<std::int64_t> asInteger(const BusReply& reply) {
    if (!reply.succeeded || reply.values.empty()) return std::nullopt;
    const BusValue& value = reply.values.front();
    if (const auto* wide = std::get_if<std::int64_t>(&value)) return *wide;
    if (const auto* narrow = std::get_if<std::uint32_t>(&value)) return *narrow;
    return std::nullopt;
}

std::atomic<unsigned> demotions{0};

// The kernel delivers this to the thread that has overrun. Only plain system calls are allowed here.
void demoteThread(int) {
    const int number = errno;
    const sched_param ordinary{};
    if (syscall(SYS_sched_setscheduler, 0, SCHED_OTHER | SCHED_RESET_ON_FORK, &ordinary) == 0)
        demotions.fetch_add(1, std::memory_order_relaxed);
    errno = number;
}

void demoteOnOverrun() {
    struct sigaction present {};
    if (sigaction(SIGXCPU, nullptr, &present) != 0 || present.sa_handler != SIG_DFL) return;
    struct sigaction demotion {};
    demotion.sa_handler = demoteThread;
    demotion.sa_flags = SA_RESTART;
    sigaction(SIGXCPU, &demotion, nullptr);
}

bool limitRealtimeRun(std::int64_t microseconds, std::string& error) {
    demoteOnOverrun();
    rlimit limit{};
    getrlimit(RLIMIT_RTTIME, &limit);
    limit.rlim_max = std::min(limit.rlim_max, static_cast<rlim_t>(std::max<std::int64_t>(microseconds, 1)));
    limit.rlim_cur = std::min(limit.rlim_cur, limit.rlim_max / 4 * 3);
    if (setrlimit(RLIMIT_RTTIME, &limit) == 0) return true;
    error = std::string("RLIMIT_RTTIME: ") + std::strerror(errno);
    return false;
}

} // namespace

RealtimeKitAnswer askRealtimeKit(int wantedPriority, Duration timeout) {
    const MonotonicClock clock;
    const MonotonicTime deadline = clock.now() + timeout;
    RealtimeKitAnswer answer;
    const auto bus = BusConnection::open(BusKind::system, timeout, answer.error);
    if (!bus) return answer;
    const auto property = [&](const char* name) {
        return asInteger(bus->call({service,
                                    path,
                                    "org.freedesktop.DBus.Properties",
                                    "Get",
                                    {std::string(service), std::string(name)}},
                                   deadline - clock.now()));
    };
    const auto longestRun = property("RTTimeUSecMax");
    const auto highest = longestRun ? property("MaxRealtimePriority") : std::nullopt;
    if (!longestRun || !highest) {
        answer.error = "RealtimeKit does not answer";
        return answer;
    }
    if (!limitRealtimeRun(*longestRun, answer.error)) return answer;
    // The service refuses threads whose children would inherit the policy.
    sched_param ordinary{};
    if (sched_setscheduler(0, SCHED_OTHER | SCHED_RESET_ON_FORK, &ordinary) != 0) {
        answer.error = std::string("SCHED_RESET_ON_FORK: ") + std::strerror(errno);
        return answer;
    }
    const auto process = static_cast<std::uint64_t>(getpid());
    const auto thread = static_cast<std::uint64_t>(syscall(SYS_gettid));
    const auto priority = static_cast<std::uint32_t>(
        std::clamp<std::int64_t>(wantedPriority, 1, std::max<std::int64_t>(*highest, 1)));
    BusReply granted =
        bus->call({service, path, service, "MakeThreadRealtimeWithPID", {process, thread, priority}},
                  deadline - clock.now());
    // Versions that know only their caller's process lack the first form.
    if (granted.errorName == "org.freedesktop.DBus.Error.UnknownMethod")
        granted = bus->call({service, path, service, "MakeThreadRealtime", {thread, priority}},
                            deadline - clock.now());
    if (!granted.succeeded) {
        answer.error = "RealtimeKit: " + granted.error;
        return answer;
    }
    // Believed only when the scheduler says so too.
    sched_param parameters{};
    const int policy = sched_getscheduler(0) & ~SCHED_RESET_ON_FORK;
    if ((policy != SCHED_RR && policy != SCHED_FIFO) || sched_getparam(0, &parameters) != 0) {
        answer.error = "RealtimeKit granted, but the policy has not changed";
        return answer;
    }
    answer.priority = parameters.sched_priority;
    return answer;
}

unsigned realtimeDemotionCount() {
    return demotions.load(std::memory_order_relaxed);
}

} // namespace marvo
