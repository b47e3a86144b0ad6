// Collects broken rules instead of letting them end the test program.
#pragma once

#include "platform/Invariant.h"

#include <mutex>
#include <string>
#include <vector>

namespace marvo {

// One at a time. Reports may come from any thread.
class InvariantCapture {
public:
    InvariantCapture() {
        reports().clear();
        before_ = setInvariantHandler(&InvariantCapture::collect);
    }
    ~InvariantCapture() { setInvariantHandler(before_); }
    InvariantCapture(const InvariantCapture&) = delete;
    InvariantCapture& operator=(const InvariantCapture&) = delete;

    std::vector<std::string> rules() const {
        const std::lock_guard hold(lock());
        return reports();
    }

private:
    static std::mutex& lock() {
        static std::mutex mutex;
        return mutex;
    }
    static std::vector<std::string>& reports() {
        static std::vector<std::string> list;
        return list;
    }
    static void collect(const char* rule, const char* detail) {
        const std::lock_guard hold(lock());
        reports().push_back(std::string(rule) + ": " + detail);
    }

    InvariantHandler before_;
};

} // namespace marvo
