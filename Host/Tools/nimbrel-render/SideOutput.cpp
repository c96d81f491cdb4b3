#include "SideOutput.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>

#include "Locations.h"
#include "NimbrelHost/Output/Output.h"
#include "NimbrelHost/Panel/Panel.h"
#include "NimbrelHost/Suites/AddSuites.h"
#include "NimbrelHost/Support/Errors.h"
#include "NimbrelHost/Support/Text.h"
#include "NimbrelHost/Support/WholeFile.h"
#include "NimbrelHost/User/Settings.h"

namespace nimbrel::host {
namespace {

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
        // What goes to the standard output is read from here.
        const std::filesystem::path folder =
            IsStandardOutput(file) ? std::filesystem::current_path() : std::filesystem::absolute(file).parent_path();
        WriteTextFile(file, WriteScene(host, folder).dump(2));
    }
    if (line.mListParameters) WriteStandardOutput(ListParameters(host).dump(2) + '\n');
}

/// Draws the panel; it shows what the first frame that would be rendered has.
void WritePanel([[maybe_unused]] Host& host, const CommandLine& line, [[maybe_unused]] int frame) {
    if (line.mPanel.empty()) return;
#ifdef NIMBREL_HAS_PANEL
    const Frame picture =
        DrawPanel(host, {line.mPanelGroups, line.mPanelSlot, line.mPanelScale, frame, line.mPanelClosed});
    WritePng(TextPath(line.mPanel), picture, {AlphaMode::Straight, {}});
#else
    throw UsageError("--panel: this build of nimbrel-render was made without Cairo and cannot draw the panel");
#endif
}

/// The importer's picture of the first model as a file, and its texts, as a project panel would show them.
void WriteThumbnail(Host& host, const std::string& option) {
    if (option.empty()) return;
    constexpr A_u_long width = 320;
    std::filesystem::path file;
    for (int slot = 1; slot <= kModelSlots && file.empty(); ++slot) file = GetModelFile(host, slot, false);
    const Layer* const layer = file.empty() ? nullptr : host.GetProject().FindModel(file);
    if (layer == nullptr) throw UsageError("--thumbnail: expected a model (see --model)");
    InSpec& source = *layer->mSource->mFootage->mSource;
    const A_Ratio scale = {width, static_cast<A_u_long>(source.mWidth)};
    const Frame picture = host.GetImporters().Draw(source, {scale, scale});
    WritePng(TextPath(option), picture, {AlphaMode::Straight, {}});
    SourceTexts texts;
    source.GetTexts(texts);
    WriteStandardOutput(fmt::format("{}\n{}\n{}\n", texts.mName, texts.mType, texts.mSubType));
}

}  // namespace

std::string DescribeDevices(const DeviceReport& report) {
    const auto devices = report.GetDevices();
    std::size_t nameWidth = 4, kindWidth = 4;
    for (const auto& device : devices) {
        nameWidth = std::max(nameWidth, device.mName.size());
        kindWidth = std::max(kindWidth, device.mKind.size());
    }
    std::string text =
        fmt::format("  {:<5}  {:<{}}  {:<{}}  {}\n", "INDEX", "NAME", nameWidth, "KIND", kindWidth, "NOTE");
    for (const auto& device : devices) {
        text += fmt::format("{} {:<5}  {:<{}}  {:<{}}  {}\n", device.mChosen ? '*' : ' ', device.mIndex, device.mName,
                            nameWidth, device.mKind, kindWidth, device.mReason);
    }
    return text;
}

// The table is printed even when the effect found no device to its liking: that is when it is needed.
int ListGpus(const CommandLine& line, RunLog& log) {
    Host host(MakeHostOptions(line), Composition{}, std::nullopt, {}, AddSuites);
    int code = kExitDone;
    try {
        host.StartGlobal();
    } catch (const EffectError& error) {
        log.Message(error.what());
        code = kExitFailed;
    }
    const std::string chosen = host.GetDevices().GetChosenName();
    WriteStandardOutput(fmt::format("{}{}\n", DescribeDevices(host.GetDevices()),
                                    chosen.empty() ? "No device would be chosen." : "Chosen (*): " + chosen));
    host.Stop();
    return code;
}

void MakeSideOutput(Host& host, const CommandLine& line, int frame) {
    PressButtons(host, line);
    WriteThumbnail(host, line.mThumbnail);
    WriteTexts(host, line);
    WritePanel(host, line, frame);
}

}  // namespace nimbrel::host
