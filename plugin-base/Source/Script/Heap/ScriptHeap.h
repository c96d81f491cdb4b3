#pragma once

#include <cstddef>
#include <cstdint>

#include <duktape.h>

/// What a script may use before it is stopped.
struct ScriptLimits {
    std::size_t mBytes;    ///< memory of the heap
    std::uint64_t mSteps;  ///< instructions, and what native functions say they take
    double mSeconds;       ///< processor time of the thread, so that a busy machine stops no more than an idle one
    bool (*mIsCancelled)() = nullptr;  ///< asked now and then whether anybody still waits for the script; may be null
};

/// A heap of the script engine that outlives a lack of memory, for all who run scripts; it knows none of them.
///
/// The engine reports most errors by a jump to a protected call, a failed allocation among them. Where there is none to
/// jump to it would end the process; and while a heap is made, it has nothing yet to tell an error with. Both come out
/// of here as C++ exceptions, which leave the engine's frames behind for good.
class ScriptHeap {
public:
    /// Why a script was stopped.
    enum class Stop { None, Memory, Steps, Time, Cancelled };

    /// Throws std::bad_alloc without memory for a heap.
    ScriptHeap();
    /// A heap whose scripts end with an error once they are beyond a limit. Native functions that take long on a
    /// script's word call Spend.
    explicit ScriptHeap(const ScriptLimits& limits);
    ~ScriptHeap();
    ScriptHeap(const ScriptHeap&) = delete;
    ScriptHeap& operator=(const ScriptHeap&) = delete;

    duk_context* Get() const { return mContext; }
    /// After an error outside all protected calls, which came out as a std::runtime_error. The heap is of no more use;
    /// nothing may be called with it.
    bool IsBroken() const { return mIsBroken; }

    /// The heap that a native function runs on.
    static ScriptHeap& Of(duk_context* context);
    /// Counts steps that a native function is about to take; raises an error in the script when they are too many.
    void Spend(double steps);
    /// The limit that scripts have reached; they fail from then on. Memory counts only if nothing else made room.
    Stop GetStop() const { return mStop; }
    /// Whether the system itself refused memory that the limits would have allowed.
    bool IsShortOfMemory() const { return mIsShortOfMemory; }

private:
    /// What the engine hands to its callbacks; begins as Engine.c expects.
    struct Hook {
        int (*mIsTimeOver)(void* hook);
        ScriptHeap* mHeap;
    };
    /// Stands before each piece of memory, so that a heap that is broken can be let go without the engine.
    struct alignas(std::max_align_t) Block {
        Block* mPrevious = nullptr;
        Block* mNext = nullptr;
        std::size_t mSize = 0;
    };

    static void* Allocate(void* hook, duk_size_t size);
    static void* Reallocate(void* hook, void* memory, duk_size_t size);
    static void Free(void* hook, void* memory);
    static int IsTimeOver(void* hook);
    [[noreturn]] static void OnFatal(void* hook, const char* message);
    bool IsAllowed(std::size_t oldSize, std::size_t newSize);
    void* Refuse(std::size_t size);
    void* Enter(void* raw, std::size_t size);
    void CheckClock();
    void FreeAll();

    Hook mHook{IsTimeOver, this};
    Block mBlocks;  ///< a ring of all pieces
    duk_context* mContext = nullptr;
    bool mIsBroken = false;
    bool mHasLimits = false;
    ScriptLimits mLimits{};
    Stop mStop = Stop::None;
    bool mIsShortOfMemory = false;
    std::size_t mBytes = 0;           ///< in all pieces
    std::size_t mRefusedSize = 0;     ///< of the last piece that was refused
    std::size_t mUncheckedBytes = 0;  ///< asked for since the clock was last looked at
    double mSteps = 0;
    double mStart = 0;  ///< the thread's processor time
};
