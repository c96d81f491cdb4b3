// What goes wrong on the road to a host's compute cache; that it works is seen in the headless host.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

#include "FakeHost.h"
#include "PluginBase/AE/ComputeCacheAE.h"
#include "PluginBase/AE/ThreadContextAE.h"
#include "PluginBase/ComputeCache/ComputeCache.h"

namespace {

using testing::HasSubstr;

// ---- A host's cache that keeps nothing ----

AEGP_ComputeCacheCallbacks sCallbacks{};
int sReceipts = 0;  // out and not checked in
bool sGivesReceipt = true;
A_Err sValueError = 0;

A_Err Compute(const char*, void* options, bool wait, void** receipt) {
    AEGP_GUID key{};
    if (!wait || sCallbacks.generate_key(options, &key) != 0) return A_Err_GENERIC;
    void* value = nullptr;
    if (sCallbacks.compute(options, &value) != 0) return A_Err_GENERIC;
    EXPECT_EQ(sCallbacks.approx_size_value(value), 1000U);
    EXPECT_EQ(sCallbacks.approx_size_value(nullptr), 0U);
    sReceipts += sGivesReceipt ? 1 : 0;
    *receipt = sGivesReceipt ? value : nullptr;
    if (!sGivesReceipt || sValueError != 0) sCallbacks.delete_compute_value(value);
    return 0;
}

constexpr AEGP_ComputeCacheSuite1 kCacheSuite = {
    [](const char*, const AEGP_ComputeCacheCallbacks* callbacks) -> A_Err { return sCallbacks = *callbacks, 0; },
    [](const char*) -> A_Err { return sCallbacks.delete_compute_value(nullptr), 0; },
    Compute,
    [](const char*, void*, void**) -> A_Err { return 2; },
    [](void* receipt, void** value) -> A_Err { return *value = receipt, sValueError; },
    [](void*) -> A_Err { return --sReceipts, 0; }};
constexpr AEGP_HashSuite1 kHashSuite = {
    [](A_u_longlong, const void*, AEGP_GUID* guid) -> A_Err { return *guid = {}, 0; },
    [](A_u_longlong, const void*, AEGP_GUID*) -> A_Err { return 0; }};

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
    zeb::CacheKey GetHash(zeb::HasherBase&, const zeb::CacheableOptionsBase& options) override {
        if (dynamic_cast<const Options&>(options).mValue == 13) throw 13;
        return {};
    }
};

TEST(ComputeCacheAE, FailuresAreNamedAndNothingCrossesTheHost) {
    test::FakeHost host;
    host.AddSuite(kAEGPHashSuite, kAEGPHashSuiteVersion1, &kHashSuite);
    host.AddSuite(kAEGPComputeCacheSuite, kAEGPComputeCacheSuiteVersion1, &kCacheSuite);
    const zeb::ThreadContextScope scope(&host.mInData, &host.mOutData, nullptr);
    const auto cache = zeb::CreateComputeCache();
    cache->RegisterCacheable(zeb::MakeUnique<Creator>());
    // The creator's own exceptions, of any kind, end in the callbacks.
    const char* const failed =
        "\"Failed to call mComputeCache->AEGP_ComputeIfNeededAndCheckout( className.c_str(), &optionsAE, true, "
        "&receipt)\"";
    const struct {
        const char* mClass;
        int mValue;
        bool mGivesReceipt;
        A_Err mValueError;
        int mCode;
        const char* mText;
    } cases[] = {
        {"Other", 1, true, 0, 512, "\"Failed to compute a cache value of unregistered type Other\""},
        {"Number", -1, true, 0, 1, failed},
        {"Number", 13, true, 0, 1, failed},
        {"Number", 1, false, 0, 512, "\"Failed to compute a cache value of type Number\""},
        {"Number", 1, true, 3, 3, "\"Failed to call mComputeCache->AEGP_GetReceiptComputeValue(receipt, &refcon)\""},
    };
    for (const auto& c : cases) {
        sGivesReceipt = c.mGivesReceipt;
        sValueError = c.mValueError;
        try {
            cache->DoComputeIfNeededAndCheckout(c.mClass, Options(c.mValue));
            ADD_FAILURE() << c.mText;
        } catch (const zeb::Exception& exception) {
            EXPECT_EQ(exception.code, c.mCode);
            EXPECT_THAT(exception.what(), HasSubstr(c.mText));
        }
        EXPECT_EQ(sReceipts, 0) << c.mText;
        EXPECT_EQ(sAlive, 0) << c.mText;
    }
    try {
        cache->DoHasValue("Number", Options(1));
        FAIL();
    } catch (const zeb::Exception& exception) {
        EXPECT_EQ(exception.code, 2);
        EXPECT_THAT(exception.what(), HasSubstr("\"Failed to checkout a cached value\""));
    }
    { const zeb::ComputeCacheResultBase none(cache.get(), nullptr, nullptr); }
    EXPECT_EQ(sReceipts, 0);
}

TEST(ComputeCacheAE, AHostWithoutTheSuitesGetsOnesOfOurs) {
    test::FakeHost host;
    const zeb::ThreadContextScope scope(&host.mInData, &host.mOutData, nullptr);
    const auto cache = zeb::CreateComputeCache();
    ASSERT_NE(dynamic_cast<zeb::ComputeCache*>(cache.get()), nullptr);
    cache->RegisterCacheable(zeb::MakeUnique<Creator>());
    const zeb::ComputeCacheResult<Number> result(cache->DoComputeIfNeededAndCheckout("Number", Options(6)));
    EXPECT_EQ(result->mValue, 6);
    EXPECT_EQ(dynamic_cast<zeb::HasherAE*>(zeb::CreateHasher().get()), nullptr);
    EXPECT_THROW(zeb::ComputeCacheAE(), zeb::Exception);
}

}  // namespace
