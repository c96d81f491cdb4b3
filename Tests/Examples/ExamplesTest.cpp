// The scenes of Examples/, rendered by nimbrel-render as their readers would: each draws something, each moves if it
// has keyframes, and none does nothing to the model.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include <fmt/format.h>

#include "ModelMaker.h"
#include "PngFile.h"

namespace nimbrel {
namespace {

namespace fs = std::filesystem;

constexpr sheet::Color kBackdrop = {8, 9, 14};

std::vector<std::string> FindScenes() {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(NIMBREL_EXAMPLES_FOLDER)) {
        if (entry.path().extension() == ".json") names.push_back(entry.path().stem().string());
    }
    return names;
}

class Examples : public ::testing::TestWithParam<std::string> {
protected:
    static void SetUpTestSuite() {
        fs::create_directories(Folder() / "models");
        maker::ModelOptions options;
        options.mCount = 4000;
        std::ofstream model(Folder() / "models/demo.ply", std::ios::binary);
        maker::WriteModel(options, model);
        for (const std::string& name : FindScenes()) {
            fs::copy_file(fs::path(NIMBREL_EXAMPLES_FOLDER) / (name + ".json"), Folder() / (name + ".json"),
                          fs::copy_options::overwrite_existing);
        }
    }
    static void TearDownTestSuite() { fs::remove_all(Folder()); }
    static fs::path Folder() { return fs::path(::testing::TempDir()) / "nimbrel-examples"; }

    /// The picture of a frame at an eighth of the size. With 16 bits a software driver that rounds before it blends
    /// shows none of that.
    sheet::Image Render(const std::string& name, int frame, const std::string& device = "cpu") const {
        const fs::path picture = Folder() / fmt::format("{}.{}.png", name, frame);
        const std::string command =
            fmt::format("'" NIMBREL_RENDER_FILE
                        "' '{}' --frames {} --downsample 8 --depth 16 --background 0.03,0.035,0.055 --gpu {} -o '{}'",
                        (Folder() / (name + ".json")).string(), frame, device, picture.string());
        EXPECT_EQ(std::system(command.c_str()), 0) << command;
        return sheet::ReadPng(picture.string(), kBackdrop);
    }
};

int CountDrawn(const sheet::Image& image) {
    int drawn = 0;
    for (std::size_t i = 0; i < image.mPixels.size(); i += 3) drawn += image.mPixels[i + 1] > 24 ? 1 : 0;
    return drawn;
}

/// Mean difference of the channels, in steps of a byte.
double CompareImages(const sheet::Image& a, const sheet::Image& b) {
    EXPECT_EQ(a.mPixels.size(), b.mPixels.size());
    double sum = 0;
    for (std::size_t i = 0; i < a.mPixels.size() && i < b.mPixels.size(); ++i)
        sum += std::abs(static_cast<int>(a.mPixels[i]) - static_cast<int>(b.mPixels[i]));
    return sum / static_cast<double>(a.mPixels.size());
}

TEST_P(Examples, ShowsSomethingThatItsKeyframesMove) {
    std::ifstream file(Folder() / (GetParam() + ".json"));
    const auto scene = nlohmann::json::parse(file);
    const int frames = static_cast<int>(scene["composition"]["duration"].get<double>() *
                                        scene["composition"]["frameRate"].get<double>());
    const sheet::Image middle = Render(GetParam(), frames / 2);
    EXPECT_EQ(middle.mWidth, 160);
    EXPECT_GT(CountDrawn(middle), 160 * 90 / 40);
    // Wireframes may lie a pixel apart.
    const bool hasLines = GetParam() == "ShapePreviews" || GetParam() == "Pivot";
    EXPECT_LT(CompareImages(Render(GetParam(), frames / 2, "vulkan"), middle), hasLines ? 2.0 : 0.3);
    if (GetParam() == "Demo") {
        EXPECT_EQ(scene["parameters"].size(), 2U);
        return;
    }
    EXPECT_NE(scene["parameters"].dump().find("keyframes"), std::string::npos);
    EXPECT_NE(Render(GetParam(), frames / 4).mPixels, middle.mPixels);
    static const sheet::Image plain = Render("Demo", 0);
    EXPECT_NE(plain.mPixels, middle.mPixels);
}

INSTANTIATE_TEST_SUITE_P(All, Examples, ::testing::ValuesIn(FindScenes()), [](const auto& test) { return test.param; });

}  // namespace
}  // namespace nimbrel
