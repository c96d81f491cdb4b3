// What the back end makes of native calls that fail: no adapter, out of memory, a device that is removed. Objects get a
// table of functions in which some are replaced.
#include <gmock/gmock.h>

#include <initializer_list>
#include <list>
#include <map>
#include <vector>

#include "DX12/CommandList.h"
#include "DX12/Device.h"
#include "DX12/RootSignature.h"
#include "DeviceFixture.h"

namespace zeb::render {
namespace {

using testing::HasSubstr;

// Places in the tables of functions, and how many functions there are.
enum DeviceFunction : std::size_t {
    kCreateCommandQueue = 8,
    kCreateCommandAllocator = 9,
    kCreateGraphicsPipelineState = 10,
    kCreateComputePipelineState = 11,
    kCreateCommandList = 12,
    kCreateDescriptorHeap = 14,
    kCreateRootSignature = 16,
    kCreateCommittedResource = 27,
    kCreateFence = 36,
    kGetDeviceRemovedReason = 37,
    kDeviceFunctions = 44,
};
constexpr std::size_t kEnumAdapterByGpuPreference = 29, kFactoryFunctions = 30;
constexpr std::size_t kGetDesc1 = 10, kAdapterFunctions = 11;
constexpr std::size_t kMap = 8, kResourceFunctions = 15;
constexpr std::size_t kClose = 9, kListFunctions = 60;
constexpr std::size_t kSignal = 14, kQueueFunctions = 19;
constexpr std::size_t kGetCompletedValue = 8, kSetEventOnCompletion = 9, kFenceFunctions = 11;

struct Replacement {
    std::size_t mPlace;
    void* mFunction;
};

/// As long as it lives, `object` has some functions of ours.
class Replaced {
public:
    Replaced(IUnknown* object, std::size_t count, std::initializer_list<Replacement> replacements)
        : mOwner(object), mTable(*reinterpret_cast<void***>(object)), mObject(reinterpret_cast<void***>(object)) {
        mOwner->AddRef();
        mReplaced.assign(mTable, mTable + count);
        for (const Replacement& each : replacements) mReplaced[each.mPlace] = each.mFunction;
        *mObject = mReplaced.data();
    }
    ~Replaced() {
        *mObject = mTable;
        mOwner->Release();
    }
    Replaced(const Replaced&) = delete;
    Replaced& operator=(const Replaced&) = delete;

    void* GetOriginal(std::size_t place) const { return mTable[place]; }

private:
    IUnknown* mOwner;
    void** mTable;
    void*** mObject;
    std::vector<void*> mReplaced;
};

HRESULT gResult = S_OK;
UINT64 gCompleted = 0;
const Replaced* gDevice = nullptr;
IUnknown* gQueue = nullptr;
IUnknown* gFence = nullptr;

// Callers clear the stack on this system, so that one function may stand for many.
HRESULT WINAPI Fail() { return gResult; }
HRESULT WINAPI Succeed() { return S_OK; }
HRESULT WINAPI TellReason() { return DXGI_ERROR_DEVICE_HUNG; }
UINT64 WINAPI TellCompleted() { return gCompleted; }

HRESULT WINAPI KeepQueue(ID3D12Device* self, const D3D12_COMMAND_QUEUE_DESC* desc, REFIID id, void** queue) {
    using Function = HRESULT(WINAPI*)(ID3D12Device*, const D3D12_COMMAND_QUEUE_DESC*, REFIID, void**);
    const auto original = reinterpret_cast<Function>(gDevice->GetOriginal(kCreateCommandQueue));
    const HRESULT result = original(self, desc, id, queue);
    gQueue = static_cast<ID3D12CommandQueue*>(*queue);
    return result;
}

HRESULT WINAPI KeepFence(ID3D12Device* self, UINT64 value, D3D12_FENCE_FLAGS flags, REFIID id, void** fence) {
    using Function = HRESULT(WINAPI*)(ID3D12Device*, UINT64, D3D12_FENCE_FLAGS, REFIID, void**);
    const auto original = reinterpret_cast<Function>(gDevice->GetOriginal(kCreateFence));
    const HRESULT result = original(self, value, flags, id, fence);
    gFence = static_cast<ID3D12Fence*>(*fence);
    return result;
}

template <class Function>
void* Address(Function* function) {
    return reinterpret_cast<void*>(function);
}

class DX12FaultTest : public DeviceFixture {
protected:
    static ID3D12Device* GetNative() { return dynamic_cast<DeviceDX12&>(GetDevice()).GetContext()->Get(); }

