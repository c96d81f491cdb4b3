#include <map>

#include "Device.h"
#include "RenderFactory.h"

namespace zeb::render {
namespace {

constexpr D3D_FEATURE_LEVEL kFeatureLevel = D3D_FEATURE_LEVEL_11_0;

class RenderDX12 final : public Render {
public:
    RenderDX12(const ComPointer<IDXGIAdapter1>& adapter, const std::string& name, const RenderOptions& options) {
        Init(adapter, name, options);
    }

    std::vector<std::string> GetDefines() const override {
        std::vector<std::string> defines = Render::GetDefines();
        defines.emplace_back("ZEB_GAPI_DX12");
        return defines;
    }

    std::string GetDescription() const override {
        if (mDevices.empty()) ZEB_RENDER_THROW("No suitable render device was found.");
        std::string description;
        for (const auto& [name, device] : mDevices) description += (description.empty() ? "" : "\n") + name;
        return description;
    }

    Device& GetAnyDevice() override {
        if (mDevices.empty()) ZEB_RENDER_THROW("Failed to get a render");
        return *mDevices.begin()->second;
    }

private:
    void Init(const ComPointer<IDXGIAdapter1>& adapter, const std::string& name, const RenderOptions& options) {
        ComPointer<ID3D12Device> device;
        ZEB_DX12_CHECK_TEXT(
            GetDX12Api().D3D12CreateDevice(adapter.Get(), kFeatureLevel, IID_PPV_ARGS(device.ReleaseAndGetAddressOf())),
            "D3D12CreateDevice( hardwareAdapter.Get(), D3D_FEATURE_LEVEL_11_0, IID_PPV_ARGS(&device))", nullptr);
        auto context = std::make_shared<DeviceContext>(std::move(device), options);
        mDevices[name] = std::make_unique<DeviceDX12>(std::move(context), name, options.mHeapSizes);
    }

    std::map<std::string, std::unique_ptr<DeviceDX12>> mDevices;
};

ComPointer<IDXGIFactory6> MakeFactory() {
    ComPointer<IDXGIFactory1> factory;
    ZEB_DX12_CHECK_TEXT(GetDX12Api().CreateDXGIFactory2(0, IID_PPV_ARGS(factory.ReleaseAndGetAddressOf())),
                        "CreateDXGIFactory2(dxgiFactoryFlags, IID_PPV_ARGS(&factory))", nullptr);
    ComPointer<IDXGIFactory6> factory6;
    ZEB_DX12_CHECK_TEXT(factory->QueryInterface(IID_PPV_ARGS(factory6.ReleaseAndGetAddressOf())),
                        "factory->QueryInterface(IID_PPV_ARGS(&factory6))", nullptr);
    // The first is kept for the life of the process, as the libraries are: some systems unload drivers with the last
    // one while others of their parts still use them.
    [[maybe_unused]] static IDXGIFactory6* const kept = ComPointer<IDXGIFactory6>(factory6).Detach();
    return factory6;
}

// Whether a device can be had of the adapter, told without making one.
bool IsUsable(const ComPointer<IDXGIAdapter1>& adapter) {
    return SUCCEEDED(GetDX12Api().D3D12CreateDevice(adapter.Get(), kFeatureLevel, __uuidof(ID3D12Device), nullptr));
}

// The version as Windows writes it.
std::string GetDriver(IDXGIAdapter1& adapter) {
    LARGE_INTEGER version = {};
    if (FAILED(adapter.CheckInterfaceSupport(__uuidof(IDXGIDevice), &version))) return {};
    const auto word = [&version](int place) {
        return static_cast<unsigned>(version.QuadPart >> (16 * place) & 0xffff);
    };
    return fmt::format("{}.{}.{}.{}", word(3), word(2), word(1), word(0));
}

// Hardware, the fastest first.
std::vector<DeviceOffer> FindAdapters(const RenderOptions& options) {
    const ComPointer<IDXGIFactory6> factory = MakeFactory();
    std::vector<DeviceOffer> offers;
    ComPointer<IDXGIAdapter1> adapter;
    for (UINT i = 0; SUCCEEDED(factory->EnumAdapterByGpuPreference(i, DXGI_GPU_PREFERENCE_HIGH_PERFORMANCE,
                                                                   IID_PPV_ARGS(adapter.ReleaseAndGetAddressOf())));
         ++i) {
        DXGI_ADAPTER_DESC1 desc = {};
        if (FAILED(adapter->GetDesc1(&desc)) || (desc.Flags & DXGI_ADAPTER_FLAG_SOFTWARE) != 0) continue;
        const std::string name = ToUtf8(desc.Description);
        const auto inspect = [adapter] {
            return std::string(IsUsable(adapter) ? "" : "lacks Direct3D 12 at feature level 11_0");
        };
        offers.push_back({name, DeviceKind::DX12, GetDriver(*adapter.Get()), "", inspect,
                          [adapter, name, options] { return MakeUnique<RenderDX12>(adapter, name, options); }});
    }
    return offers;
}

}  // namespace

DeviceOffers OfferDX12(const RenderOptions& options) {
    DeviceOffers offers;
    try {
        if (options.mValidation) EnableDebugLayer();
        offers.mOffers = FindAdapters(options);
    } catch (const RenderException& failure) {
        offers.mProblem = failure.what();
        offers.mFailure = std::current_exception();
    }
    return offers;
}

}  // namespace zeb::render
