#include "PluginBase/AE/ComputeCacheAE.h"

#include <cstring>
#include <exception>
#include <new>
#include <optional>

#include <fmt/format.h>

#include "../../AE/CheckAE.h"
#include "PluginBase/AE/ThreadContextAE.h"
#include "PluginBase/ComputeCache/ComputeCache.h"
#include "PluginBase/ComputeCache/Hasher.h"

namespace zeb {
namespace {

/// What the host answers for a value that it doesn't hold. Its older headers have no name for it.
constexpr A_Err kNotCached = 22;

}  // namespace

// ---- Suites ----

HeldSuiteAE::HeldSuiteAE(const char* name, A_long version)
    : mBasic(AEGPSuites().GetBasicSuite()), mName(name), mVersion(version) {
    const SPErr error = mBasic == nullptr ? kInternalError : mBasic->AcquireSuite(name, version, &mSuite);
    if (error != 0 || mSuite == nullptr)
        ZEB_THROW(error != 0 ? error : kInternalError, fmt::format("Failed to acquire suite {}", name));
}

HeldSuiteAE::~HeldSuiteAE() {
    if (mBasic->ReleaseSuite(mName, mVersion) != 0) ReportReleaseFailure(mName);
}

bool HeldSuiteAE::IsAvailable(const char* name, A_long version) {
    SPBasicSuite* basic = AEGPSuites().GetBasicSuite();
    const void* suite = nullptr;
    if (basic == nullptr || basic->AcquireSuite(name, version, &suite) != 0) return false;
    // A host that reports success has counted the acquisition, whatever the pointer.
    basic->ReleaseSuite(name, version);
    return suite != nullptr;
}

UniquePtr<ComputeCacheBase> CreateComputeCache() {
    if (HeldSuiteAE::IsAvailable(kAEGPComputeCacheSuite, kAEGPComputeCacheSuiteVersion1))
        return MakeUnique<ComputeCacheAE>();
    return MakeUnique<ComputeCache>(CreateHasher());
}

UniquePtr<HasherBase> CreateHasher() {
    if (HeldSuiteAE::IsAvailable(kAEGPHashSuite, kAEGPHashSuiteVersion1)) return MakeUnique<HasherAE>();
    return MakeUnique<Hasher>();
}

// ---- Hasher ----

class HasherAE::HasherState final : public HasherBase::State {
public:
    explicit HasherState(const AEGP_HashSuite1* suite) : mSuite(suite) {}

    void Mix(const void* pointer, std::size_t size) override {
        if (!mStarted) {
            ZEB_CHECK_TEXT(mSuite->AEGP_CreateHashFromPtr(size, pointer, &mKey),
                           "Failed to call mSuite->AEGP_CreateHashFromPtr( size, ptr, "
                           "reinterpret_cast<AEGP_GUID*>(&key))");
            mStarted = true;
            return;
        }
        ZEB_CHECK_TEXT(mSuite->AEGP_HashMixInPtr(size, pointer, &mKey),
                       "Failed to call mSuite->AEGP_HashMixInPtr( size, ptr, "
                       "reinterpret_cast<AEGP_GUID*>(&inOutKey))");
    }

