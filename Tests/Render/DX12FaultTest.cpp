// What the back end makes of native calls that fail: no adapter, out of memory, a device that is removed. Objects get a
// table of functions in which some are replaced.
#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <initializer_list>
#include <list>
#include <map>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "DX12/CommandList.h"
#include "DX12/Device.h"
#include "DX12/RootSignature.h"
#include "DeviceFixture.h"
#include "PluginBase/Render/DeviceKeeper.h"
#include "PluginBase/Render/Failures.h"

namespace zeb::render {
namespace {

using testing::HasSubstr;

// Places in the tables of functions, and how many functions there are.
enum DeviceFunction : std::size_t {
    kQueryInterface = 0,
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
constexpr std::size_t kClose = 9, kDispatch = 14, kResourceBarrier = 26, kSetComputeConstantBuffer = 37,
                      kSetComputeReadBuffer = 39, kSetComputeWrittenBuffer = 41, kListFunctions = 60;
constexpr std::size_t kSignal = 14, kQueueFunctions = 19;
constexpr std::size_t kGetCompletedValue = 8, kSetEventOnCompletion = 9, kFenceFunctions = 11;
constexpr std::size_t kSetMessageCountLimit = 3, kClearStoredMessages = 4, kGetMessage = 5, kGetNumStoredMessages = 8,
                      kMessageFunctions = 38;
constexpr std::size_t kEnableDebugLayer = 3, kDebugFunctions = 4;

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

TEST_F(DX12FaultTest, AListWhoseWaitFailedIsKeptUntilItsWorkIsDone) {
    UniquePtr<CommandQueue> queue;
    {
        const Replaced device(GetNative(), kDeviceFunctions,
                              {{kCreateCommandQueue, Address(KeepQueue)}, {kCreateFence, Address(KeepFence)}});
        gDevice = &device;
        queue = GetDevice().CreateCommandQueue("Q");
    }
    const auto target = MakeBuffer(400);
    const auto executeAndFail = [&] {
        auto source = MakeUpload(std::vector<std::uint32_t>(100, 7));
        auto list = queue->CreateCommandList("L");
        const auto encoder = list->CreateCopyCommandEncoder();
        encoder->CopyBuffer(*target, 0, *source, 0, 400);
        encoder->End();
        auto event = queue->Execute(std::move(list));
        gCompleted = 0;
        gResult = E_OUTOFMEMORY;
        const Replaced idle(gQueue, kQueueFunctions, {{kSignal, Address(Succeed)}});
        const Replaced failing(gFence, kFenceFunctions,
                               {{kGetCompletedValue, Address(TellCompleted)}, {kSetEventOnCompletion, Address(Fail)}});
        EXPECT_THROW(event->Wait(), OutOfMemoryException);
        event.reset();
    };
    const std::uint32_t resources = kTestedDevice.mGetLiveBlocks(GetDevice());
    executeAndFail();
    EXPECT_EQ(kTestedDevice.mGetLiveBlocks(GetDevice()), resources + 1) << "its buffer is still there";
    queue->Execute(queue->CreateCommandList("Next"))->Wait();
    queue->CreateCommandList("After");
    EXPECT_EQ(kTestedDevice.mGetLiveBlocks(GetDevice()), resources);
    // It ends with its queue as well.
    executeAndFail();
    queue.reset();
    EXPECT_EQ(kTestedDevice.mGetLiveBlocks(GetDevice()), resources);
    EXPECT_EQ(TakeMessages().size(), 2U) << "each event's own wait failed too";
}

ULONG CountReferences(IUnknown* object) {
    object->AddRef();
    return object->Release();
}

TEST_F(DX12FaultTest, ALostDeviceIsLetGoByItsLastFrameAndOpenedAgain) {
    const ULONG others = CountReferences(GetNative());
    ComPointer<ID3D12Device> native;
    int opened = 0;
    {
        RenderOptions options;
        options.mRequestedDevice = GetDevice().GetName();
        DeviceKeeper keeper([&] {
            ++opened;
            return Render::Create(0, options);
        });
        const auto draw = [](Device& device) {
            CommandQueue& queue = *device.GetThreadData().mCommandQueue;
            queue.Execute(queue.CreateCommandList("Frame"))->Wait();
        };
        const auto drawOnThreads = [&] {
            std::vector<std::thread> threads;
            std::vector<std::string> messages(3);
            for (std::string& message : messages) {
                threads.emplace_back([&] { message = GetFailure([&] { keeper.DrawFrame(draw); }); });
            }
            for (std::thread& thread : threads) thread.join();
            return messages;
        };
        EXPECT_THAT(drawOnThreads(), testing::Each("no failure"));
        keeper.DrawFrame([&](Device& device) {
            ID3D12Device* const drawing = dynamic_cast<DeviceDX12&>(device).GetContext()->Get();
            drawing->AddRef();
            *native.ReleaseAndGetAddressOf() = drawing;
        });
        {
            gResult = DXGI_ERROR_DEVICE_REMOVED;
            const Replaced lost(native.Get(), kDeviceFunctions,
                                {{kCreateCommandQueue, Address(Fail)},
                                 {kCreateCommandList, Address(Fail)},
                                 {kGetDeviceRemovedReason, Address(TellReason)}});
            EXPECT_THAT(GetFailure([&] { keeper.DrawFrame(draw); }),
                        HasSubstr("Device removed DXGI_ERROR_DEVICE_HUNG"));
        }
        // Where all devices of one adapter are the same to Direct3D, those of others stay.
        EXPECT_EQ(CountReferences(native.Get()), native.Get() == GetNative() ? others + 1 : 1U);
        EXPECT_EQ(opened, 1);
        EXPECT_THAT(drawOnThreads(), testing::Each("no failure"));
        EXPECT_EQ(opened, 2);
    }
    native = {};
    EXPECT_EQ(CountReferences(GetNative()), others);
}

// Data may change until it is bound, so what a barrier guards is bound behind it, and anew for each dispatch.
std::string gCalls;
std::vector<UINT64> gAddresses;
const Replaced* gList = nullptr;

void WINAPI NoteBarrier(ID3D12GraphicsCommandList* self, UINT count, const D3D12_RESOURCE_BARRIER* barriers) {
    for (UINT i = 0; i < count; ++i) gCalls += barriers[i].Type == D3D12_RESOURCE_BARRIER_TYPE_UAV ? "U" : "T";
    using Function = void(WINAPI*)(ID3D12GraphicsCommandList*, UINT, const D3D12_RESOURCE_BARRIER*);
    reinterpret_cast<Function>(gList->GetOriginal(kResourceBarrier))(self, count, barriers);
}

template <std::size_t kPlace, char kRegister>
void WINAPI NoteBuffer(ID3D12GraphicsCommandList* self, UINT parameter, D3D12_GPU_VIRTUAL_ADDRESS address) {
    gCalls += kRegister;
    gAddresses.push_back(address);
    using Function = void(WINAPI*)(ID3D12GraphicsCommandList*, UINT, D3D12_GPU_VIRTUAL_ADDRESS);
    reinterpret_cast<Function>(gList->GetOriginal(kPlace))(self, parameter, address);
}

void WINAPI NoteDispatch(ID3D12GraphicsCommandList* self, UINT x, UINT y, UINT z) {
    gCalls += " dispatch ";
    using Function = void(WINAPI*)(ID3D12GraphicsCommandList*, UINT, UINT, UINT);
    reinterpret_cast<Function>(gList->GetOriginal(kDispatch))(self, x, y, z);
}

TEST_F(DX12FaultTest, BuffersAreBoundBehindTheirBarriersAndAnewForEachDispatch) {
    const auto program = MakeRawAdd(GetDevice());
    const auto source = MakeBuffer(512);
    const auto result = MakeBuffer(512);
    const auto factors = MakeBuffer(512);
    const auto at = [](Buffer& buffer) { return dynamic_cast<BufferDX12&>(buffer).GetAddress(); };
    gCalls.clear();
    gAddresses.clear();
    Run([&](CommandList& list) {
        const Replaced native(dynamic_cast<CommandListDX12&>(list).GetNative(), kListFunctions,
                              {{kResourceBarrier, Address(NoteBarrier)},
                               {kDispatch, Address(NoteDispatch)},
                               {kSetComputeConstantBuffer, Address(NoteBuffer<kSetComputeConstantBuffer, 'b'>)},
                               {kSetComputeReadBuffer, Address(NoteBuffer<kSetComputeReadBuffer, 't'>)},
                               {kSetComputeWrittenBuffer, Address(NoteBuffer<kSetComputeWrittenBuffer, 'u'>)}});
        gList = &native;
        const auto encoder = list.CreateComputeCommandEncoder();
        program.Set(*encoder);
        encoder->SetRootConstant(0, 1);
        encoder->SetRootShaderResourceBufferView(1, *source, 16);
        encoder->SetRootUnorderedAccessBufferView(2, *result, 0);
        encoder->SetRootConstantBufferView(3, *factors, 256);
        encoder->Dispatch(1, 1, 1, 64, 1, 1);
        encoder->BufferUnorderedAccessBarrier(*result);
        encoder->SetRootShaderResourceBufferView(1, *source, 32);
        encoder->Dispatch(1, 1, 1, 64, 1, 1);
        encoder->End();
    });
    EXPECT_EQ(gCalls, "TTTtub dispatch Utub dispatch ");
    EXPECT_THAT(gAddresses, testing::ElementsAre(at(*source) + 16, at(*result), at(*factors) + 256, at(*source) + 32,
                                                 at(*result), at(*factors) + 256));
}

/// An object of the API that is all ours. What is not replaced succeeds and does nothing.
struct StandIn {
    StandIn(std::size_t count, std::initializer_list<Replacement> replacements) : mFunctions(count, Address(Succeed)) {
        for (const Replacement& each : replacements) mFunctions[each.mPlace] = each.mFunction;
        mTable = mFunctions.data();
    }
    StandIn(const StandIn&) = delete;
    StandIn& operator=(const StandIn&) = delete;

