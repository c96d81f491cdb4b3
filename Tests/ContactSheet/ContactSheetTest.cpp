#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "Caption.h"
#include "ContactSheet.h"
#include "PluginBase/Misc/DotFont.h"
#include "PngFile.h"

namespace nimbrel::sheet {
namespace {

constexpr Color kRed = {255, 0, 0}, kGreen = {0, 255, 0}, kBlue = {0, 0, 255}, kBlack = {};

Color GetColor(const Image& image, int x, int y) {
    const std::uint8_t* pixel = image.At(x, y);
    return {pixel[0], pixel[1], pixel[2]};
}

SheetOptions PlainOptions(int columns, int gap) {
    SheetOptions options;
    options.mColumns = columns;
    options.mGap = gap;
    options.mCaptions = false;
    options.mBackground = kBlack;
    return options;
}

TEST(ContactSheet, PutsPicturesInRowsEachInTheMiddleOfItsCell) {
    const std::vector<Picture> pictures = {
        {"a", Image(4, 2, kRed)}, {"b", Image(4, 2, kGreen)}, {"c", Image(2, 1, kBlue)}};
    const Image sheet = MakeSheet(pictures, PlainOptions(2, 3));
    EXPECT_EQ(sheet.mWidth, 3 + 2 * (4 + 3));
    EXPECT_EQ(sheet.mHeight, 3 + 2 * (2 + 3));
    // The small one: a pixel in from the left of its cell in the second row, and two wide.
    const struct {
        int mX, mY;
        Color mColor;
    } points[] = {{2, 3, kBlack}, {3, 3, kRed},  {6, 4, kRed},  {7, 4, kBlack}, {10, 3, kGreen},
                  {3, 8, kBlack}, {4, 8, kBlue}, {5, 8, kBlue}, {6, 8, kBlack}, {4, 9, kBlack}};
    for (const auto& [x, y, color] : points) EXPECT_EQ(GetColor(sheet, x, y), color) << x << ' ' << y;
}

class PngFiles : public ::testing::Test {
protected:
    PngFiles()
        : mFolder(std::filesystem::path(::testing::TempDir()) /
                  ::testing::UnitTest::GetInstance()->current_test_info()->name()) {
        std::filesystem::remove_all(mFolder);
        std::filesystem::create_directories(mFolder);
    }
    ~PngFiles() override { std::filesystem::remove_all(mFolder); }
    std::string At(const char* name) const { return (mFolder / name).string(); }

    std::filesystem::path mFolder;
};

TEST_F(PngFiles, ComeBackAsTheyWereWritten) {
    Image image(3, 2, kBlack);
    for (std::size_t i = 0; i < image.mPixels.size(); ++i) image.mPixels[i] = static_cast<std::uint8_t>(i * 14);
    WritePng(At("a.png"), image);
    const Image read = ReadPng(At("a.png"), kRed);
    EXPECT_EQ(read.mWidth, 3);
    EXPECT_EQ(read.mPixels, image.mPixels);
    EXPECT_FALSE(std::filesystem::exists(At("a.png.part")));
}

TEST_F(PngFiles, NameTheFileThatIsWrong) {
    const auto expectNamed = [](const std::string& file, const auto& action) {
        try {
            action(file);
            ADD_FAILURE() << file;
        } catch (const std::runtime_error& error) {
            EXPECT_NE(std::string(error.what()).find(file), std::string::npos) << error.what();
        }
    };
    const auto read = [](const std::string& file) { ReadPng(file, kRed); };
    expectNamed(At("missing.png"), read);
    std::ofstream(At("text.png")) << "not a picture";
    expectNamed(At("text.png"), read);
    WritePng(At("whole.png"), Image(50, 50, kBlue));
    std::filesystem::copy_file(At("whole.png"), At("cut.png"));
    std::filesystem::resize_file(At("cut.png"), std::filesystem::file_size(At("cut.png")) - 30);
    expectNamed(At("cut.png"), read);
    expectNamed(At("none/x.png"), [](const std::string& file) { WritePng(file, Image(1, 1)); });
}

}  // namespace
}  // namespace nimbrel::sheet
