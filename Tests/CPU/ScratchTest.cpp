#include <gtest/gtest.h>

#include "Render/CPU/ScratchArray.h"
#include "Render/CPU/ScratchPool.h"

namespace zeb::render::cpu {
namespace {

TEST(ScratchArray, GivesBackWhatSeveralUsesInARowLeave) {
    constexpr std::size_t kHuge = 1 << 20;
    ScratchArray<int> array;
    array.Reserve(kHuge);
    // Frames that take turns keep their memory.
    for (int i = 0; i < 40; ++i) array.Reserve(i % 8 == 7 ? kHuge : 100);
    EXPECT_EQ(array.GetCount(), kHuge);
    for (int i = 0; i < 40; ++i) array.Reserve(kHuge / 3);
    EXPECT_EQ(array.GetCount(), kHuge) << "not far less";
    for (int i = 0; i < 8; ++i) {
        EXPECT_EQ(array.GetCount(), kHuge) << i;
        array.Reserve(100)[99] = 1;
    }
    EXPECT_EQ(array.GetCount(), 100U);
    for (int i = 0; i < 40; ++i) array.Reserve(1);
    EXPECT_EQ(array.GetCount(), 100U) << "too small to matter";
    array.Reserve(101)[100] = 1;
    EXPECT_EQ(array.GetCount(), 101U);
}

struct Counted {
    Counted() { ++sAlive; }
    ~Counted() { --sAlive; }
    static inline int sAlive = 0;
};

TEST(ScratchPool, LetsGoOfObjectsThatLieIdle) {
    {
        ScratchPool<Counted> pool;
        for (int round = 0; round < 3; ++round) {
            {
                const auto first = pool.Take();
                const auto second = pool.Take();
                const auto third = pool.Take();
                EXPECT_EQ(Counted::sAlive, 3);
            }
            for (int i = 0; i < 40; ++i) {
                const auto lease = pool.Take();
                EXPECT_EQ(Counted::sAlive, 3);
            }
            for (int i = 0; i < 40; ++i) static_cast<void>(pool.Take());
            EXPECT_EQ(Counted::sAlive, 1);
        }
    }
    EXPECT_EQ(Counted::sAlive, 0);
}

}  // namespace
}  // namespace zeb::render::cpu
