#pragma once

#include <string>
#include <unordered_map>

#include "HostInterface/HostInterface.h"
#include "PluginBase/ComputeCache/ComputeCacheBase.h"
#include "PluginBase/Misc/Hash.h"

namespace zeb {

/// The host's cache, or the one inside the process when the host lacks the suite. Thread: one with a
/// context; the cache must be destroyed in a context as well, before the library is done.
UniquePtr<ComputeCacheBase> CreateComputeCache();

/// The host's hash, or MD5 when the host lacks the suite. Thread: as above.
UniquePtr<HasherBase> CreateHasher();

/// A suite held from construction to destruction, across commands.
class HeldSuiteAE {
public:
    /// Throws "Failed to acquire suite ..." with the host's code.
    HeldSuiteAE(const char* name, A_long version);
    ~HeldSuiteAE();
    HeldSuiteAE(const HeldSuiteAE&) = delete;
    HeldSuiteAE& operator=(const HeldSuiteAE&) = delete;
    const void* Get() const { return mSuite; }
    /// Whether the host has the suite; it is released at once.
    static bool IsAvailable(const char* name, A_long version);

private:
    SPBasicSuite* mBasic = nullptr;
    const char* mName;
    A_long mVersion;
    const void* mSuite = nullptr;
};

/// Keys by the host's hash. A state belongs to one thread; its key is undefined before the first Mix.
class HasherAE final : public HasherBase {
public:
    HasherAE();
    UniquePtr<HasherBase::State> CreateState() override;

private:
    class HasherState;
    HeldSuiteAE mHeldSuite;
};

/// The cache of the host, which computes each value once, evicts on its own terms and waits for other
/// threads. Registration comes first; the rest may run on several threads.
class ComputeCacheAE final : public ComputeCacheBase {
public:
    ComputeCacheAE();
    ~ComputeCacheAE() override;

    void RegisterCacheable(UniquePtr<CacheableCreatorBase> creator) override;
    ComputeCacheResultBase DoComputeIfNeededAndCheckout(const std::string& className,
                                                        const CacheableOptionsBase& options) override;
    bool DoHasValue(const std::string& className, const CacheableOptionsBase& options) override;
    void Checkin(const ComputeCacheResultBase& result) override;

private:
    CacheableCreatorBase& GetCreator(const std::string& className) const;

    HeldSuiteAE mHeldSuite;
    const AEGP_ComputeCacheSuite1* mComputeCache;
    UniquePtr<HasherBase> mHasher;
    std::unordered_map<std::string, UniquePtr<CacheableCreatorBase>, StringHash, std::equal_to<>> mCreators;
};

}  // namespace zeb
