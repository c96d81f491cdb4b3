#include "DeviceContext.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <vector>

#include "PluginBase/Render/Failures.h"

namespace zeb::render {
namespace {

template <class Data>
bool CheckSupport(ID3D12Device* device, D3D12_FEATURE feature, Data& data) {
    return SUCCEEDED(device->CheckFeatureSupport(feature, &data, sizeof(data)));
}

[[noreturn]] void ThrowNoDebugLayer() {
    ZEB_RENDER_THROW("Validation was asked for, but Direct3D's debug layer is not installed");
}

}  // namespace

ProgramSupport ChoosePrograms(D3D_SHADER_MODEL highestModel, const D3D12_FEATURE_DATA_D3D12_OPTIONS1& waves) {
    if (highestModel < D3D_SHADER_MODEL_6_0) return {};
    return {ShaderFormat::Dxil, waves.WaveOps != FALSE ? waves.WaveLaneCountMin : 0};
}

DeviceContext::DeviceContext(ComPointer<ID3D12Device> device, const RenderOptions& options)
    : mDevice(std::move(device)), mReport(options.mReportValidation) {
    D3D12_FEATURE_DATA_ROOT_SIGNATURE signature = {D3D_ROOT_SIGNATURE_VERSION_1_1};
    if (CheckSupport(Get(), D3D12_FEATURE_ROOT_SIGNATURE, signature)) mRootSignatureVersion = signature.HighestVersion;

    // A runtime that does not know 6.0 fails; a device that does not take it answers less.
    D3D12_FEATURE_DATA_SHADER_MODEL model = {D3D_SHADER_MODEL_6_0};
    if (!CheckSupport(Get(), D3D12_FEATURE_SHADER_MODEL, model)) model.HighestShaderModel = D3D_SHADER_MODEL_5_1;
    D3D12_FEATURE_DATA_D3D12_OPTIONS1 waves = {};
    if (!CheckSupport(Get(), D3D12_FEATURE_D3D12_OPTIONS1, waves)) waves = {};
    mPrograms = ChoosePrograms(model.HighestShaderModel, waves);

    if (options.mValidation) KeepMessages();
}

DeviceContext::~DeviceContext() {
    try {
        ReportMessages();
    } catch (...) {  // the receiver's own failure has nobody left to hear of it
    }
}

void DeviceContext::KeepMessages() {
    if (FAILED(Get()->QueryInterface(IID_PPV_ARGS(mMessages.ReleaseAndGetAddressOf())))) ThrowNoDebugLayer();
    // None is dropped for lack of room, so those that nobody is told of are not stored.
    D3D12_MESSAGE_SEVERITY untold[] = {D3D12_MESSAGE_SEVERITY_WARNING, D3D12_MESSAGE_SEVERITY_INFO,
                                       D3D12_MESSAGE_SEVERITY_MESSAGE};
    D3D12_INFO_QUEUE_FILTER filter = {};
    filter.DenyList.NumSeverities = static_cast<UINT>(std::size(untold));
    filter.DenyList.pSeverityList = untold;
    mMessages->AddStorageFilterEntries(&filter);
    mMessages->SetMessageCountLimit(UINT64_MAX);
}

void DeviceContext::Report(const std::string& text) const {
    const std::lock_guard lock(mReportMutex);
    if (mReport) mReport(text);
}

void DeviceContext::ReportMessages() const {
    if (!mMessages) return;
    const std::lock_guard lock(mMessagesMutex);
    // Messages stay stored: clearing them would lose those that another thread causes meanwhile.
    const UINT64 count = mMessages->GetNumStoredMessages();
    while (mReportedMessages < count) {
        const UINT64 i = mReportedMessages++;
        SIZE_T size = 0;
        if (FAILED(mMessages->GetMessage(i, nullptr, &size))) continue;
        std::vector<std::byte> data(size);
        auto* message = reinterpret_cast<D3D12_MESSAGE*>(data.data());
        if (FAILED(mMessages->GetMessage(i, message, &size))) continue;
        if (message->Severity <= D3D12_MESSAGE_SEVERITY_ERROR) Report(message->pDescription);
    }
}

std::string GetFailureText(HRESULT result, const DeviceContext* context) {
    if (context == nullptr) return GetResultText(result);
    context->ReportMessages();
    return GetResultText(result, context->Get());
}

void ThrowDX12Failure(std::string_view file, int line, std::string_view function, std::string_view call, HRESULT result,
                      const DeviceContext* context) {
    const std::string message =
        fmt::format("Failed to call DX12 function ({}): {}", call, GetFailureText(result, context));
    constexpr std::array kLosses = {DXGI_ERROR_DEVICE_REMOVED, DXGI_ERROR_DEVICE_RESET, DXGI_ERROR_DEVICE_HUNG,
                                    DXGI_ERROR_DRIVER_INTERNAL_ERROR};
    // Whatever a call on a device that is gone answers, that is why.
    if (std::ranges::count(kLosses, result) != 0 ||
        (context != nullptr && FAILED(context->Get()->GetDeviceRemovedReason())))
        throw DeviceLostException(file, line, function, kInternalError, message);
    if (result == E_OUTOFMEMORY) throw OutOfMemoryException(file, line, function, kInternalError, message);
    throw RenderException(file, line, function, kInternalError, message);
}

ComPointer<ID3D12Debug> FindDebugLayer() {
    ComPointer<ID3D12Debug> layer;
    if (FAILED(GetDX12Api().D3D12GetDebugInterface(IID_PPV_ARGS(layer.ReleaseAndGetAddressOf())))) return {};
    return layer;
}

void EnableDebugLayer() {
    const ComPointer<ID3D12Debug> layer = FindDebugLayer();
    if (!layer) ThrowNoDebugLayer();
    layer->EnableDebugLayer();
}

}  // namespace zeb::render
