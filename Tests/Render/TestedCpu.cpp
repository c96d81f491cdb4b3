#include "DeviceFixture.h"
#include "Render/CPU/Resources.h"

namespace zeb::render {

const TestedDevice kTestedDevice = {
    "cpu",
    "",
    true,
    [] { return true; },
    [](Device&) { return cpu::kMaxTextureSize; },
    [](Device&) { return CommandLimits().mGroups[1]; },
    [](Device&) { return std::uint64_t{UINT32_MAX}; },
    nullptr,
};

}  // namespace zeb::render