    void** mTable;  // first, where callers look for it
    std::vector<void*> mFunctions;
};

/// What the debug layer has to say, as it keeps it: with a limit until that is lifted.
struct Messages {
    void Add(D3D12_MESSAGE_SEVERITY severity, const std::string& text) {
        const std::lock_guard lock(mMutex);
        if (mStored.size() < mLimit) mStored.emplace_back(severity, text);
    }

    std::mutex mMutex;
    UINT64 mLimit = 1024;
    std::vector<std::pair<D3D12_MESSAGE_SEVERITY, std::string>> mStored;
    std::function<void()> mWhileRead;  ///< what other threads do while a message is read
    std::atomic<int> mReaders = 0;
    std::atomic<bool> mHadSeveralReaders = false;
};
Messages* gMessages = nullptr;

HRESULT WINAPI SetLimit(void*, UINT64 limit) {
    gMessages->mLimit = limit;
    return S_OK;
}
void WINAPI ClearMessages(void*) {
    const std::lock_guard lock(gMessages->mMutex);
    gMessages->mStored.clear();
}
UINT64 WINAPI CountMessages(void*) {
    const std::lock_guard lock(gMessages->mMutex);
    return gMessages->mStored.size();
}
HRESULT WINAPI TakeMessage(void*, UINT64 index, D3D12_MESSAGE* message, SIZE_T* size) {
    if (++gMessages->mReaders > 1) gMessages->mHadSeveralReaders = true;
    std::this_thread::yield();
    --gMessages->mReaders;
    if (const auto action = std::exchange(gMessages->mWhileRead, nullptr)) action();
    const std::lock_guard lock(gMessages->mMutex);
    if (index >= gMessages->mStored.size()) return DXGI_ERROR_INVALID_CALL;
    const auto& [severity, text] = gMessages->mStored[index];
    *size = sizeof(D3D12_MESSAGE) + text.size() + 1;
    if (message == nullptr) return S_FALSE;
    char* const copy = reinterpret_cast<char*>(message + 1);
    std::copy_n(text.c_str(), text.size() + 1, copy);
    message->Severity = severity;
    message->pDescription = copy;
    message->DescriptionByteLength = text.size() + 1;
    return S_OK;
}

HRESULT WINAPI FindMessages(ID3D12Device* self, REFIID id, void** object) {
    static StandIn messages(kMessageFunctions, {{kSetMessageCountLimit, Address(SetLimit)},
                                                {kClearStoredMessages, Address(ClearMessages)},
                                                {kGetMessage, Address(TakeMessage)},
                                                {kGetNumStoredMessages, Address(CountMessages)}});
    if (IsEqualGUID(id, __uuidof(ID3D12InfoQueue))) {
        *object = &messages;
        return S_OK;
    }
    using Function = HRESULT(WINAPI*)(ID3D12Device*, REFIID, void**);
    return reinterpret_cast<Function>(gDevice->GetOriginal(kQueryInterface))(self, id, object);
}

TEST_F(DX12FaultTest, EveryMessageOfTheDebugLayerIsReportedOnce) {
    Messages messages;
    gMessages = &messages;
    const Replaced device(GetNative(), kDeviceFunctions, {{kQueryInterface, Address(FindMessages)}});
    gDevice = &device;
    std::map<std::string, int> reported;
    RenderOptions options;
    options.mValidation = true;
    options.mReportValidation = [&](const std::string& text) { ++reported[text]; };
    ComPointer<ID3D12Device> native;
    ASSERT_EQ(GetNative()->QueryInterface(IID_PPV_ARGS(native.ReleaseAndGetAddressOf())), S_OK);
    auto context = std::make_shared<DeviceContext>(native, options);

    messages.Add(D3D12_MESSAGE_SEVERITY_ERROR, "first");
    messages.mWhileRead = [&] { messages.Add(D3D12_MESSAGE_SEVERITY_ERROR, "meanwhile"); };
    context->ReportMessages();
    EXPECT_THAT(reported, testing::ElementsAre(testing::Pair("first", 1)));
    context->ReportMessages();
    EXPECT_THAT(reported, testing::ElementsAre(testing::Pair("first", 1), testing::Pair("meanwhile", 1)));
    reported.clear();
    constexpr int kThreads = 4, kEach = 1000;
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            for (int i = 0; i < kEach; ++i) {
                messages.Add(D3D12_MESSAGE_SEVERITY_ERROR, std::to_string(t * kEach + i));
                context->ReportMessages();
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_FALSE(messages.mHadSeveralReaders);
    EXPECT_EQ(reported.size(), kThreads * kEach);
    EXPECT_THAT(reported, testing::Each(testing::Pair(testing::_, 1)));
    reported.clear();

    // With a failure, before that itself is told.
    messages.Add(D3D12_MESSAGE_SEVERITY_WARNING, "of no interest");
    messages.Add(D3D12_MESSAGE_SEVERITY_ERROR, "why");
    gResult = E_INVALIDARG;
    {
        const Replaced failing(GetNative(), kDeviceFunctions, {{kCreateCommandQueue, Address(Fail)}});
        EXPECT_THAT(GetFailure([&] { const CommandQueueDX12 queue(context, "Q"); }), HasSubstr("E_INVALIDARG"));
    }
    EXPECT_THAT(reported, testing::ElementsAre(testing::Pair("why", 1)));
    // And at the device's end.
    messages.Add(D3D12_MESSAGE_SEVERITY_CORRUPTION, "last");
    context.reset();
    EXPECT_THAT(reported, testing::ElementsAre(testing::Pair("last", 1), testing::Pair("why", 1)));
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
HRESULT WINAPI FindTwice(IDXGIFactory6* self, UINT index, DXGI_GPU_PREFERENCE preference, REFIID id, void** out) {
    using Function = HRESULT(WINAPI*)(IDXGIFactory6*, UINT, DXGI_GPU_PREFERENCE, REFIID, void**);
    const auto original = reinterpret_cast<Function>(Machine::gMachine->mOriginals[kEnumAdapterByGpuPreference]);
    return index < 2 ? original(self, 0, preference, id, out) : DXGI_ERROR_NOT_FOUND;
}

int gOpened = 0;
HRESULT WINAPI CountDevices(IUnknown* adapter, D3D_FEATURE_LEVEL level, REFIID id, void** device) {
    ++gOpened;
    return Machine::gMachine->mOriginal.D3D12CreateDevice(adapter, level, id, device);
}

HRESULT WINAPI MakeNoDevice(IUnknown*, D3D_FEATURE_LEVEL, REFIID, void**) { return DXGI_ERROR_UNSUPPORTED; }

TEST_F(DX12FaultTest, MachinesWithoutAFittingAdapterSaySo) {
    const std::string name = GetDevice().GetName();
    std::string chosen;
    const auto create = [&](const std::string& request) {
        return GetFailure([&] {
            RenderOptions options;
            options.mRequestedDevice = request;
            options.mReportDevice = [&chosen](const DeviceCandidate& candidate) {
                if (candidate.mChosen) chosen = candidate.mKind + ", " + candidate.mReason;
            };
            Render::Create(1, options);
        });
    };
    Machine machine;
    for (const auto makeFactory : {MakeFactory<FindNone>, MakeFactory<FindSoftware>}) {
        machine.mApi.CreateDXGIFactory2 = makeFactory;
        EXPECT_THAT(create("dx12"), HasSubstr("\"Failed to get compatible DX12 hardware adapter.\""));
        EXPECT_EQ(create(""), "no failure");
        EXPECT_EQ(chosen, "cpu, no usable hardware device");
    }
    machine.mApi.CreateDXGIFactory2 = MakeNoFactory;
    EXPECT_EQ(create(""), "no failure");
    EXPECT_THAT(chosen, HasSubstr("cpu, no usable Direct3D 12: "));
    EXPECT_THAT(create("dx12"), HasSubstr("\"Failed to call DX12 function (CreateDXGIFactory2(dxgiFactoryFlags, "
                                          "IID_PPV_ARGS(&factory))): DXGI_ERROR_UNSUPPORTED\""));
    machine.mApi = machine.mOriginal;
    // The first that fits is opened; nobody wakes those behind it.
    machine.mApi.CreateDXGIFactory2 = MakeFactory<FindTwice>;
    machine.mApi.D3D12CreateDevice = CountDevices;
    gOpened = 0;
    EXPECT_EQ(create(""), "no failure");
    EXPECT_EQ(gOpened, 2) << "asked and made";
    machine.mApi = machine.mOriginal;
    machine.mApi.D3D12CreateDevice = MakeNoDevice;
    EXPECT_THAT(create("dx12"), HasSubstr("\"Failed to get compatible DX12 hardware adapter.\""));
    EXPECT_THAT(create(name), HasSubstr("cannot be used, it lacks Direct3D 12 at feature level 11_0"));
}

HRESULT WINAPI FindNoLayer(REFIID, void**) { return DXGI_ERROR_SDK_COMPONENT_MISSING; }

int gEnabled = 0;
void WINAPI NoteEnabled(void*) { ++gEnabled; }
HRESULT WINAPI FindLayer(REFIID, void** layer) {
    static StandIn debug(kDebugFunctions, {{kEnableDebugLayer, Address(NoteEnabled)}});
    *layer = &debug;
    return S_OK;
}

TEST_F(DX12FaultTest, ValidationThatCannotBeHadIsNoDevice) {
    const auto create = [](const std::string& request) {
        return GetFailure([&] {
            RenderOptions options;
            options.mRequestedDevice = request;
            options.mValidation = true;
            Render::Create(1, options);
        });
    };
    const char* const kText = "\"Validation was asked for, but Direct3D's debug layer is not installed\"";
    const std::string name = GetDevice().GetName();
    Machine machine;
    machine.mApi.D3D12GetDebugInterface = FindNoLayer;
    for (const std::string& request : {std::string(), std::string("dx12"), std::string("0"), name})
        EXPECT_THAT(create(request), HasSubstr(kText)) << request;
    ComPointer<ID3D12InfoQueue> messages;
    if (SUCCEEDED(GetNative()->QueryInterface(IID_PPV_ARGS(messages.ReleaseAndGetAddressOf()))))
        return;  // this machine's devices have a layer indeed
    // One that can be turned on, to no effect on the device.
    machine.mApi.D3D12GetDebugInterface = FindLayer;
    EXPECT_THAT(create(""), HasSubstr(kText));
    EXPECT_EQ(gEnabled, 1);
}

}  // namespace
}  // namespace zeb::render
