#include "CommandLine.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <initializer_list>
#include <iterator>
#include <utility>

#include "NimbrelHost/Program/ProgramOptions.h"
#include "NimbrelHost/Support/Errors.h"
#include "NimbrelHost/Support/JsonView.h"
#include "NimbrelHost/Support/Text.h"

namespace nimbrel::host {
namespace {

constexpr const char* kDescription =
    "nimbrel-render draws models of 3D Gaussian splats (PLY, SPZ, SOG, glTF and more) through the Nimbrel effect and "
    "writes the\n"
    "frames as PNG or OpenEXR.\n";

constexpr const char* kFooter = R"(
Scene file: JSON with "composition" (width, height, frameRate, duration in seconds, bitsPerChannel 8, 16 or 32,
downsample), "layer" (of the effect: start in seconds, stretch in percent, below 0 backwards, width and height; its
middle is the composition's), "camera" (type, zoom in pixels, position, pointOfInterest, orientation and rotation in
degrees), "nulls" (each with name, position, orientation, rotation, scale in percent and parent, another layer's name)
and "parameters" by id. World space is pixels: x right, y down, z into the picture; a file unit of a model is 1000
pixels. Values are as a user sees them: percent sliders in percent, angles in degrees, check boxes true or false,
pop-ups an index from 0 or the choice's text, colours [r, g, b] from 0 to 1, 3D points in pixels, files a path.
Anything that can be animated takes {"keyframes": [[seconds, value], ...]}, with "interpolation": "linear" or "hold";
keys of parameters count from the layer's start and stretch with it, all others, and the time of expressions, from the
composition's. A number or a point may have an "expression" with its keyframes or its "value": {"value": 0,
"expression": "value + time * 30"}.

A parameter is named by its id, its shown name ("1 Align Scale") or # and its number; --list-parameters shows all.

Exit codes: 0 all frames written; 1 the effect or the graphics device failed, or a file could not be written; 2 the
command line or the scene is wrong; 33 the machine is short of memory; 130 or 143 interrupted.

Examples:
  nimbrel-render --model statue.ply -o statue.png             one picture, the model framed to fill it
  nimbrel-render --model room.ply --size 1280x720 --set Model1_transform_yRotation=45 --fit -o room.png
  nimbrel-render shot.json -o out/shot.####.exr --depth 32 --frames 0-47 --threads 4
  nimbrel-render shot.json --set 'Model1_transform_yRotation={"keyframes": [[0, 0], [2, 360]]}' -o turn.####.png
  nimbrel-render shot.json --press Model1_transform_createNullObject --save-scene linked.json
  nimbrel-render shot.json --check                            would it render? models, expressions, output, memory
  nimbrel-render shot.json -o out/shot.####.exr --depth 32 --skip-existing    go on where a run was ended
  nimbrel-render --model room.spz --turntable 4 -o turn.####.png
  nimbrel-render shot.json --panel panel.png --panel-slot 1 --panel-group 'Splat Color' --panel-scale 2
  nimbrel-render --list-gpus                                  what it would render on
  nimbrel-render --list-parameters | less                     what can be set)";

// Read as the inside of a JSON array, which numbers with commas are.
glm::dvec3 ParseColor(const std::string& text) {
    const Json value = Json::parse("[" + text + "]", nullptr, false);
    const auto isShare = [](const Json& number) { return number.is_number() && number >= 0 && number <= 1; };
    if (!value.is_array() || value.size() != 3 || !std::all_of(value.begin(), value.end(), isShare)) {
        throw UsageError(
            fmt::format("--background: expected R,G,B, three numbers from 0 to 1, but it is {}", Quote(text)));
    }
    return {value[0].get<double>(), value[1].get<double>(), value[2].get<double>()};
}

/// An empty word is most often a shell's variable that isn't set.
void RefuseEmptyWords(const CLI::App& app) {
    for (const CLI::Option* option : app.get_options()) {
        const std::vector<std::string>& words = option->results();
        if (std::find(words.begin(), words.end(), "") != words.end())
            throw UsageError(fmt::format("{}: expected a value, but it is empty", option->get_name()));
    }
}

void AddSceneOptions(CLI::App& app, CommandLine& line) {
    app.add_option("scene", line.mScene,
                   "scene file, or - for the standard input; may be left out when --model is given")
        ->type_name("SCENE.json");
    // Each use takes one word, so that the scene's name may follow.
    app.add_option("--model", line.mModels,
                   "put a model file into slot 1 to 5; without a number the next free slot; what is no plain PLY file "
                   "is converted first, into the user's cache folder; repeatable")
        ->type_name("[SLOT=]FILE")
        ->allow_extra_args(false);
    app.add_option("--set", line.mSets, "set a parameter over what the scene says; JSON or bare text; repeatable")
        ->type_name("ID=VALUE")
        ->allow_extra_args(false);
    app.add_flag(
        "--fit", line.mFit,
        "move and scale the shown models so that each fills the picture, as it is turned (align anchor and scale); on "
        "by itself without a scene file as long as no align or transform parameter but rotations is set");
    app.add_option("--turntable", line.mTurntable,
                   "turn the shown models once in so many seconds, as keyframes; the composition lasts that long")
        ->type_name("SECONDS");
    app.add_option("--map-path", line.mMapPaths,
                   "where files of the scene lie here: beginnings of paths that are FROM become TO; or a .json file "
                   "with path mapping rules as Open Job Description writes them; repeatable")
        ->type_name("FROM=TO|FILE.json")
        ->allow_extra_args(false);
    app.add_option("--press", line.mPresses,
                   "after setting up, press a button as the user would, such as Model1_transform_createNullObject; "
                   "repeatable, in order")
        ->type_name("ID")
        ->allow_extra_args(false);
    app.add_option("--size", line.mSize, "size of the composition in pixels")->type_name("WxH");
    app.add_option("--fps", line.mFrameRate, "frames per second")->type_name("N");
    app.add_option("--depth", line.mDepth, "bits per channel: 8 and 16 for PNG, 32 for EXR")->type_name("8|16|32");
    app.add_option("--downsample", line.mDownsample, "render every Nth pixel only")->type_name("N");
    app.add_option("--save-scene", line.mSaveScene,
                   "write the scene as it stands with all options, - for standard output; renders only if --output or "
                   "--frames is given too")
        ->type_name("FILE");
}

void AddOutputOptions(CLI::App& app, CommandLine& line, std::string& alpha, std::string& background) {
    app.add_option(
           "-o,--output", line.mOutput,
           "output file, .png (8 or 16 bit) or .exr (32-bit float); a run of #, or %04d, is the frame's number; "
           "without one frame is written; missing folders are made")
        ->type_name("PATTERN")
        ->capture_default_str();
    app.add_option(
           "--frames", line.mFrames,
           "frames to render, from 0, inclusive, every Sth, backwards if B is less than A; default all of the scene, "
           "or frame 0 without a scene file")
        ->type_name("A[-B[xS]][,...]");
    app.add_flag("--hold", line.mHold, "frames behind the composition's end are allowed and show its last state");
    app.add_option("--start-number", line.mStartNumber, "the number that frame 0 has in file names")->type_name("N");
    app.add_flag("--skip-existing", line.mSkipExisting, "leave out frames whose file stands there whole");
    app.add_option("--alpha", alpha, "how colour is stored; default straight for PNG, premultiplied for EXR")
        ->type_name("straight|premultiplied");
    app.add_option("--background", background, "composite over a colour (0 to 1) and write an opaque picture")
        ->type_name("R,G,B");
    app.add_option("--stats", line.mStats,
                   "write per-frame times in milliseconds, splats, peak memory and warnings as JSON, - for standard "
                   "output")
        ->type_name("FILE");
    app.add_option(
           "--thumbnail", line.mThumbnail,
           "write the importer's picture of the first model, 320 pixels wide, print its three texts, and render "
           "nothing else")
        ->type_name("FILE.png");
}

void AddRunOptions(CLI::App& app, CommandLine& line, std::string& log, bool& isQuiet) {
    app.add_option("--log", log,
                   "how the run tells of itself: bar (default on a terminal), lines (default elsewhere: one for each "
                   "frame) and json (one object a line) on standard error, openjd (Open Job Description's messages) "
                   "on standard output, none")
        ->type_name("bar|lines|json|openjd|none");
    app.add_flag("--quiet", isQuiet, "the same as --log none: warnings and failures alone");
    app.add_flag("--fail-on-warning", line.mFailOnWarning,
                 "end with code 1 if there was a warning: an expression that fails or gives what its parameter cannot "
                 "be, a model shorter than its header says");
    app.add_flag("--check", line.mCheck,
                 "render nothing: check the scene, its models and expressions and the output's place, and forecast the "
                 "memory; with --stats as JSON");
}

void AddPanelOptions(CLI::App& app, CommandLine& line) {
    app.add_option(
           "--panel", line.mPanel,
           "draw the effect's controls with the values of the first frame, as a user finds them, the curves and "
           "gradients by the effect itself; renders only if --output or --frames is given too")
        ->type_name("FILE.png");
    app.add_option("--panel-slot", line.mPanelSlot, "only one model slot's controls, 1 to 5")->type_name("N");
    app.add_option("--panel-group", line.mPanelGroups,
                   "only one group of controls, by id or shown name, such as Model1_effects_splatColor; with "
                   "--panel-slot the slot's number before the name may be left out; repeatable, side by side")
        ->type_name("NAME|ID")
        ->allow_extra_args(false);
    app.add_flag("--panel-closed", line.mPanelClosed, "draw the groups within those asked for closed");
    app.add_option("--panel-scale", line.mPanelScale, "pixels to a point: 2 for a fine screen")
        ->type_name("1|2")
        ->capture_default_str();
}

void AddEffectOptions(CLI::App& app, CommandLine& line) {
    app.add_option("--gpu", line.mGpu,
                   "device to render on: the processor's own cores or any Vulkan device, on Windows any Direct3D 12 "
                   "device, a part of a name, or an index of --list-gpus; default: the best GPU, else the processor")
        ->type_name("cpu|vulkan|dx12|NAME|INDEX");
    app.add_flag("--list-gpus", line.mListGpus, "list all devices, the one that would be chosen and why");
    app.add_flag("--self-test", line.mSelfTest,
                 "render built-in scenes on the device and on the processor's cores and compare them; a scene that "
                 "differs ends with code 1");
    app.add_option("--self-test-report", line.mSelfTestReport, "write the self-test's table to a file, to be sent in")
        ->type_name("FILE");
    app.add_option("--threads", line.mThreads, "frames to render at once")->type_name("N")->capture_default_str();
    app.add_option("--cores", line.mCores,
                   "processors that drawing on the processor may use; default CUE_THREADS, SLURM_CPUS_PER_TASK or "
                   "OMP_NUM_THREADS, else all that the process may use")
        ->type_name("N");
    app.add_flag("--validate", line.mValidate,
                 "run with the graphics API's validation layer; its errors end with code 1");
    app.add_flag("--list-parameters", line.mListParameters, "print all parameters as JSON and end");
    app.add_option("--info", line.mInfo,
                   "print the text that the slot's \"Info\" button shows; renders only if --output or --frames is "
                   "given too")
        ->type_name("SLOT");
    app.add_option("--plugin", line.mPlugin, "the effect library; default: the one beside this program")
        ->type_name("FILE");
    app.add_option("--importer", line.mImporter,
                   "the importer library, by which model files become footage; default: the one beside the effect, "
                   "without which they are refused")
        ->type_name("FILE");
    app.add_option("--catalogue", line.mCatalogue,
                   "the parameters' ids; default nimbrel-catalogue.json beside this program")
        ->type_name("FILE");
    app.add_option("--cache-limit", line.mCacheMegabytes, "let go of models not in use beyond this many megabytes")
        ->type_name("MB");
    app.add_flag("--no-host-cache", line.mNoHostCache,
                 "withhold the host's cache and hash, so that the effect uses its own");
    app.add_flag("--strict", line.mStrict, "drive the effect in all the ways that a host may, to test it");
}

/// Breaks descriptions into lines, which the formatter indents, and puts the options under a heading.
void Arrange(CLI::App& app, std::size_t from, const std::string& heading) {
    constexpr std::size_t width = 76;
    const std::vector<CLI::Option*> options = app.get_options();
    for (std::size_t i = from; i < options.size(); ++i) {
        std::string text = options[i]->get_description();
        for (std::size_t line = 0; text.size() - line > width;) {
            const std::size_t blank = text.rfind(' ', line + width);
            if (blank == std::string::npos || blank <= line) break;
            text[blank] = '\n';
            line = blank + 1;
        }
        options[i]->description(text);
        if (!options[i]->get_positional()) options[i]->group(heading);
    }
}

/// What a word of a list stands for.
template <class Value>
Value FindWord(std::string_view option, const std::string& word,
               std::initializer_list<std::pair<std::string_view, Value>> words) {
    std::string expected;
    for (const auto& [name, value] : words) {
        if (name == word) return value;
        expected += fmt::format("{}{}",
                                expected.empty()                    ? ""
                                : name == std::rbegin(words)->first ? " or "
                                                                    : ", ",
                                name);
    }
    throw UsageError(fmt::format("{}: expected {}, but it is {}", option, expected, Quote(word)));
}

void CheckNumbers(const CommandLine& line) {
    const auto check = [](std::string_view option, std::int64_t value, std::int64_t low, std::int64_t high) {
        if (value >= low && value <= high) return;
        throw UsageError(fmt::format("{}: expected {} to {}, but it is {}", option, low, high, value));
    };
    check("--threads", line.mThreads, 1, 256);
    if (line.mCores) check("--cores", *line.mCores, 1, 4096);
    check("--start-number", line.mStartNumber, -9999999, 9999999);
    check("--cache-limit", line.mCacheMegabytes, 0, std::int64_t{1} << 30);
    if (line.mInfo && (*line.mInfo < 1 || *line.mInfo > 5)) {
        throw UsageError(fmt::format("--info: expected a slot from 1 to 5, but it is {}", *line.mInfo));
    }
    constexpr double maxTurn = 3 * 3600;
    if (line.mTurntable && !(*line.mTurntable > 0 && *line.mTurntable <= maxTurn)) {
        throw UsageError(
            fmt::format("--turntable: expected seconds above 0 and up to {}, but it is {}", maxTurn, *line.mTurntable));
    }
}

void CheckPanel(const CommandLine& line) {
    if (line.mPanel.empty() && (line.mPanelSlot || !line.mPanelGroups.empty() || line.mPanelClosed)) {
        throw UsageError("--panel-slot, --panel-group, --panel-closed: expected --panel FILE.png with them");
    }
    if (!line.mPanel.empty() && !line.mPanel.ends_with(".png")) {
        throw UsageError(fmt::format("--panel: expected a .png file, but it is {}", Quote(line.mPanel)));
    }
    if (line.mPanelSlot && (*line.mPanelSlot < 1 || *line.mPanelSlot > 5)) {
        throw UsageError(fmt::format("--panel-slot: expected a slot from 1 to 5, but it is {}", *line.mPanelSlot));
    }
    if (line.mPanelScale != 1 && line.mPanelScale != 2) {
        throw UsageError(fmt::format("--panel-scale: expected 1 or 2, but it is {}", line.mPanelScale));
    }
}

}  // namespace

