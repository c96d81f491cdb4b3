#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include "DX12Api.h"
#include "PluginBase/Render/Render.h"
#include "SharedObjects.h"

namespace zeb::render {

struct PipelineResource;
struct RootSignatureResource;

/// Which of the registered programs a device runs.
struct ProgramSupport {
    ShaderFormat mFormat = ShaderFormat::Dxbc;  ///< Dxil where shader model 6.0 is known
    std::uint32_t mWaveLaneCount = 0;           ///< the least lanes of a wave; 0 without programs with wave operations
};
/// `waves` is what a device tells of its wave operations, which DXBC has none of.
ProgramSupport ChoosePrograms(D3D_SHADER_MODEL highestModel, const D3D12_FEATURE_DATA_D3D12_OPTIONS1& waves);

/// The native device and what was learnt of it; shared by all objects made with it, so that it outlives them.
class DeviceContext {
public:
    /// Asks the device what it can do. Throws if validation is wished for and the device has no debug layer.
    DeviceContext(ComPointer<ID3D12Device> device, const RenderOptions& options);
    /// Hands the last messages on.
    ~DeviceContext();
    DeviceContext(const DeviceContext&) = delete;
    DeviceContext& operator=(const DeviceContext&) = delete;

    ID3D12Device* Get() const { return mDevice.Get(); }
    D3D_ROOT_SIGNATURE_VERSION GetRootSignatureVersion() const { return mRootSignatureVersion; }
    ShaderFormat GetShaderFormat() const { return mPrograms.mFormat; }
    std::uint32_t GetWaveLaneCount() const { return mPrograms.mWaveLaneCount; }

    /// Native objects that threads have in common.
    SharedObjects<RootSignatureResource>& RootSignatures() { return mRootSignatures; }
    SharedObjects<PipelineResource>& Pipelines() { return mPipelines; }

    /// Native buffers and textures that live.
    std::uint32_t GetLiveResourceCount() const { return mLiveResources; }
    void CountResource(std::int32_t change) { mLiveResources += static_cast<std::uint32_t>(change); }

    /// Thread: any. Without a receiver the text is dropped.
    void Report(const std::string& text) const;
    /// Hands the debug layer's messages since the last call to the receiver. Thread: any.
    void ReportMessages() const;

private:
    void KeepMessages();

    ComPointer<ID3D12Device> mDevice;
    ComPointer<ID3D12InfoQueue> mMessages;
    mutable std::mutex mMessagesMutex;
    mutable UINT64 mReportedMessages = 0;  ///< of those that are stored
    D3D_ROOT_SIGNATURE_VERSION mRootSignatureVersion = D3D_ROOT_SIGNATURE_VERSION_1_0;
    ProgramSupport mPrograms;
    SharedObjects<RootSignatureResource> mRootSignatures;
    SharedObjects<PipelineResource> mPipelines;
    std::atomic<std::uint32_t> mLiveResources = 0;
    mutable std::mutex mReportMutex;
    std::function<void(const std::string&)> mReport;
};

/// Null without one installed.
ComPointer<ID3D12Debug> FindDebugLayer();
/// Turns the debug layer on for devices made from then on; throws without one installed.
void EnableDebugLayer();

}  // namespace zeb::render
