#include "PluginBase/ComputeCache/ComputeCache.h"

#include <atomic>
#include <barrier>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "../Failure.h"
#include "PluginBase/ComputeCache/Hasher.h"

namespace zeb {

struct Number final : CacheableBase {
    Number(int value, std::atomic<int>& alive) : mValue(value), mAlive(alive) { ++mAlive; }
    ~Number() override {
        mValue = -1;
        --mAlive;
    }
    std::uint64_t GetSize() const override { return sizeof(mValue); }

    int mValue;
    std::atomic<int>& mAlive;
};

struct NumberOptions final : CacheableOptionsBase {
    explicit NumberOptions(int value) : mValue(value) {}
    int mValue;
};

struct OtherValue final : CacheableBase {
    std::uint64_t GetSize() const override { return 0; }
};

class NumberCreator final : public CacheableCreatorBase {
public:
    NumberCreator(std::atomic<int>& alive, std::atomic<int>& created, std::function<void()> during)
        : mAlive(alive), mCreated(created), mDuring(std::move(during)) {}

    std::string GetName() const override { return "numbers"; }
    UniquePtr<CacheableBase> Create(const CacheableOptionsBase& options) override {
        ++mCreated;
        if (mDuring) mDuring();
        const int value = dynamic_cast<const NumberOptions&>(options).mValue;
        if (value < 0) ZEB_THROW(kInternalError, "negative");
        return MakeUnique<Number>(value, mAlive);
    }
    CacheKey GetHash(HasherBase& hasher, const CacheableOptionsBase& options) override {
        const auto state = hasher.CreateState();
        state->Mix(&dynamic_cast<const NumberOptions&>(options).mValue, sizeof(int));
        return state->Finish();
    }

private:
    std::atomic<int>& mAlive;
    std::atomic<int>& mCreated;
    std::function<void()> mDuring;
};

class ComputeCacheTest : public ::testing::Test {
protected:
    ComputeCache MakeCache(std::function<void()> during = {}) {
        ComputeCache cache(MakeUnique<Hasher>());
        cache.RegisterCacheable(MakeUnique<NumberCreator>(mAlive, mCreated, std::move(during)));
        return cache;
    }
    std::atomic<int> mAlive = 0;
    std::atomic<int> mCreated = 0;
};

TEST_F(ComputeCacheTest, ComputesOnceAndKeepsTheValueForItsLife) {
    {
        ComputeCache cache = MakeCache();
        EXPECT_FALSE(cache.DoHasValue("numbers", NumberOptions(7)));
        for (int i = 0; i < 3; ++i) {
            const ComputeCacheResult<Number> result(cache.DoComputeIfNeededAndCheckout("numbers", NumberOptions(7)));
            EXPECT_EQ(result->mValue, 7);
        }
        EXPECT_EQ(mCreated, 1);
        EXPECT_TRUE(cache.DoHasValue("numbers", NumberOptions(7)));
        EXPECT_FALSE(cache.DoHasValue("numbers", NumberOptions(8)));
        EXPECT_EQ(mAlive, 1);
    }
    EXPECT_EQ(mAlive, 0);
}

TEST_F(ComputeCacheTest, FailuresNameTheClassAndStoreNothing) {
    ComputeCache cache = MakeCache();
    const std::function<void()> calls[] = {[&] { cache.DoHasValue("words", NumberOptions(1)); },
                                           [&] { cache.DoComputeIfNeededAndCheckout("words", NumberOptions(1)); }};
    for (const auto& call : calls)
        EXPECT_THAT(test::MessageOf(call),
                    ::testing::HasSubstr("Failed to compute a cache of unregistered class words"));
    EXPECT_THROW(cache.DoComputeIfNeededAndCheckout("numbers", NumberOptions(-1)), Exception);
    EXPECT_FALSE(cache.DoHasValue("numbers", NumberOptions(-1)));
    EXPECT_THROW(ComputeCacheResult<OtherValue>(cache.DoComputeIfNeededAndCheckout("numbers", NumberOptions(1))),
                 Exception);
}

TEST_F(ComputeCacheTest, AReplacedValueStaysReadable) {
    // Both threads are inside Create before either stores.
    std::barrier meeting(2);
    {
        ComputeCache cache = MakeCache([&] { meeting.arrive_and_wait(); });
        std::barrier stored(2);
        const auto compute = [&] {
            const ComputeCacheResult<Number> result(cache.DoComputeIfNeededAndCheckout("numbers", NumberOptions(5)));
            stored.arrive_and_wait();  // the other thread's value has taken this one's place, or the reverse
            EXPECT_EQ(result->mValue, 5);
        };
        std::thread other(compute);
        compute();
        other.join();
        EXPECT_EQ(mCreated, 2);
        EXPECT_EQ(mAlive, 2);
    }
    EXPECT_EQ(mAlive, 0);
}

// Counts check-ins; its Checkin may fail, as a host's can.
struct CountingCache final : ComputeCacheBase {
    void RegisterCacheable(UniquePtr<CacheableCreatorBase>) override {}
    ComputeCacheResultBase DoComputeIfNeededAndCheckout(const std::string&, const CacheableOptionsBase&) override {
        return {this, &mValue, &mValue};
    }
    bool DoHasValue(const std::string&, const CacheableOptionsBase&) override { return true; }
    void Checkin(const ComputeCacheResultBase& result) override {
        EXPECT_EQ(result.GetReceipt(), &mValue);
        ++mCheckins;
        ZEB_THROW(kInternalError, "refused");
    }
    OtherValue mValue;
    int mCheckins = 0;
};

TEST(ComputeCacheResult, ChecksInOnceWhateverItsMovesAndNeverThrows) {
    CountingCache cache;
    {
        ComputeCacheResult<OtherValue> first(cache.DoComputeIfNeededAndCheckout("", NumberOptions(0)));
        ComputeCacheResult<OtherValue> second(std::move(first));
        ComputeCacheResult<OtherValue> third;
        third = std::move(second);
        EXPECT_EQ(third->GetSize(), 0U);
        EXPECT_EQ(cache.mCheckins, 0);
    }
    EXPECT_EQ(cache.mCheckins, 1);
}

TEST(CacheKeyHash, FollowsTheMixingRule) {
    // Worked out by hand for the zero key: each step is seed ^= -1640531527 + (seed << 6) + (seed >> 2).
    EXPECT_EQ(CacheKeyHash()({0, 0, 0, 0}), 0xcc018bc6a88e7777ULL);
    EXPECT_EQ(CacheKeyHash()({1, 2, 3, 0xffffffffU}), 0xcc018bc9afff2031ULL);
}

}  // namespace zeb
