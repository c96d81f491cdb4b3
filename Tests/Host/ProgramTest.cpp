// nimbrel-render as its user meets it: arguments in, files, messages and exit codes out.
#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>

#include "NimbrelHost/Support/JsonView.h"
#include "Shot.h"
#include "TestSupport.h"

namespace nimbrel::host {
namespace {

using ::testing::HasSubstr;

struct Result {
    int mCode = 0;
    std::string mOutput;  ///< both streams
};

class Program : public ::testing::Test {
protected:
    Program() {
        std::filesystem::copy_file(endtoend::GetModelFile(500, 0), mFolder / "a.ply");
        mFolder.Write("scene.json", R"({"composition": {"width": 16, "height": 8, "duration": 0.125},
                                        "parameters": {"Model1_model": "a.ply", "Model1_align_xRotation": 7}})");
        mFolder.Write("short.json", R"({"composition": {"width": 16, "height": 8, "duration": 0.125}})");
    }

    Result Run(const std::string& arguments) const {
        std::string command = "exec 2>&1; cd '" + (mFolder / "").string() + "' && '" RENDER_PROGRAM "'";
        command += " " + arguments;
        std::FILE* const pipe = ::popen(command.c_str(), "r");
        Result result;
        std::array<char, 4096> block;
        for (std::size_t got; (got = std::fread(block.data(), 1, block.size(), pipe)) > 0;) {
            result.mOutput.append(block.data(), got);
        }
        const int status = ::pclose(pipe);
        result.mCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        return result;
    }

    /// With the test effect, which is there at once, and can be told to fail.
    Result RunBare(const std::string& arguments) const { return Run("--plugin '" TEST_EFFECT "' " + arguments); }

    bool Has(const std::string& name) const { return std::filesystem::exists(mFolder / name); }
    Json ReadJson(const std::string& name) const { return ReadJsonFile(mFolder / name); }

    TestFolder mFolder;
};

TEST_F(Program, NamesFramesAndTellsOfThem) {
    const Result result = Run("scene.json -o f.##.png --threads 2 --stats stats.json");
    EXPECT_EQ(result.mCode, 0) << result.mOutput;
    for (const char* line : {"Saved: 'f.01.png' ", " MiB, 3 of 3\n", "Done: 3 rendered, 0 skipped, 0 missing"})
        EXPECT_THAT(result.mOutput, HasSubstr(line));
    EXPECT_TRUE(Has("f.00.png") && Has("f.01.png") && Has("f.02.png"));
    EXPECT_FALSE(Has("f.03.png"));
    const Json stats = ReadJson("stats.json");
    EXPECT_EQ(stats["splats"], 500);
    EXPECT_EQ(stats["frames"].size(), 3U);
    EXPECT_EQ(stats["frames"][2]["frame"], 2);
    EXPECT_GT(stats["peak_rss_bytes"], 1000000);
    EXPECT_TRUE(stats["load_ms"].is_number());

    EXPECT_EQ(RunBare("short.json --depth 32 --frames 1-9x4 --hold -o g#.exr").mCode, 0);
    EXPECT_TRUE(Has("g1.exr") && Has("g5.exr") && Has("g9.exr"));
    EXPECT_EQ(RunBare("short.json --frames 0").mCode, 0);
    EXPECT_TRUE(Has("frame.0000.png"));
    EXPECT_FALSE(Has("frame.0001.png"));
}

TEST_F(Program, GoesOnWhereARunEnded) {
    const std::string run = "short.json -o new/er/f.%02d.png --start-number 1001 --skip-existing --frames -1,2-0 ";
    EXPECT_EQ(RunBare(run + "--log none").mOutput, "");
    for (const char* name : {"new/er/f.1000.png", "new/er/f.1001.png", "new/er/f.1003.png"}) EXPECT_TRUE(Has(name));
    const auto time = [&](const char* name) { return std::filesystem::last_write_time(mFolder / name); };
    const auto first = time("new/er/f.1002.png");
    std::filesystem::resize_file(mFolder / "new/er/f.1003.png", 60);
    mFolder.Write("new/er/.f.1003.png.00112233.part", "half");
    const Result again = RunBare(run + "--stats -");
    EXPECT_EQ(again.mCode, 0);
    EXPECT_THAT(again.mOutput, HasSubstr("Skipped: 3 of 4 frames"));
    EXPECT_THAT(again.mOutput, HasSubstr("4 of 4\n"));
    EXPECT_THAT(again.mOutput, HasSubstr("\"missing\": []"));
    EXPECT_EQ(time("new/er/f.1002.png"), first);
    EXPECT_GT(std::filesystem::file_size(mFolder / "new/er/f.1003.png"), 60U);
    EXPECT_FALSE(Has("new/er/.f.1003.png.00112233.part"));
    EXPECT_THAT(RunBare(run).mOutput, HasSubstr("Done: 0 rendered, 4 skipped"));
    EXPECT_THAT(RunBare(run + "--size 8x8").mOutput, HasSubstr("Done: 4 rendered")) << "other pictures than those";

    // What is shown behind the end is the last state, also where a script goes on.
    mFolder.Write("moving.json", R"({"composition": {"width": 16, "height": 8, "duration": 0.125},
        "parameters": {"Model1_model": "a.ply",
                       "Model1_align_scale": {"value": 1, "expression": "20 + 20 * time"}}})");
    EXPECT_EQ(Run("moving.json --frames 1,2,30 --hold -o h.#.png --quiet").mCode, 0);
    const auto bytes = [&](const char* name) {
        std::ifstream stream(mFolder / name, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(stream), {});
    };
    EXPECT_EQ(bytes("h.30.png"), bytes("h.2.png"));
    EXPECT_NE(bytes("h.1.png"), bytes("h.2.png"));
}