    /// Runs `action` for each way to fail and demands a message with the call's text and the result.
    static void ExpectQuoted(const char* call, const std::function<void()>& action) {
        const Replaced device(GetNative(), kDeviceFunctions, {{kGetDeviceRemovedReason, Address(TellReason)}});
        const std::string text = std::string("\"Failed to call DX12 function (") + call + "): ";
        gResult = E_OUTOFMEMORY;
        EXPECT_THAT(GetFailure(action), HasSubstr(text + "E_OUTOFMEMORY\""));
        gResult = DXGI_ERROR_DEVICE_REMOVED;
        EXPECT_THAT(GetFailure(action), HasSubstr(text + "Device removed DXGI_ERROR_DEVICE_HUNG\""));
    }
};

TEST_F(DX12FaultTest, WhatTheDeviceCannotMakeIsQuoted) {
    static constexpr std::uint32_t kNoProgram[] = {1, 2, 3, 4};
    Device& device = GetDevice();
    Render::SetEmbeddedShaderData("NoProgram", {{{16, kNoProgram}, {16, kNoProgram}, {16, kNoProgram}, {}}},
                                  dynamic_cast<DeviceDX12&>(device).GetContext()->GetShaderFormat());
    const auto signature = device.CreateRootSignature("Empty");
    ToDX12(*signature).CompileAndGet();
    const auto library = device.CreateShaderLibraryFromEmbeddedData("NoProgram");
    const auto vertex = library->GetShader(ShaderType::Vertex);
    const auto pixel = library->GetShader(ShaderType::Pixel);
    const auto compute = library->GetShader(ShaderType::Compute);
    GraphicsPipelineDescription description;
    description.mRootSignature = signature.get();
    description.mVertexShader = vertex.get();
    description.mPixelShader = pixel.get();
    description.mRenderTargetFormats[0] = Format::RGBA8Unorm;
    const auto queue = device.CreateCommandQueue("Q");
    const struct {
        DeviceFunction mFunction;
        const char* mCall;
        std::function<void()> mAction;
    } cases[] = {
        {kCreateCommandQueue, "mDevice.CreateCommandQueue(&desc, IID_PPV_ARGS(mCommandQueue.ReleaseAndGetAddressOf()))",
         [&] { device.CreateCommandQueue("Q"); }},
        {kCreateFence,
         "mDevice.CreateFence(mNextFenceValue, D3D12_FENCE_FLAG_NONE, IID_PPV_ARGS(mFence.ReleaseAndGetAddressOf()))",
         [&] { device.CreateCommandQueue("Q"); }},
        {kCreateCommandAllocator,
         "mDevice.CreateCommandAllocator( D3D12_COMMAND_LIST_TYPE_DIRECT, "
         "IID_PPV_ARGS(commandAllocator.ReleaseAndGetAddressOf()))",
         [&] { queue->CreateCommandList("L"); }},
        {kCreateCommandList,
         "mDevice.CreateCommandList( 0, D3D12_COMMAND_LIST_TYPE_DIRECT, mCommandAllocator.Get(), nullptr, "
         "IID_PPV_ARGS(mCommandList.ReleaseAndGetAddressOf()))",
         [&] { queue->CreateCommandList("L"); }},
        {kCreateDescriptorHeap, "mDevice.CreateDescriptorHeap(&desc, IID_PPV_ARGS(&mHeap))",
         [&] { device.CreateDescriptorHeap("H", DescriptorHeapType::Samplers, 4); }},
        {kCreateRootSignature,
         "mDevice.CreateRootSignature(0, signature->GetBufferPointer(), signature->GetBufferSize(), "
         "IID_PPV_ARGS(&mRootSignature))",
         [&] { ToDX12(*device.CreateRootSignature("R")).CompileAndGet(); }},
        {kCreateCommittedResource,
         "mDevice.CreateCommittedResource(&heapProps, D3D12_HEAP_FLAG_NONE, &heapDesc, "
         "GetResourceStateDX12(GetState()), nullptr, IID_PPV_ARGS(&mBuffer))",
         [&] { MakeBuffer(64); }},
        {kCreateCommittedResource,
         "mDevice.CreateCommittedResource(&heapProps, D3D12_HEAP_FLAG_NONE, &heapDesc, "
         "GetResourceStateDX12(GetState()), clearValue, IID_PPV_ARGS(&mTexture))",
         [&] { MakeTexture(Format::RGBA8Unorm, 4, 4); }},
        {kCreateComputePipelineState, "mDevice.CreateComputePipelineState( &psoDesc, IID_PPV_ARGS(&mPipelineState))",
         [&] {
             device.CreateComputePipelineState("P", {signature.get(), compute.get()});
         }},
        {kCreateGraphicsPipelineState, "mDevice.CreateGraphicsPipelineState( &psoDesc, IID_PPV_ARGS(&mPipelineState))",
         [&] { device.CreateGraphicsPipelineState("P", description); }},
    };
    const std::uint32_t resources = kTestedDevice.mGetLiveBlocks(device);
    for (const auto& c : cases) {
        ExpectQuoted(c.mCall, [&] {
            const Replaced failing(GetNative(), kDeviceFunctions,
                                   {{c.mFunction, Address(Fail)}, {kGetDeviceRemovedReason, Address(TellReason)}});
            c.mAction();
        });
    }
    EXPECT_EQ(kTestedDevice.mGetLiveBlocks(device), resources);
    EXPECT_THAT(GetFailure([&] {
                    device.CreateBuffer("Vast", 1ULL << 60, MemoryKind::Default, BufferState::Common,
                                        BufferUsage::UnorderedAccess);
                }),
                HasSubstr("IID_PPV_ARGS(&mBuffer))): E_OUTOFMEMORY\""));
}

TEST_F(DX12FaultTest, WhatFailsWithAListIsQuotedAndTheQueueGoesOn) {
    gDevice = nullptr;
    UniquePtr<CommandQueue> queue;
    {
        const Replaced device(GetNative(), kDeviceFunctions,
                              {{kCreateCommandQueue, Address(KeepQueue)}, {kCreateFence, Address(KeepFence)}});
        gDevice = &device;
        queue = GetDevice().CreateCommandQueue("Q");
    }
    const auto buffer = MakeBuffer(64, MemoryKind::Readback);
    ExpectQuoted("mBuffer->Map(0, &readRange, &dataPtr)", [&] {
        const Replaced failing(dynamic_cast<BufferDX12&>(*buffer).GetResource()->mResource.Get(), kResourceFunctions,
                               {{kMap, Address(Fail)}});
        buffer->Map(0, 64);
    });
    ExpectQuoted("commandListDX12.Close()", [&] {
        auto list = queue->CreateCommandList("L");
        const Replaced failing(dynamic_cast<CommandListDX12&>(*list).GetNative(), kListFunctions,
                               {{kClose, Address(Fail)}});
        queue->Execute(std::move(list));
    });
    ExpectQuoted("mCommandQueue->Signal(mFence.Get(), fenceValue)", [&] {
        const Replaced failing(gQueue, kQueueFunctions, {{kSignal, Address(Fail)}});
        queue->Execute(queue->CreateCommandList("L"));
    });
    ExpectQuoted("mCommandQueue.mCommandQueue->Signal( mCommandQueue.mFence.Get(), mFenceValue)", [&] {
        const auto event = queue->Execute(queue->CreateCommandList("L"));
        const Replaced failing(gQueue, kQueueFunctions, {{kSignal, Address(Fail)}});
        event->Wait();
    });
    TakeMessages();  // events that went without a wait tell of their failures there
    const auto wait = [&](UINT64 completed) {
        const auto event = queue->Execute(queue->CreateCommandList("L"));
        gCompleted = completed;
        const Replaced idle(gQueue, kQueueFunctions, {{kSignal, Address(Succeed)}});
        const Replaced failing(gFence, kFenceFunctions,
                               {{kGetCompletedValue, Address(TellCompleted)}, {kSetEventOnCompletion, Address(Fail)}});
        event->Wait();
    };
    const char* const call = "mCommandQueue.mFence->SetEventOnCompletion(mFenceValue, fenceEvent.Get())";
    ExpectQuoted(call, [&] { wait(0); });
    // So it is after the loss of the device, and what was read back would be nothing that was drawn.
    gResult = S_OK;
    const Replaced lost(GetNative(), kDeviceFunctions, {{kGetDeviceRemovedReason, Address(TellReason)}});
    EXPECT_THAT(GetFailure([&] { wait(UINT64_MAX); }),
                HasSubstr(std::string(call) + "): Device removed DXGI_ERROR_DEVICE_HUNG\""));
    TakeMessages();
    queue->Execute(queue->CreateCommandList("L"))->Wait();
}

/// For a while the API's functions are others. Objects of theirs keep replaced tables until they are gone.
struct Machine {
    Machine() : mApi(const_cast<DX12Api&>(GetDX12Api())), mOriginal(mApi) { gMachine = this; }
    ~Machine() { mApi = mOriginal; }
    Machine(const Machine&) = delete;
    Machine& operator=(const Machine&) = delete;

