#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>

#include "PluginBase/Exception.h"
#include "PluginBase/Misc/MakeUnique.h"

/// A cache of computed values, shared by threads: the host's where it has one, else one of ours.
namespace zeb {

using CacheKey = std::array<std::uint32_t, 4>;

class HasherBase {
public:
    class State {
    public:
        virtual ~State() = default;
        virtual void Mix(const void* pointer, std::size_t size) = 0;
        virtual CacheKey Finish() = 0;
    };
    virtual ~HasherBase() = default;
    virtual UniquePtr<State> CreateState() = 0;
};

class CacheableBase {
public:
    virtual ~CacheableBase() = default;
    /// Size in bytes, as told to the cache.
    virtual std::uint64_t GetSize() const = 0;
};

class CacheableOptionsBase {
public:
    virtual ~CacheableOptionsBase() = default;
};

class CacheableCreatorBase {
public:
    virtual ~CacheableCreatorBase() = default;
    /// Name of the class of values.
    virtual std::string GetName() const = 0;
    /// May run on any host thread, several at once.
    virtual UniquePtr<CacheableBase> Create(const CacheableOptionsBase& options) = 0;
    virtual CacheKey GetHash(HasherBase& hasher, const CacheableOptionsBase& options) = 0;
};

/// Specialised for each cached class.
template <class T>
class CacheableCreator;

class ComputeCacheBase;

/// A value while it is checked out. Move-only; its destructor checks the value in.
class ComputeCacheResultBase {
public:
    ComputeCacheResultBase() = default;
    ComputeCacheResultBase(ComputeCacheBase* cache, CacheableBase* value, void* receipt)
        : mCache(cache), mValue(value), mReceipt(receipt) {}
    ComputeCacheResultBase(ComputeCacheResultBase&& other) noexcept
        : mCache(std::exchange(other.mCache, nullptr)),
          mValue(std::exchange(other.mValue, nullptr)),
          mReceipt(std::exchange(other.mReceipt, nullptr)) {}
    ComputeCacheResultBase& operator=(ComputeCacheResultBase&& other) noexcept {
        std::swap(mCache, other.mCache);
        std::swap(mValue, other.mValue);
        std::swap(mReceipt, other.mReceipt);
        return *this;
    }
    virtual ~ComputeCacheResultBase();

    CacheableBase* GetValue() const { return mValue; }
    void* GetReceipt() const { return mReceipt; }

private:
    ComputeCacheBase* mCache = nullptr;
    CacheableBase* mValue = nullptr;
    void* mReceipt = nullptr;
};

template <class T>
class ComputeCacheResult : public ComputeCacheResultBase {
public:
    ComputeCacheResult() = default;
    /// Throws zeb::Exception when the value is not a T.
    explicit ComputeCacheResult(ComputeCacheResultBase result)
        : ComputeCacheResultBase(std::move(result)), mTyped(dynamic_cast<T*>(GetValue())) {
        if (mTyped == nullptr) ZEB_THROW(kInternalError, "Unexpected type of a cached value");
    }
    const T& operator*() const { return *mTyped; }
    const T* operator->() const { return mTyped; }

private:
    T* mTyped = nullptr;
};

class ComputeCacheBase {
public:
    virtual ~ComputeCacheBase() = default;
    /// Registration happens once, before any other call; the rest may be called from several threads.
    virtual void RegisterCacheable(UniquePtr<CacheableCreatorBase> creator) = 0;
    virtual ComputeCacheResultBase DoComputeIfNeededAndCheckout(const std::string& className,
                                                                const CacheableOptionsBase& options) = 0;
    virtual bool DoHasValue(const std::string& className, const CacheableOptionsBase& options) = 0;
    virtual void Checkin(const ComputeCacheResultBase& result) = 0;
};

}  // namespace zeb
