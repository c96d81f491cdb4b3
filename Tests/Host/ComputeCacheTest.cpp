#include "NimbrelHost/Commands/ComputeCache.h"

#include <gmock/gmock.h>

#include <atomic>
#include <functional>
#include <thread>

#include "TestSupport.h"

namespace nimbrel::host {
namespace {

using ::testing::IsEmpty;

struct Value {
    int mKey;
};

std::atomic<int> gLive{0};
std::atomic<int> gComputed{0};

struct Options {
    int mKey = 0;
    std::function<A_Err()> mDuring = [] { return A_Err_NONE; };
};

const AEGP_ComputeCacheCallbacks kCallbacks = {[](void* options, AEGP_CCComputeKeyP key) -> A_Err {
                                                   *key = {{static_cast<Options*>(options)->mKey, 0, 0, 0}};
                                                   return static_cast<Options*>(options)->mKey < 0 ? A_Err_GENERIC
                                                                                                   : A_Err_NONE;
                                               },
                                               [](void* options, void** value) -> A_Err {
                                                   auto& given = *static_cast<Options*>(options);
                                                   ++gComputed;
                                                   if (const A_Err error = given.mDuring()) return error;
                                                   ++gLive;
                                                   *value = new Value{given.mKey};
                                                   return A_Err_NONE;
                                               },
                                               [](void*) -> A_u_longlong { return 100; },
                                               [](void* value) {
                                                   --gLive;
                                                   delete static_cast<Value*>(value);
                                               }};

class ComputeCacheTest : public ::testing::Test {
protected:
    ComputeCacheTest() {
        gLive = 0;
        gComputed = 0;
        EXPECT_EQ(mCache.Register("c", &kCallbacks), 0);
    }
    ~ComputeCacheTest() override {
        if (mCache.CountClasses() > 0) mCache.Unregister("c");
        EXPECT_EQ(gLive, 0);
    }

    void* Checkout(int key) {
        Options options{key};
        void* receipt = nullptr;
        EXPECT_EQ(mCache.ComputeIfNeededAndCheckout("c", &options, true, &receipt), 0);
        return receipt;
    }

    int Get(void* receipt) {
        void* value = nullptr;
        EXPECT_EQ(mCache.GetValue(receipt, &value), 0);
        return static_cast<Value*>(value)->mKey;
    }

    Diagnostics mDiagnostics;
    ComputeCache mCache{mDiagnostics};
};

TEST_F(ComputeCacheTest, OneThreadComputesWhileOthersWait) {
    std::atomic<bool> entered{false}, release{false};
    std::thread computing([&] {
        Options options{1, [&]() -> A_Err {
                            entered = true;
                            while (!release) std::this_thread::yield();
                            return A_Err_NONE;
                        }};
        void* receipt = nullptr;
        EXPECT_EQ(mCache.ComputeIfNeededAndCheckout("c", &options, true, &receipt), 0);
        EXPECT_EQ(mCache.Checkin(receipt), 0);
    });
    while (!entered) std::this_thread::yield();
    Options options{1};
    void* receipt = nullptr;
    EXPECT_EQ(mCache.ComputeIfNeededAndCheckout("c", &options, false, &receipt), A_Err_NOT_IN_CACHE_OR_COMPUTE_PENDING);
    EXPECT_EQ(mCache.CheckoutCached("c", &options, &receipt), A_Err_NOT_IN_CACHE_OR_COMPUTE_PENDING);
    std::vector<std::thread> waiting;
    std::atomic<int> served{0};
    for (int i = 0; i < 4; ++i) {
        waiting.emplace_back([&] {
            void* const own = Checkout(1);
            served += Get(own);
            EXPECT_EQ(mCache.Checkin(own), 0);
        });
    }
    // Another key isn't held up.
    EXPECT_EQ(mCache.Checkin(Checkout(2)), 0);
    EXPECT_EQ(served, 0);
    release = true;
    computing.join();
    for (std::thread& thread : waiting) thread.join();
    EXPECT_EQ(served, 4);
    EXPECT_EQ(gComputed, 2);
}

TEST_F(ComputeCacheTest, AFailureIsForItsCallerAndOthersTryThemselves) {
    Options failing{3, [] { return A_Err_ALLOC; }};
    void* receipt = nullptr;
    EXPECT_EQ(mCache.ComputeIfNeededAndCheckout("c", &failing, true, &receipt), A_Err_ALLOC);
    EXPECT_EQ(receipt, nullptr);
    EXPECT_EQ(mCache.CountValues(), 0U);
    EXPECT_EQ(mCache.Checkin(Checkout(3)), 0);
    EXPECT_EQ(gComputed, 2);
    Options keyless{-1};
    EXPECT_EQ(mCache.ComputeIfNeededAndCheckout("c", &keyless, true, &receipt), A_Err_GENERIC);
    Options recursive{4};
    recursive.mDuring = [&]() -> A_Err {
        void* inner = nullptr;
        return mCache.ComputeIfNeededAndCheckout("c", &recursive, true, &inner);
    };
    EXPECT_EQ(mCache.ComputeIfNeededAndCheckout("c", &recursive, true, &receipt), A_Err_STRUCT) << "no deadlock";
}

TEST_F(ComputeCacheTest, PurgesTheOldestOfWhatNobodyHolds) {
    ComputeCache limited(mDiagnostics, 250);
    ASSERT_EQ(limited.Register("c", &kCallbacks), 0);
    const auto checkout = [&](int key) {
        Options options{key};
        void* receipt = nullptr;
        EXPECT_EQ(limited.ComputeIfNeededAndCheckout("c", &options, true, &receipt), 0);
        return receipt;
    };
    const auto has = [&](int key) {
        Options options{key};
        void* receipt = nullptr;
        if (limited.CheckoutCached("c", &options, &receipt) != 0) return false;
        limited.Checkin(receipt);
        return true;
    };
    void* const held = checkout(1);
    limited.Checkin(checkout(2));
    limited.Checkin(checkout(3));  // 300 bytes: value 2 goes, value 1 is held
    EXPECT_TRUE(has(1));
    EXPECT_FALSE(has(2));
    EXPECT_TRUE(has(3));
    limited.Purge(0);
    EXPECT_EQ(limited.CountValues(), 1U);
    limited.Checkin(held);
    limited.Purge(0);
    EXPECT_EQ(limited.GetSize(), 0U);
    EXPECT_EQ(limited.Unregister("c"), 0);
}

TEST_F(ComputeCacheTest, ServesManyThreadsAtOnce) {
    std::vector<std::thread> threads;
    for (int t = 0; t < 8; ++t) {
        threads.emplace_back([this, t] {
            for (int i = 0; i < 200; ++i) {
                const int key = (i * 7 + t) % 10;
                void* const receipt = Checkout(key);
                EXPECT_EQ(Get(receipt), key);
                if (i % 20 == 0) mCache.Purge(0);
                EXPECT_EQ(mCache.Checkin(receipt), 0);
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_THAT(mDiagnostics.Get(), IsEmpty());
}

}  // namespace
}  // namespace nimbrel::host
