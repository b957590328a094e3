// SPDX-License-Identifier: Apache-2.0
//
// Interposes functions of the C library that code on the data thread must not call. A definition in the
// program takes precedence over the library's own, for the program and for all libraries that it loads.
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <ctime>

#include <dlfcn.h>
#include <poll.h>
#include <pthread.h>
#include <sched.h>
#include <semaphore.h>
#include <syslog.h>
#include <unistd.h>

namespace vello::test {
void noteForbiddenCall(const char* name) noexcept;
}

namespace {

using vello::test::noteForbiddenCall;

/// The library's original function.
template <typename Function> Function* next(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

} // namespace

extern "C" {

// Memory. Uses the C library's internal names, because dlsym() allocates.
void* __libc_malloc(std::size_t);
void* __libc_calloc(std::size_t, std::size_t);
void* __libc_realloc(void*, std::size_t);
void* __libc_memalign(std::size_t, std::size_t);
void __libc_free(void*);

void* malloc(std::size_t size) noexcept {
    noteForbiddenCall("malloc");
    return __libc_malloc(size);
}
void* calloc(std::size_t count, std::size_t size) noexcept {
    noteForbiddenCall("calloc");
    return __libc_calloc(count, size);
}
void* realloc(void* memory, std::size_t size) noexcept {
    noteForbiddenCall("realloc");
    return __libc_realloc(memory, size);
}
void* aligned_alloc(std::size_t alignment, std::size_t size) noexcept {
    noteForbiddenCall("aligned_alloc");
    return __libc_memalign(alignment, size);
}
int posix_memalign(void** memory, std::size_t alignment, std::size_t size) noexcept {
    noteForbiddenCall("posix_memalign");
    *memory = __libc_memalign(alignment, size);
    return *memory != nullptr ? 0 : 12;
}
void free(void* memory) noexcept {
    noteForbiddenCall("free");
    __libc_free(memory);
}

// Locks.
int pthread_mutex_lock(pthread_mutex_t* mutex) noexcept {
    noteForbiddenCall("pthread_mutex_lock");
    static const auto real = next<int(pthread_mutex_t*)>("pthread_mutex_lock");
    return real(mutex);
}
int pthread_mutex_trylock(pthread_mutex_t* mutex) noexcept {
    noteForbiddenCall("pthread_mutex_trylock");
    static const auto real = next<int(pthread_mutex_t*)>("pthread_mutex_trylock");
    return real(mutex);
}
int pthread_rwlock_rdlock(pthread_rwlock_t* lock) noexcept {
    noteForbiddenCall("pthread_rwlock_rdlock");
    static const auto real = next<int(pthread_rwlock_t*)>("pthread_rwlock_rdlock");
    return real(lock);
}
int pthread_rwlock_wrlock(pthread_rwlock_t* lock) noexcept {
    noteForbiddenCall("pthread_rwlock_wrlock");
    static const auto real = next<int(pthread_rwlock_t*)>("pthread_rwlock_wrlock");
    return real(lock);
}
int pthread_cond_signal(pthread_cond_t* condition) noexcept {
    noteForbiddenCall("pthread_cond_signal");
    static const auto real = next<int(pthread_cond_t*)>("pthread_cond_signal");
    return real(condition);
}
int sem_post(sem_t* semaphore) noexcept {
    noteForbiddenCall("sem_post");
    static const auto real = next<int(sem_t*)>("sem_post");
    return real(semaphore);
}

// Waiting.
int nanosleep(const timespec* duration, timespec* rest) {
    noteForbiddenCall("nanosleep");
    static const auto real = next<int(const timespec*, timespec*)>("nanosleep");
    return real(duration, rest);
}
int clock_nanosleep(clockid_t clock, int flags, const timespec* time, timespec* rest) {
    noteForbiddenCall("clock_nanosleep");
    static const auto real = next<int(clockid_t, int, const timespec*, timespec*)>("clock_nanosleep");
    return real(clock, flags, time, rest);
}
int sched_yield() noexcept {
    noteForbiddenCall("sched_yield");
    static const auto real = next<int()>("sched_yield");
    return real();
}
int poll(pollfd* descriptors, nfds_t count, int timeout) {
    noteForbiddenCall("poll");
    static const auto real = next<int(pollfd*, nfds_t, int)>("poll");
    return real(descriptors, count, timeout);
}

// Reading, writing and logging.
ssize_t read(int descriptor, void* data, std::size_t size) {
    noteForbiddenCall("read");
    static const auto real = next<ssize_t(int, void*, std::size_t)>("read");
    return real(descriptor, data, size);
}
ssize_t write(int descriptor, const void* data, std::size_t size) {
    noteForbiddenCall("write");
    static const auto real = next<ssize_t(int, const void*, std::size_t)>("write");
    return real(descriptor, data, size);
}
int fputs(const char* text, FILE* stream) {
    noteForbiddenCall("fputs");
    static const auto real = next<int(const char*, FILE*)>("fputs");
    return real(text, stream);
}
std::size_t fwrite(const void* data, std::size_t size, std::size_t count, FILE* stream) {
    noteForbiddenCall("fwrite");
    static const auto real = next<std::size_t(const void*, std::size_t, std::size_t, FILE*)>("fwrite");
    return real(data, size, count, stream);
}
int fprintf(FILE* stream, const char* format, ...) {
    noteForbiddenCall("fprintf");
    va_list arguments;
    va_start(arguments, format);
    const int written = vfprintf(stream, format, arguments);
    va_end(arguments);
    return written;
}
int printf(const char* format, ...) {
    noteForbiddenCall("printf");
    va_list arguments;
    va_start(arguments, format);
    const int written = vprintf(format, arguments);
    va_end(arguments);
    return written;
}
void syslog(int priority, const char* format, ...) {
    noteForbiddenCall("syslog");
    va_list arguments;
    va_start(arguments, format);
    vsyslog(priority, format, arguments);
    va_end(arguments);
}

} // extern "C"
