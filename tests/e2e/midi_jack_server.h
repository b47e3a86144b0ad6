// jackd with a driver that has no card. One at a time: the world of a test is its own, so nobody else's
// server is met there.
#pragma once

#include <sys/types.h>

namespace marvo::e2e {

class JackServer {
public:
    static constexpr int sampleRate = 48'000;

    JackServer();
    ~JackServer();
    JackServer(const JackServer&) = delete;
    JackServer& operator=(const JackServer&) = delete;

    void start(); // it answers some moments later
    void stop(int signal);
    void freeze() const;
    void thaw() const;

private:
    pid_t pid_ = 0;
};

} // namespace marvo::e2e
