#pragma once

#include "PluginBase/Exception.h"

/// Failures of devices that the frame answers in its own way (PluginBase/Render/DeviceKeeper.h).
namespace zeb::render {

/// The device is gone: nothing that was made with it will work again.
class DeviceLostException : public RenderException {
public:
    using RenderException::RenderException;
};

/// The device, or the process for it, had no memory left.
class OutOfMemoryException : public RenderException {
public:
    using RenderException::RenderException;
};

}  // namespace zeb::render
