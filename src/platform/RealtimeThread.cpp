#include "platform/RealtimeThread.h"

#include "platform/RealtimeKit.h"

#include <algorithm>
#include <cerrno>
#include <condition_variable>
#include <cstring>
#include <fcntl.h>
#include <linux/capability.h>
#include <mutex>
#include <sched.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

namespace marvo {

namespace {

std::string systemError(const char* what, int number) {
    return std::string(what) + ": " + std::strerror(number);
}

bool mayLockAnything() {
    rlimit limit{};
    if (getrlimit(RLIMIT_MEMLOCK, &limit) == 0 && limit.rlim_cur == RLIM_INFINITY) return true;
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct capabilities[2]{};
    if (syscall(SYS_capget, &header, capabilities) != 0) return false;
    return (capabilities[0].effective >> CAP_IPC_LOCK) & 1u;
}

// Under a finite limit only what exists is locked: with MCL_FUTURE every later allocation beyond the limit
// would fail.
std::string lockMemory() {
    const int flags = mayLockAnything() ? MCL_CURRENT | MCL_FUTURE : MCL_CURRENT;
    return mlockall(flags) == 0 ? std::string() : systemError("mlockall", errno);
}

// The kernel keeps the processor's exit latency at the written value while the descriptor is open.
std::string holdCpuLatency(int& descriptor) {
    const std::int32_t microseconds = 0;
    descriptor = open("/dev/cpu_dma_latency", O_WRONLY | O_CLOEXEC);
    if (descriptor < 0) return systemError("/dev/cpu_dma_latency", errno);
    if (write(descriptor, &microseconds, sizeof microseconds) == sizeof microseconds) return {};
    const int number = errno;
    close(descriptor);
    descriptor = -1;
    return systemError("/dev/cpu_dma_latency", number);
}

// Touches each page below the present frame, so that the first deep call of the body does not fault. A block
// of a size that the compiler does not know is one that it cannot shrink.
[[gnu::noinline]] void touchStack(std::size_t bytes) {
    volatile char* const block = static_cast<volatile char*>(__builtin_alloca(bytes));
    for (std::size_t index = 0; index < bytes; index += 1024) block[index] = 0;
}

// Leaves the core's other hardware thread its share while this one waits.
void relaxProcessor() {
#if defined(__x86_64__) || defined(__i386__)
    __builtin_ia32_pause();
#elif defined(__aarch64__)
    asm volatile("yield");
#endif
}

void settleScheduling(const RealtimeOptions& options, RealtimeResult& result) {
    result.error = "real-time scheduling was not asked for";
    if (options.allowFifo) {
        sched_param parameters{};
        parameters.sched_priority = options.priority;
        if (sched_setscheduler(0, SCHED_FIFO | SCHED_RESET_ON_FORK, &parameters) == 0) {
            result.grant = RealtimeGrant::fifo;
            result.priority = options.priority;
            result.error.clear();
            return;
        }
        result.error = systemError("SCHED_FIFO", errno);
    }
    if (options.allowRealtimeKit) {
        const RealtimeKitAnswer answer = askRealtimeKit(options.priority, options.realtimeKitTimeout);
        if (answer.priority > 0) {
            result.grant = RealtimeGrant::realtimeKit;
            result.priority = answer.priority;
            return;
        }
        result.error = (options.allowFifo ? result.error + "; " : std::string()) + answer.error;
    }
    if (options.bestEffort) result.grant = RealtimeGrant::bestEffort;
}

} // namespace

// Lives on the creator's stack until the grant is reported; the new thread takes what it needs before that.
struct RealtimeThread::Launch {
    RealtimeThread& thread;
    const RealtimeOptions& options;
    Body body;
    RealtimeResult result{};
    std::mutex lock{};
    std::condition_variable changed{};
    bool settled = false;

    // Notified under the lock: once it is free this object may be gone.
    void settle() {
        const std::lock_guard hold(lock);
        settled = true;
        changed.notify_one();
    }
    void waitUntilSettled() {
        std::unique_lock hold(lock);
        changed.wait(hold, [this] { return settled; });
    }
};

RealtimeThread::~RealtimeThread() {
    requestStop();
    join();
    if (cpuLatency_ >= 0) close(cpuLatency_);
}

RealtimeResult RealtimeThread::start(const RealtimeOptions& options, Body body) {
    RealtimeResult refused;
    if (started_) {
        refused.error = "the thread runs already";
        return refused;
    }
    stop_.store(false, std::memory_order_release);
    Launch launch{.thread = *this, .options = options, .body = std::move(body)};
    if (options.lockMemory) launch.result.memory = lockMemory();
    if (options.holdCpuLatency && cpuLatency_ < 0)
        launch.result.cpuLatency = marvo::holdCpuLatency(cpuLatency_);

    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes,
                              std::max(options.stackBytes, options.prefaultBytes + std::size_t{1024 * 1024}));
    const int number = pthread_create(&thread_, &attributes, &RealtimeThread::enter, &launch);
    pthread_attr_destroy(&attributes);
    if (number != 0) {
        refused.error = systemError("pthread_create", number);
        return refused;
    }
    started_ = true;
    launch.waitUntilSettled();
    RealtimeResult result = std::move(launch.result);
    if (!result.runs()) join();
    return result;
}

void* RealtimeThread::enter(void* argument) {
    Launch& launch = *static_cast<Launch*>(argument);
    RealtimeThread& self = launch.thread;
    pthread_setname_np(pthread_self(), launch.options.name.substr(0, 15).c_str());
    // Ordinary threads are woken up to 50 us late on purpose; real-time ones ignore the setting.
    prctl(PR_SET_TIMERSLACK, 1UL, 0UL, 0UL, 0UL);
    touchStack(launch.options.prefaultBytes);
    settleScheduling(launch.options, launch.result);
    const bool runs = launch.result.runs();
    const Body body = std::move(launch.body);
    self.running_.store(runs, std::memory_order_release);
    launch.settle();
    // From here on `launch` may be gone.
    if (runs) body(self);
    self.running_.store(false, std::memory_order_release);
    return nullptr;
}

void RealtimeThread::join() {
    if (!started_ || pthread_equal(pthread_self(), thread_)) return;
    pthread_join(thread_, nullptr);
    started_ = false;
}

void RealtimeThread::sleepUntil(MonotonicTime deadline) {
    timespec moment{};
    moment.tv_sec = static_cast<time_t>(deadline.nanoseconds / 1'000'000'000u);
    moment.tv_nsec = static_cast<long>(deadline.nanoseconds % 1'000'000'000u);
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &moment, nullptr) == EINTR) {
    }
}

void RealtimeThread::sleepUntil(MonotonicTime deadline, Duration spin) {
    const MonotonicClock clock;
    // A deadline nearer to the clock's start than the spin has passed long ago.
    const auto before = static_cast<std::uint64_t>(std::max<std::int64_t>(spin.nanoseconds, 0));
    sleepUntil(MonotonicTime(deadline.nanoseconds - std::min(deadline.nanoseconds, before)));
    if (before == 0) return;
    while (clock.now() < deadline) relaxProcessor();
}

} // namespace marvo
