#pragma once

#include <functional>
#include <vector>

#include "NimbrelHost/Commands/Host.h"
#include "NimbrelHost/Pictures/Picture.h"

namespace nimbrel::host {

struct FrameTimes {
    int mFrame = 0;
    double mPreRenderMs = 0;
    double mRenderMs = 0;  ///< wall time of the render command alone
    double mWriteMs = 0;
};

/// Renders one frame of the composition: pre-render, then render of the layer. What lies outside the effect's result,
/// and the frame before the layer's start, is transparent. Several threads may render at once. Throws EffectError,
/// Interrupted.
Frame RenderFrame(Host& host, int frame, FrameTimes& times);

/// Renders the part of a frame inside `rect` (pixels of the layer as it is drawn) into `picture`, as when a real host
/// asks for a region. Adds to `times`. Throws as RenderFrame.
void RenderPart(Host& host, int frame, const PF_LRect& rect, Frame& picture, FrameTimes& times);

/// Renders frames on `threads` threads, handed out in order, and has each written by the thread that rendered it.
/// `done` hears of each finished frame, one at a time, on the thread that rendered it. After a failure no further frame
/// begins; the failure of the earliest frame is thrown, and what was written stays. Gives the times in the order of
/// `frames`.
std::vector<FrameTimes> RenderFrames(Host& host, const std::vector<int>& frames, int threads,
                                     const std::function<void(int frame, const Frame&)>& write,
                                     const std::function<void(const FrameTimes&)>& done = {});

/// Most memory that the process had resident, in bytes.
std::uint64_t GetPeakMemory();

}  // namespace nimbrel::host
