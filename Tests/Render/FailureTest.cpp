#include <utility>

#include <fmt/format.h>
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
        {[] { GetDevice().CreateBuffer("B", 4, MemoryKind::Default, static_cast<BufferState>(9), BufferUsage::None); },
         UnknownValue("buffer state", 9)},
        {[] {
             GetDevice().CreateBuffer("B", 4, MemoryKind::Default, BufferState::Common, static_cast<BufferUsage>(3));
         },
         UnknownValue("resource flags", 3)},
        {texture([=](TextureDescription& d) { d.mWidth = tooWide; }), "\"Wrong\" of " + std::to_string(tooWide)},
        {texture([](TextureDescription& d) { d.mHeight = 0; }), "\"Wrong\" of 4 x 0"},
        {texture([](TextureDescription& d) { d.mMipLevels = 4; }), "has no 4 mip levels"},
        {texture([](TextureDescription& d) { d.mFormat = static_cast<Format>(99); }), UnknownValue("format", 99)},
        {texture([](TextureDescription& d) { d.mDimension = static_cast<TextureDimension>(7); }),
         UnknownValue("resource diamension", 7)},
        {texture([](TextureDescription& d) { d.mUsage = kTextureUsageDepthTarget; }),
         UnknownValue("resource flags", 8)},
        {[] { GetDevice().CreateSampler("S", {static_cast<SamplerFilter>(5)}); },
         UnknownValue("texture filter type", 5)},
        {[] { GetDevice().CreateDescriptorHeap("Heap", DescriptorHeapType::Samplers, 0); }, "\"Heap\" of 0"},
        {[] { GetDevice().GetThreadData().mSamplerHeap->AllocateRange(100000); }, "Failed to get range of size 100000"},
        {[] { GetDevice().CreateShaderLibraryFromEmbeddedData("Never"); }, "embedded shader \"Never\""},
        {[] { GetDevice().CreateRootSignature("R")->AddRootConstants(1, 0, 1); },
         IsTested("dx12") ? "no failure" : "\"R\" uses register space 1"},
        {[] { GetDevice().CreateRootSignature("R")->AddRootShaderResourceBufferView(32); }, "register 32"},
        {[] {
             GetDevice().CreateRootSignature("R")->AddDescriptorTable({{static_cast<DescriptorRangeType>(6), 1, 0}});
         },
         UnknownValue("descriptor range type", 6)},
    };
    for (const Case& c : cases) EXPECT_THAT(GetFailure(c.mAction), HasSubstr(c.mText));
    EXPECT_THROW(GetDevice().GetThreadData().mSamplerHeap->AllocateRange(100000), RenderException);
}

