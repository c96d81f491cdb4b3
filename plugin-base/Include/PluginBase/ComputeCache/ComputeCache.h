#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "PluginBase/ComputeCache/ComputeCacheBase.h"
#include "PluginBase/Misc/Hash.h"

namespace zeb {

/// Hash functor over the four words of a key.
struct CacheKeyHash {
    std::size_t operator()(const CacheKey& key) const;
};

/// The cache inside the process, for hosts without one. Values are never evicted. `Create` runs without
/// a lock, so two threads may compute one value at once; the later store replaces the earlier, which
/// stays alive for those who still read it.
class ComputeCache final : public ComputeCacheBase {
public:
    /// `hasher` makes the keys; the cache owns it.
    explicit ComputeCache(UniquePtr<HasherBase> hasher);

    void RegisterCacheable(UniquePtr<CacheableCreatorBase> creator) override;
    ComputeCacheResultBase DoComputeIfNeededAndCheckout(const std::string& className,
                                                        const CacheableOptionsBase& options) override;
    bool DoHasValue(const std::string& className, const CacheableOptionsBase& options) override;
    void Checkin(const ComputeCacheResultBase& result) override;

private:
    struct CacheClass {
        std::mutex mMutex;  ///< guards the two members below the creator
        UniquePtr<CacheableCreatorBase> mCreator;
        std::unordered_map<CacheKey, UniquePtr<CacheableBase>, CacheKeyHash> mValues;
        std::vector<UniquePtr<CacheableBase>> mReplaced;
    };

    CacheClass& GetClass(std::string_view className) const;

    UniquePtr<HasherBase> mHasher;
    std::unordered_map<std::string, std::unique_ptr<CacheClass>, StringHash, std::equal_to<>> mClasses;
};

}  // namespace zeb
