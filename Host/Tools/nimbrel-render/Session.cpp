#include "Session.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <chrono>
#include <exception>

#include "Check.h"
#include "FrameRun.h"
#include "Locations.h"
#include "NimbrelHost/Output/Output.h"
#include "NimbrelHost/Scene/PlyBounds.h"
#include "NimbrelHost/Suites/AddSuites.h"
#include "NimbrelHost/Support/Errors.h"
#include "NimbrelHost/Support/Text.h"
#include "NimbrelHost/Support/WholeFile.h"
#include "NimbrelHost/User/Settings.h"
#include "SelfTest.h"
#include "Setup.h"
#include "SideOutput.h"

namespace nimbrel::host {
namespace {

using Clock = std::chrono::steady_clock;

void RequireFolder(std::string_view option, const std::filesystem::path& file) {
    const std::filesystem::path folder = file.parent_path();
    std::error_code ignored;
    if (!folder.empty() && !std::filesystem::is_directory(folder, ignored)) {
        throw UsageError(
            fmt::format("{}: expected an existing folder, but {} is none", option, Quote(PathText(folder))));
    }
}

// Not after hours of rendering.
void RequireFolders(const CommandLine& line) {
    RequireFolder("--stats", TextPath(line.mStats));
    RequireFolder("--save-scene", TextPath(line.mSaveScene));
    RequireFolder("--panel", TextPath(line.mPanel));
    RequireFolder("--thumbnail", TextPath(line.mThumbnail));
}

// Drawn splats: a file that two slots show counts twice.
std::int64_t CountSplats(Host& host) {
    std::int64_t count = 0;
    for (int slot = 1; slot <= kModelSlots; ++slot) {
        const std::filesystem::path file = GetModelFile(host, slot, true);
        if (!file.empty()) count += ReadPlyCount(file).value_or(0);
    }
    return count;
}

/// One run of the program on one host.
class Session {
public:
    Session(const CommandLine& line, RunLog& log)
        : mLine(line), mLog(log), mScene(ReadSceneOf(line)), mRun(line, mScene.mComposition) {}

    int Run() {
        const bool onlyText = mLine.IsOnlyText();
        RequireFolders(mLine);
        if (!onlyText && !mLine.mCheck) mRun.Prepare();
        Host host(MakeOptions(), mScene.mComposition, mScene.mCamera, ReadCatalogue(mLine), AddSuites);
        host.GetDiagnostics().SetListener(
            [this](const std::string& text, std::optional<int> frame) { mLog.Warn(text, frame); });
        bool isChecked = true;
        try {
            SetUp(host);
            if (mLine.mCheck)
                isChecked = CheckRun(host, mLine, mRun, mLog);
            else
                MakeSideOutput(host, mLine, mRun.GetFrames().front());
            if (!onlyText && !mLine.mCheck) mRun.Render(host, mLog);
        } catch (const std::exception& error) {
            ReportValidation(host);
            mLog.End();
            TryWriteStats(host, error.what());
            throw;
        }
        mLog.End();
        if (!onlyText && !mLine.mCheck) WriteStats(host, nullptr);
        host.Stop();
        return Judge(ReportValidation(host) && isChecked);
    }

private:
    HostOptions MakeOptions() {
        HostOptions options = MakeHostOptions(mLine);
        if (mLine.mHold) options.mLastFrame = CountFrames(mScene.mComposition) - 1;
        options.mProgress = [this](int current, int total) { mLog.Within(current, total); };
        options.mShowMessage = [this](const std::string& text) { mLog.Message(text); };
        options.mShowNote = [this](const std::string& text) { mLog.Note(text); };
        options.mShowDialog = [this](const std::string&, const std::string& text) { mLog.Answer(text); };
        return options;
    }

    void SetUp(Host& host) {
        const Clock::time_point start = Clock::now();
        try {
            host.Start();
        } catch (const EffectError& error) {
            RefuseUnknownDevice(host, error);
            throw;
        }
        host.GetProject().AddNulls(mScene.mNulls);
        ApplySettings(host, mLine, mScene);
        host.UpdateParameterControls();
        mSetupMs = std::chrono::duration<double, std::milli>(Clock::now() - start).count();
    }

    // A device that isn't there is the command line's fault, but for a kind that another machine may have. The effect's
    // message lists what there is.
    void RefuseUnknownDevice(Host& host, const EffectError& error) const {
        const std::string& wanted = mLine.mGpu;
        const bool isKind = wanted == "cpu" || wanted == "vulkan" || wanted == "dx12";
        if (wanted.empty() || isKind || !host.GetDevices().GetChosenName().empty()) return;
        throw UsageError(fmt::format("--gpu: expected a device of --list-gpus: {}", error.what()));
    }

    /// Prints what the validation layer found; whether that is nothing.
    bool ReportValidation(Host& host) {
        const std::vector<std::string> messages = host.GetDevices().GetValidationMessages();
        for (const std::string& text : messages) mLog.Message("validation: " + text);
        if (!messages.empty()) mLog.Message(fmt::format("{} validation errors", messages.size()));
        return messages.empty();
    }

    int Judge(bool isGood) {
        const std::size_t warnings = mLog.GetWarnings().size();
        if (mLine.mFailOnWarning && warnings > 0) {
            mLog.Fail(fmt::format("nimbrel-render: {} warnings count as failures (--fail-on-warning)", warnings),
                      kExitFailed);
            return kExitFailed;
        }
        return isGood ? kExitDone : kExitFailed;
    }

    void WriteStats(Host& host, const char* failure) {
        if (mLine.mStats.empty()) return;
        const std::string chosen = host.GetDevices().GetChosenName();
        Json stats = {{"gpu", chosen.empty() ? Json(nullptr) : Json(chosen)}};
        mRun.AddStats(stats);
        stats["setup_ms"] = mSetupMs;
        stats["load_ms"] = host.GetCache().GetComputeSeconds() * 1000;
        stats["splats"] = CountSplats(host);
        stats["peak_rss_bytes"] = GetPeakMemory();
        stats["warnings"] = Json::array();
        for (const Warning& warning : mLog.GetWarnings()) {
            stats["warnings"].push_back(
                {{"frame", warning.mFrame ? Json(*warning.mFrame) : Json(nullptr)}, {"text", warning.mText}});
        }
        stats["error"] = failure == nullptr ? Json(nullptr) : Json(failure);
        WriteTextFile(TextPath(mLine.mStats), stats.dump(2, ' ', false, Json::error_handler_t::replace));
    }

    // The failure that there is already matters more than one of the file that tells of it.
    void TryWriteStats(Host& host, const char* failure) {
        try {
            if (!mLine.IsOnlyText() && !mLine.mCheck) WriteStats(host, failure);
        } catch (const std::exception& error) {
            mLog.Note(error.what());
        }
    }

    const CommandLine& mLine;
    RunLog& mLog;
    const Scene mScene;
    FrameRun mRun;
    double mSetupMs = 0;
};

}  // namespace

int RunSession(const CommandLine& line, RunLog& log) {
    if (line.mListGpus) return ListGpus(line, log);
    if (line.mSelfTest) {
        RequireFolder("--self-test-report", TextPath(line.mSelfTestReport));
        return RunSelfTest(MakeHostOptions(line), ReadCatalogue(line), line.mSelfTestReport);
    }
    const bool needsNoScene = line.mListParameters || line.HasSideOutput() || !line.mThumbnail.empty();
    if (line.mScene.empty() && line.mModels.empty() && !needsNoScene) {
        throw UsageError("expected a SCENE.json or --model FILE (see --help)");
    }
    return Session(line, log).Run();
}

}  // namespace nimbrel::host
