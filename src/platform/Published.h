// An immutable value that many threads read and one replaces.
//
// A reader never waits and never allocates: it announces itself with one counter and uses the value while it
// is announced. A writer swaps the pointer, waits until no reader is announced, and frees the old value;
// readers announce themselves for microseconds, so the wait is short, and no reader ever waits for it.
#pragma once

#include <atomic>
#include <memory>
#include <thread>

namespace marvo {

template <class T>
class Published {
public:
    Published() : value_(new T()) {}
    ~Published() { delete value_.load(); }
    Published(const Published&) = delete;
    Published& operator=(const Published&) = delete;

    // Thread-safe, realtime-safe. Keep it for the length of one use.
    class Reader {
    public:
        explicit Reader(const Published& from) : from_(from) {
            from_.readers_.fetch_add(1);
            value_ = from_.value_.load();
        }
        ~Reader() { from_.readers_.fetch_sub(1); }
        Reader(const Reader&) = delete;
        Reader& operator=(const Reader&) = delete;
        const T& operator*() const { return *value_; }
        const T* operator->() const { return value_; }

    private:
        const Published& from_;
        const T* value_;
    };

    Reader read() const { return Reader(*this); }

    // One writer at a time, which is not a reader itself.
    void publish(std::unique_ptr<T> value) {
        const std::unique_ptr<T> old(value_.exchange(value.release()));
        while (readers_.load() != 0) std::this_thread::yield();
    }

private:
    std::atomic<T*> value_;
    mutable std::atomic<int> readers_{0};
};

} // namespace marvo