    CacheKey Finish() override {
        CacheKey key;
        static_assert(sizeof(key) == sizeof(mKey));
        std::memcpy(key.data(), &mKey, sizeof(mKey));
        return key;
    }

private:
    const AEGP_HashSuite1* mSuite;
    AEGP_GUID mKey{};
    bool mStarted = false;
};

HasherAE::HasherAE() : mHeldSuite(kAEGPHashSuite, kAEGPHashSuiteVersion1) {}

UniquePtr<HasherBase::State> HasherAE::CreateState() {
    return MakeUnique<HasherState>(static_cast<const AEGP_HashSuite1*>(mHeldSuite.Get()));
}

// ---- Callbacks of the host ----

namespace {

/// What travels through the host as a computation's options, for the length of one suite call.
struct AEOptions {
    PF_InData* mInData;
    PF_OutData* mOutData;
    HasherBase* mHasher;
    CacheableCreatorBase* mCreator;
    const CacheableOptionsBase* mOptions;
    bool mIsOutOfMemory = false;  ///< the computation was
};

/// What the host keeps for a value.
using Holder = UniquePtr<CacheableBase>;

/// Runs `work` in the command's context, also on a thread of the host's own. Nothing may cross into the host.
template <class Work>
A_Err RunCallback(void* refcon, Work&& work) noexcept {
    try {
        auto& options = *static_cast<AEOptions*>(refcon);
        std::optional<ThreadContextScope> scope;
        if (!HasThreadContext()) scope.emplace(options.mInData, options.mOutData, nullptr);
        work(options);
        return A_Err_NONE;
    } catch (const std::bad_alloc&) {
        static_cast<AEOptions*>(refcon)->mIsOutOfMemory = true;
        return A_Err_GENERIC;
    } catch (...) {
        return A_Err_GENERIC;
    }
}

extern "C" {

static A_Err GenerateKey(AEGP_CCComputeOptionsRefconP refcon, AEGP_CCComputeKeyP outKey) {
    return RunCallback(refcon, [outKey](AEOptions& options) {
        NeedFromHost(outKey, "place for a key");
        const CacheKey key = options.mCreator->GetHash(*options.mHasher, *options.mOptions);
        std::memcpy(outKey, key.data(), sizeof(key));
    });
}

static A_Err ComputeValue(AEGP_CCComputeOptionsRefconP refcon, AEGP_CCComputeValueRefconP* outValue) {
    return RunCallback(refcon, [outValue](AEOptions& options) {
        *NeedFromHost(outValue, "place for a value") = new Holder(options.mCreator->Create(*options.mOptions));
    });
}

// The last two come on threads of the host's choosing and call nothing of the host.
static A_u_longlong ApproximateSize(AEGP_CCComputeValueRefconP value) {
    if (value == nullptr) return 0;
    const Holder& holder = *static_cast<Holder*>(value);
    try {
        return holder ? holder->GetSize() : 0;
    } catch (...) {
        return 0;
    }
}

static void DeleteValue(AEGP_CCComputeValueRefconP value) { delete static_cast<Holder*>(value); }

}  // extern "C"

AEOptions MakeOptions(HasherBase& hasher, CacheableCreatorBase& creator, const CacheableOptionsBase& options) {
    return {InData(), OutData(), &hasher, &creator, &options, false};
}

}  // namespace

// ---- Cache ----

ComputeCacheAE::ComputeCacheAE()
    : mHeldSuite(kAEGPComputeCacheSuite, kAEGPComputeCacheSuiteVersion1),
      mComputeCache(static_cast<const AEGP_ComputeCacheSuite1*>(mHeldSuite.Get())),
      mHasher(CreateHasher()) {}

ComputeCacheAE::~ComputeCacheAE() {
    // The host deletes the values through our callback while the class goes.
    for (const auto& [name, creator] : mCreators) {
        if (mComputeCache->AEGP_ClassUnregister(name.c_str()) != 0)
            ReportCleanupFailure("Failed to unregister a cache class");
    }
}

void ComputeCacheAE::RegisterCacheable(UniquePtr<CacheableCreatorBase> creator) {
    const std::string className = creator->GetName();
    AEGP_ComputeCacheCallbacks cb{};
    cb.generate_key = GenerateKey;
    cb.compute = ComputeValue;
    cb.approx_size_value = ApproximateSize;
    cb.delete_compute_value = DeleteValue;
    ZEB_CHECK(mComputeCache->AEGP_ClassRegister(className.c_str(), &cb));
    mCreators[className] = std::move(creator);
}

CacheableCreatorBase& ComputeCacheAE::GetCreator(const std::string& className) const {
    const auto found = mCreators.find(className);
    if (found == mCreators.end())
        ZEB_THROW(kInternalError, "Failed to compute a cache value of unregistered type " + className);
    return *found->second;
}

ComputeCacheResultBase ComputeCacheAE::DoComputeIfNeededAndCheckout(const std::string& className,
                                                                    const CacheableOptionsBase& options) {
    AEOptions optionsAE = MakeOptions(*mHasher, GetCreator(className), options);
    AEGP_CCCheckoutReceiptP receipt = nullptr;
    const A_Err computed =
        mComputeCache->AEGP_ComputeIfNeededAndCheckout(className.c_str(), &optionsAE, true, &receipt);
    if (computed != 0 && optionsAE.mIsOutOfMemory) throw std::bad_alloc();
    ZEB_CHECK_TEXT(computed,
                   "Failed to call mComputeCache->AEGP_ComputeIfNeededAndCheckout( className.c_str(), &optionsAE, "
                   "true, &receipt)");
    if (receipt == nullptr) ZEB_THROW(kInternalError, "Failed to compute a cache value of type " + className);
    AEGP_CCComputeValueRefconP refcon = nullptr;
    if (const A_Err error = mComputeCache->AEGP_GetReceiptComputeValue(receipt, &refcon); error != 0) {
        Checkin(ComputeCacheResultBase(nullptr, nullptr, receipt));
        ZEB_THROW(error, "Failed to call mComputeCache->AEGP_GetReceiptComputeValue(receipt, &refcon)");
    }
    CacheableBase* value = refcon == nullptr ? nullptr : static_cast<Holder*>(refcon)->get();
    return ComputeCacheResultBase(this, value, receipt);
}

bool ComputeCacheAE::DoHasValue(const std::string& className, const CacheableOptionsBase& options) {
    AEOptions optionsAE = MakeOptions(*mHasher, GetCreator(className), options);
    AEGP_CCCheckoutReceiptP receipt = nullptr;
    const A_Err error = mComputeCache->AEGP_CheckoutCached(className.c_str(), &optionsAE, &receipt);
    if (error == kNotCached) return false;
    if (error != 0) ZEB_THROW(error, "Failed to checkout a cached value");
    Checkin(ComputeCacheResultBase(nullptr, nullptr, receipt));
    return true;
}

void ComputeCacheAE::Checkin(const ComputeCacheResultBase& result) {
    void* receipt = result.GetReceipt();
    if (receipt != nullptr && mComputeCache->AEGP_CheckinComputeReceipt(receipt) != 0)
        ReportCleanupFailure("Failed to call mComputeCache->AEGP_CheckinComputeReceipt(receipt)");
}

}  // namespace zeb