    static Machine* gMachine;
    static void Replace(void* object, std::size_t count, const Replacement& replacement) {
        static std::list<std::vector<void*>> tables;
        void**& table = *static_cast<void***>(object);
        auto& own = tables.emplace_back(table, table + count);
        gMachine->mOriginals[replacement.mPlace] = own[replacement.mPlace];
        own[replacement.mPlace] = replacement.mFunction;
        table = own.data();
    }

    DX12Api& mApi;
    const DX12Api mOriginal;
    std::map<std::size_t, void*> mOriginals;
};
Machine* Machine::gMachine = nullptr;

HRESULT WINAPI FindNone(IDXGIFactory6*, UINT, DXGI_GPU_PREFERENCE, REFIID, void**) { return DXGI_ERROR_NOT_FOUND; }

HRESULT WINAPI TellSoftware(IDXGIAdapter1* self, DXGI_ADAPTER_DESC1* desc) {
    using Function = HRESULT(WINAPI*)(IDXGIAdapter1*, DXGI_ADAPTER_DESC1*);
    const HRESULT result = reinterpret_cast<Function>(Machine::gMachine->mOriginals[kGetDesc1])(self, desc);
    desc->Flags = DXGI_ADAPTER_FLAG_SOFTWARE;
    return result;
}

HRESULT WINAPI FindSoftware(IDXGIFactory6* self, UINT index, DXGI_GPU_PREFERENCE preference, REFIID id, void** out) {
    using Function = HRESULT(WINAPI*)(IDXGIFactory6*, UINT, DXGI_GPU_PREFERENCE, REFIID, void**);
    const auto original = reinterpret_cast<Function>(Machine::gMachine->mOriginals[kEnumAdapterByGpuPreference]);
    const HRESULT result = original(self, index, preference, id, out);
    if (SUCCEEDED(result)) Machine::Replace(*out, kAdapterFunctions, {kGetDesc1, Address(TellSoftware)});
    return result;
}

template <auto FindAdapter>
HRESULT WINAPI MakeFactory(UINT flags, REFIID id, void** factory) {
    const HRESULT result = Machine::gMachine->mOriginal.CreateDXGIFactory2(flags, id, factory);
    Machine::Replace(*factory, kFactoryFunctions, {kEnumAdapterByGpuPreference, Address(FindAdapter)});
    return result;
}

HRESULT WINAPI MakeNoFactory(UINT, REFIID, void**) { return DXGI_ERROR_UNSUPPORTED; }
HRESULT WINAPI MakeNoDevice(IUnknown*, D3D_FEATURE_LEVEL, REFIID, void**) { return DXGI_ERROR_UNSUPPORTED; }

TEST_F(DX12FaultTest, MachinesWithoutAFittingAdapterSaySo) {
    const std::string name = GetDevice().GetName();
    const auto create = [&](const std::string& request) {
        return GetFailure([&] {
            RenderOptions options;
            options.mRequestedDevice = request;
            Render::Create(1, options);
        });
    };
    Machine machine;
    for (const auto makeFactory : {MakeFactory<FindNone>, MakeFactory<FindSoftware>}) {
        machine.mApi.CreateDXGIFactory2 = makeFactory;
        EXPECT_THAT(create(""), HasSubstr("\"Failed to get compatible DX12 hardware adapter.\""));
    }
    machine.mApi.CreateDXGIFactory2 = MakeNoFactory;
    EXPECT_THAT(create(""), HasSubstr("\"Failed to call DX12 function (CreateDXGIFactory2(dxgiFactoryFlags, "
                                      "IID_PPV_ARGS(&factory))): DXGI_ERROR_UNSUPPORTED\""));
    machine.mApi = machine.mOriginal;
    machine.mApi.D3D12CreateDevice = MakeNoDevice;
    EXPECT_THAT(create(""), HasSubstr("\"Failed to get compatible DX12 hardware adapter.\""));
    EXPECT_THAT(create(name), HasSubstr("cannot be used, it lacks Direct3D 12 at feature level 11_0"));
}

}  // namespace
}  // namespace zeb::render
