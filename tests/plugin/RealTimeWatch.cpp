#include "RealTimeWatch.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <time.h>
#include <ucontext.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>

#define THREAD_WORD thread_local __attribute__((tls_model("initial-exec")))

namespace {

// Plain words: no constructor, no allocation, usable before main.
THREAD_WORD bool t_watching = false;
THREAD_WORD RealTimeFindings t_found;

void caught(const char* what) {
    if (t_watching && !t_found.call) t_found.call = what;
}

#if defined(__x86_64__) && defined(PR_SET_SYSCALL_USER_DISPATCH)
THREAD_WORD volatile char t_selector = SYSCALL_DISPATCH_FILTER_ALLOW;

// Notes the call and lets it through; the rest of the stretch goes unwatched.
void onSystemCall(int, siginfo_t* info, void* context) {
    t_selector = SYSCALL_DISPATCH_FILTER_ALLOW;
    // Some machines have no faster way to read the clock.
    if (info->si_syscall != SYS_clock_gettime) t_found.systemCall = info->si_syscall;
    greg_t* registers = static_cast<ucontext_t*>(context)->uc_mcontext.gregs;
    registers[REG_RIP] -= 2; // the length of the instruction
    registers[REG_RAX] = info->si_syscall;
}

bool armSystemCalls() {
    struct sigaction action {};
    action.sa_sigaction = onSystemCall;
    action.sa_flags = SA_SIGINFO;
    static const bool handled = sigaction(SIGSYS, &action, nullptr) == 0;
    static THREAD_WORD bool armed = false;
    if (!armed)
        armed = prctl(PR_SET_SYSCALL_USER_DISPATCH, PR_SYS_DISPATCH_ON, 0, 0, &t_selector) == 0;
    return handled && armed;
}

void watchSystemCalls(bool on) {
    t_selector = on ? SYSCALL_DISPATCH_FILTER_BLOCK : SYSCALL_DISPATCH_FILTER_ALLOW;
}
#else
bool armSystemCalls() {
    return false;
}
void watchSystemCalls(bool) {
}
#endif

} // namespace

bool canCatchSystemCalls() {
    return armSystemCalls();
}

void beginRealTimeWatch() {
    const bool armed = armSystemCalls();
    t_found = {};
    t_watching = true;
    if (armed) watchSystemCalls(true);
}

RealTimeFindings endRealTimeWatch() {
    watchSystemCalls(false);
    t_watching = false;
    return t_found;
}

extern "C" {
void* __libc_malloc(size_t);
void* __libc_calloc(size_t, size_t);
void* __libc_realloc(void*, size_t);
void* __libc_memalign(size_t, size_t);
void __libc_free(void*);

void* malloc(size_t size) {
    caught("malloc");
    return __libc_malloc(size);
}
void* calloc(size_t count, size_t size) {
    caught("calloc");
    return __libc_calloc(count, size);
}
void* realloc(void* block, size_t size) {
    caught("realloc");
    return __libc_realloc(block, size);
}
void* aligned_alloc(size_t alignment, size_t size) {
    caught("aligned_alloc");
    return __libc_memalign(alignment, size);
}
int posix_memalign(void** out, size_t alignment, size_t size) {
    caught("posix_memalign");
    *out = __libc_memalign(alignment, size);
    return *out ? 0 : 12;
}
void free(void* block) {
    if (block) caught("free");
    __libc_free(block);
}

// Replaces a function of the C library by one that runs `note` and goes on to the library's.
#define WATCH(RESULT, NAME, PARAMETERS, ARGUMENTS, NOTE)                                           \
    RESULT NAME PARAMETERS {                                                                       \
        static const auto real = reinterpret_cast<RESULT(*) PARAMETERS>(dlsym(RTLD_NEXT, #NAME));  \
        NOTE;                                                                                      \
        return real ARGUMENTS;                                                                     \
    }
#define FORBID(RESULT, NAME, PARAMETERS, ARGUMENTS)                                                \
    WATCH(RESULT, NAME, PARAMETERS, ARGUMENTS, caught(#NAME))

WATCH(int, pthread_mutex_lock, (pthread_mutex_t * mutex), (mutex), ++t_found.locks)
WATCH(int, pthread_mutex_trylock, (pthread_mutex_t * mutex), (mutex), ++t_found.locks)
FORBID(int, pthread_rwlock_rdlock, (pthread_rwlock_t * lock), (lock))
FORBID(int, pthread_rwlock_wrlock, (pthread_rwlock_t * lock), (lock))
FORBID(int, pthread_cond_wait, (pthread_cond_t * condition, pthread_mutex_t* mutex),
       (condition, mutex))
FORBID(ssize_t, read, (int file, void* buffer, size_t size), (file, buffer, size))
FORBID(ssize_t, write, (int file, const void* buffer, size_t size), (file, buffer, size))
FORBID(int, nanosleep, (const timespec* time, timespec* rest), (time, rest))
FORBID(int, usleep, (useconds_t time), (time))
FORBID(int, sched_yield, (), ())
FORBID(FILE*, fopen, (const char* path, const char* mode), (path, mode))
}
