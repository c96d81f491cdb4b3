#include "Session.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <cstdio>

#include "NimbrelHost/Commands/Host.h"
#include "NimbrelHost/Output/Output.h"
#include "NimbrelHost/Output/RenderJob.h"
#include "NimbrelHost/Panel/Panel.h"
#include "NimbrelHost/Scene/PlyBounds.h"
#include "NimbrelHost/Suites/AddSuites.h"
#include "NimbrelHost/Support/Errors.h"
#include "NimbrelHost/Support/Text.h"
#include "NimbrelHost/User/Settings.h"
#include "ProgressBar.h"
#include "SelfTest.h"

namespace nimbrel::host {
namespace {

using Clock = std::chrono::steady_clock;

// Options are checked by the same rules as the scene's keys, under the option's name.
void ApplyOverrides(const CommandLine& line, Composition& composition) {
    if (!line.mSize.empty()) ParseSize(line.mSize, composition.mWidth, composition.mHeight);
    const auto read = [](const auto& option, const char* name, auto reader, auto& target) {
        if (!option) return;
        const Json value = *option;
        target = reader(JsonView(value, name));
    };
    read(line.mFrameRate, "--fps", ReadFrameRate, composition.mFrameRate);
    read(line.mDepth, "--depth", ReadBitsPerChannel, composition.mBitsPerChannel);
    read(line.mDownsample, "--downsample", ReadDownsample, composition.mDownsample);
}

std::vector<int> ChooseFrames(const CommandLine& line, const Composition& composition, const FramePattern& pattern) {
    if (line.mFrames.empty()) {
        // Without a scene nothing moves, and without a number there is room for one picture.
        if (line.mScene.empty() || !pattern.HasNumber()) return {0};
        std::vector<int> all(static_cast<std::size_t>(CountFrames(composition)));
        for (std::size_t i = 0; i < all.size(); ++i) all[i] = static_cast<int>(i);
        return all;
    }
    std::vector<int> frames = ParseFrames(line.mFrames);
    if (frames.size() > 1 && !pattern.HasNumber()) {
        throw UsageError(fmt::format("--output: expected a run of # for the number of the {} frames in \"{}\"",
                                     frames.size(), pattern.GetText()));
    }
    return frames;
}

void RequireFolder(std::string_view option, const std::filesystem::path& file) {
    const std::filesystem::path folder = file.parent_path();
    std::error_code ignored;
    if (!folder.empty() && !std::filesystem::is_directory(folder, ignored)) {
        throw UsageError(fmt::format("{}: expected an existing folder, but \"{}\" is none", option, PathText(folder)));
    }
}

/// The output must be able to hold the composition's depth, and its folder must be there.
void CheckOutput(const FramePattern& pattern, const Composition& composition) {
    const bool isExr = pattern.GetFormat() == FramePattern::Format::Exr;
    if (isExr != (composition.mBitsPerChannel == 32)) {
        throw UsageError(fmt::format("--output: expected {} for {} bits per channel, but it is \"{}\" (see --depth)",
                                     isExr ? "a .png file" : "an .exr file", composition.mBitsPerChannel,
                                     pattern.GetText()));
    }
    RequireFolder("--output", pattern.Expand(0));
}

/// A file beside the program or, installed, in its own folder beside the program's.
std::filesystem::path FindBeside(const std::filesystem::path& name, const char* folder) {
    std::filesystem::path beside = ProgramFolder() / name;
    std::error_code ignored;
    if (std::filesystem::exists(beside, ignored)) return beside;
    std::filesystem::path installed = ProgramFolder().parent_path() / folder / "nimbrel" / name;
    return std::filesystem::exists(installed, ignored) ? installed : beside;
}

std::filesystem::path FindPlugin(const CommandLine& line) {
    return line.mPlugin.empty() ? FindBeside(DefaultPluginName(), "lib") : TextPath(line.mPlugin);
}

/// The importer that was named, or the one beside the effect if it is there.
std::vector<std::filesystem::path> FindImporters(const CommandLine& line) {
    if (!line.mImporter.empty()) return {TextPath(line.mImporter)};
    const std::filesystem::path file = FindPlugin(line).parent_path() / DefaultImporterName();
    std::error_code ignored;
    if (!std::filesystem::exists(file, ignored)) return {};
    return {file};
}

// Without a catalogue parameters go by their names and numbers.
Catalogue ReadCatalogue(const CommandLine& line) {
    if (!line.mCatalogue.empty()) return Catalogue::Read(TextPath(line.mCatalogue));
    const std::filesystem::path name = "nimbrel-catalogue.json";
    for (const std::filesystem::path& file : {FindBeside(name, "share"), FindPlugin(line).parent_path() / name}) {
        if (std::error_code ignored; std::filesystem::exists(file, ignored)) return Catalogue::Read(file);
    }
    return {};
}

HostOptions MakeHostOptions(const CommandLine& line) {
    HostOptions options;
    options.mPlugin = FindPlugin(line);
    options.mImporters = FindImporters(line);
    options.mDevice = line.mGpu;
    options.mValidate = line.mValidate;
    options.mServeComputeCache = !line.mNoHostCache;
    options.mServeHash = !line.mNoHostCache;
    options.mCacheLimit = static_cast<std::uint64_t>(line.mCacheMegabytes) << 20;
    options.mStrict = line.mStrict;
    return options;
}

[[noreturn]] void FailWithoutSlots() {
    throw UsageError(
        "--model: expected an effect with Model1_model; is nimbrel-catalogue.json beside the program (see "
        "--catalogue)?");
}

/// "2=room.ply" or "room.ply", which takes the first slot without a model.
void ApplyModel(Host& host, const std::string& text) {
    if (FindSlotParameter(host, 1, "model") == nullptr) FailWithoutSlots();
    int slot = 0;
    std::string file = text;
    const std::size_t equals = text.find('=');
    const bool isNumbered = equals != std::string::npos && equals > 0 &&
                            std::all_of(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(equals),
                                        [](char c) { return c >= '0' && c <= '9'; });
    if (isNumbered) {
        slot = equals == 1 ? text[0] - '0' : 0;
        file = text.substr(equals + 1);
        if (slot < 1 || slot > kModelSlots) {
            throw UsageError(fmt::format("--model: expected a slot from 1 to {}, but it is \"{}\"", kModelSlots, text));
        }
    } else {
        // Backwards, so that the first free slot is the last found.
        for (int s = kModelSlots; s >= 1; --s) {
            if (FindSlotParameter(host, s, "model") != nullptr && GetModelFile(host, s, false).empty()) slot = s;
        }
        if (slot == 0)
            throw UsageError(
                fmt::format("--model: expected at most {} models, no slot is left for {}", kModelSlots, text));
    }
    ApplySetting(
        host, {fmt::format("Model{}_model", slot), Json(file), "--model", text, std::filesystem::current_path(), {}});
}

void ApplySet(Host& host, const std::string& text) {
    // A shown name may hold a blank but no "=".
    const std::size_t equals = text.find('=');
    if (equals == std::string::npos || equals == 0) {
        throw UsageError(fmt::format("--set: expected ID=VALUE, but it is \"{}\"", text));
    }
    Setting setting{text.substr(0, equals), {}, "--set", text.substr(0, equals), std::filesystem::current_path(), {}};
    const std::string value = text.substr(equals + 1);
    // What isn't JSON is taken as text: paths and choices need no quotes.
    const bool looksLikeJson = Json::accept(value);
    setting.mValue = looksLikeJson ? ParseJson(value, "--set " + setting.mId) : Json(value);
    if (!setting.mValue.is_string() || !looksLikeJson) setting.mBareText = value;
    ApplySetting(host, setting);
}

void ApplySettings(Host& host, const CommandLine& line, const Scene& scene) {
    // Later ones win: the scene, then --model, then --set in the order given.
    for (const Setting& setting : scene.mSettings) ApplySetting(host, setting);
    for (const std::string& model : line.mModels) ApplyModel(host, model);
    for (const std::string& set : line.mSets) ApplySet(host, set);
    const auto isPlaced = [](const auto& parameter) {
        const bool places = parameter->mId.find("_align_") != std::string::npos ||
                            parameter->mId.find("_transform_") != std::string::npos;
        return parameter->mIsSet && places;
    };
    const auto& parameters = host.GetParameters().GetAll();
    const bool placed = std::any_of(parameters.begin(), parameters.end(), isPlaced);
    if (line.mFit || (line.mScene.empty() && !placed)) FitModels(host);
}

// The table is printed even when the effect found no device to its liking: that is when it is needed.
int ListGpus(const CommandLine& line) {
    Host host(MakeHostOptions(line), Composition{}, std::nullopt, {}, AddSuites);
    int code = kExitDone;
    try {
        host.StartGlobal();
    } catch (const EffectError& error) {
        fmt::print(stderr, "{}\n", error.what());
        code = kExitFailed;
    }
    const auto devices = host.GetDevices().GetDevices();
    std::size_t nameWidth = 4, kindWidth = 4;
    for (const auto& device : devices) {
        nameWidth = std::max(nameWidth, device.mName.size());
        kindWidth = std::max(kindWidth, device.mKind.size());
    }
    fmt::print("  {:<5}  {:<{}}  {:<{}}  {}\n", "INDEX", "NAME", nameWidth, "KIND", kindWidth, "NOTE");
    for (const auto& device : devices) {
        fmt::print("{} {:<5}  {:<{}}  {:<{}}  {}\n", device.mChosen ? '*' : ' ', device.mIndex, device.mName, nameWidth,
                   device.mKind, kindWidth, device.mReason);
    }
    const std::string chosen = host.GetDevices().GetChosenName();
    fmt::print("{}\n", chosen.empty() ? "No device would be chosen." : "Chosen (*): " + chosen);
    host.Stop();
    return code;
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

void WriteStats(Host& host, const CommandLine& line, const std::vector<FrameTimes>& times, double setupMs) {
    const std::string chosen = host.GetDevices().GetChosenName();
    Json frames = Json::array();
    for (const FrameTimes& frame : times) {
        frames.push_back({{"frame", frame.mFrame},
                          {"preRender_ms", frame.mPreRenderMs},
                          {"render_ms", frame.mRenderMs},
                          {"write_ms", frame.mWriteMs}});
    }
    const Json stats = {{"gpu", chosen.empty() ? Json(nullptr) : Json(chosen)},
                        {"frames", std::move(frames)},
                        {"setup_ms", setupMs},
                        {"load_ms", host.GetCache().GetComputeSeconds() * 1000},
                        {"splats", CountSplats(host)},
                        {"peak_rss_bytes", GetPeakMemory()}};
    WriteTextFile(TextPath(line.mStats), stats.dump(2));
}

std::vector<FrameTimes> RenderAll(Host& host, const CommandLine& line, const FramePattern& pattern,
                                  const std::vector<int>& frames, ProgressBar& bar) {
    const bool isExr = pattern.GetFormat() == FramePattern::Format::Exr;
    const PictureOptions picture{line.mAlpha.value_or(isExr ? AlphaMode::Premultiplied : AlphaMode::Straight),
                                 line.mBackground};
    const auto write = [&](int frame, const Frame& pixels) {
        WriteWhole(pattern.Expand(frame), [&](const std::filesystem::path& file) {
            isExr ? WriteExr(file, pixels, picture) : WritePng(file, pixels, picture);
        });
    };
    return RenderFrames(host, frames, line.mThreads, write, [&] { bar.FrameDone(); });
}

// What a scene holds is there before the effect's controls are touched.
void PressButtons(Host& host, const CommandLine& line) {
    for (const std::string& id : line.mPresses) PressButton(host, id, "--press");
    if (!line.mInfo) return;
    if (FindSlotParameter(host, *line.mInfo, "info") == nullptr) {
        throw UsageError(
            fmt::format("--info: expected an effect with Model{}_info; is nimbrel-catalogue.json beside the program "
                        "(see --catalogue)?",
                        *line.mInfo));
    }
    PressButton(host, fmt::format("Model{}_info", *line.mInfo), "--info");
}

/// Writes what was asked for besides frames.
void WriteTexts(Host& host, const CommandLine& line) {
    if (!line.mSaveScene.empty()) {
        const std::filesystem::path file = TextPath(line.mSaveScene);
        WriteTextFile(file, WriteScene(host, std::filesystem::absolute(file).parent_path()).dump(2));
    }
    if (line.mListParameters) fmt::print("{}\n", ListParameters(host).dump(2));
}

/// Draws the panel; it shows what the first frame that would be rendered has.
void WritePanel([[maybe_unused]] Host& host, const CommandLine& line, [[maybe_unused]] int frame) {
    if (line.mPanel.empty()) return;
#ifdef NIMBREL_HAS_PANEL
    const Frame picture =
        DrawPanel(host, {line.mPanelGroups, line.mPanelSlot, line.mPanelScale, frame, line.mPanelClosed});
    WriteWhole(TextPath(line.mPanel), [&](const std::filesystem::path& file) {
        WritePng(file, picture, {AlphaMode::Straight, {}});
    });
#else
    throw UsageError("--panel: this build of nimbrel-render was made without Cairo and cannot draw the panel");
#endif
}

/// The importer's picture of the first model as a file, and its texts, as a project panel would show them.
void WriteThumbnail(Host& host, const std::string& option) {
    constexpr A_u_long width = 320;
    std::filesystem::path file;
    for (int slot = 1; slot <= kModelSlots && file.empty(); ++slot) file = GetModelFile(host, slot, false);
    const Layer* const layer = file.empty() ? nullptr : host.GetProject().FindModel(file);
    if (layer == nullptr) throw UsageError("--thumbnail: expected a model (see --model)");
    InSpec& source = *layer->mSource->mFootage->mSource;
    const A_Ratio scale = {width, static_cast<A_u_long>(source.mWidth)};
    const Frame picture = host.GetImporters().Draw(source, {scale, scale});
    WriteWhole(TextPath(option), [&](const std::filesystem::path& part) {
        WritePng(part, picture, {AlphaMode::Straight, {}});
    });
    SourceTexts texts;
    source.GetTexts(texts);
    fmt::print("{}\n{}\n{}\n", texts.mName, texts.mType, texts.mSubType);
}

/// Prints what the validation layer and the host's own checks found. Gives the exit code.
int ReportFindings(Host& host) {
    for (const std::string& text : host.GetDiagnostics().Get()) fmt::print(stderr, "warning: {}\n", text);
    const std::vector<std::string> messages = host.GetDevices().GetValidationMessages();
    for (const std::string& text : messages) fmt::print(stderr, "validation: {}\n", text);
    if (messages.empty()) return kExitDone;
    fmt::print(stderr, "{} validation errors\n", messages.size());
    return kExitFailed;
}

}  // namespace

int RunSession(const CommandLine& line) {
    if (line.mListGpus) return ListGpus(line);
    if (line.mSelfTest) {
        RequireFolder("--self-test-report", TextPath(line.mSelfTestReport));
        return RunSelfTest(MakeHostOptions(line), ReadCatalogue(line), line.mSelfTestReport);
    }
    const bool hasSideOutput = !line.mSaveScene.empty() || line.mInfo || !line.mPanel.empty();
    const bool needsNoScene = line.mListParameters || hasSideOutput || !line.mThumbnail.empty();
    if (line.mScene.empty() && line.mModels.empty() && !needsNoScene) {
        throw UsageError("expected a SCENE.json or --model FILE (see --help)");
    }
    const auto change = [&](Composition& composition) { ApplyOverrides(line, composition); };
    Scene scene;
    if (line.mScene.empty())
        change(scene.mComposition);
    else
        scene = ReadScene(TextPath(line.mScene), change);
    // What is asked for in words alone renders nothing.
    const bool onlyText =
        line.mListParameters || !line.mThumbnail.empty() || (hasSideOutput && !line.mHasOutput && line.mFrames.empty());
    const FramePattern pattern(line.mOutput);
    if (!onlyText) CheckOutput(pattern, scene.mComposition);
    // Not after hours of rendering.
    RequireFolder("--stats", TextPath(line.mStats));
    RequireFolder("--save-scene", TextPath(line.mSaveScene));
    RequireFolder("--panel", TextPath(line.mPanel));
    RequireFolder("--thumbnail", TextPath(line.mThumbnail));
    const std::vector<int> frames = ChooseFrames(line, scene.mComposition, pattern);

    ProgressBar bar(frames.size(), line.mQuiet || onlyText);
    HostOptions options = MakeHostOptions(line);
    options.mProgress = [&](int current, int total) { bar.Within(current, total); };
    options.mShowMessage = [&](const std::string& text) {
        bar.Clear();
        fmt::print(stderr, "{}\n", text);
    };
    options.mShowNote = [&](const std::string& text) {
        bar.Clear();
        fmt::print(stderr, "nimbrel-render: {}\n", text);
    };
    options.mShowDialog = [&](const std::string&, const std::string& text) {
        bar.Clear();
        fmt::print("{}\n", text);
    };
    Host host(options, scene.mComposition, scene.mCamera, ReadCatalogue(line), AddSuites);
    try {
        const Clock::time_point start = Clock::now();
        host.Start();
        host.GetProject().AddNulls(scene.mNulls);
        ApplySettings(host, line, scene);
        host.UpdateParameterControls();
        PressButtons(host, line);
        const double setupMs = std::chrono::duration<double, std::milli>(Clock::now() - start).count();
        if (!line.mThumbnail.empty()) WriteThumbnail(host, line.mThumbnail);
        WriteTexts(host, line);
        WritePanel(host, line, frames.front());
        if (!onlyText) {
            const std::vector<FrameTimes> times = RenderAll(host, line, pattern, frames, bar);
            if (!line.mStats.empty()) WriteStats(host, line, times, setupMs);
        }
    } catch (const EffectError&) {
        bar.Clear();
        ReportFindings(host);
        throw;
    }
    bar.Clear();
    host.Stop();
    return ReportFindings(host);
}

}  // namespace nimbrel::host
