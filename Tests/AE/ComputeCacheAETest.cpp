#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <stdexcept>

#include "FakeHost.h"
#include "PluginBase/AE/ComputeCacheAE.h"
#include "PluginBase/AE/ThreadContextAE.h"
#include "PluginBase/ComputeCache/ComputeCache.h"

namespace {

using testing::HasSubstr;

// ---- A host's cache of one class ----

struct HostCache {
    AEGP_ComputeCacheCallbacks mCallbacks{};
    std::string mName;
    std::map<A_long, void*> mValues;  ///< by the key's first word
    int mReceipts = 0;                ///< out and not checked in
    A_Err mCheckoutError = 0;
    A_Err mValueError = 0;
    A_u_longlong mSize = 0;
};
HostCache sCache;

A_Err Register(const char* name, const AEGP_ComputeCacheCallbacks* callbacks) {
    sCache.mName = name;
    return sCache.mCallbacks = *callbacks, 0;
}

A_Err Unregister(const char*) {
    for (const auto& [key, value] : sCache.mValues) sCache.mCallbacks.delete_compute_value(value);
    sCache.mCallbacks.delete_compute_value(nullptr);
    sCache.mValues.clear();
    return sCache.mName.clear(), 0;
}

A_Err Checkout(void* options, bool compute, void** receipt) {
    if (sCache.mCheckoutError != 0) return sCache.mCheckoutError;
    AEGP_GUID key{};
    if (sCache.mCallbacks.generate_key(options, &key) != 0) return A_Err_GENERIC;
    if (!sCache.mValues.contains(key.bytes[0])) {
        if (!compute) return A_Err_NOT_IN_CACHE_OR_COMPUTE_PENDING;
        void* value = nullptr;
        if (sCache.mCallbacks.compute(options, &value) != 0) return A_Err_GENERIC;
        sCache.mValues[key.bytes[0]] = value;
        sCache.mSize = sCache.mCallbacks.approx_size_value(value) + sCache.mCallbacks.approx_size_value(nullptr);
    }
    ++sCache.mReceipts;
    return *receipt = &sCache.mValues[key.bytes[0]], 0;
}

A_Err Compute(const char*, void* options, bool wait, void** receipt) {
    return wait ? Checkout(options, true, receipt) : A_Err_PARAMETER;
}
A_Err CheckoutCached(const char*, void* options, void** receipt) { return Checkout(options, false, receipt); }
A_Err GetValue(void* receipt, void** value) {
    if (sCache.mValueError != 0) return sCache.mValueError;
    return *value = *static_cast<void**>(receipt), 0;
}
A_Err Checkin(void*) { return --sCache.mReceipts, 0; }

A_Err CreateHash(A_u_longlong size, const void* data, AEGP_GUID* guid) {
    *guid = {};
    return std::memcpy(guid->bytes, data, std::min<std::size_t>(size, 16)), 0;
}
A_Err MixHash(A_u_longlong, const void* data, AEGP_GUID* guid) {
    return guid->bytes[1] += *static_cast<const unsigned char*>(data), 0;
}

constexpr AEGP_HashSuite1 kHashSuite = {CreateHash, MixHash};
constexpr AEGP_ComputeCacheSuite1 kCacheSuite = {Register, Unregister, Compute, CheckoutCached, GetValue, Checkin};

// ---- What is cached ----

int sAlive = 0;

struct Number final : zeb::CacheableBase {
    explicit Number(int value) : mValue(value) { ++sAlive; }
    ~Number() override { --sAlive; }
    std::uint64_t GetSize() const override { return 1000; }
    int mValue;
};

struct Options final : zeb::CacheableOptionsBase {
    explicit Options(int value) : mValue(value) {}
    int mValue;
};

struct Creator final : zeb::CacheableCreatorBase {
    std::string GetName() const override { return "Number"; }
    zeb::UniquePtr<zeb::CacheableBase> Create(const zeb::CacheableOptionsBase& options) override {
        const int value = dynamic_cast<const Options&>(options).mValue;
        if (value < 0) throw std::runtime_error("negative");
        return zeb::MakeUnique<Number>(value);
    }
    zeb::CacheKey GetHash(zeb::HasherBase& hasher, const zeb::CacheableOptionsBase& options) override {
        const int value = dynamic_cast<const Options&>(options).mValue;
        if (value == 13) throw 13;
        const auto state = hasher.CreateState();
        state->Mix(&value, sizeof(value));
        return state->Finish();
    }
};

class ComputeCacheAE : public testing::Test {
protected:
    ComputeCacheAE() : mScope(&mHost.mInData, &mHost.mOutData, nullptr) {
        sCache = {};
        mHost.AddSuite(kAEGPHashSuite, kAEGPHashSuiteVersion1, &kHashSuite);
        mHost.AddSuite(kAEGPComputeCacheSuite, kAEGPComputeCacheSuiteVersion1, &kCacheSuite);
    }
    void TearDown() override {
        EXPECT_EQ(sAlive, 0);
        EXPECT_EQ(sCache.mReceipts, 0);
        EXPECT_EQ(mHost.mHeldSuites, 0);
    }
    template <class Call>
    static std::string Failure(Call call, std::int32_t* code = nullptr) {
        try {
            call();
        } catch (const zeb::Exception& exception) {
            if (code != nullptr) *code = exception.code;
            return exception.what();
        }
        return "";
    }