TEST_F(Program, TellsRenderManagersHowItGoes) {
    const std::string fails = R"(short.json -o f.#.png --set 'Fault={"keyframes": [[0, "None"], [0.08, "Message"]]}' )";
    const Result openjd = RunBare(fails + "--log openjd --stats s.json 2>/dev/null");
    EXPECT_EQ(openjd.mCode, 1);
    EXPECT_THAT(openjd.mOutput, HasSubstr("openjd_progress: 66.67\nopenjd_status: Saved: 'f.1.png' "));
    EXPECT_THAT(openjd.mOutput, HasSubstr("openjd_fail: the test effect fails as it was told\n"));
    // The figures of a run that fails are told, too.
    const Json stats = ReadJson("s.json");
    EXPECT_EQ(stats["frames"].size(), 2U);
    EXPECT_EQ(stats["missing"], Json({2}));
    EXPECT_EQ(stats["error"], "the test effect fails\nas it was told");

    const std::string lines = RunBare(fails + "--log json").mOutput;
    std::vector<std::string> events;
    std::istringstream stream(lines);
    for (std::string line; std::getline(stream, line);) events.push_back(Json::parse(line).at("event"));
    EXPECT_THAT(events, ::testing::ElementsAre("begin", "frame", "frame", "end", "error"));
}

TEST_F(Program, WarnsOfWhatItDrawsAllTheSame) {
    mFolder.Write("bad.json", R"({"composition": {"width": 16, "height": 8, "duration": 0.125},
        "parameters": {"Model1_model": "a.ply",
                       "Model1_align_scale": {"value": 1, "expression": "time > 0.05 ? nothing : 5"},
                       "Model1_align_xRotation": {"value": 0, "expression": "time * 1e9"}}})");
    const Result result = Run("bad.json -o b.#.png");
    EXPECT_EQ(result.mCode, 0);
    EXPECT_THAT(result.mOutput, HasSubstr("warning: frame 2: the expression of \"1 Align Scale\" failed: "));
    EXPECT_THAT(result.mOutput,
                HasSubstr("warning: frame 1: the expression of \"1 Align X Rotation\" gives at 0.042 s "));
    EXPECT_EQ(Run("bad.json -o b.#.png --fail-on-warning").mCode, 1);
    EXPECT_TRUE(Has("b.2.png"));
    std::filesystem::resize_file(mFolder / "a.ply", std::filesystem::file_size(mFolder / "a.ply") - 100);
    const Result cut = Run("--model a.ply --size 16x8 -o c.png --fail-on-warning");
    EXPECT_EQ(cut.mCode, 1);
    EXPECT_THAT(cut.mOutput, HasSubstr("warning: Model1_model: "));
    EXPECT_TRUE(Has("c.png"));
}

