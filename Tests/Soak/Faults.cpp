#include "Faults.h"

#include <dlfcn.h>
#include <pthread.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <new>

namespace nimbrel::soak {
namespace {

/// Smaller pieces come from what the process has already, also where memory is short, and the destructors of the JSON
/// library take some without being able to tell that there is none.
constexpr std::size_t kSmallest = 4096;

std::atomic<bool> gIsArmed{false};
std::atomic<long> gLeft{0};
std::atomic<bool> gIsForGood{false};
std::atomic<bool> gRefusesThreads{false};
std::atomic<long> gFailed{0};
std::atomic<long> gRefused{0};
thread_local int tExempt __attribute__((tls_model("initial-exec"))) = 0;

}  // namespace

bool FailsNow(std::size_t size) {
    if (size < kSmallest || !gIsArmed.load(std::memory_order_relaxed) || tExempt > 0) return false;
    const long left = --gLeft;
    if (left > 0 || (left < 0 && !gIsForGood)) return false;
    ++gFailed;
    return true;
}

bool RefusesThreads() {
    if (!gRefusesThreads.load(std::memory_order_relaxed)) return false;
    ++gRefused;
    return true;
}

FaultScope::FaultScope(const Fault& fault) {
    gLeft = fault.mAllocation;
    gIsForGood = fault.mIsForGood;
    gRefusesThreads = fault.mThreads;
    gIsArmed = fault.mAllocation > 0;
}

FaultScope::~FaultScope() {
    gIsArmed = false;
    gRefusesThreads = false;
}

Exempt::Exempt() { ++tExempt; }
Exempt::~Exempt() { --tExempt; }

long CountFailedAllocations() { return gFailed; }
long CountRefusedThreads() { return gRefused; }

}  // namespace nimbrel::soak

#define NIMBREL_EXPORTED __attribute__((visibility("default")))

extern "C" NIMBREL_EXPORTED int pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                                               void* (*start)(void*), void* argument) {
    using Function = int (*)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
    static const auto real = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "pthread_create"));
    return nimbrel::soak::RefusesThreads() ? EAGAIN : real(thread, attributes, start, argument);
}

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)

// A sanitizer's own allocation cannot be put before; that of C++ can.
namespace {

void* New(std::size_t size) { return nimbrel::soak::FailsNow(size) ? nullptr : std::malloc(size == 0 ? 1 : size); }

void* NewAligned(std::size_t size, std::align_val_t alignment) {
    const auto unit = static_cast<std::size_t>(alignment);
    return nimbrel::soak::FailsNow(size) ? nullptr : std::aligned_alloc(unit, (size + unit - 1) / unit * unit);
}

void* OrThrow(void* memory) {
    if (memory == nullptr) throw std::bad_alloc();
    return memory;
}

}  // namespace

NIMBREL_EXPORTED void* operator new(std::size_t size) { return OrThrow(New(size)); }
NIMBREL_EXPORTED void* operator new[](std::size_t size) { return OrThrow(New(size)); }
NIMBREL_EXPORTED void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return New(size); }
NIMBREL_EXPORTED void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return New(size); }
NIMBREL_EXPORTED void* operator new(std::size_t size, std::align_val_t a) { return OrThrow(NewAligned(size, a)); }
NIMBREL_EXPORTED void* operator new[](std::size_t size, std::align_val_t a) { return OrThrow(NewAligned(size, a)); }
NIMBREL_EXPORTED void operator delete(void* memory) noexcept { std::free(memory); }
NIMBREL_EXPORTED void operator delete[](void* memory) noexcept { std::free(memory); }
NIMBREL_EXPORTED void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
NIMBREL_EXPORTED void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }
NIMBREL_EXPORTED void operator delete(void* memory, const std::nothrow_t&) noexcept { std::free(memory); }
NIMBREL_EXPORTED void operator delete[](void* memory, const std::nothrow_t&) noexcept { std::free(memory); }
NIMBREL_EXPORTED void operator delete(void* memory, std::align_val_t) noexcept { std::free(memory); }
NIMBREL_EXPORTED void operator delete[](void* memory, std::align_val_t) noexcept { std::free(memory); }
NIMBREL_EXPORTED void operator delete(void* memory, std::size_t, std::align_val_t) noexcept { std::free(memory); }
NIMBREL_EXPORTED void operator delete[](void* memory, std::size_t, std::align_val_t) noexcept { std::free(memory); }

#else

extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);

NIMBREL_EXPORTED void* malloc(std::size_t size) noexcept {
    return nimbrel::soak::FailsNow(size) ? nullptr : __libc_malloc(size);
}
NIMBREL_EXPORTED void* calloc(std::size_t count, std::size_t size) noexcept {
    return nimbrel::soak::FailsNow(count * size) ? nullptr : __libc_calloc(count, size);
}
NIMBREL_EXPORTED void* realloc(void* memory, std::size_t size) noexcept {
    return nimbrel::soak::FailsNow(size) ? nullptr : __libc_realloc(memory, size);
}
NIMBREL_EXPORTED void* aligned_alloc(std::size_t alignment, std::size_t size) noexcept {
    return nimbrel::soak::FailsNow(size) ? nullptr : __libc_memalign(alignment, size);
}
NIMBREL_EXPORTED int posix_memalign(void** memory, std::size_t alignment, std::size_t size) noexcept {
    *memory = nimbrel::soak::FailsNow(size) ? nullptr : __libc_memalign(alignment, size);
    return *memory == nullptr ? ENOMEM : 0;
}
}

#endif
