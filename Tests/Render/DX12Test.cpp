// What is Direct3D's own: texts of failed calls, the states of resources, and what long use leaves behind.
#include <gmock/gmock.h>

#include "DX12/CommandList.h"
#include "DX12/Device.h"
#include "DX12/RootSignature.h"
#include "DeviceFixture.h"

#include <psapi.h>

namespace zeb::render {
namespace {

using testing::AnyOf;
using testing::HasSubstr;

class DX12Test : public DeviceFixture {
protected:
    static ID3D12Device* GetNative() { return dynamic_cast<DeviceDX12&>(GetDevice()).GetContext()->Get(); }
};

TEST_F(DX12Test, ResultsAreNamedAndTheRestNumbered) {
    const struct {
        HRESULT mResult;
        const char* mText;
    } cases[] = {
        {static_cast<HRESULT>(0x80070057), "E_INVALIDARG"},
        {static_cast<HRESULT>(0x8007000E), "E_OUTOFMEMORY"},
        {static_cast<HRESULT>(0x887A0005), "DXGI_ERROR_DEVICE_REMOVED"},
        {static_cast<HRESULT>(0x887A0006), "DXGI_ERROR_DEVICE_HUNG"},
        {static_cast<HRESULT>(0x887A0029), "DXGI_ERROR_RESTRICT_TO_OUTPUT_STALE"},
        {static_cast<HRESULT>(0x887E0002), "D3D12_ERROR_DRIVER_VERSION_MISMATCH"},
        {1, "S_FALSE"},
        {-2147483000, "code -2147483000"},
    };
    for (const auto& c : cases) EXPECT_EQ(GetResultText(c.mResult), c.mText);
    // The reason of a device that is well is no failure, and has no name.
    EXPECT_EQ(GetResultText(DXGI_ERROR_DEVICE_REMOVED, GetNative()), "Device removed code 0");
    EXPECT_EQ(GetResultText(DXGI_ERROR_DEVICE_HUNG, GetNative()), "DXGI_ERROR_DEVICE_HUNG");
    EXPECT_THAT(GetFailure([] { ZEB_DX12_CHECK(E_FAIL, nullptr); }),
                HasSubstr("\"Failed to call DX12 function (E_FAIL): E_FAIL\""));
}

TEST_F(DX12Test, UnknownValuesAreQuoted) {
    const auto unknown = [](auto value) { return static_cast<decltype(value)>(77); };
    const struct {
        std::function<void()> mAction;
        const char* mWhat;
    } cases[] = {
        {[&] { GetFormatDX12(unknown(Format())); }, "format"},
        {[&] { GetIndexFormatDX12(unknown(IndexFormat())); }, "index format"},
        {[&] { GetResourceFlagsDX12(unknown(BufferUsage())); }, "resource flags"},
        {[&] { GetResourceFlagsDX12(std::uint32_t{77}); }, "resource flags"},
        {[&] { GetResourceStateDX12(unknown(BufferState())); }, "buffer state"},
        {[&] { GetResourceStateDX12(unknown(TextureState())); }, "resource state"},
        {[&] { GetResourceDiamensionDX12(unknown(TextureDimension())); }, "resource diamension"},
        {[&] { GetAddressModeDX12(unknown(SamplerAddress())); }, "texture address mode"},
        {[&] { GetFilterDX12({unknown(SamplerFilter())}); }, "texture filter type"},
        {[&] { GetDescriptorRangeTypeDX12(unknown(DescriptorRangeType())); }, "descriptor range type"},
        {[&] { GetShaderVisibilityDX12(unknown(ShaderVisibility())); }, "shager visibility"},
        {[&] { GetPrimitiveTopologyTypeDX12(unknown(TopologyType())); }, "primitive topology type"},
    };
    for (const auto& c : cases) EXPECT_THAT(GetFailure(c.mAction), HasSubstr("\"" + UnknownValue(c.mWhat, 77) + "\""));
    EXPECT_EQ(GetHeapTypeDX12(unknown(MemoryKind())), D3D12_HEAP_TYPE_DEFAULT);
    EXPECT_EQ(GetBlendDX12(unknown(BlendFactor()), false), D3D12_BLEND_ZERO);
    EXPECT_EQ(GetBlendOperationDX12(unknown(BlendOperation())), D3D12_BLEND_OP_ADD);
    EXPECT_EQ(GetFillModeDX12(unknown(FillMode())), D3D12_FILL_MODE_SOLID);
    EXPECT_EQ(GetCullModeDX12(unknown(CullMode())), D3D12_CULL_MODE_NONE);
    // A buffer comes to unordered access by a transition only.
    EXPECT_THAT(GetFailure([] {
                    GetDevice().CreateBuffer("B", 4, MemoryKind::Default, BufferState::UnorderedAccess,
                                             BufferUsage::UnorderedAccess);
                }),
                HasSubstr(UnknownValue("buffer state", 4)));
}

TEST_F(DX12Test, FailedCallsAreQuoted) {
    static constexpr std::uint32_t kNoProgram[] = {1, 2, 3, 4};
    Render::SetEmbeddedShaderData("NoProgram", {{{16, kNoProgram}, {16, kNoProgram}, {16, kNoProgram}, {}}},
                                  dynamic_cast<DeviceDX12&>(GetDevice()).GetContext()->GetShaderFormat());
    const auto signature = GetDevice().CreateRootSignature("Empty");
    const auto library = GetDevice().CreateShaderLibraryFromEmbeddedData("NoProgram");
    const auto vertex = library->GetShader(ShaderType::Vertex);
    const auto pixel = library->GetShader(ShaderType::Pixel);
    const auto compute = library->GetShader(ShaderType::Compute);
    GraphicsPipelineDescription description;
    description.mRootSignature = signature.get();
    description.mVertexShader = vertex.get();
    description.mPixelShader = pixel.get();
    description.mRenderTargetFormats[0] = Format::RGBA8Unorm;
    const struct {
        std::function<void()> mAction;
        const char* mCall;
    } cases[] = {
        {[] {
             GetDevice().CreateBuffer("Vast", 1ULL << 60, MemoryKind::Default, BufferState::Common,
                                      BufferUsage::UnorderedAccess);
         },
         "mDevice.CreateCommittedResource(&heapProps, D3D12_HEAP_FLAG_NONE, &heapDesc, "
         "GetResourceStateDX12(GetState()), nullptr, IID_PPV_ARGS(&mBuffer))"},
        {[&] {
             GetDevice().CreateComputePipelineState("P", {signature.get(), compute.get()});
         },
         "mDevice.CreateComputePipelineState( &psoDesc, IID_PPV_ARGS(&mPipelineState))"},
        {[&] { GetDevice().CreateGraphicsPipelineState("P", description); },
         "mDevice.CreateGraphicsPipelineState( &psoDesc, IID_PPV_ARGS(&mPipelineState))"},
    };
    for (const auto& c : cases) {
        const std::string text = std::string("\"Failed to call DX12 function (") + c.mCall + "): ";
        EXPECT_THAT(GetFailure(c.mAction), AnyOf(HasSubstr(text + "E_OUTOFMEMORY\""),
                                                 HasSubstr(text + "E_INVALIDARG\""), HasSubstr(text + "E_FAIL\"")));
    }
}

TEST_F(DX12Test, ARootSignatureIsCompiledOnceAndMayBeEmpty) {
    const auto signature = GetDevice().CreateRootSignature("Empty");
    ID3D12RootSignature* native = ToDX12(*signature).CompileAndGet();
    EXPECT_NE(native, nullptr);
    EXPECT_EQ(ToDX12(*signature).CompileAndGet(), native);
}

TEST_F(DX12Test, ATransitionIsRecordedOnce) {
    const auto texture = MakeTexture(Format::RGBA8Unorm, 4, 4);
    const auto buffer = MakeBuffer(64);
    const auto upload = MakeBuffer(64, MemoryKind::Upload);
    Run([&](CommandList& list) {
        const auto& own = dynamic_cast<CommandListDX12&>(list);
        const auto encoder = list.CreateCopyCommandEncoder();
        for (int i = 0; i < 2; ++i) {
            encoder->TextureTransitionBarrier(*texture, TextureState::CopyDestination);
            encoder->BufferTransitionBarrier(*buffer, BufferState::UnorderedAccess);
            encoder->BufferTransitionBarrier(*upload, BufferState::CopyDestination);  // stays as it is
        }
        EXPECT_EQ(own.GetBarrierCount(), 2U);
        encoder->BufferUnorderedAccessBarrier(*buffer);
        encoder->BufferUnorderedAccessBarrier(*buffer);
        EXPECT_EQ(own.GetBarrierCount(), 4U);
        encoder->End();
    });
    // Buffers fall back to the common state after each list, textures stay.
    Run([&](CommandList& list) {
        const auto encoder = list.CreateCopyCommandEncoder();
        encoder->TextureTransitionBarrier(*texture, TextureState::CopyDestination);
        encoder->BufferTransitionBarrier(*buffer, BufferState::UnorderedAccess);
        EXPECT_EQ(dynamic_cast<CommandListDX12&>(list).GetBarrierCount(), 1U);
        encoder->End();
    });
}

TEST_F(DX12Test, MemoryThatTheCpuSeesIsNotWrittenByPrograms) {
    const auto upload = MakeBuffer(64, MemoryKind::Upload);
    const auto source = MakeBuffer(64);
    EXPECT_THAT(
        GetFailure([&] { Copy([&](CopyCommandEncoder& encoder) { encoder.CopyBuffer(*upload, 0, *source, 0, 64); }); }),
        HasSubstr("\"Test buffer\" lies in memory that the device cannot use"));
}

// The process's handles and committed bytes, and the device's own count.
struct Usage {
    DWORD mHandles = 0;
    std::size_t mBytes = 0;
    std::uint32_t mResources = 0;
};

TEST_F(DX12Test, AThousandListsLeaveNothingBehind) {
    const auto measure = [] {
        Usage usage;
        GetProcessHandleCount(GetCurrentProcess(), &usage.mHandles);
        PROCESS_MEMORY_COUNTERS memory = {};
        K32GetProcessMemoryInfo(GetCurrentProcess(), &memory, sizeof(memory));
        usage.mBytes = memory.PagefileUsage;
        usage.mResources = kTestedDevice.mGetLiveBlocks(GetDevice());
        return usage;
    };
    DescriptorHeap& heap = *GetDevice().GetThreadData().mShaderResourceHeap;
    Usage before;
    for (std::uint32_t i = 0; i < 1000; ++i) {
        if (i == 200) before = measure();
        // What a frame does: a temporary texture with its view, unaligned copies to it and back, and a wait.
        const auto texture = MakeTexture(Format::RGBA8Unorm, 9, 5);
        const auto range = heap.AllocateRange(600);
        GetDevice().CreateTextureView(*range, i % 600, *texture);
        const std::vector<std::uint32_t> texels(45, i);
        Upload(*texture, texels.data(), texels.size() * 4);
        if (i % 100 == 0) {
            ASSERT_EQ(std::memcmp(ReadBytes(*texture).data(), texels.data(), 180), 0);
        }
    }
    const Usage after = measure();
    EXPECT_EQ(after.mResources, before.mResources);
    EXPECT_LE(after.mHandles, before.mHandles + 4);
    EXPECT_LE(after.mBytes, before.mBytes + (4U << 20));
}

}  // namespace
}  // namespace zeb::render