TEST_F(Program, ChecksWithoutRendering) {
    mFolder.Write("late.json", R"({"composition": {"width": 16, "height": 8, "duration": 2},
        "parameters": {"Model1_model": "a.ply", "Model1_align_scale": {"value": 1, "expression": "20 + time"},
                       "Model1_align_yRotation": {"value": 1, "expression": "time > 1 ? x : 1"}}})");
    const Result result = Run("late.json --check -o none/f.#.png --stats s.json");
    EXPECT_EQ(result.mCode, 0) << result.mOutput;
    EXPECT_THAT(result.mOutput, HasSubstr("500 splats of degree 0"));
    EXPECT_THAT(result.mOutput, HasSubstr("warning: frame 47: the expression of \"1 Align Y Rotation\" failed"));
    EXPECT_FALSE(Has("none"));
    const Json found = ReadJson("s.json");
    EXPECT_EQ(found["models"][0]["notFinite"], 0);
    EXPECT_EQ(found["expressions"], 2);
    EXPECT_EQ(found["output"]["frames"], 48);
    EXPECT_EQ(found["output"]["folderIsThere"], false);
    EXPECT_GT(found["memory"]["render_bytes"], 1 << 20);
    mFolder.Write("mesh.ply", "ply\nformat binary_little_endian 1.0\nelement vertex 1\nproperty float x\nend_header\n");
    const Result mesh = Run("--model mesh.ply --check");
    EXPECT_EQ(mesh.mCode, 1);
    EXPECT_THAT(mesh.mOutput, HasSubstr("PROBLEM"));
    EXPECT_EQ(Run("late.json --check -o a.ply/f.#.png").mCode, 1);
}

TEST_F(Program, ReadsAndWritesStreams) {
    const Result saved = Run("- --save-scene - < scene.json");
    EXPECT_EQ(saved.mCode, 0);
    EXPECT_EQ(Json::parse(saved.mOutput)["parameters"]["Model1_model"], "a.ply");
    // The file behind the standard output keeps what is in it already.
    EXPECT_EQ(Run("scene.json --info 1 --save-scene both.txt >both.txt").mCode, 0);
    std::ifstream stream(mFolder / "both.txt");
    const std::string both{std::istreambuf_iterator<char>(stream), {}};
    EXPECT_THAT(both, HasSubstr("Splats: 500 "));
    EXPECT_THAT(both, HasSubstr("\"composition\": {"));
    for (const char* full : {"--list-gpus", "--list-parameters", "scene.json --info 1",
                             "scene.json --stats - -o f.#.png", "scene.json --save-scene -"}) {
        const Result result = Run(std::string(full) + " --quiet >/dev/full");
        EXPECT_EQ(result.mCode, 1) << full;
        EXPECT_THAT(result.mOutput, HasSubstr("standard output: cannot be written: No space left on device")) << full;
    }
    std::filesystem::create_symlink("/dev/full", mFolder / "full.json");
    EXPECT_THAT(Run("scene.json --save-scene full.json").mOutput, HasSubstr("full.json: cannot be written: No space"));
}

