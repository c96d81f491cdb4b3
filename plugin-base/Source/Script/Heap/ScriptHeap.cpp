#include "ScriptHeap.h"

#include <cstdlib>
#include <new>
#include <stdexcept>
#include <string>

ScriptHeap::ScriptHeap() {
    mBlocks.mPrevious = mBlocks.mNext = &mBlocks;
    try {
        mContext = duk_create_heap(Allocate, Reallocate, Free, this, OnFatal);
    } catch (const std::exception&) {  // a heap that is half made is no heap
    }
    if (mContext != nullptr && !mIsBroken) return;
    FreeAll();
    throw std::bad_alloc();
}

ScriptHeap::~ScriptHeap() {
    try {
        if (!mIsBroken) duk_destroy_heap(mContext);
    } catch (const std::exception&) {  // what is left is let go below
    }
    FreeAll();
}

void* ScriptHeap::Enter(void* raw) {
    if (raw == nullptr) return nullptr;
    auto* block = ::new (raw) Block{&mBlocks, mBlocks.mNext};
    block->mPrevious->mNext = block->mNext->mPrevious = block;
    return block + 1;
}

void* ScriptHeap::Allocate(void* self, duk_size_t size) {
    auto& heap = *static_cast<ScriptHeap*>(self);
    void* const raw = size > SIZE_MAX - sizeof(Block) ? nullptr : std::malloc(size + sizeof(Block));
    // The engine cannot tell of it before its heap is made.
    if (raw == nullptr && heap.mContext == nullptr) throw std::bad_alloc();
    return heap.Enter(raw);
}

void* ScriptHeap::Reallocate(void* self, void* memory, duk_size_t size) {
    if (memory == nullptr) return size == 0 ? nullptr : Allocate(self, size);
    if (size == 0) {
        Free(self, memory);
        return nullptr;
    }
    auto& heap = *static_cast<ScriptHeap*>(self);
    if (size > SIZE_MAX - sizeof(Block)) return nullptr;
    auto* const block = static_cast<Block*>(memory) - 1;
    Block* const previous = block->mPrevious;
    Block* const next = block->mNext;
    void* const raw = std::realloc(block, size + sizeof(Block));
    if (raw == nullptr) {
        if (heap.mContext == nullptr) throw std::bad_alloc();
        return nullptr;
    }
    auto* const moved = ::new (raw) Block{previous, next};
    previous->mNext = next->mPrevious = moved;
    return moved + 1;
}

void ScriptHeap::Free(void*, void* memory) {
    if (memory == nullptr) return;
    auto* const block = static_cast<Block*>(memory) - 1;
    block->mPrevious->mNext = block->mNext;
    block->mNext->mPrevious = block->mPrevious;
    std::free(block);
}

void ScriptHeap::OnFatal(void* self, const char* message) {
    static_cast<ScriptHeap*>(self)->mIsBroken = true;
    throw std::runtime_error(std::string("The script engine failed: ") + (message == nullptr ? "no reason" : message));
}

void ScriptHeap::FreeAll() {
    while (mBlocks.mNext != &mBlocks) Free(this, mBlocks.mNext + 1);
}
