#pragma once

#include <string>

#include "FrameCapture.h"
#include "Shot.h"

/// A shot drawn by the renderer alone.
namespace nimbrel::endtoend {

/// The shot's frame. Packed parameters and matrices share nothing with the effect's.
FrameCapture MakeCapture(const Shot& shot);

/// `device` as for --gpu. Throws when there is none.
CapturedFrame RenderInProcess(const Shot& shot, const std::string& device, const RendererPrograms& programs = {});

}  // namespace nimbrel::endtoend
