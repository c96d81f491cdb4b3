#include "DeviceFixture.h"

const char* const zeb::render::kTestedDevice = "vulkan";