std::optional<CommandLine> ParseCommandLine(int argc, const char* const* argv) {
    CommandLine line;
    std::string alpha, background, log;
    bool isQuiet = false;
    CLI::App app{kDescription, "nimbrel-render"};
    app.footer(kFooter);
    app.get_formatter()->column_width(36);
    AddProgramOptions(app);
    std::size_t arranged = app.get_options().size();
    AddSceneOptions(app, line);
    Arrange(app, std::exchange(arranged, app.get_options().size()), "Scene");
    AddOutputOptions(app, line, alpha, background);
    Arrange(app, std::exchange(arranged, app.get_options().size()), "Output");
    AddRunOptions(app, line, log, isQuiet);
    Arrange(app, std::exchange(arranged, app.get_options().size()), "Run");
    AddPanelOptions(app, line);
    Arrange(app, std::exchange(arranged, app.get_options().size()), "Panel");
    AddEffectOptions(app, line);
    Arrange(app, arranged, "Effect and device");
    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp&) {
        fmt::print("{}", app.help());
        return std::nullopt;
    } catch (const CLI::CallForVersion& asked) {
        fmt::print("{}\n", asked.what());
        return std::nullopt;
    } catch (const CLI::ParseError& error) {
        throw UsageError(fmt::format("{} (see --help)", error.what()));
    }
    // The library checks shapes, what follows checks values.
    RefuseEmptyWords(app);
    line.mHasOutput = app.count("--output") > 0;
    CheckNumbers(line);
    CheckPanel(line);
    if (!line.mSelfTestReport.empty() && !line.mSelfTest)
        throw UsageError("--self-test-report: expected --self-test with it");
    if (!line.mThumbnail.empty() && !line.mThumbnail.ends_with(".png")) {
        throw UsageError(fmt::format("--thumbnail: expected a .png file, but it is {}", Quote(line.mThumbnail)));
    }
    if (!background.empty()) line.mBackground = ParseColor(background);
    if (!alpha.empty()) {
        line.mAlpha = FindWord<AlphaMode>(
            "--alpha", alpha, {{"straight", AlphaMode::Straight}, {"premultiplied", AlphaMode::Premultiplied}});
    }
    line.mLog = isQuiet ? LogMode::None : ChooseLogMode();
    if (!log.empty()) {
        line.mLog = FindWord<LogMode>("--log", log,
                                      {{"bar", LogMode::Bar},
                                       {"lines", LogMode::Lines},
                                       {"json", LogMode::Json},
                                       {"openjd", LogMode::OpenJd},
                                       {"none", LogMode::None}});
    }
    return line;
}

}  // namespace nimbrel::host
