
#include <gmock/gmock.h>

#include "DeviceFixture.h"
#include "PluginBase/Exception.h"

namespace zeb::render {
namespace {

using testing::AllOf;
using testing::HasSubstr;

/// What is asked for and cannot be done: each failure names the object, and leaves the device in order.
class FailureTest : public DeviceFixture {
protected:
    static UniquePtr<Buffer> MakeNamed(const std::string& name, std::uint64_t size) {
        return GetDevice().CreateBuffer(name, size, MemoryKind::Default, BufferState::Common,
                                        BufferUsage::UnorderedAccess);
    }
};

TEST_F(FailureTest, ObjectsThatCannotBeMade) {
    const auto texture = [](auto change) {
        return [change] {
            TextureDescription description;
            description.mFormat = Format::RGBA8Unorm;
            description.mWidth = 4;
            description.mHeight = 4;
            change(description);
            GetDevice().CreateTexture("Wrong", description, 0, TextureState::Common);
        };
    };
    const std::uint32_t tooWide = kTestedDevice.mGetTextureLimit(GetDevice()) + 1;
    struct Case {
        std::function<void()> mAction;
        std::string mText;
    };
    const Case cases[] = {
        {[] { MakeNamed("Empty", 0); }, "\"Empty\" of 0 bytes"},
        {[] { MakeNamed("Vast", 1ULL << 60); },
         IsTested("dx12") ? "E_OUTOFMEMORY" : "\"Vast\" of 1152921504606846976 bytes"},
        {texture([=](TextureDescription& d) { d.mWidth = tooWide; }), "\"Wrong\" of " + std::to_string(tooWide)},
        {texture([](TextureDescription& d) { d.mHeight = 0; }), "\"Wrong\" of 4 x 0"},
        {texture([](TextureDescription& d) { d.mMipLevels = 4; }), "has no 4 mip levels"},
        {[] { GetDevice().CreateDescriptorHeap("Heap", DescriptorHeapType::Samplers, 0); }, "\"Heap\" of 0"},
        {[] { GetDevice().GetThreadData().mSamplerHeap->AllocateRange(100000); }, "Failed to get range of size 100000"},
        {[] { GetDevice().CreateShaderLibraryFromEmbeddedData("Never"); }, "embedded shader \"Never\""},
    };
    for (const Case& c : cases) EXPECT_THAT(GetFailure(c.mAction), HasSubstr(c.mText));
    EXPECT_THROW(GetDevice().GetThreadData().mSamplerHeap->AllocateRange(100000), RenderException);
}

TEST_F(FailureTest, ArgumentsThatAreMissingOrDoNotFit) {
    const auto program = MakeRawAdd(GetDevice());
    const auto small = MakeNamed("Small", 256);
    const auto written = MakeNamed("Written", 256);
    const auto dispatch = [&](const std::function<void(ComputeCommandEncoder&)>& change, std::uint32_t groups = 1) {
        return GetFailure([&] {
            Compute([&](ComputeCommandEncoder& encoder) {
                program.Set(encoder);
                encoder.SetRootConstant(0, 1);
                encoder.SetRootShaderResourceBufferView(1, *small, 0);
                encoder.SetRootUnorderedAccessBufferView(2, *written, 128);
                encoder.SetRootConstantBufferView(3, *small, 0);
                change(encoder);
                encoder.Dispatch(1, groups, 1, 64, 1, 1);
            });
        });
    };
    EXPECT_EQ(dispatch([](ComputeCommandEncoder&) {}), "no failure");
    using Encoder = ComputeCommandEncoder;
    EXPECT_THAT(dispatch([&](Encoder& e) { e.SetRootShaderResourceBufferView(1, *small, 256); }),
                AllOf(HasSubstr("\"Small\" of 256 bytes"), HasSubstr("Offset 256")));
    EXPECT_THAT(dispatch([&](Encoder& e) { e.SetRootShaderResourceBufferView(1, *small, 6); }),
                AllOf(HasSubstr("Offset 6"), HasSubstr("\"Small\""), HasSubstr("RawAdd")));
    EXPECT_THAT(dispatch([&](Encoder& e) { e.SetRootShaderResourceBufferView(2, *small, 0); }),
                HasSubstr("no parameter 2 of this kind"));
    EXPECT_THAT(dispatch([&](Encoder& e) { e.SetRootConstants(4, 1, "abcd"); }), HasSubstr("no parameter 4"));
    EXPECT_THAT(dispatch([&](Encoder& e) { e.SetRootConstantBufferView(3, *small, 4); }),
                AllOf(HasSubstr("Offset 4"), HasSubstr("\"Small\"")));
    const std::uint32_t words[21] = {};
    EXPECT_THAT(dispatch([&](Encoder& e) { e.SetRootConstants(0, 21, words); }), HasSubstr("21 root constants"));
    const std::uint32_t limit = kTestedDevice.mGetGroupLimit(GetDevice());
    EXPECT_THAT(dispatch([](Encoder&) {}, limit + 1),
                AllOf(HasSubstr(std::to_string(limit + 1)), HasSubstr("\"RawAdd\"")));
    EXPECT_THAT(GetFailure([&] {
                    Compute([&](Encoder& e) {
                        program.Set(e);
                        e.Dispatch(1, 1, 1, 64, 1, 1);
                    });
                }),
                HasSubstr("\"RawAdd\""));
    EXPECT_THAT(GetFailure([] { Compute([](Encoder& e) { e.Dispatch(1, 1, 1, 1, 1, 1); }); }),
                HasSubstr("no pipeline"));
}

TEST_F(FailureTest, BuffersBeyondTheStorageRangeAreNamedWithTheLimit) {
    const std::uint64_t limit = kTestedDevice.mGetStorageLimit(GetDevice());
    if (limit >= UINT32_MAX) GTEST_SKIP() << "the device's limit is too high to exceed it here";
    const auto large = MakeNamed("Large", limit + 4096);
    const auto small = MakeNamed("Small", 256);
    const auto factors = MakeNamed("Factors", 256);
    const auto program = MakeRawAdd(GetDevice());
    const auto bind = [&](std::uint64_t offset) {
        return GetFailure([&] {
            Compute([&](ComputeCommandEncoder& encoder) {
                program.Set(encoder);
                encoder.SetRootConstant(0, 1);
                encoder.SetRootShaderResourceBufferView(1, *large, offset);
                encoder.SetRootUnorderedAccessBufferView(2, *small, 0);
                encoder.SetRootConstantBufferView(3, *factors, 0);
                encoder.Dispatch(1, 1, 1, 64, 1, 1);
            });
        });
    };
    EXPECT_THAT(bind(0), AllOf(HasSubstr("\"Large\" of " + std::to_string(limit + 4096) + " bytes"),
                               HasSubstr("limit is " + std::to_string(limit))));
    EXPECT_EQ(bind(4096), "no failure");
}

TEST_F(FailureTest, ABufferIsReadOrWrittenByOneDispatch) {
    const ComputeProgramUnderTest program(GetDevice(), "RawAdd", [](RootSignature& signature) {
        signature.AddRootConstants(20, 0);
        signature.AddDescriptorTable({{DescriptorRangeType::Buffer, 1, 1}});
        signature.AddDescriptorTable({{DescriptorRangeType::UnorderedAccessBuffer, 1, 2}});
        signature.AddRootConstantBufferView(14);
        signature.AddRootUnorderedAccessBufferView(3);  // which the program does not use
    });
    const auto a = MakeNamed("A", 512);
    const auto b = MakeNamed("B", 512);
    const auto c = MakeNamed("C", 512);
    const auto range = GetDevice().GetThreadData().mShaderResourceHeap->AllocateRange(2);
    const auto dispatch = [&](Buffer& source, Buffer& result, Buffer& factors, Buffer& other) {
        GetDevice().CreateShaderResourceBufferView(*range, 0, source, 0, 16, 0);
        GetDevice().CreateUnorderedAccessBufferView(*range, 1, result, 64, 16, 0);
        return GetFailure([&] {
            Compute([&](ComputeCommandEncoder& encoder) {
                program.Set(encoder);
                encoder.SetRootConstant(0, 1);
                encoder.SetRootDescriptorTable(1, *range, 0);
                encoder.SetRootDescriptorTable(2, *range, 1);
                encoder.SetRootConstantBufferView(3, factors, 256);
                encoder.SetRootUnorderedAccessBufferView(4, other, 0);
                encoder.Dispatch(1, 1, 1, 64, 1, 1);
            });
        });
    };
    EXPECT_EQ(dispatch(*a, *b, *c, *b), "no failure");  // written by way of two views
    EXPECT_EQ(dispatch(*a, *b, *a, *c), "no failure");  // read in two ways
    // Wherever in the buffer the views lie.
    EXPECT_THAT(dispatch(*a, *a, *b, *c), HasSubstr("\"The buffer \"A\" is used in two ways at once\""));
    EXPECT_THAT(dispatch(*a, *b, *b, *c), HasSubstr("\"The buffer \"B\" is used in two ways at once\""));
    EXPECT_EQ(dispatch(*c, *b, *a, *b), "no failure");
}

}  // namespace
}  // namespace zeb::render
