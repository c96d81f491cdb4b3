#include "PluginBase/ComputeCache/ComputeCache.h"

#include <utility>

#include <fmt/format.h>

namespace zeb {

std::size_t CacheKeyHash::operator()(const CacheKey& key) const {
    std::uint64_t seed = key.size();
    // The golden ratio's bits as a negative 32-bit number, 0x9e3779b9.
    for (const std::uint32_t word : key) seed ^= word - std::uint64_t{1640531527} + (seed << 6) + (seed >> 2);
    return static_cast<std::size_t>(seed);
}

ComputeCache::ComputeCache(UniquePtr<HasherBase> hasher) : mHasher(std::move(hasher)) {}

void ComputeCache::RegisterCacheable(UniquePtr<CacheableCreatorBase> creator) {
    auto cacheClass = std::make_unique<CacheClass>();
    const std::string name = creator->GetName();
    cacheClass->mCreator = std::move(creator);
    mClasses[name] = std::move(cacheClass);
}

ComputeCacheResultBase ComputeCache::DoComputeIfNeededAndCheckout(const std::string& className,
                                                                  const CacheableOptionsBase& options) {
    CacheClass& cacheClass = GetClass(className);
    const CacheKey key = cacheClass.mCreator->GetHash(*mHasher, options);
    {
        const std::lock_guard lock(cacheClass.mMutex);
        if (const auto found = cacheClass.mValues.find(key); found != cacheClass.mValues.end())
            return {this, found->second.get(), found->second.get()};
    }
    UniquePtr<CacheableBase> value = cacheClass.mCreator->Create(options);
    CacheableBase* const address = value.get();
    const std::lock_guard lock(cacheClass.mMutex);
    UniquePtr<CacheableBase>& slot = cacheClass.mValues[key];
    if (slot != nullptr) cacheClass.mReplaced.push_back(std::move(slot));
    slot = std::move(value);
    return {this, address, address};
}

bool ComputeCache::DoHasValue(const std::string& className, const CacheableOptionsBase& options) {
    CacheClass& cacheClass = GetClass(className);
    const CacheKey key = cacheClass.mCreator->GetHash(*mHasher, options);
    const std::lock_guard lock(cacheClass.mMutex);
    return cacheClass.mValues.contains(key);
}

void ComputeCache::Checkin(const ComputeCacheResultBase&) {}

ComputeCache::CacheClass& ComputeCache::GetClass(std::string_view className) const {
    const auto found = mClasses.find(className);
    if (found == mClasses.end())
        ZEB_THROW(kInternalError, fmt::format("Failed to compute a cache of unregistered class {}", className));
    return *found->second;
}

}  // namespace zeb
