#include "FrameRun.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <numeric>

#include "NimbrelHost/Output/FrameList.h"
#include "NimbrelHost/Output/Output.h"
#include "NimbrelHost/Pictures/Picture.h"
#include "NimbrelHost/Support/Errors.h"
#include "NimbrelHost/Support/Text.h"
#include "NimbrelHost/Support/WholeFile.h"

namespace nimbrel::host {
namespace {

std::vector<int> ChooseFrames(const CommandLine& line, const Composition& composition, const FramePattern& pattern) {
    const int count = CountFrames(composition);
    if (line.mFrames.empty()) {
        // Without a scene and a turn nothing moves, and without a number there is room for one picture.
        const bool moves = !line.mScene.empty() || line.mTurntable;
        std::vector<int> all(moves && pattern.HasNumber() ? static_cast<std::size_t>(count) : 1);
        std::iota(all.begin(), all.end(), 0);
        return all;
    }
    std::vector<int> frames = ParseFrames(line.mFrames);
    if (frames.size() > 1 && !pattern.HasNumber()) {
        throw UsageError(fmt::format("--output: expected a run of # for the number of the {} frames in {}",
                                     frames.size(), Quote(pattern.GetText())));
    }
    const int last = *std::max_element(frames.begin(), frames.end());
    if (last >= count && !line.mHold) {
        throw UsageError(
            fmt::format("--frames: expected frames up to {}, the last of the composition, but there is {} "
                        "(--hold shows the last state for longer)",
                        count - 1, last));
    }
    return frames;
}

// Not for pictures that nobody asked for.
void CheckDepth(const FramePattern& pattern, const Composition& composition) {
    const bool isExr = pattern.GetFormat() == FramePattern::Format::Exr;
    if (isExr == (composition.mBitsPerChannel == 32)) return;
    throw UsageError(fmt::format("--output: expected {} for {} bits per channel, but it is {} (see --depth)",
                                 isExr ? "a .png file" : "an .exr file", composition.mBitsPerChannel,
                                 Quote(pattern.GetText())));
}

}  // namespace

FrameRun::FrameRun(const CommandLine& line, const Composition& composition)
    : mLine(line), mComposition(composition), mPattern(line.mOutput, line.mStartNumber) {
    if (!line.IsOnlyText()) CheckDepth(mPattern, composition);
    mFrames = ChooseFrames(line, composition, mPattern);
}

std::vector<int> FrameRun::FindWhole() const {
    std::vector<int> whole;
    for (const int frame : mFrames) {
        if (IsWholePicture(mPattern.Expand(frame), mComposition.OutputWidth(), mComposition.OutputHeight(),
                           mComposition.mBitsPerChannel))
            whole.push_back(frame);
    }
    return whole;
}

void FrameRun::Prepare() {
    MakeFolders("--output", GetFolder());
    std::set<std::string> names;
    for (const int frame : mFrames) names.insert(PathText(mPattern.Expand(frame).filename()));
    RemoveStaleParts(GetFolder(), names);
    if (!mLine.mSkipExisting) return;
    const std::vector<int> whole = FindWhole();
    mSkipped.insert(whole.begin(), whole.end());
}

void FrameRun::Write(int frame, const Frame& pixels) const {
    const bool isExr = mPattern.GetFormat() == FramePattern::Format::Exr;
    const PictureOptions picture{mLine.mAlpha.value_or(isExr ? AlphaMode::Premultiplied : AlphaMode::Straight),
                                 mLine.mBackground};
    const std::filesystem::path file = mPattern.Expand(frame);
    isExr ? WriteExr(file, pixels, picture) : WritePng(file, pixels, picture);
}

void FrameRun::Render(Host& host, RunLog& log) {
    std::vector<int> left;
    for (const int frame : mFrames) {
        if (!mSkipped.contains(frame)) left.push_back(frame);
    }
    log.Begin(mFrames.size(), mSkipped.size());
    RenderFrames(
        host, left, mLine.mThreads, [&](int frame, const Frame& pixels) { Write(frame, pixels); },
        [&](const FrameTimes& times) {
            mTimes.push_back(times);
            const double seconds = (times.mPreRenderMs + times.mRenderMs + times.mWriteMs) / 1000;
            log.FrameSaved({times.mFrame, PathText(mPattern.Expand(times.mFrame)), seconds});
        });
}

void FrameRun::AddStats(Json& stats) const {
    std::set<int> written = mSkipped;
    Json frames = Json::array(), missing = Json::array();
    std::vector<FrameTimes> times = mTimes;
    // Threads end in any order.
    std::sort(times.begin(), times.end(), [](const auto& a, const auto& b) { return a.mFrame < b.mFrame; });
    for (const FrameTimes& frame : times) {
        written.insert(frame.mFrame);
        frames.push_back({{"frame", frame.mFrame},
                          {"preRender_ms", frame.mPreRenderMs},
                          {"render_ms", frame.mRenderMs},
                          {"write_ms", frame.mWriteMs}});
    }
    for (const int frame : mFrames) {
        if (!written.contains(frame)) missing.push_back(frame);
    }
    stats["frames"] = std::move(frames);
    stats["skipped"] = mSkipped;
    stats["missing"] = std::move(missing);
}

}  // namespace nimbrel::host
