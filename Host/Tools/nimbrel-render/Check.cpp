#include "Check.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <set>

#include "MemoryForecast.h"
#include "NimbrelConvert/Errors.h"
#include "NimbrelConvert/ModelCache.h"
#include "NimbrelConvert/Report.h"
#include "NimbrelHost/Output/Output.h"
#include "NimbrelHost/Support/Errors.h"
#include "NimbrelHost/Support/Text.h"
#include "NimbrelHost/Support/WholeFile.h"
#include "NimbrelHost/User/Settings.h"

#ifndef _WIN32
#include <unistd.h>
#endif

namespace nimbrel::host {
namespace {

/// What the checks find, for people and for programs.
class Findings {
public:
    void Tell(const std::string& what, const std::string& text) { mText += fmt::format("{:<12}{}\n", what, text); }
    void Fail(const std::string& what, const std::string& text) {
        mIsGood = false;
        mJson["problems"].push_back(fmt::format("{}: {}", what, text));
        Tell(what, "PROBLEM: " + text);
    }

    std::string mText;
    Json mJson = {{"problems", Json::array()}};
    bool mIsGood = true;
};

/// The models of all slots, each file once, and what they will take.
class ModelCheck {
public:
    ModelCheck(Host& host, Findings& findings) : mHost(host), mFindings(findings) {
        mFindings.mJson["models"] = Json::array();
        for (int slot = 1; slot <= kModelSlots; ++slot) Check(slot);
    }

    const ModelLoad& GetLoad() const { return mLoad; }

private:
    void Check(int slot) {
        const std::filesystem::path model = GetModelFile(mHost, slot, false);
        if (model.empty()) return;
        const std::filesystem::path file = mHost.GetModels().GetOriginal(model);
        const std::string name = fmt::format("Model {}", slot);
        try {
            const convert::Report report = convert::InspectModel(file);
            Json json = Json::parse(convert::WriteJson(report));
            json["slot"] = slot;
            json["file"] = PathText(file);
            mFindings.mJson["models"].push_back(std::move(json));
            mFindings.Tell(name, PathText(file));
            mFindings.Tell("", fmt::format("{}, {} splats of degree {}, {} bytes", report.mFacts.mFormat,
                                           report.mFacts.mCount, report.mFacts.mDegree, report.mFileSize));
            mFindings.Tell("", fmt::format("{} splats not finite, {} without a rotation, {} cover over a tenth of a "
                                           "picture that the model fills",
                                           report.mNotFinite, report.mZeroQuaternions, report.mHugeSplats));
            Count(slot, model, report);
        } catch (const convert::ConvertError& error) {
            // What is only cut short is drawn, with a warning that was given already.
            const bool isShort = convert::IsPlainPly(file) && !convert::DescribeShortage(file).empty();
            isShort ? mFindings.Tell(name, error.what()) : mFindings.Fail(name, error.what());
        }
    }

    void Count(int slot, const std::filesystem::path& model, const convert::Report& report) {
        if (GetModelFile(mHost, slot, true).empty()) return;
        mLoad.mDrawnSplats += report.mFacts.mCount;
        if (!mSeen.insert(model).second) return;
        mLoad.Add(report.mFacts.mCount, report.mFacts.mDegree);
    }

    Host& mHost;
    Findings& mFindings;
    std::set<std::filesystem::path> mSeen;
    ModelLoad mLoad;
};

/// Runs every expression at the first and the last frame; what fails is reported as a warning.
void CheckExpressions(Host& host, const FrameRun& run, Findings& findings) {
    int count = 0;
    for (const auto& parameter : host.GetParameters().GetAll()) {
        if (!parameter->mExpression.mEnabled || parameter->mExpression.mText.empty()) continue;
        ++count;
        for (const int frame : {run.GetFrames().front(), run.GetFrames().back()}) {
            const FrameScope scope(frame);
            host.EvaluateParameter(*parameter, host.GetLayerClock().GetSeconds(frame));
        }
    }
    findings.mJson["expressions"] = count;
    findings.Tell("Expressions",
                  fmt::format("{}, run at frames {} and {}", count, run.GetFrames().front(), run.GetFrames().back()));
}

bool MayWriteInto(const std::filesystem::path& folder) {
#ifdef _WIN32
    return !folder.empty();
#else
    return access(folder.c_str(), W_OK | X_OK) == 0;
#endif
}

/// The output's folder, or the nearest above it that is there, must take files.
void CheckOutput(const FrameRun& run, Findings& findings) {
    std::filesystem::path folder = std::filesystem::absolute(run.GetPattern().Expand(0)).parent_path();
    std::error_code ignored;
    const bool isThere = std::filesystem::exists(folder, ignored);
    while (!std::filesystem::exists(folder, ignored) && folder.has_relative_path()) folder = folder.parent_path();
    const std::size_t whole = isThere ? run.FindWhole().size() : 0;
    findings.mJson["output"] = {{"pattern", run.GetPattern().GetText()},
                                {"folderIsThere", isThere},
                                {"frames", run.GetFrames().size()},
                                {"whole", whole}};
    if (!std::filesystem::is_directory(folder, ignored))
        findings.Fail("Output", fmt::format("\"{}\" is no folder", PathText(folder)));
    else if (!MayWriteInto(folder))
        findings.Fail("Output", fmt::format("\"{}\" cannot be written to", PathText(folder)));
    findings.Tell("Output", fmt::format("{}: {} frames, {} of them there whole{}", run.GetPattern().GetText(),
                                        run.GetFrames().size(), whole, isThere ? "" : "; the folder will be made"));
}

}  // namespace

bool CheckRun(Host& host, const CommandLine& line, const FrameRun& run, RunLog& log) {
    Findings findings;
    const Composition& composition = host.GetProject().GetComposition();
    findings.Tell("Composition", fmt::format("{} x {}, {} bits, {} frames a second, {} frames", composition.mWidth,
                                             composition.mHeight, composition.mBitsPerChannel, composition.mFrameRate,
                                             CountFrames(composition)));
    findings.Tell("Device", host.GetDevices().GetChosenName());
    const ModelCheck models(host, findings);
    CheckExpressions(host, run, findings);
    CheckOutput(run, findings);
    const MemoryForecast memory = ForecastMemory(models.GetLoad(), composition, line.mThreads);
    findings.mJson["memory"] = {{"load_bytes", memory.mLoadBytes}, {"render_bytes", memory.mRenderBytes}};
    findings.Tell("Memory", fmt::format("about {} MiB on the processor's cores, {} MiB while models are loaded",
                                        memory.mRenderBytes >> 20, memory.mLoadBytes >> 20));
    findings.mJson["warnings"] = Json::array();
    for (const Warning& warning : log.GetWarnings()) findings.mJson["warnings"].push_back(warning.mText);
    findings.mJson["good"] = findings.mIsGood;
    // One text is asked for on the standard output.
    if (!line.mStats.empty()) WriteTextFile(TextPath(line.mStats), findings.mJson.dump(2));
    if (line.mStats.empty() || !IsStandardOutput(TextPath(line.mStats))) WriteStandardOutput(findings.mText);
    return findings.mIsGood;
}

}  // namespace nimbrel::host
