#include "ScriptHeap.h"

#include <cstdlib>
#include <new>
#include <stdexcept>
#include <string>

#ifdef _WIN32
#include <windows.h>
#else
#include <ctime>
#endif

namespace {

/// Seconds that this thread has had of processors.
double GetThreadSeconds() {
#ifdef _WIN32
    FILETIME made, ended, kernel, user;
    GetThreadTimes(GetCurrentThread(), &made, &ended, &kernel, &user);
    const auto ticks = [](const FILETIME& time) { return time.dwHighDateTime * 4294967296.0 + time.dwLowDateTime; };
    return (ticks(kernel) + ticks(user)) * 1e-7;
#else
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
#endif
}

/// Instructions between two of the engine's questions.
constexpr double kStepsOfInterrupt = 256 * 1024;
/// Pieces are made at a gigabyte in a second or less, so that this is some milliseconds.
constexpr std::size_t kBytesOfClock = std::size_t{1} << 20;
/// What a piece of any size counts at least.
constexpr std::size_t kBytesOfPiece = 1024;

}  // namespace

ScriptHeap::ScriptHeap() {
    mBlocks.mPrevious = mBlocks.mNext = &mBlocks;
    try {
        mContext = duk_create_heap(Allocate, Reallocate, Free, &mHook, OnFatal);
    } catch (const std::exception&) {  // a heap that is half made is no heap
    }
    if (mContext != nullptr && !mIsBroken) return;
    FreeAll();
    throw std::bad_alloc();
}

ScriptHeap::ScriptHeap(const ScriptLimits& limits) : ScriptHeap() {
    mLimits = limits;
    mHasLimits = true;
    mStart = GetThreadSeconds();
}

ScriptHeap::~ScriptHeap() {
    try {
        if (!mIsBroken) duk_destroy_heap(mContext);
    } catch (const std::exception&) {  // what is left is let go below
    }
    FreeAll();
}

ScriptHeap& ScriptHeap::Of(duk_context* context) {
    duk_memory_functions functions{};
    duk_get_memory_functions(context, &functions);
    return *static_cast<Hook*>(functions.udata)->mHeap;
}

void ScriptHeap::CheckClock() {
    if (mStop != Stop::None && mStop != Stop::Memory) return;
    if (mLimits.mIsCancelled != nullptr && mLimits.mIsCancelled()) mStop = Stop::Cancelled;
    if (GetThreadSeconds() - mStart > mLimits.mSeconds) mStop = Stop::Time;
}

int ScriptHeap::IsTimeOver(void* hook) {
    ScriptHeap& heap = *static_cast<Hook*>(hook)->mHeap;
    if (!heap.mHasLimits) return 0;
    heap.mSteps += kStepsOfInterrupt;
    if (heap.mSteps > static_cast<double>(heap.mLimits.mSteps)) heap.mStop = Stop::Steps;
    heap.CheckClock();
    return heap.mStop == Stop::None || heap.mStop == Stop::Memory ? 0 : 1;
}

void ScriptHeap::Spend(double steps) {
    if (!mHasLimits) return;
    mSteps += steps;
    if (mSteps > static_cast<double>(mLimits.mSteps)) mStop = Stop::Steps;
    if (mStop != Stop::None && mStop != Stop::Memory) duk_error_raw(mContext, DUK_ERR_RANGE_ERROR, "native", 0, "stop");
}

void* ScriptHeap::Refuse(std::size_t size) {
    mRefusedSize = size;
    return nullptr;
}

/// Whether a piece may have another size. One that was refused is asked for again when the engine has cleaned up.
bool ScriptHeap::IsAllowed(std::size_t oldSize, std::size_t newSize) {
    if (!mHasLimits || newSize <= oldSize) return true;
    mUncheckedBytes += newSize + kBytesOfPiece;
    if (mUncheckedBytes > kBytesOfClock) {
        mUncheckedBytes = 0;
        CheckClock();
    }
    if (mStop != Stop::None && mStop != Stop::Memory) return false;
    if (newSize > mLimits.mBytes || mBytes - oldSize > mLimits.mBytes - newSize) {
        mStop = Stop::Memory;
        return false;
    }
    if (mStop == Stop::Memory && newSize >= mRefusedSize) mStop = Stop::None;
    return true;
}

void* ScriptHeap::Enter(void* raw, std::size_t size) {
    auto* block = ::new (raw) Block{&mBlocks, mBlocks.mNext, size};
    block->mPrevious->mNext = block->mNext->mPrevious = block;
    mBytes += size;
    return block + 1;
}

void* ScriptHeap::Allocate(void* hook, duk_size_t size) {
    ScriptHeap& heap = *static_cast<Hook*>(hook)->mHeap;
    if (!heap.IsAllowed(0, size)) return heap.Refuse(size);
    void* const raw = size > SIZE_MAX - sizeof(Block) ? nullptr : std::malloc(size + sizeof(Block));
    if (raw != nullptr) return heap.Enter(raw, size);
    heap.mIsShortOfMemory = true;
    // The engine cannot tell of it before its heap is made.
    if (heap.mContext == nullptr) throw std::bad_alloc();
    return nullptr;
}

void* ScriptHeap::Reallocate(void* hook, void* memory, duk_size_t size) {
    if (memory == nullptr) return size == 0 ? nullptr : Allocate(hook, size);
    if (size == 0) {
        Free(hook, memory);
        return nullptr;
    }
    ScriptHeap& heap = *static_cast<Hook*>(hook)->mHeap;
    auto* const block = static_cast<Block*>(memory) - 1;
    const Block old = *block;
    if (!heap.IsAllowed(old.mSize, size)) return heap.Refuse(size);
    void* const raw = size > SIZE_MAX - sizeof(Block) ? nullptr : std::realloc(block, size + sizeof(Block));
    if (raw == nullptr) {
        heap.mIsShortOfMemory = true;
        if (heap.mContext == nullptr) throw std::bad_alloc();
        return nullptr;
    }
    auto* const moved = ::new (raw) Block{old.mPrevious, old.mNext, size};
    moved->mPrevious->mNext = moved->mNext->mPrevious = moved;
    heap.mBytes += size - old.mSize;
    return moved + 1;
}

void ScriptHeap::Free(void* hook, void* memory) {
    if (memory == nullptr) return;
    auto* const block = static_cast<Block*>(memory) - 1;
    block->mPrevious->mNext = block->mNext;
    block->mNext->mPrevious = block->mPrevious;
    static_cast<Hook*>(hook)->mHeap->mBytes -= block->mSize;
    std::free(block);
}

void ScriptHeap::OnFatal(void* hook, const char* message) {
    static_cast<Hook*>(hook)->mHeap->mIsBroken = true;
    throw std::runtime_error(std::string("The script engine failed: ") + (message == nullptr ? "no reason" : message));
}

void ScriptHeap::FreeAll() {
    while (mBlocks.mNext != &mBlocks) Free(&mHook, mBlocks.mNext + 1);
}
