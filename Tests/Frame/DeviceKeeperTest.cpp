// A device that is lost, memory that runs out: what frames meet, on a device whose failures are made up.
#include <gmock/gmock.h>

#include <barrier>
#include <latch>
#include <thread>

#include "../Failure.h"
#include "PluginBase/Render/DeviceKeeper.h"
#include "PluginBase/Render/Failures.h"
#include "TestPlugin.h"

using namespace zeb::render;
using test::MessageOf;
using testing::HasSubstr;

namespace {

[[noreturn]] void Lose(const std::string& text) {
    throw DeviceLostException("File.cpp", 1, "F", zeb::kInternalError, text);
}

class DeviceKeeperTest : public testing::Test {
protected:
    class CountedRender final : public Render {
    public:
        explicit CountedRender(int& alive) : mAlive(alive) { ++mAlive; }
        ~CountedRender() override { --mAlive; }
        std::string GetDescription() const override { return "counted"; }
        Device& GetAnyDevice() override { return mRender->GetAnyDevice(); }

    private:
        int& mAlive;
        zeb::UniquePtr<Render> mRender = MakeCpuRender();
    };

    DeviceKeeper MakeKeeper() {
        return DeviceKeeper(
            [this]() -> zeb::UniquePtr<Render> {
                ++mOpened;
                EXPECT_EQ(mAlive, 0) << "a device is opened while the lost one is still there";
                if (mCannotOpen) ZEB_THROW_AS(zeb::RenderException, zeb::kInternalError, "no device today");
                return zeb::MakeUnique<CountedRender>(mAlive);
            },
            [this] { return mNow; });
    }

    int mOpened = 0;
    int mAlive = 0;
    bool mCannotOpen = false;
    DeviceKeeper::TimePoint mNow;
};

TEST_F(DeviceKeeperTest, ALostDeviceGoesWithItsLastFrameAndTheNextOpensANewOne) {
    DeviceKeeper keeper = MakeKeeper();
    constexpr int kThreads = 4;
    std::latch all(kThreads);
    std::vector<std::string> messages(kThreads);
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([&, i] {
            messages[static_cast<std::size_t>(i)] = MessageOf([&] {
                keeper.DrawFrame([&](Device& device) {
                    device.GetThreadData();
                    all.arrive_and_wait();
                    Lose("loss " + std::to_string(i));
                });
            });
            // The frames of the others may not have ended yet: this one waits for them.
            keeper.DrawFrame([](Device& device) { device.GetThreadData(); });
        });
    }
    for (std::thread& thread : threads) thread.join();
    for (int i = 0; i < kThreads; ++i)
        EXPECT_THAT(messages[static_cast<std::size_t>(i)], HasSubstr("\"loss " + std::to_string(i) + "\""));
    EXPECT_EQ(mOpened, 2);
    EXPECT_EQ(mAlive, 1);

    // A frame within one that lost the device cannot have another before the outer one ends.
    const auto nested = [&] {
        keeper.DrawFrame([&](Device&) {
            EXPECT_THAT(MessageOf([&] { keeper.DrawFrame([](Device&) { Lose("inner"); }); }), HasSubstr("inner"));
            EXPECT_THAT(MessageOf([&] { keeper.DrawFrame([](Device&) {}); }), HasSubstr("inner"));
            EXPECT_EQ(mAlive, 1);
        });
    };
    nested();
    EXPECT_EQ(mAlive, 0);
    keeper.DrawFrame([&](Device&) { EXPECT_EQ(mOpened, 3); });
}