TEST_F(FailureTest, ViewsThatDirect3DHasNot) {
    const auto buffer = MakeNamed("Viewed", 640);
    const auto large = MakeNamed("Large", 3 * 2048);
    const auto range = GetDevice().GetThreadData().mShaderResourceHeap->AllocateRange(1);
    Device& device = GetDevice();
    using Action = std::function<void()>;
    const auto constants = [&](std::uint64_t offset, std::uint32_t size) -> Action {
        return [&, offset, size] { device.CreateConstantBufferView(*range, 0, *buffer, offset, size); };
    };
    const auto read = [&](std::uint64_t first, std::uint32_t count, std::uint32_t stride) -> Action {
        return [=, &device, &range, &buffer, &large] {
            device.CreateShaderResourceBufferView(*range, 0, stride > 640 ? *large : *buffer, first, count, stride);
        };
    };
    const auto write = [&](std::uint64_t first, std::uint32_t count, std::uint32_t stride) -> Action {
        return [=, &device, &range, &buffer] {
            device.CreateUnorderedAccessBufferView(*range, 0, *buffer, first, count, stride);
        };
    };
    const std::string fine = "no failure";
    const auto begin = [](std::uint64_t offset, std::uint64_t alignment) {
        return fmt::format("A view at {} of the buffer \"Viewed\" does not begin at a multiple of {} bytes", offset,
                           alignment);
    };
    const auto outside = [](std::uint64_t size, std::uint64_t offset) {
        return fmt::format("A view of {} bytes at {} lies outside the buffer \"Viewed\" of 640 bytes", size, offset);
    };
    const auto stride = [](const std::string& name, std::uint32_t bytes) {
        return fmt::format("A view of the buffer \"{}\" has elements of {} bytes", name, bytes);
    };
    const std::pair<Action, std::string> cases[] = {
        {constants(256, 256), fine},
        {constants(256, 1), fine},
        {constants(0, 512), fine},
        {constants(128, 256), begin(128, 256)},
        {constants(4, 4), begin(4, 256)},
        {constants(512, 4), outside(256, 512)},  // the size that it takes is what counts
        {constants(256, 257), outside(512, 256)},
        {constants(0, 0), outside(0, 0)},
        {read(4, 156, 0), fine},
        {read(5, 1, 0), begin(20, 16)},
        {write(2, 1, 0), begin(8, 16)},
        {write(156, 4, 0), fine},
        {write(156, 5, 0), outside(20, 624)},
        {read(1, 1, 12), fine},  // elements begin at multiples of their own size
        {write(5, 3, 4), fine},
        {read(0, 1, 6), stride("Viewed", 6)},
        {write(1, 1, 2), stride("Viewed", 2)},
        {read(1, 2, 2048), fine},
        {read(0, 1, 2052), stride("Large", 2052)},
        {read(std::uint64_t{1} << 62, 1, 4), outside(4, UINT64_MAX)},  // not that the product were 0
        {write(std::uint64_t{1} << 63, 1, 0), outside(4, UINT64_MAX)},
    };
    for (std::size_t i = 0; i < std::size(cases); ++i)
        EXPECT_THAT(GetFailure(cases[i].first), HasSubstr(cases[i].second)) << "case " << i;
}

