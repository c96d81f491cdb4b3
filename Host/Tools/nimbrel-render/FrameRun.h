#pragma once

#include <set>
#include <string>
#include <vector>

#include "CommandLine.h"
#include "NimbrelHost/Commands/Host.h"
#include "NimbrelHost/Output/FramePattern.h"
#include "NimbrelHost/Output/RenderJob.h"
#include "NimbrelHost/Support/JsonView.h"

namespace nimbrel::host {

/// The frames of one run of the program and their files.
class FrameRun {
public:
    /// Throws UsageError for frames that are not there, and for an output that cannot hold them.
    FrameRun(const CommandLine& line, const Composition& composition);

    /// All that are asked for, in their order; never empty.
    const std::vector<int>& GetFrames() const { return mFrames; }
    const FramePattern& GetPattern() const { return mPattern; }
    std::filesystem::path GetFolder() const { return mPattern.Expand(0).parent_path(); }
    /// Of those asked for, the frames whose files stand there whole.
    std::vector<int> FindWhole() const;

    /// Makes the output's folder, clears away what runs that were killed left of these frames, and finds out which
    /// frames need no rendering. Throws UsageError, OutputError.
    void Prepare();
    /// Renders and writes the frames, telling `log` of each. Throws as RenderFrames.
    void Render(Host& host, RunLog& log);

    /// The members of a stats file that tell of frames.
    void AddStats(Json& stats) const;

private:
    void Write(int frame, const Frame& pixels) const;

    const CommandLine& mLine;
    const Composition mComposition;
    const FramePattern mPattern;
    std::vector<int> mFrames;
    std::set<int> mSkipped;
    std::vector<FrameTimes> mTimes;  ///< of the frames written
};

}  // namespace nimbrel::host
