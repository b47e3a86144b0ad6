// The symbols that stand before the C library's. They come into a test program together with
// RealtimeScope::active().
#include "RealtimeScope.h"
#include "Sanitized.h"

#include <cerrno>
#include <cstddef>
#include <dlfcn.h>
#include <fcntl.h>
#include <netdb.h>
#include <poll.h>
#include <pthread.h>
#include <semaphore.h>
#include <sys/epoll.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <sys/uio.h>
#include <time.h>
#include <unistd.h>

bool marvo::RealtimeScope::active() {
    return MARVO_SANITIZED == 0;
}

#if !MARVO_SANITIZED

namespace {

// The C library's function of that name. The condition variables have an older form under the same name,
// which a plain look-up may find.
template <class Function>
Function next(const char* name, const char* version = nullptr) {
    void* found = version ? dlvsym(RTLD_NEXT, name, version) : nullptr;
    if (!found) found = dlsym(RTLD_NEXT, name);
    return reinterpret_cast<Function>(found);
}

bool wouldNotBlock(int descriptor, int flags = 0) {
    if (flags & MSG_DONTWAIT) return true;
    const int mode = fcntl(descriptor, F_GETFL);
    return mode < 0 || (mode & O_NONBLOCK);
}

using marvo::RealtimeScope;

} // namespace

extern "C" {

void* __libc_malloc(size_t size);
void __libc_free(void* block);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* block, size_t size);
void* __libc_memalign(size_t alignment, size_t size);

void* malloc(size_t size) {
    RealtimeScope::note("malloc");
    return __libc_malloc(size);
}

void free(void* block) {
    if (block) RealtimeScope::note("free");
    __libc_free(block);
}

void* calloc(size_t count, size_t size) {
    RealtimeScope::note("calloc");
    return __libc_calloc(count, size);
}

void* realloc(void* block, size_t size) {
    RealtimeScope::note("realloc");
    return __libc_realloc(block, size);
}

void* aligned_alloc(size_t alignment, size_t size) {
    RealtimeScope::note("aligned_alloc");
    return __libc_memalign(alignment, size);
}

void* memalign(size_t alignment, size_t size) {
    RealtimeScope::note("memalign");
    return __libc_memalign(alignment, size);
}

int posix_memalign(void** block, size_t alignment, size_t size) {
    RealtimeScope::note("posix_memalign");
    *block = __libc_memalign(alignment, size);
    return *block ? 0 : ENOMEM;
}

int pthread_mutex_lock(pthread_mutex_t* mutex) {
    static const auto original = next<int (*)(pthread_mutex_t*)>("pthread_mutex_lock");
    static const auto attempt = next<int (*)(pthread_mutex_t*)>("pthread_mutex_trylock");
    const int result = attempt(mutex);
    if (result != EBUSY) return result;
    RealtimeScope::note("pthread_mutex_lock that waits");
    return original(mutex);
}

int pthread_rwlock_wrlock(pthread_rwlock_t* lock) {
    static const auto original = next<int (*)(pthread_rwlock_t*)>("pthread_rwlock_wrlock");
    static const auto attempt = next<int (*)(pthread_rwlock_t*)>("pthread_rwlock_trywrlock");
    const int result = attempt(lock);
    if (result != EBUSY) return result;
    RealtimeScope::note("pthread_rwlock_wrlock that waits");
    return original(lock);
}

int pthread_rwlock_rdlock(pthread_rwlock_t* lock) {
    static const auto original = next<int (*)(pthread_rwlock_t*)>("pthread_rwlock_rdlock");
    static const auto attempt = next<int (*)(pthread_rwlock_t*)>("pthread_rwlock_tryrdlock");
    const int result = attempt(lock);
    if (result != EBUSY) return result;
    RealtimeScope::note("pthread_rwlock_rdlock that waits");
    return original(lock);
}

int pthread_cond_wait(pthread_cond_t* condition, pthread_mutex_t* mutex) {
    static const auto original =
        next<int (*)(pthread_cond_t*, pthread_mutex_t*)>("pthread_cond_wait", "GLIBC_2.3.2");
    RealtimeScope::note("pthread_cond_wait");
    return original(condition, mutex);
}

int pthread_cond_timedwait(pthread_cond_t* condition, pthread_mutex_t* mutex, const timespec* until) {
    static const auto original = next<int (*)(pthread_cond_t*, pthread_mutex_t*, const timespec*)>(
        "pthread_cond_timedwait", "GLIBC_2.3.2");
    RealtimeScope::note("pthread_cond_timedwait");
    return original(condition, mutex, until);
}

int pthread_cond_clockwait(pthread_cond_t* condition, pthread_mutex_t* mutex, clockid_t clock,
                           const timespec* until) {
    static const auto original = next<int (*)(pthread_cond_t*, pthread_mutex_t*, clockid_t, const timespec*)>(
        "pthread_cond_clockwait");
    RealtimeScope::note("pthread_cond_clockwait");
    return original(condition, mutex, clock, until);
}

