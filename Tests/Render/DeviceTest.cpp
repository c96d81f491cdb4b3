#include <algorithm>
#include <cctype>
#include <stdexcept>

#include <gmock/gmock.h>

#include "DeviceFixture.h"

namespace zeb::render {
namespace {

using testing::HasSubstr;

class DeviceTest : public DeviceFixture {
protected:
    static std::uint32_t GetLiveBlocks() {
        return kTestedDevice.mGetLiveBlocks != nullptr ? kTestedDevice.mGetLiveBlocks(GetDevice()) : 0;
    }
};

TEST_F(DeviceTest, OneCandidateIsChosenAndHardwareStandsBeforeTheCpuAndThatBeforeSoftware) {
    const std::vector<DeviceCandidate>& candidates = GetCandidates();
    ASSERT_FALSE(candidates.empty());
    std::int32_t index = 0;
    bool sawSoftware = false;
    for (const DeviceCandidate& candidate : candidates) {
        EXPECT_EQ(candidate.mIndex, index++);
        EXPECT_FALSE(candidate.mReason.empty());
        const bool isSoftware = candidate.mKind == "vulkan (software)";
        EXPECT_TRUE(isSoftware || candidate.mKind == "vulkan (hardware)" || candidate.mKind == "cpu" ||
                    candidate.mKind == "direct3d 12")
            << candidate.mKind;
        EXPECT_FALSE(sawSoftware && !isSoftware);
        sawSoftware |= isSoftware;
        if (candidate.mChosen) {
            EXPECT_EQ(candidate.mName, GetDevice().GetName());
            EXPECT_EQ(GetDevice().AreGroupBarriersCostly(), isSoftware || IsCpu());
        }
    }
    EXPECT_EQ(std::count_if(candidates.begin(), candidates.end(), [](const auto& c) { return c.mChosen; }), 1);
    EXPECT_EQ(std::count_if(candidates.begin(), candidates.end(), [](const auto& c) { return c.mKind == "cpu"; }), 1);
}

std::string CreateFor(const std::string& request) {
    RenderOptions options;
    options.mRequestedDevice = request;
    return Render::Create(1, options)->GetDescription();
}

TEST_F(DeviceTest, ARequestIsAnIndexOrAPartOfAName) {
    const std::vector<DeviceCandidate>& candidates = GetCandidates();
    std::string part = candidates.back().mName.substr(1, 5);
    std::transform(part.begin(), part.end(), part.begin(), [](unsigned char c) { return std::toupper(c); });
    const std::string last = candidates.back().mName;
    EXPECT_EQ(CreateFor(std::to_string(candidates.size() - 1)), last);
    if (!IsCpu()) {
        EXPECT_EQ(CreateFor(IsTested("dx12") ? "DX12" : "Vulkan"), GetDevice().GetName());
    }
    if (candidates.size() == 1) {
        EXPECT_EQ(CreateFor(part), last);
    }
    for (const std::string& request : {std::string("no such device"), std::to_string(candidates.size())}) {
        const std::string failure = GetFailure([&] { CreateFor(request); });
        EXPECT_THAT(failure, HasSubstr("\"" + request + "\""));
        EXPECT_THAT(failure, HasSubstr(last));
    }
    if (IsTested("dx12")) return;  // the machine's own cores are no candidate there
    const auto cpu = std::find_if(candidates.begin(), candidates.end(), [](const auto& c) { return c.mKind == "cpu"; });
    EXPECT_EQ(CreateFor("CPU"), cpu->mName);
    EXPECT_EQ(CreateFor(std::to_string(cpu->mIndex)), cpu->mName);
}

TEST_F(DeviceTest, ManyListsLeaveNothingBehind) {
    const ComputeProgramUnderTest program = MakeChain(GetDevice());
    const auto values = MakeBuffer(64);
    const auto zeros = MakeUpload(std::vector<std::uint32_t>(16, 0));
    Copy([&](CopyCommandEncoder& encoder) { encoder.CopyBuffer(*values, 0, *zeros, 0, 64); });
    DescriptorHeap& heap = *GetDevice().GetThreadData().mShaderResourceHeap;
    std::uint32_t blocks = 0;
    for (std::uint32_t i = 0; i < 300; ++i) {
        // What a frame does: a temporary texture with its view, and some work.
        const auto texture = MakeTexture(Format::RGBA8Unorm, 8, 8);
        const auto range = heap.AllocateRange(600);
        GetDevice().CreateTextureView(*range, i, *texture);
        Compute([&](ComputeCommandEncoder& encoder) {
            program.Set(encoder);
            const std::uint32_t constants[] = {16, 1};
            encoder.SetRootConstants(0, 2, constants);
            encoder.SetRootUnorderedAccessBufferView(1, *values, 0);
            encoder.Dispatch(1, 1, 1, 64, 1, 1);
        });
        if (i < 3) blocks = GetLiveBlocks();
        ASSERT_EQ(GetLiveBlocks(), blocks) << i;
    }
    std::uint32_t expected = 0;
    for (int i = 0; i < 300; ++i) expected = expected * 3 + 1;
    EXPECT_EQ(Read<std::uint32_t>(*values), std::vector<std::uint32_t>(16, expected));
}

TEST_F(DeviceTest, AFinishedListCallsOnceAndBeforeItReleases) {
    auto source = MakeUpload(std::vector<std::uint32_t>(100, 5));
    const auto target = MakeBuffer(400);
    CommandQueue& queue = *GetDevice().GetThreadData().mCommandQueue;
    std::vector<int> calls;
    std::uint32_t blocks = 0;
    auto list = queue.CreateCommandList("Calls");
    const auto encoder = list->CreateCopyCommandEncoder();
    encoder->CopyBuffer(*target, 0, *source, 0, 400);
    list->CallWhenFinished([&] { calls.push_back(1); });
    encoder->End();
    list->CallWhenFinished([&] {
        calls.push_back(2);
        EXPECT_EQ(GetLiveBlocks(), blocks);
    });
    blocks = GetLiveBlocks();
    source.reset();
    const auto event = queue.Execute(std::move(list));
    EXPECT_THAT(calls, testing::IsEmpty());
    event->Wait();
    EXPECT_THAT(calls, testing::ElementsAre(1, 2));
    if (!IsCpu()) {
        EXPECT_EQ(GetLiveBlocks(), blocks - 1);
    }
    event->Wait();
    EXPECT_THAT(calls, testing::ElementsAre(1, 2));
}

TEST_F(DeviceTest, AListCallsWhenItsEventIsDroppedAndNotWhenItNeverRuns) {
    CommandQueue& queue = *GetDevice().GetThreadData().mCommandQueue;
    int calls = 0;
    const auto make = [&] {
        auto list = queue.CreateCommandList("Calls");
        list->CallWhenFinished([&calls] { ++calls; });
        return list;
    };
    make();
    EXPECT_EQ(calls, 0);
    queue.Execute(make());
    EXPECT_EQ(calls, 1);
    auto closed = make();
    closed->Close();
    EXPECT_THAT(GetFailure([&] { closed->CallWhenFinished([] {}); }), HasSubstr("\"Calls\" is closed"));
    closed.reset();
    EXPECT_EQ(calls, 1);
    // A failure of what is called comes out of the wait, or goes to the validation's receiver.
    const auto execute = [&] {
        auto list = make();
        list->CallWhenFinished([] { throw std::runtime_error("What is called fails"); });
        return queue.Execute(std::move(list));
    };
    EXPECT_THROW(execute()->Wait(), std::runtime_error);
    EXPECT_EQ(calls, 2);
    EXPECT_THAT(TakeMessages(), testing::IsEmpty());
    execute();
    EXPECT_EQ(calls, 3);
    EXPECT_THAT(TakeMessages(), testing::ElementsAre("What is called fails"));
}

TEST_F(DeviceTest, AnEventDroppedWithoutAWaitStillFinishesItsList) {
    CommandQueue& queue = *GetDevice().GetThreadData().mCommandQueue;
    const auto target = MakeBuffer(400);
    for (std::uint32_t i = 0; i < 20; ++i) {
        const auto source = MakeUpload(std::vector<std::uint32_t>(100, i));
        auto list = queue.CreateCommandList("Dropped");
        const auto encoder = list->CreateCopyCommandEncoder();
        encoder->CopyBuffer(*target, 0, *source, 0, 400);
        encoder->End();
        queue.Execute(std::move(list));
    }
    EXPECT_EQ(Read<std::uint32_t>(*target), std::vector<std::uint32_t>(100, 19));
}

TEST_F(DeviceTest, AListThatIsNeverExecutedLeavesTexturesAsTheyWere) {
    const auto texture = MakeTexture(Format::R32Float, 4, 1);
    const std::vector<float> values = {1, 2, 3, 4};
    const auto source = MakeUpload(values);
    const auto record = [&](CommandList& list) {
        const auto encoder = list.CreateCopyCommandEncoder();
        encoder->TextureTransitionBarrier(*texture, TextureState::CopyDestination);
        encoder->CopyToTextureFromBuffer(*texture, *source);
        encoder->TextureTransitionBarrier(*texture, TextureState::ShaderRead);
        encoder->End();
    };
    CommandQueue& queue = *GetDevice().GetThreadData().mCommandQueue;
    // Were the dropped list's layouts believed, the validation would find the next list at fault.
    for (int i = 0; i < 3; ++i) record(*queue.CreateCommandList("Never executed"));
    Run(record);
    EXPECT_EQ(ReadFloats(*texture), values);
    record(*queue.CreateCommandList("Never executed"));
    EXPECT_EQ(ReadFloats(*texture), values);
}

}  // namespace
}  // namespace zeb::render