TEST_F(Program, FindsAndTurnsModels) {
    mFolder.Write("moved.json", R"({"parameters": {"Model1_model": "C:\\shots\\A\\a.ply",
                                                   "Model2_model": "/far/a.ply"}})");
    mFolder.Write("rules.json", R"({"version": "pathmapping-1.0", "path_mapping_rules": [
        {"source_path_format": "WINDOWS", "source_path": "c:/Shots", "destination_path": "/none"},
        {"source_path_format": "WINDOWS", "source_path": "c:/Shots/a/", "destination_path": ")" +
                                    (mFolder / "").string() + "\"}]}");
    const std::string here = "--map-path /far=" + (mFolder / "").string();
    EXPECT_EQ(Run("moved.json " + here + " --map-path rules.json --turntable 0.5 --save-scene out.json").mCode, 0);
    const Json scene = ReadJson("out.json");
    EXPECT_EQ(scene["parameters"]["Model1_model"], "a.ply");
    EXPECT_EQ(scene["parameters"]["Model2_model"], "a.ply");
    EXPECT_EQ(scene["parameters"]["Model2_transform_yRotation"], Json::parse(R"({"keyframes": [[0, 0], [0.5, 360]]})"));
    EXPECT_EQ(scene["composition"]["duration"], 1.0) << "the scene lasts longer";
    EXPECT_THAT(Run("moved.json " + here).mOutput, HasSubstr("there is none at")) << "only Windows paths fold slashes";
    EXPECT_EQ(Run("--model a.ply --turntable 0.125 --size 16x8 -o t.#.png --quiet --cores 1").mCode, 0);
    EXPECT_TRUE(Has("t.2.png") && !Has("t.3.png"));
}

TEST_F(Program, SavesTheSceneAsOptionsLeaveIt) {
    EXPECT_EQ(Run("scene.json --size 20x10 --set Model1_align_xRotation=-5 --set Model1_crop_shape_type=Box --fit "
                  "--save-scene out.json")
                  .mCode,
              0);
    EXPECT_FALSE(Has("frame.0000.png"));
    const Json scene = ReadJson("out.json");
    EXPECT_EQ(scene["composition"]["width"], 20);
    EXPECT_EQ(scene["parameters"]["Model1_align_xRotation"], -5.0);
    EXPECT_EQ(scene["parameters"]["Model1_crop_shape_type"], 1);
    EXPECT_EQ(scene["parameters"]["Model1_model"], "a.ply");
    EXPECT_TRUE(scene["parameters"].contains("Model1_align_anchorPoint"));
    EXPECT_EQ(Run("out.json -o again.png").mCode, 0);

    // What the scene does not say follows from the size that the frames have; a slot without a file is free.
    mFolder.Write("bare.json", R"({"camera": {}, "nulls": [{"name": "n"}], "parameters": {"Model1_model": null}})");
    EXPECT_EQ(Run("bare.json --size 64x36 --model a.ply --save-scene filled.json").mCode, 0);
    const Json filled = ReadJson("filled.json");
    EXPECT_EQ(filled["camera"]["zoom"], 64);
    EXPECT_EQ(filled["camera"]["position"], Json({32, 18, -64}));
    EXPECT_EQ(filled["nulls"][0]["position"], Json({32, 18, 0}));
    EXPECT_EQ(filled["parameters"]["Model1_model"], "a.ply");

    // Fitting is on by itself only without a scene file and without anything placed.
    const auto isFitted = [&](const std::string& arguments) {
        EXPECT_EQ(Run(arguments + " --save-scene fit.json").mCode, 0);
        return ReadJson("fit.json")["parameters"].contains("Model1_align_anchorPoint");
    };
    EXPECT_TRUE(isFitted("--model a.ply"));
    EXPECT_FALSE(isFitted("scene.json"));
    EXPECT_FALSE(isFitted("--model a.ply --set Model1_align_scale=10"));
    EXPECT_TRUE(isFitted("--model a.ply --set Model1_align_scale=10 --fit"));
}

