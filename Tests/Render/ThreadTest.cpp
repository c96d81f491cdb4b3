#include <atomic>
#include <thread>

#include "DeviceFixture.h"

namespace zeb::render {
namespace {

class ThreadTest : public DeviceFixture {
protected:
    // One thread's share: its own pipeline and buffers, its own numbers, all lists on its own record.
    static bool RunLists(std::uint32_t seed, std::uint32_t listCount) {
        const ComputeProgramUnderTest program = MakeChain(GetDevice());
        const auto values = MakeBuffer(256 * 4);
        for (std::uint32_t i = 0; i < listCount; ++i) {
            std::vector<std::uint32_t> expected(256, seed + i);
            const auto start = MakeUpload(expected);
            Run([&](CommandList& list) {
                const auto copy = list.CreateCopyCommandEncoder();
                copy->CopyBuffer(*values, 0, *start, 0, 256 * 4);
                copy->End();
                const auto compute = list.CreateComputeCommandEncoder();
                program.Set(*compute);
                compute->SetRootUnorderedAccessBufferView(1, *values, 0);
                for (std::uint32_t k = 0; k < 4; ++k) {
                    const std::uint32_t constants[] = {256, seed * k};
                    compute->SetRootConstants(0, 2, constants);
                    compute->Dispatch(4, 1, 1, 64, 1, 1);
                    for (std::uint32_t& value : expected) value = value * 3 + seed * k;
                }
                compute->End();
            });
            if (Read<std::uint32_t>(*values) != expected) return false;
        }
        return true;
    }
};

TEST_F(ThreadTest, ThreadsRenderSideBySide) {
    GetDevice();
    std::atomic<int> right = 0;
    std::vector<std::thread> threads;
    for (std::uint32_t t = 0; t < 4; ++t)
        threads.emplace_back([&right, t] { right += RunLists(100 * (t + 1), 25) ? 1 : 0; });
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(right, 4);
}

}  // namespace
}  // namespace zeb::render
