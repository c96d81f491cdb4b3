#pragma once

#include <string>
#include <string_view>
#include <utility>

#if !defined(NOMINMAX)
#define NOMINMAX
#endif
#if !defined(WIN32_LEAN_AND_MEAN)
#define WIN32_LEAN_AND_MEAN
#endif
// For compilers other than Microsoft's: calls that return records do so as Microsoft's do.
#if !defined(WIDL_EXPLICIT_AGGREGATE_RETURNS)
#define WIDL_EXPLICIT_AGGREGATE_RETURNS
#endif
#include <windows.h>

#include <d3d12.h>
#include <d3d12sdklayers.h>
#include <dxgi1_6.h>

#include "RenderFailure.h"

/// Direct3D 12 and DXGI as the back end reaches them. The two libraries are opened when a device is asked for, so that
/// the plug-in loads on a machine without them and says so.
namespace zeb::render {

class DeviceContext;

/// Owner of one reference to an object of the API.
template <class T>
class ComPointer {
public:
    ComPointer() = default;
    ComPointer(const ComPointer& other) : mObject(other.mObject) {
        if (mObject != nullptr) mObject->AddRef();
    }
    ComPointer(ComPointer&& other) noexcept : mObject(std::exchange(other.mObject, nullptr)) {}
    ComPointer& operator=(ComPointer other) noexcept {
        std::swap(mObject, other.mObject);
        return *this;
    }
    ~ComPointer() {
        if (mObject != nullptr) mObject->Release();
    }

    T* Get() const { return mObject; }
    T* operator->() const { return mObject; }
    /// Hands the reference over.
    T* Detach() { return std::exchange(mObject, nullptr); }
    explicit operator bool() const { return mObject != nullptr; }
    /// Where a call puts a reference; drops the one held.
    T** ReleaseAndGetAddressOf() {
        *this = ComPointer();
        return &mObject;
    }

private:
    T* mObject = nullptr;
};

struct DX12Api {
    using CreateFactoryFunction = HRESULT(WINAPI*)(UINT flags, REFIID id, void** factory);

    CreateFactoryFunction CreateDXGIFactory2 = nullptr;
    PFN_D3D12_CREATE_DEVICE D3D12CreateDevice = nullptr;
    PFN_D3D12_GET_DEBUG_INTERFACE D3D12GetDebugInterface = nullptr;
    PFN_D3D12_SERIALIZE_VERSIONED_ROOT_SIGNATURE D3D12SerializeVersionedRootSignature = nullptr;
};

/// The libraries' functions; loaded at the first call and kept for the life of the process. Throws a RenderException
/// that names the library or the function that is missing. Thread: any.
const DX12Api& GetDX12Api();

/// "E_INVALIDARG"; an unknown code as "code {}".
std::string GetResultText(HRESULT result);
/// The same for a failed call on `device`, whose loss is told with its reason: "Device removed DXGI_ERROR_DEVICE_HUNG".
std::string GetResultText(HRESULT result, ID3D12Device* device);
/// The same for a call that failed in `context`, which may be null. What the debug layer says of it is reported first.
std::string GetFailureText(HRESULT result, const DeviceContext* context);

/// Throws "Failed to call DX12 function ({}): {}" with the call's text and GetFailureText. A lost device and a lack of
/// memory have exceptions of their own (PluginBase/Render/Failures.h).
[[noreturn]] void ThrowDX12Failure(std::string_view file, int line, std::string_view function, std::string_view call,
                                   HRESULT result, const DeviceContext* context);

std::wstring ToWide(const std::string& text);
std::string ToUtf8(const wchar_t* text);
/// Names an object for debuggers.
void SetNativeName(ID3D12Object* object, const std::string& name);

}  // namespace zeb::render

/// Evaluates a call; a failing result is thrown with the call's text. `context` is the DeviceContext, or null.
#define ZEB_DX12_CHECK_TEXT(call, text, context)                                                              \
    do {                                                                                                      \
        if (const HRESULT zebResult = (call); FAILED(zebResult))                                              \
            ::zeb::render::ThrowDX12Failure(__FILE__, __LINE__, ZEB_FUNCTION_NAME, text, zebResult, context); \
    } while (false)

/// The same with the call's own source text.
#define ZEB_DX12_CHECK(call, context) ZEB_DX12_CHECK_TEXT(call, #call, context)
