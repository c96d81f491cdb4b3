// nimbrel-render as a user runs it: exit codes, messages, files.
#include <gtest/gtest.h>

#include <sys/wait.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>

#include "NimbrelHost/Support/Errors.h"
#include "Studio.h"

namespace nimbrel::endtoend {
namespace {

namespace fs = std::filesystem;

std::string ReadFile(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

struct Outcome {
    int mCode = -1;
    std::string mOutput;
    std::string mErrors;
};

Outcome RunProgram(const std::string& arguments, const std::string& environment = "") {
    const fs::path out = GetScratchFolder() / "stdout.txt";
    const fs::path err = GetScratchFolder() / "stderr.txt";
    const std::string command = environment + " " + std::string(NIMBREL_RENDER_FILE) + " " + arguments + " >" +
                                out.string() + " 2>" + err.string();
    const int status = std::system(command.c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, ReadFile(out), ReadFile(err)};
}

/// A fresh folder for a run's files.
fs::path MakeFolder(const std::string& name) {
    const fs::path folder = GetScratchFolder() / name;
    fs::remove_all(folder);
    fs::create_directories(folder);
    return folder;
}

std::vector<std::string> ListFiles(const fs::path& folder) {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder)) names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

TEST(Program, RendersAModelWithoutAScene) {
    const fs::path folder = MakeFolder("model");
    const Outcome outcome =
        RunProgram("--model " + GetModelFile(4000, 3).string() + " --size 160x90 --validate --quiet -o " +
                   (folder / "x.png").string() + " --stats " + (folder / "stats.json").string());
    EXPECT_EQ(outcome.mCode, 0) << outcome.mErrors;
    EXPECT_EQ(outcome.mErrors, "");
    EXPECT_EQ(ReadFile(folder / "x.png").substr(1, 3), "PNG");
    const host::Json stats = host::Json::parse(ReadFile(folder / "stats.json"));
    EXPECT_EQ(stats.at("splats"), 4000);
    EXPECT_EQ(stats.at("frames").size(), 1U);
    EXPECT_GT(stats.at("frames")[0].at("render_ms"), 0.0);
}

TEST(Program, ShowsTheEffectsFailuresAndWritesNothing) {
    const fs::path folder = MakeFolder("failures");
    std::ofstream(folder / "broken.ply") << "ply\nformat ascii 1.0\nelement vertex 1\nend_header\n";
    // The count claims far more than any process gets.
    std::ofstream(folder / "huge.ply") << [] {
        std::string header = "ply\nformat binary_little_endian 1.0\nelement vertex 2000000000\n";
        for (const char* name : {"x", "y", "z", "f_dc_0", "f_dc_1", "f_dc_2", "opacity", "scale_0", "scale_1",
                                 "scale_2", "rot_0", "rot_1", "rot_2", "rot_3"}) {
            header += std::string("property float ") + name + "\n";
        }
        return header + "end_header\n";
    }();
    fs::create_symlink(NIMBREL_EFFECT_FILE, folder / "alone.so");  // without the importer beside it
    struct Case {
        std::string mArguments;
        int mCode;
        std::string mMessage;
    };
    const std::string good = GetModelFile(4000, 3).string();
    const Case cases[] = {
        {"--model " + (folder / "broken.ply").string(), 1, "Unexpected file format."},
        {"--model " + good + " --model " + (folder / "broken.ply").string(), 1, "broken.ply"},
        {"--model " + (folder / "huge.ply").string(), 1, "huge.ply"},
        {"--model " + good + " --gpu no-such-device", 2, "no-such-device"},
        {"--model " + good + " --depth 32", 2, "png"},
        {"--model " + (folder / "missing.ply").string(), 2, "missing.ply"},
        {"--model " + good + " --plugin " + (folder / "alone.so").string(), 2, "no importer takes this \".ply\" file"},
        {"--model " + good + " --set Model1_align_scael=3", 2, "Model1_align_scael"},
        {"--no-such-option", 2, "--no-such-option"},
    };
    for (const Case& test : cases) {
        const fs::path out = MakeFolder("failures-out");
        const Outcome outcome = RunProgram(test.mArguments + " --size 64x64 -o " + (out / "x.png").string());
        EXPECT_EQ(outcome.mCode, test.mCode) << test.mArguments << "\n" << outcome.mErrors;
        EXPECT_NE(outcome.mErrors.find(test.mMessage), std::string::npos) << test.mArguments << "\n" << outcome.mErrors;
        EXPECT_TRUE(ListFiles(out).empty()) << test.mArguments << " left " << ListFiles(out).front();
    }
}

/// The importer may come after the effect. Of a sequence its first file is drawn.
TEST(Program, DrawsWhatAUserImportsPlacesAndPicks) {
    const fs::path folder = MakeFolder("import");
    fs::copy_file(GetModelFile(4000, 1), folder / "scan_1.ply");
    fs::copy_file(GetModelFile(500, 0), folder / "scan_2.ply");
    Shot shot = MakeProjectShot();
    shot.mBitsPerChannel = 16;
    host::Json scene = MakeSceneDocument(shot);
    scene["parameters"].erase("Model1_model");
    std::ofstream(folder / "scene.json") << scene.dump();
    const std::string model = (folder / "scan_1.ply").string(), written = (folder / "model.png").string();
    const Outcome outcome =
        RunProgram((folder / "scene.json").string() + " --frames 0 --model " + model + " -o " + written);
    ASSERT_EQ(outcome.mCode, 0) << outcome.mErrors;

    Studio::Options options;
    options.mImporter.clear();
    Studio studio(scene, "import", options);
    EXPECT_THROW(studio.Set("Model1_model", model), host::UsageError);
    studio.mHost->GetImporters().Load(NIMBREL_IMPORTER_FILE);
    host::Project& project = studio.mHost->GetProject();
    for (const bool asSequence : {false, true}) {
        host::Item* const item =
            project.AddFootage(studio.mHost->GetImporters().Import(model, asSequence), project.GetRoot());
        studio.Get("Model1_model").mValue.mKeys[0].mValue.mNumbers.x = project.AddLayer(item)->mId;
        studio.mHost->ChangeParameter(studio.Get("Model1_model"));
        const host::Frame frame = studio.Render();
        EXPECT_GT(MeanAlpha(frame), 0.02);
        host::WritePng(folder / "picked.png", frame, {});
        EXPECT_EQ(ReadFile(folder / "picked.png"), ReadFile(written));
    }
}

/// What the effect defines in the host is what the catalogue says.
TEST(Program, ListsParametersAsTheCatalogueHasThem) {
    const Outcome parameters = RunProgram("--list-parameters");
    ASSERT_EQ(parameters.mCode, 0) << parameters.mErrors;
    const host::Json list = host::Json::parse(parameters.mOutput);
    std::ifstream file(NIMBREL_CATALOGUE_FILE);
    const host::Json catalogue = host::Json::parse(file);
    std::size_t hostIndex = 0;
    for (const host::Json& entry : catalogue.at("parameters")) {
        if (entry.value("skipAPI", host::Json()).dump().find("\"AE\"") != std::string::npos) continue;
        if (entry.contains("skipConfigs")) continue;
        const host::Json listed = list.at(hostIndex++);
        SCOPED_TRACE(entry.at("fullId"));
        EXPECT_EQ(listed.at("hostIndex"), hostIndex);
        EXPECT_EQ(listed.at("id"), entry.at("fullId"));
        EXPECT_EQ(listed.at("uniqueId"), entry.at("uniqueID"));
        const std::string name = listed.at("name");
        if (!name.empty() && entry.at("control") != "Button") {
            EXPECT_EQ(name, entry.at("fullName").get<std::string>().substr(0, 31));
        }
        for (const char* key : {"validMin", "validMax", "displayMin", "displayMax", "precision", "default"}) {
            if (listed.contains(key) && entry.contains(key) && entry.at(key).contains("value")) {
                EXPECT_EQ(listed.at(key), entry.at(key).at("value")) << key;
            }
        }
        if (entry.at("control") == "Custom") {
            EXPECT_EQ(listed.at("default").at("keys").size(), entry.at("default").at("keys").size());
        }
    }
    EXPECT_EQ(list.size(), hostIndex);
}

TEST(Program, NeedsNoVulkanAndSaysSo) {
    const fs::path folder = MakeFolder("devices");
    // A library of the loader's name that cannot be loaded, where the loader is looked for first.
    for (const char* name : {"libvulkan.so", "libvulkan.so.1"}) std::ofstream(folder / name) << "none";
    const std::string noLoader = "LD_LIBRARY_PATH=" + folder.string();
    const std::string noDriver = "VK_DRIVER_FILES=/none VK_ICD_FILENAMES=/none";
    const std::string picture = "--model " + GetModelFile(4000, 3).string() + " --size 96x64 -o ";
    ASSERT_EQ(RunProgram(picture + (folder / "asked.png").string() + " --gpu cpu").mCode, 0);
    for (const auto& [environment, reason] :
         {std::pair(noLoader, "no Vulkan loader"), {noDriver, "no driver for it"}}) {
        const Outcome list = RunProgram("--list-gpus", environment);
        EXPECT_EQ(list.mCode, 0) << list.mErrors;
        EXPECT_NE(list.mOutput.find("\n* 0 "), std::string::npos) << list.mOutput;
        EXPECT_NE(list.mOutput.find(reason), std::string::npos) << list.mOutput;
        EXPECT_EQ(list.mOutput.find("  1  "), std::string::npos) << "the processor's cores alone: " << list.mOutput;

        const Outcome drawn = RunProgram(picture + (folder / "drawn.png").string(), environment);
        EXPECT_EQ(drawn.mCode, 0) << drawn.mErrors;
        EXPECT_EQ(ReadFile(folder / "drawn.png"), ReadFile(folder / "asked.png"));

        const Outcome refused = RunProgram(picture + (folder / "x.png").string() + " --gpu vulkan", environment);
        EXPECT_EQ(refused.mCode, 1);
        EXPECT_NE(refused.mErrors.find("Failed to get a compatible Vulkan device"), std::string::npos);
        EXPECT_FALSE(fs::exists(folder / "x.png"));
    }
    for (const std::string request : {"0", "CPU"})
        EXPECT_EQ(RunProgram("--list-gpus --gpu " + request, noDriver).mCode, 0) << request;
    EXPECT_EQ(RunProgram("--list-gpus --gpu 1", noDriver).mCode, 1);
    EXPECT_NE(RunProgram("--list-gpus --gpu cpu --cores 1", noDriver).mOutput.find("(1 threads)"), std::string::npos);
}

TEST(Program, PressesButtonsInOrderAndShowsInfo) {
    const fs::path folder = MakeFolder("press");
    const fs::path file = folder / "scene.json";
    const Outcome outcome = RunProgram("--model " + GetModelFile(4000, 3).string() +
                                       " --press Model1_modelSettings_copy --press Model4_modelSettings_paste"
                                       " --press Model4_transform_createNullObject --info 4 --save-scene " +
                                       file.string());
    EXPECT_EQ(outcome.mCode, 0) << outcome.mErrors;
    EXPECT_EQ(outcome.mErrors, "");
    EXPECT_EQ(outcome.mOutput.find("Path: \"" + GetModelFile(4000, 3).string() + "\"\nSplats: 4 000\n"), 0U)
        << outcome.mOutput;
    const host::Json scene = host::Json::parse(ReadFile(file));
    EXPECT_EQ(scene.at("nulls")[0].at("name"), "4 Transform Null");
    EXPECT_EQ(scene.at("parameters").at("Model4_model"), scene.at("parameters").at("Model1_model"));
    // An empty clipboard is not settings: each run has a clipboard of its own.
    const Outcome empty = RunProgram("--press Model1_modelSettings_paste --info 1");
    EXPECT_EQ(empty.mCode, 1);
    EXPECT_NE(empty.mErrors.find("Failed to get a text from the clipboard"), std::string::npos) << empty.mErrors;
}

}  // namespace
}  // namespace nimbrel::endtoend
