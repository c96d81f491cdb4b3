#pragma once

#include <cstdint>
#include <glm/vec3.hpp>
#include <optional>
#include <string>
#include <vector>

#include "NimbrelHost/Pictures/Picture.h"
#include "RunLog.h"

namespace nimbrel::host {

/// What the user asked for.
struct CommandLine {
    std::string mScene;                ///< "-": the standard input
    std::vector<std::string> mModels;  ///< [SLOT=]FILE
    std::vector<std::string> mSets;    ///< ID=VALUE
    std::vector<std::string> mMapPaths;
    bool mFit = false;
    std::optional<double> mTurntable;  ///< seconds of a turn
    std::string mOutput = "frame.####.png";
    bool mHasOutput = false;
    std::string mSize, mFrames;
    bool mHold = false;
    int mStartNumber = 0;
    bool mSkipExisting = false;
    std::optional<double> mFrameRate;
    std::optional<int> mDepth, mDownsample;
    std::optional<AlphaMode> mAlpha;
    std::optional<glm::dvec3> mBackground;
    int mThreads = 1;
    std::optional<int> mCores;
    std::string mPlugin, mImporter, mCatalogue, mGpu;
    bool mListGpus = false;
    bool mSelfTest = false;
    std::string mSelfTestReport;
    bool mValidate = false;
    bool mListParameters = false;
    std::vector<std::string> mPresses;  ///< ids of buttons
    std::optional<int> mInfo;           ///< slot
    std::string mSaveScene, mStats;
    std::string mThumbnail;                 ///< file for the importer's picture of the first model
    std::string mPanel;                     ///< file for the picture of the panel
    std::vector<std::string> mPanelGroups;  ///< ids or names
    std::optional<int> mPanelSlot;
    int mPanelScale = 1;
    bool mPanelClosed = false;
    LogMode mLog = LogMode::Lines;
    bool mCheck = false;
    bool mFailOnWarning = false;
    bool mStrict = false;
    bool mNoHostCache = false;
    std::int64_t mCacheMegabytes = 0;

    /// Whether something besides frames is asked for that is made without rendering.
    bool HasSideOutput() const { return !mSaveScene.empty() || mInfo || !mPanel.empty(); }
    /// Whether no frame is to be rendered.
    bool IsOnlyText() const {
        return mListParameters || !mThumbnail.empty() || (HasSideOutput() && !mHasOutput && mFrames.empty());
    }
};

/// Reads the program's arguments. Throws UsageError. Gives nothing when help or the version was asked for and printed.
std::optional<CommandLine> ParseCommandLine(int argc, const char* const* argv);

}  // namespace nimbrel::host
