#include "platform/Invariant.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>

namespace marvo {

namespace {

std::atomic<InvariantHandler> installed{nullptr};
std::atomic<std::uint64_t> failures{0};

} // namespace

InvariantHandler setInvariantHandler(InvariantHandler handler) {
    return installed.exchange(handler);
}

void invariantFailed(const char* rule, const char* detail) {
    failures.fetch_add(1, std::memory_order_relaxed);
    if (const InvariantHandler handler = installed.load()) {
        handler(rule, detail);
        return;
    }
#ifndef NDEBUG
    std::fprintf(stderr, "marvo: broken rule: %s (%s)\n", rule, detail);
    std::abort();
#else
    (void)rule;
    (void)detail;
#endif
}

std::uint64_t invariantFailureCount() {
    return failures.load(std::memory_order_relaxed);
}

} // namespace marvo
