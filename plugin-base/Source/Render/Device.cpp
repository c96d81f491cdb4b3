#include "PluginBase/Render/Device.h"

#include <functional>
#include <thread>

#include <fmt/format.h>

#if defined(_WIN32)
#include <windows.h>
#elif defined(__linux__)
#include <sys/syscall.h>
#include <unistd.h>
#endif

namespace zeb::render {
namespace {

std::uint32_t GetCurrentThreadNumber() {
#if defined(_WIN32)
    return GetCurrentThreadId();
#elif defined(__linux__)
    return static_cast<std::uint32_t>(syscall(SYS_gettid));
#else
    return static_cast<std::uint32_t>(std::hash<std::thread::id>()(std::this_thread::get_id()));
#endif
}

}  // namespace

Device::Device(std::string name, const DescriptorHeapSizes& heapSizes)
    : ObjectWithName(std::move(name)), mHeapSizes(heapSizes) {}

Device::~Device() { ReleaseThreadData(); }

ThreadData& Device::GetThreadData() {
    const std::uint32_t thread = GetCurrentThreadNumber();
    {
        const std::lock_guard lock(mThreadDataMutex);
        const auto found = mThreadData.find(thread);
        if (found != mThreadData.end()) return *found->second;
    }
    // Made outside the lock: only this thread enters this key, and other threads need not wait for it.
    auto data = std::make_unique<ThreadData>();
    data->mCommandQueue = CreateCommandQueue(fmt::format("Thread {}", thread));
    data->mShaderResourceHeap = CreateDescriptorHeap("PluginBase_CB_SR_UA_Heap", DescriptorHeapType::ShaderResources,
                                                     mHeapSizes.mShaderResources);
    data->mRenderTargetHeap = CreateDescriptorHeap("PluginBaseRenderTargetHeap", DescriptorHeapType::RenderTargets,
                                                   mHeapSizes.mRenderTargets);
    data->mSamplerHeap =
        CreateDescriptorHeap("PluginBaseSamplerHeap", DescriptorHeapType::Samplers, mHeapSizes.mSamplers);
    const std::lock_guard lock(mThreadDataMutex);
    return *mThreadData.emplace(thread, std::move(data)).first->second;
}

void Device::ReleaseThreadData() {
    std::unordered_map<std::uint32_t, std::unique_ptr<ThreadData>, IntegerHash> released;
    {
        const std::lock_guard lock(mThreadDataMutex);
        released.swap(mThreadData);
    }
}

}  // namespace zeb::render
