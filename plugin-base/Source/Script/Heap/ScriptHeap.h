#pragma once

#include <cstddef>

#include <duktape.h>

/// A heap of the script engine that outlives a lack of memory, for all who run scripts; it knows none of them.
///
/// The engine reports most errors by a jump to a protected call, a failed allocation among them. Where there is none to
/// jump to it would end the process; and while a heap is made, it has nothing yet to tell an error with. Both come out
/// of here as C++ exceptions, which leave the engine's frames behind for good.
class ScriptHeap {
public:
    /// Throws std::bad_alloc without memory for a heap.
    ScriptHeap();
    ~ScriptHeap();
    ScriptHeap(const ScriptHeap&) = delete;
    ScriptHeap& operator=(const ScriptHeap&) = delete;

    duk_context* Get() const { return mContext; }
    /// After an error outside all protected calls, which came out as a std::runtime_error. The heap is of no more use;
    /// nothing may be called with it.
    bool IsBroken() const { return mIsBroken; }

private:
    /// Stands before each piece of memory, so that a heap that is broken can be let go without the engine.
    struct alignas(std::max_align_t) Block {
        Block* mPrevious = nullptr;
        Block* mNext = nullptr;
    };

    static void* Allocate(void* self, duk_size_t size);
    static void* Reallocate(void* self, void* memory, duk_size_t size);
    static void Free(void* self, void* memory);
    [[noreturn]] static void OnFatal(void* self, const char* message);
    void* Enter(void* raw);
    void FreeAll();

    Block mBlocks;  ///< a ring of all pieces
    duk_context* mContext = nullptr;
    bool mIsBroken = false;
};