TEST_F(Program, HelpsWithItsOptions) {
    const Result help = Run("--help");
    EXPECT_EQ(help.mCode, 0);
    for (const char* part : {"--model", "--list-gpus", "--save-scene", "Exit codes", "Examples"})
        EXPECT_THAT(help.mOutput, HasSubstr(part));
}

TEST_F(Program, DrawsThePanel) {
    const auto expectRefused = [&](const std::string& arguments, const std::string& message) {
        const Result result = RunBare(arguments);
        EXPECT_EQ(result.mCode, 2) << result.mOutput;
        EXPECT_THAT(result.mOutput, HasSubstr(message));
        EXPECT_FALSE(Has("p.png"));
    };
#ifdef NIMBREL_HAS_PANEL
    expectRefused("--panel p.png --panel-group Nothing", "--panel-group: expected a group of controls");
    expectRefused("--panel p.png --panel-slot 3", "--panel-slot: expected a group of controls");
    EXPECT_EQ(RunBare("short.json --panel p.png --panel-group Group --panel-scale 2").mOutput, "");
    EXPECT_GT(std::filesystem::file_size(mFolder / "p.png"), 1000U);
    EXPECT_FALSE(Has("frame.0000.png")) << "renders only when asked to";
    std::filesystem::remove(mFolder / "p.png");
#else
    expectRefused("--panel p.png", "made without Cairo");
#endif
    expectRefused("--panel p.jpg", "--panel: expected a .png file, but it is \"p.jpg\"");
    expectRefused("--panel p.png --panel-slot 6", "--panel-slot: expected a slot from 1 to 5");
    expectRefused("--panel p.png --panel-scale 3", "--panel-scale: expected 1 or 2");
    expectRefused("short.json --panel-slot 1", "expected --panel FILE.png with them");
}

TEST_F(Program, EndsWithTwoAndOneLineForAWrongRequest) {
    const struct {
        const char* mArguments;
        const char* mMessage;
    } cases[] = {
        {"", "expected a SCENE.json or --model FILE"},
        {"none.json", "none.json: expected a readable file"},
        {"short.json extra.json", "--help"},
        {"short.json --depth 32", "--output: expected an .exr file for 32 bits per channel"},
        {"short.json --depth 16 -o a.exr", "--output: expected a .png file for 16 bits per channel"},
        {"short.json --depth 12", "--depth: expected 8, 16 or 32, but it is 12"},
        {"short.json --depth many", "--help"},
        {"short.json --downsample 0", "--downsample: expected a whole number from 1 to 64"},
        {"short.json --fps 0", "--fps: expected a number from 0.1 to 1000"},
        {"short.json --fps nan", "--fps: expected a number from 0.1 to 1000, but it is nan"},
        {"short.json --size 10", "--size: expected WIDTHxHEIGHT"},
        {"short.json --frames 3-", "--frames: expected frames such as"},
        {"short.json --frames 10000000", "of at most 9999999, but it is \"10000000\""},
        {"short.json --frames 0-3", "--frames: expected frames up to 2, the last of the composition, but there is 3"},
        {"short.json --log loud", "--log: expected bar, lines, json, openjd or none, but it is \"loud\""},
        {"short.json --cores 0", "--cores: expected 1 to 4096, but it is 0"},
        {"short.json --turntable 0", "--turntable: expected seconds above 0"},
        {"scene.json --map-path here", "--map-path: expected FROM=TO or a .json file"},
        {"short.json --frames 0-2 -o one.png", "--output: expected a run of #"},
        {"short.json -o a.ply/new/f.png", "--output: expected a folder, but \"a.ply\" is none"},
        {"short.json --stats none/s.json", "--stats: expected an existing folder, but \"none\" is none"},
        {"short.json --save-scene none/s.json", "--save-scene: expected an existing folder"},
        {"short.json -o f.gif", "--output: expected a name that ends in .png or .exr"},
        {"short.json --threads 0", "--threads: expected 1 to 256"},
        {"short.json --alpha maybe", "--alpha: expected straight or premultiplied"},
        {"short.json --background 1,2", "--background: expected R,G,B"},
        {"short.json --background 0,0,2", "--background: expected R,G,B"},
        {"short.json --background nan,0,0", "--background: expected R,G,B"},
        {"short.json --frames ''", "--frames: expected a value, but it is empty"},
        {"short.json --cache-limit -1", "--cache-limit: expected 0 to 1073741824, but it is -1"},
        {"scene.json --set Model1_info", "--set: expected ID=VALUE"},
        {"scene.json --set Model=1", "unknown parameter \"Model\""},
        {"scene.json --set Model1_crop_shape_type=Cone", "--set: Model1_crop_shape_type: expected 0 to 1 or one of"},
        {"--model 6=a.ply", "--model: expected a slot from 1 to 5"},
        {"--model none.ply", "--model: none.ply: expected a file"},
        {"scene.json --plugin none.so", "none.so: expected the effect library"},
        {"short.json --catalogue none.json", "none.json: expected a readable file"},
        {"scene.json --press x", "--press: unknown parameter \"x\""},
        {"scene.json --press Model1_model", "--press: expected a button, but \"Model1_model\" is a Layer"},
        {"scene.json --info 6", "--info: expected a slot from 1 to 5"},
        {"short.json --no-such-option", "--help"},
    };
    for (const auto& [arguments, message] : cases) {
        const bool isBare = std::string(arguments).starts_with("short.json");
        const Result result = isBare ? RunBare(arguments) : Run(arguments);
        EXPECT_EQ(result.mCode, 2) << arguments << ": " << result.mOutput;
        EXPECT_THAT(result.mOutput, HasSubstr(message)) << arguments;
        EXPECT_EQ(std::count(result.mOutput.begin(), result.mOutput.end(), '\n'), 1)
            << arguments << ": " << result.mOutput;
    }
}

