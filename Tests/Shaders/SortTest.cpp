// The sort as the renderer records it, on the tested device, against the standard library's stable sort.
#include <algorithm>
#include <bit>
#include <cstdlib>
#include <numeric>
#include <random>

#include "DeviceFixture.h"
#include "Nimbrel/ParallelSort.h"
#include "Shaders/RegisterShaders.h"

namespace zeb::render {
namespace {

using Form = ParallelSort::Form;
using Words = std::vector<std::uint32_t>;

constexpr std::uint32_t kGuard = 0xDEADBEEF;

/// Distributions by name; `i` is the key's place.
struct KeySet {
    const char* mName;
    std::uint32_t (*mMake)(std::mt19937& random, std::uint32_t i);
};
const KeySet kKeySets[] = {
    {"random", [](std::mt19937& random, std::uint32_t) { return static_cast<std::uint32_t>(random()); }},
    {"few distinct",
     [](std::mt19937& random, std::uint32_t) { return (static_cast<std::uint32_t>(random()) & 3U) * 0x10001000U; }},
    {"equal", [](std::mt19937&, std::uint32_t) { return 0x12345678U; }},
    {"ascending", [](std::mt19937&, std::uint32_t i) { return i; }},
    {"descending", [](std::mt19937&, std::uint32_t i) { return 0xFFFFFFFFU - i * 3U; }},
    {"depths",
     [](std::mt19937& random, std::uint32_t) {
         const float depth = static_cast<float>(random() % 100000U) * 0.01F - 300.0F;
         return std::bit_cast<std::uint32_t>(depth) ^ (depth < 0.0F ? 0xFFFFFFFFU : 0x80000000U);
     }},
    {"greatest", [](std::mt19937&, std::uint32_t i) { return i % 5 == 0 ? 0x7FFFFFFFU : 0xFFFFFFFFU; }},
};

class SortTest : public DeviceFixture {
protected:
    static void SetUpTestSuite() {
        // The software device has waves of 8 lanes unless it is told, before it starts, to use vectors of 512 bits.
        const char* const waves = std::getenv("NIMBREL_TEST_WAVES");
        if (waves != nullptr && GetDevice().GetWaveLaneCount() < 16) GTEST_SKIP() << "the device has no wide waves";
        nimbrel::RegisterShaders();
    }

    /// Sorts `count` keys of a set. Words behind them stay as they are.
    static void ExpectSorts(Form form, const KeySet& set, std::uint32_t count) {
        SCOPED_TRACE(std::string(set.mName) + ", " + std::to_string(count) + " keys");
        std::mt19937 random(count);
        Words keys(count + 21, kGuard);
        Words payloads(count + 21, kGuard);
        for (std::uint32_t i = 0; i < count; ++i) keys[i] = set.mMake(random, i);
        std::iota(payloads.begin(), payloads.begin() + count, 0U);
        const auto keyBuffer = MakeBuffer(4 * keys.size());
        const auto payloadBuffer = MakeBuffer(4 * keys.size());
        const auto keySource = MakeUpload(keys);
        const auto payloadSource = MakeUpload(payloads);
        ParallelSort sort(GetDevice(), form);
        Run([&](CommandList& list) {
            const auto copy = list.CreateCopyCommandEncoder();
            copy->CopyBuffer(*keyBuffer, 0, *keySource, 0, 4 * keys.size());
            copy->CopyBuffer(*payloadBuffer, 0, *payloadSource, 0, 4 * keys.size());
            copy->BufferTransitionBarrier(*keyBuffer, BufferState::UnorderedAccess);
            copy->BufferTransitionBarrier(*payloadBuffer, BufferState::UnorderedAccess);
            copy->End();
            const auto compute = list.CreateComputeCommandEncoder();
            sort.Sort(*compute, count, *keyBuffer, *payloadBuffer);
            compute->End();
        });
        std::stable_sort(payloads.begin(), payloads.begin() + count,
                         [&](std::uint32_t a, std::uint32_t b) { return keys[a] < keys[b]; });
        std::sort(keys.begin(), keys.begin() + count);
        EXPECT_TRUE(Read<std::uint32_t>(*keyBuffer) == keys);
        EXPECT_TRUE(Read<std::uint32_t>(*payloadBuffer) == payloads);
    }
};

TEST_F(SortTest, EqualsAStableSortAtEveryEdge) {
    for (const Form form : {Form::ForDevice, Form::Plain}) {
        for (const std::uint32_t count :
             {0U, 1U, 2U, 16U, 63U, 64U, 127U, 128U, 129U, 511U, 512U, 513U, 1025U, 4095U}) {
            for (const KeySet& set : kKeySets) ExpectSorts(form, set, count);
        }
        ExpectSorts(form, kKeySets[0], 409601);
    }
    // Random keys where tables grow, all distributions where groups begin to take several blocks.
    for (const std::uint32_t count : {16385U, 262144U, 262145U, 409600U, 410113U, 819201U})
        ExpectSorts(Form::ForDevice, kKeySets[0], count);
    for (const KeySet& set : kKeySets) ExpectSorts(Form::ForDevice, set, 409601);
}

}  // namespace
}  // namespace zeb::render