int pthread_join(pthread_t thread, void** result) {
    static const auto original = next<int (*)(pthread_t, void**)>("pthread_join");
    RealtimeScope::note("pthread_join");
    return original(thread, result);
}

int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*start)(void*),
                   void* argument) {
    static const auto original =
        next<int (*)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*)>("pthread_create");
    RealtimeScope::note("pthread_create");
    return original(thread, attributes, start, argument);
}

int sem_wait(sem_t* semaphore) {
    static const auto original = next<int (*)(sem_t*)>("sem_wait");
    RealtimeScope::note("sem_wait");
    return original(semaphore);
}

int nanosleep(const timespec* length, timespec* left) {
    static const auto original = next<int (*)(const timespec*, timespec*)>("nanosleep");
    RealtimeScope::note("nanosleep");
    return original(length, left);
}

int clock_nanosleep(clockid_t clock, int flags, const timespec* length, timespec* left) {
    static const auto original = next<int (*)(clockid_t, int, const timespec*, timespec*)>("clock_nanosleep");
    RealtimeScope::note("clock_nanosleep");
    return original(clock, flags, length, left);
}

int usleep(useconds_t length) {
    static const auto original = next<int (*)(useconds_t)>("usleep");
    RealtimeScope::note("usleep");
    return original(length);
}

int poll(pollfd* descriptors, nfds_t count, int timeout) {
    static const auto original = next<int (*)(pollfd*, nfds_t, int)>("poll");
    if (timeout != 0) RealtimeScope::note("poll");
    return original(descriptors, count, timeout);
}

int select(int count, fd_set* reading, fd_set* writing, fd_set* failing, timeval* timeout) {
    static const auto original = next<int (*)(int, fd_set*, fd_set*, fd_set*, timeval*)>("select");
    if (!timeout || timeout->tv_sec != 0 || timeout->tv_usec != 0) RealtimeScope::note("select");
    return original(count, reading, writing, failing, timeout);
}

int epoll_wait(int descriptor, epoll_event* events, int count, int timeout) {
    static const auto original = next<int (*)(int, epoll_event*, int, int)>("epoll_wait");
    if (timeout != 0) RealtimeScope::note("epoll_wait");
    return original(descriptor, events, count, timeout);
}

ssize_t read(int descriptor, void* bytes, size_t size) {
    static const auto original = next<ssize_t (*)(int, void*, size_t)>("read");
    if (!wouldNotBlock(descriptor)) RealtimeScope::note("read");
    return original(descriptor, bytes, size);
}

ssize_t write(int descriptor, const void* bytes, size_t size) {
    static const auto original = next<ssize_t (*)(int, const void*, size_t)>("write");
    if (!wouldNotBlock(descriptor)) RealtimeScope::note("write");
    return original(descriptor, bytes, size);
}

int fsync(int descriptor) {
    static const auto original = next<int (*)(int)>("fsync");
    RealtimeScope::note("fsync");
    return original(descriptor);
}

int fdatasync(int descriptor) {
    static const auto original = next<int (*)(int)>("fdatasync");
    RealtimeScope::note("fdatasync");
    return original(descriptor);
}

int connect(int descriptor, const sockaddr* address, socklen_t size) {
    static const auto original = next<int (*)(int, const sockaddr*, socklen_t)>("connect");
    if (!wouldNotBlock(descriptor)) RealtimeScope::note("connect");
    return original(descriptor, address, size);
}

ssize_t send(int descriptor, const void* bytes, size_t size, int flags) {
    static const auto original = next<ssize_t (*)(int, const void*, size_t, int)>("send");
    if (!wouldNotBlock(descriptor, flags)) RealtimeScope::note("send");
    return original(descriptor, bytes, size, flags);
}

ssize_t sendto(int descriptor, const void* bytes, size_t size, int flags, const sockaddr* to,
               socklen_t toSize) {
    static const auto original =
        next<ssize_t (*)(int, const void*, size_t, int, const sockaddr*, socklen_t)>("sendto");
    if (!wouldNotBlock(descriptor, flags)) RealtimeScope::note("sendto");
    return original(descriptor, bytes, size, flags, to, toSize);
}

ssize_t sendmsg(int descriptor, const msghdr* message, int flags) {
    static const auto original = next<ssize_t (*)(int, const msghdr*, int)>("sendmsg");
    if (!wouldNotBlock(descriptor, flags)) RealtimeScope::note("sendmsg");
    return original(descriptor, message, flags);
}

int sendmmsg(int descriptor, mmsghdr* messages, unsigned count, int flags) {
    static const auto original = next<int (*)(int, mmsghdr*, unsigned, int)>("sendmmsg");
    if (!wouldNotBlock(descriptor, flags)) RealtimeScope::note("sendmmsg");
    return original(descriptor, messages, count, flags);
}

int getaddrinfo(const char* host, const char* service, const addrinfo* hints, addrinfo** results) {
    static const auto original =
        next<int (*)(const char*, const char*, const addrinfo*, addrinfo**)>("getaddrinfo");
    RealtimeScope::note("getaddrinfo");
    return original(host, service, hints, results);
}

} // extern "C"

#endif