TEST_F(Program, EndsWithOneWhenTheEffectFailsAndKeepsWhatIsDone) {
    const Result result =
        RunBare(R"(short.json -o f.#.png --set 'Fault={"keyframes": [[0, "None"], [0.08, "Message"]]}')");
    EXPECT_EQ(result.mCode, 1);
    EXPECT_THAT(result.mOutput, ::testing::EndsWith("\nthe test effect fails\nas it was told\n"));
    EXPECT_TRUE(Has("f.0.png") && Has("f.1.png"));
    EXPECT_FALSE(Has("f.2.png"));
    int files = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(mFolder / "")) ++files;
    EXPECT_EQ(files, 5) << "three inputs, two frames, nothing half-written";
}

TEST_F(Program, EndsWith130WhenInterrupted) {
    // The effect waits for a cancel; the shell's child gets the signal that a terminal would send.
    const Result result =
        RunBare("short.json -o f.#.png --set Fault=Wait & pid=$!; sleep 0.5; kill -INT $pid; wait $pid; echo code $?");
    EXPECT_THAT(result.mOutput, HasSubstr("nimbrel-render: interrupted"));
    EXPECT_THAT(result.mOutput, HasSubstr("code 130"));
    EXPECT_FALSE(Has("f.0.png"));
}

TEST_F(Program, TestsADeviceAgainstTheProcessor) {
    const Result result = Run("--self-test --gpu cpu --self-test-report report.txt");
    EXPECT_EQ(result.mCode, 0) << result.mOutput;
    EXPECT_THAT(result.mOutput, HasSubstr("All scenes are as they should be."));
    std::ifstream report(mFolder / "report.txt");
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(report), {}), result.mOutput);
    // An effect without a model's parameter is none that could be tested.
    EXPECT_NE(RunBare("--self-test").mCode, 0);
    EXPECT_EQ(Run("--self-test-report report.txt").mCode, 2);
}

}  // namespace
}  // namespace nimbrel::host
