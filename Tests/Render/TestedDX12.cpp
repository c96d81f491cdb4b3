#include "DX12/Device.h"
#include "DeviceFixture.h"

namespace zeb::render {

const TestedDevice kTestedDevice = {
    "dx12",
    "DX12 ",
    false,
    [] { return static_cast<bool>(FindDebugLayer()); },
    [](Device&) { return std::uint32_t{D3D12_REQ_TEXTURE2D_U_OR_V_DIMENSION}; },
    [](Device&) { return CommandLimits().mGroups[1]; },
    [](Device&) { return std::uint64_t{UINT32_MAX}; },
    [](Device& device) { return dynamic_cast<DeviceDX12&>(device).GetContext()->GetLiveResourceCount(); },
};

}  // namespace zeb::render
