#include "DX12Api.h"

#include <algorithm>
#include <array>

namespace zeb::render {
namespace {

struct ResultName {
    HRESULT mResult;
    const char* mName;
};

#define NAMED(code) \
    ResultName { code, #code }

const std::array kResultNames = {
    NAMED(S_FALSE),
    NAMED(E_INVALIDARG),
    NAMED(E_OUTOFMEMORY),
    NAMED(E_FAIL),
    NAMED(E_NOTIMPL),
    NAMED(DXGI_ERROR_INVALID_CALL),
    NAMED(DXGI_ERROR_ACCESS_DENIED),
    NAMED(DXGI_ERROR_ACCESS_LOST),
    NAMED(DXGI_ERROR_ALREADY_EXISTS),
    NAMED(DXGI_ERROR_CANNOT_PROTECT_CONTENT),
    NAMED(DXGI_ERROR_DEVICE_HUNG),
    NAMED(DXGI_ERROR_DEVICE_REMOVED),
    NAMED(DXGI_ERROR_DEVICE_RESET),
    NAMED(DXGI_ERROR_DRIVER_INTERNAL_ERROR),
    NAMED(DXGI_ERROR_FRAME_STATISTICS_DISJOINT),
    NAMED(DXGI_ERROR_GRAPHICS_VIDPN_SOURCE_IN_USE),
    NAMED(DXGI_ERROR_MORE_DATA),
    NAMED(DXGI_ERROR_NAME_ALREADY_EXISTS),
    NAMED(DXGI_ERROR_NONEXCLUSIVE),
    NAMED(DXGI_ERROR_NOT_CURRENTLY_AVAILABLE),
    NAMED(DXGI_ERROR_NOT_FOUND),
    NAMED(DXGI_ERROR_REMOTE_CLIENT_DISCONNECTED),
    NAMED(DXGI_ERROR_REMOTE_OUTOFMEMORY),
    NAMED(DXGI_ERROR_RESTRICT_TO_OUTPUT_STALE),
    NAMED(DXGI_ERROR_SDK_COMPONENT_MISSING),
    NAMED(DXGI_ERROR_SESSION_DISCONNECTED),
    NAMED(DXGI_ERROR_UNSUPPORTED),
    NAMED(DXGI_ERROR_WAIT_TIMEOUT),
    NAMED(DXGI_ERROR_WAS_STILL_DRAWING),
    NAMED(D3D12_ERROR_ADAPTER_NOT_FOUND),
    NAMED(D3D12_ERROR_DRIVER_VERSION_MISMATCH),
};

#undef NAMED

HMODULE OpenLibrary(const wchar_t* name) {
    // System libraries only: neither the host's folder nor the current one may offer another of that name.
    const HMODULE library = LoadLibraryExW(name, nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
    if (library == nullptr) ZEB_RENDER_THROW("Failed to load {}: code {}", ToUtf8(name), GetLastError());
    return library;
}

template <class Function>
void Find(HMODULE library, const char* name, Function& function) {
    // By way of a plain pointer, since the address has no type of its own.
    function = reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(library, name)));
    if (function == nullptr) ZEB_RENDER_THROW("Failed to find the function {} of Direct3D 12", name);
}

DX12Api Load() {
    DX12Api api;
    const HMODULE dxgi = OpenLibrary(L"dxgi.dll");
    const HMODULE d3d12 = OpenLibrary(L"d3d12.dll");
    Find(dxgi, "CreateDXGIFactory2", api.CreateDXGIFactory2);
    Find(d3d12, "D3D12CreateDevice", api.D3D12CreateDevice);
    Find(d3d12, "D3D12GetDebugInterface", api.D3D12GetDebugInterface);
    Find(d3d12, "D3D12SerializeVersionedRootSignature", api.D3D12SerializeVersionedRootSignature);
    return api;
}

}  // namespace

const DX12Api& GetDX12Api() {
    static DX12Api api = Load();  // not constant, so that tests may put others in place
    return api;
}

std::string GetResultText(HRESULT result) {
    const auto found = std::find_if(kResultNames.begin(), kResultNames.end(),
                                    [result](const ResultName& name) { return name.mResult == result; });
    return found != kResultNames.end() ? std::string(found->mName) : fmt::format("code {}", result);
}

std::string GetResultText(HRESULT result, ID3D12Device* device) {
    if (result != DXGI_ERROR_DEVICE_REMOVED || device == nullptr) return GetResultText(result);
    return "Device removed " + GetResultText(device->GetDeviceRemovedReason());
}

std::wstring ToWide(const std::string& text) {
    const int length = MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), nullptr, 0);
    std::wstring wide(static_cast<std::size_t>(length), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), wide.data(), length);
    return wide;
}

std::string ToUtf8(const wchar_t* text) {
    const int length = WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr);
    if (length <= 1) return {};
    // The count includes the terminator, which the string has of its own.
    std::string narrow(static_cast<std::size_t>(length) - 1, '\0');
    WideCharToMultiByte(CP_UTF8, 0, text, -1, narrow.data(), length, nullptr, nullptr);
    return narrow;
}

void SetNativeName(ID3D12Object* object, const std::string& name) { object->SetName(ToWide(name).c_str()); }

}  // namespace zeb::render
