#include "PluginBase/ComputeCache/ComputeCache.h"

#include <atomic>
#include <barrier>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

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

struct NumberCreator final : CacheableCreatorBase {
    NumberCreator(std::atomic<int>& alive, std::function<void()> during) : mAlive(alive), mDuring(std::move(during)) {}

    std::string GetName() const override { return "numbers"; }
    UniquePtr<CacheableBase> Create(const CacheableOptionsBase& options) override {
        mDuring();
        return MakeUnique<Number>(dynamic_cast<const NumberOptions&>(options).mValue, mAlive);
    }
    CacheKey GetHash(HasherBase& hasher, const CacheableOptionsBase&) override {
        return hasher.CreateState()->Finish();
    }

    std::atomic<int>& mAlive;
    std::function<void()> mDuring;
};

TEST(ComputeCacheTest, AReplacedValueStaysReadable) {
    std::atomic<int> alive = 0;
    // Both threads are inside Create before either stores.
    std::barrier meeting(2);
    {
        ComputeCache cache(MakeUnique<Hasher>());
        cache.RegisterCacheable(MakeUnique<NumberCreator>(alive, [&] { meeting.arrive_and_wait(); }));
        std::barrier stored(2);
        const auto compute = [&] {
            const ComputeCacheResult<Number> result(cache.DoComputeIfNeededAndCheckout("numbers", NumberOptions(5)));
            stored.arrive_and_wait();  // the other thread's value has taken this one's place, or the reverse
            EXPECT_EQ(result->mValue, 5);
        };
        std::thread other(compute);
        compute();
        other.join();
        EXPECT_EQ(alive, 2);
    }
    EXPECT_EQ(alive, 0);
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

}  // namespace zeb