TEST_F(FailureTest, PipelinesThatDoNotFitTheirProgram) {
    const auto make = [](const std::string& name, ShaderType type, const std::function<void(RootSignature&)>& declare) {
        const auto signature = GetDevice().CreateRootSignature("Signature");
        declare(*signature);
        const auto shader = GetDevice().CreateShaderLibraryFromEmbeddedData(name)->GetShader(type);
        GetDevice().CreateComputePipelineState("Pipeline", {signature.get(), shader.get()});
    };
    const auto nothing = [](RootSignature&) {};
    EXPECT_THAT(GetFailure([&] { make("Chain", ShaderType::Vertex, nothing); }),
                AllOf(HasSubstr("\"Pipeline\""), HasSubstr("lacks a stage")));
    EXPECT_THAT(GetFailure([] { GetDevice().CreateComputePipelineState("Pipeline", {}); }),
                HasSubstr("*desc.mRootSignature"));
    const auto signature = GetDevice().CreateRootSignature("Signature");
    EXPECT_THAT(GetFailure([&] {
                    GetDevice().CreateComputePipelineState("Pipeline", {signature.get(), nullptr});
                }),
                HasSubstr("*desc.mComputeShader"));
    if (!kTestedDevice.mReflectsPrograms) return;  // its driver judges what is inside a program
    EXPECT_THAT(GetFailure([&] { make("Quad", ShaderType::Pixel, nothing); }), HasSubstr("is of another kind"));
    EXPECT_THAT(GetFailure([&] { make("Chain", ShaderType::Compute, nothing); }), HasSubstr("uses b0"));
    EXPECT_THAT(GetFailure([&] {
                    make("Chain", ShaderType::Compute, [](RootSignature& s) {
                        s.AddRootConstants(20, 0);
                        s.AddRootShaderResourceBufferView(6);
                    });
                }),
                HasSubstr("uses u6"));
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

TEST_F(FailureTest, CopiesOutsideTheirObjects) {
    const auto buffer = MakeNamed("Bytes", 64);
    const auto texture = MakeTexture(Format::RGBA8Unorm, 4, 4);
    struct Case {
        std::function<void(CopyCommandEncoder&)> mRecord;
        std::string mText;
    };
    const TextureRegion whole = {0, 0, 4, 4, 0, 0};
    const TextureRegion outside = {2, 0, 3, 4, 0, 0};
    const Case cases[] = {
        {[&](CopyCommandEncoder& e) { e.CopyBuffer(*buffer, 60, *buffer, 0, 8); }, "8 bytes at 60"},
        {[&](CopyCommandEncoder& e) { e.CopyBuffer(*buffer, 0, *buffer, UINT64_MAX, 8); }, "\"Bytes\" of 64 bytes"},
        {[&](CopyCommandEncoder& e) { e.CopyBuffer(*buffer, 0, *buffer, 4, 8); }, "overlaps itself"},
        {[&](CopyCommandEncoder& e) { e.CopyToTextureFromBuffer(*texture, whole, *buffer, 4, 16); }, "64 bytes at 4"},
        {[&](CopyCommandEncoder& e) { e.CopyToTextureFromBuffer(*texture, outside, *buffer, 0, 16); },
         "3 x 4 at (2, 0)"},
        {[&](CopyCommandEncoder& e) { e.CopyToBufferFromTexture(*buffer, 0, 12, *texture, whole); }, "pitch of 12"},
        {[&](CopyCommandEncoder& e) { e.CopyToBufferFromTexture(*buffer, 2, 16, *texture, whole); }, "offset 2"},
        {[&](CopyCommandEncoder& e) { e.CopyTexture(*texture, *texture); }, "are one"},
        {[&](CopyCommandEncoder& e) { e.TextureTransitionBarrier(*texture, static_cast<TextureState>(12)); },
         UnknownValue("resource state", 12)},
    };
    for (const Case& c : cases) EXPECT_THAT(GetFailure([&] { Copy(c.mRecord); }), HasSubstr(c.mText));
}

TEST_F(FailureTest, MapsAreOfVisibleMemoryAndInPairs) {
    const auto hidden = MakeNamed("Hidden", 64);
    EXPECT_THAT(GetFailure([&] { hidden->Map(0, 0); }), HasSubstr("\"Hidden\""));
    auto seen =
        GetDevice().CreateBuffer("Seen", 64, MemoryKind::Readback, BufferState::CopyDestination, BufferUsage::None);
    EXPECT_THAT(GetFailure([&] { seen->Map(0, 65); }), HasSubstr("bytes 0 to 65 of the buffer \"Seen\""));
    EXPECT_THAT(GetFailure([&] { seen->Unmap(); }), HasSubstr("Seen"));
    seen->Map(0, 64);
    seen.reset();
    EXPECT_THAT(TakeMessages(), testing::ElementsAre("The buffer Seen must be unmapped."));
}

TEST_F(FailureTest, ListsTakeOneEncoderAtATimeAndRunOnce) {
    CommandQueue& queue = *GetDevice().GetThreadData().mCommandQueue;
    auto list = queue.CreateCommandList("Steps");
    auto encoder = list->CreateComputeCommandEncoder();
    EXPECT_THAT(GetFailure([&] { list->CreateCopyCommandEncoder(); }), HasSubstr("\"Steps\" has an open encoder"));
    encoder->End();
    EXPECT_THAT(GetFailure([&] { encoder->Dispatch(1, 1, 1, 1, 1, 1); }), HasSubstr("was ended already"));
    EXPECT_THAT(GetFailure([&] { list->CreateGraphicsCommandEncoder({}); }),
                HasSubstr("*renderPassDesc.mColorAttachments"));
    encoder = list->CreateComputeCommandEncoder();
    encoder.reset();  // dropped by a failure: the list goes on
    list->CreateCopyCommandEncoder()->End();
    queue.Execute(std::move(list))->Wait();
    EXPECT_THAT(GetFailure([&] { queue.Execute(nullptr); }), HasSubstr("commandList"));
}

}  // namespace
}  // namespace zeb::render