    test::FakeHost mHost;
    zeb::ThreadContextScope mScope;
};

TEST_F(ComputeCacheAE, ComputesOnceAndHandsOverTheValue) {
    auto cache = zeb::CreateComputeCache();
    ASSERT_NE(dynamic_cast<zeb::ComputeCacheAE*>(cache.get()), nullptr);
    cache->RegisterCacheable(zeb::MakeUnique<Creator>());
    EXPECT_EQ(sCache.mName, "Number");
    EXPECT_FALSE(cache->DoHasValue("Number", Options(5)));
    {
        const zeb::ComputeCacheResult<Number> first(cache->DoComputeIfNeededAndCheckout("Number", Options(5)));
        const zeb::ComputeCacheResult<Number> second(cache->DoComputeIfNeededAndCheckout("Number", Options(5)));
        EXPECT_EQ(first->mValue, 5);
        EXPECT_EQ(&*first, &*second);
        EXPECT_EQ(sCache.mReceipts, 2);
        EXPECT_EQ(sCache.mSize, 1000U);
    }
    EXPECT_EQ(sCache.mReceipts, 0);
    EXPECT_TRUE(cache->DoHasValue("Number", Options(5)));
    EXPECT_EQ(sAlive, 1);
    cache.reset();
    EXPECT_EQ(sCache.mName, "");
}

TEST_F(ComputeCacheAE, FailuresAreNamedAndNothingCrossesTheHost) {
    const auto cache = zeb::CreateComputeCache();
    cache->RegisterCacheable(zeb::MakeUnique<Creator>());
    const auto compute = [&cache](const char* name, int value) {
        return [&cache, name, value] { cache->DoComputeIfNeededAndCheckout(name, Options(value)); };
    };
    std::int32_t code = 0;
    EXPECT_THAT(Failure(compute("Other", 1), &code),
                HasSubstr("\"Failed to compute a cache value of unregistered type Other\""));
    EXPECT_EQ(code, 512);
    // The creator's own exceptions, of any kind, end in the callbacks.
    for (const int value : {-1, 13}) {
        EXPECT_THAT(Failure(compute("Number", value), &code),
                    HasSubstr("\"Failed to call mComputeCache->AEGP_ComputeIfNeededAndCheckout( className.c_str(), "
                              "&optionsAE, true, &receipt)\""));
        EXPECT_EQ(code, 1);
    }
    sCache.mValueError = 3;
    EXPECT_THAT(Failure(compute("Number", 1)),
                HasSubstr("\"Failed to call mComputeCache->AEGP_GetReceiptComputeValue(receipt, &refcon)\""));
    EXPECT_EQ(sCache.mReceipts, 0);
    sCache.mCheckoutError = 2;
    EXPECT_THAT(Failure([&cache] { cache->DoHasValue("Number", Options(1)); }, &code),
                HasSubstr("\"Failed to checkout a cached value\""));
    EXPECT_EQ(code, 2);
    { const zeb::ComputeCacheResultBase none(cache.get(), nullptr, nullptr); }
    EXPECT_EQ(sCache.mReceipts, 0);
}

TEST_F(ComputeCacheAE, AHostWithoutTheSuitesGetsOnesOfOurs) {
    mHost.mSuites.erase({kAEGPComputeCacheSuite, kAEGPComputeCacheSuiteVersion1});
    {
        const auto cache = zeb::CreateComputeCache();
        ASSERT_NE(dynamic_cast<zeb::ComputeCache*>(cache.get()), nullptr);
        cache->RegisterCacheable(zeb::MakeUnique<Creator>());
        const zeb::ComputeCacheResult<Number> result(cache->DoComputeIfNeededAndCheckout("Number", Options(6)));
        EXPECT_EQ(result->mValue, 6);
    }
    mHost.mSuites.erase({kAEGPHashSuite, kAEGPHashSuiteVersion1});
    EXPECT_EQ(dynamic_cast<zeb::HasherAE*>(zeb::CreateHasher().get()), nullptr);
    EXPECT_THAT(Failure([] { zeb::ComputeCacheAE(); }), HasSubstr("\"Failed to acquire suite AEGP Compute Cache\""));
}

TEST_F(ComputeCacheAE, AHashStartsWithTheFirstBytesAndMixesTheRest) {
    const auto hasher = zeb::CreateHasher();
    const auto state = hasher->CreateState();
    const std::uint32_t words[] = {1, 2, 3, 4};
    state->Mix(words, sizeof(words));
    const unsigned char byte = 40;
    state->Mix(&byte, 1);
    EXPECT_EQ(state->Finish(), (zeb::CacheKey{1, 42, 3, 4}));
}

}  // namespace