TEST_F(DeviceKeeperTest, NewDevicesAreOpenedAFewTimesAMinute) {
    DeviceKeeper keeper = MakeKeeper();
    int drawn = 0;
    const auto frame = [&] {
        return MessageOf([&] {
            keeper.DrawFrame([&](Device&) {
                ++drawn;
                Lose("loss " + std::to_string(drawn));
            });
        });
    };
    constexpr auto kLimit = static_cast<int>(DeviceKeeper::kMaxOpenings);
    for (int i = 1; i <= kLimit + 3; ++i) {
        EXPECT_THAT(frame(), HasSubstr("loss " + std::to_string(std::min(i, kLimit + 1))));
        EXPECT_EQ(mAlive, 0);
    }
    EXPECT_EQ(drawn, kLimit + 1);
    mNow += DeviceKeeper::kOpeningsTime;
    mCannotOpen = true;
    EXPECT_THAT(frame(), HasSubstr("no device today"));
    mCannotOpen = false;
    EXPECT_THAT(frame(), HasSubstr("loss " + std::to_string(kLimit + 2)));
}

TEST_F(DeviceKeeperTest, WhereMemoryRunsOutIdleThreadsGiveUpTheirsAndTheFrameIsDrawnAgain) {
    DeviceKeeper keeper = MakeKeeper();
    const auto noMemory = [] { throw OutOfMemoryException("F.cpp", 1, "F", zeb::kInternalError, "full"); };
    std::latch busy(1);
    std::latch over(1);
    std::thread idle([&] { keeper.DrawFrame([](Device& device) { device.GetThreadData(); }); });
    idle.join();
    std::thread other([&] {
        keeper.DrawFrame([&](Device& device) {
            device.GetThreadData();
            busy.count_down();
            over.wait();
        });
    });
    busy.wait();
    int tries = 0;
    keeper.DrawFrame([&](Device& device) {
        device.GetThreadData().mFrameworkCache = zeb::MakeUnique<DeviceCache>();
        if (++tries == 1) noMemory();
        EXPECT_EQ(device.GetThreadDataCount(), 2U) << "this frame's and that of the thread that draws";
    });
    EXPECT_EQ(tries, 2);
    EXPECT_THAT(MessageOf([&] {
                    keeper.DrawFrame([&](Device&) {
                        ++tries;
                        noMemory();
                    });
                }),
                HasSubstr("full"));
    EXPECT_EQ(tries, 4);
    EXPECT_THROW(keeper.DrawFrame([](Device&) { throw std::bad_alloc(); }), std::bad_alloc);
    over.count_down();
    other.join();
    EXPECT_EQ(mOpened, 1);
}

TEST_F(DeviceKeeperTest, RecordsGoWithTheirThreadsAndWhenFramesPassWithoutThem) {
    DeviceKeeper keeper = MakeKeeper();
    const auto count = [&] {
        std::size_t records = 0;
        keeper.DrawFrame([&](Device& device) {
            device.GetThreadData();
            records = device.GetThreadDataCount();
        });
        return records;
    };
    count();
    for (int i = 0; i < 5; ++i) std::thread(count).join();
    count();
    EXPECT_EQ(count(), 1U) << "those of ended threads are gone";

    constexpr int kThreads = 3;
    std::barrier turn(kThreads + 1);
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([&] {
            count();
            turn.arrive_and_wait();
            turn.arrive_and_wait();
        });
    }
    turn.arrive_and_wait();
    EXPECT_EQ(count(), kThreads + 1U);
    for (int i = 0; i < 20; ++i) count();
    EXPECT_EQ(count(), kThreads + 1U) << "threads that draw now and then keep theirs";
    for (int i = 0; i < 60; ++i) count();
    EXPECT_EQ(count(), 1U);
    turn.arrive_and_wait();
    for (std::thread& thread : threads) thread.join();

    // A frame within a frame leaves the outer one's record alone.
    keeper.DrawFrame([&](Device& device) {
        ThreadData* const outer = &device.GetThreadData();
        keeper.DrawFrame([&](Device&) { EXPECT_NE(&device.GetThreadData(), outer); });
        EXPECT_EQ(&device.GetThreadData(), outer);
        EXPECT_EQ(device.GetThreadDataCount(), 1U);
    });
}

}  // namespace
