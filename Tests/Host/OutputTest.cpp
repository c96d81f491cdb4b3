#include "NimbrelHost/Output/Output.h"

#include <filesystem>
#include <fstream>
#include <iterator>

#include <gmock/gmock.h>

#include "NimbrelHost/Pictures/Picture.h"
#include "NimbrelHost/Support/Text.h"
#include "TestSupport.h"

#ifndef _WIN32
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace nimbrel::host {
namespace {

TEST(Output, ReadsFrameRanges) {
    EXPECT_EQ(ParseFrames("7"), std::vector<int>{7});
    EXPECT_EQ(ParseFrames("2-4"), (std::vector<int>{2, 3, 4}));
    EXPECT_EQ(ParseFrames("0-10x5"), (std::vector<int>{0, 5, 10}));
    EXPECT_EQ(ParseFrames("1-9x5"), (std::vector<int>{1, 6}));
    for (const char* bad : {"", "-1", "4-2", "1-", "x2", "1-5x0", "1-5x", "a", "1,2", "1 ", "99999999999", "1-5x2y"}) {
        EXPECT_THAT(UsageMessage([&] { ParseFrames(bad); }), ::testing::HasSubstr("--frames: expected A, A-B or A-BxS"))
            << bad;
    }
}

TEST(Output, ReadsSizes) {
    int width = 0, height = 0;
    ParseSize("1280x720", width, height);
    EXPECT_EQ(width, 1280);
    EXPECT_EQ(height, 720);
    for (const char* bad : {"1280", "1280x", "x720", "0x5", "5x30001", "10x10x10", "-5x5", "10X10"}) {
        EXPECT_THAT(UsageMessage([&] { ParseSize(bad, width, height); }),
                    ::testing::HasSubstr("--size: expected WIDTHxHEIGHT"))
            << bad;
    }
}

TEST(Output, ExpandsTheLastRunOfHashes) {
    const struct {
        const char* mPattern;
        int mFrame;
        const char* mFile;
    } cases[] = {
        {"frame.####.png", 7, "frame.0007.png"}, {"frame.##.png", 1234, "frame.1234.png"},
        {"a#b##.exr", 5, "a#b05.exr"},           {"#.png", 0, "0.png"},
        {"plain.png", 9, "plain.png"},           {"out#/x.png", 3, "out#/x.png"},
        {"out#/x#.png", 3, "out#/x3.png"},
    };
    for (const auto& [pattern, frame, file] : cases) EXPECT_EQ(FramePattern(pattern).Expand(frame), file);
    EXPECT_TRUE(FramePattern("a.#.png").HasNumber());
    EXPECT_FALSE(FramePattern("out#/x.png").HasNumber());
    EXPECT_EQ(FramePattern("a.exr").GetFormat(), FramePattern::Format::Exr);
    for (const char* bad : {"frame.####", "a.jpg", "", "a.png.txt", ".png"}) {
        EXPECT_THAT(UsageMessage([&] { FramePattern{bad}; }), ::testing::HasSubstr(".png or .exr")) << bad;
    }
}

TEST(Output, AFileAppearsWholeOrNotAtAll) {
    const TestFolder folder;
    WriteTextFile(folder / "a.txt", "one");
    EXPECT_THROW(WriteWhole(folder / "a.txt",
                            [](const std::filesystem::path& temporary) {
                                std::ofstream(temporary) << "half";
                                throw OutputError("disk full");
                            }),
                 OutputError);
    std::ifstream stream(folder / "a.txt");
    std::string word;
    stream >> word;
    EXPECT_EQ(word, "one") << "the old file stays";
    int files = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(folder / "")) ++files;
    EXPECT_EQ(files, 1) << "nothing half-written is left";
    EXPECT_THROW(WriteTextFile(folder / "none/a.txt", "x"), OutputError);
    try {
        WriteWhole(folder / "none/a.png", [](const auto& temporary) { WritePng(temporary, Frame(1, 1, 8), {}); });
        ADD_FAILURE();
    } catch (const OutputError& error) {
        EXPECT_EQ(error.what(), PathText(folder / "none/a.png") + ": cannot be written");
    }
}

#ifndef _WIN32
TEST(Output, APipeIsWrittenToAndStays) {
    const TestFolder folder;
    const std::string pipe = PathText(folder / "pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    const int reader = open(pipe.c_str(), O_RDWR);  // both ends, so that nobody waits
    WriteTextFile(folder / "pipe", "one");
    char text[4] = {};
    EXPECT_EQ(read(reader, text, sizeof(text)), 4);
    EXPECT_EQ(std::string_view(text, 4), "one\n");
    close(reader);
    EXPECT_TRUE(std::filesystem::is_fifo(folder / "pipe"));
}

TEST(Output, ALinkIsWrittenThroughAndStays) {
    const TestFolder folder;
    std::filesystem::create_symlink("target", folder / "link");
    for (const char* const text : {"long text", "short"}) WriteTextFile(folder / "link", text);
    EXPECT_TRUE(std::filesystem::is_symlink(folder / "link"));
    std::ifstream stream(folder / "target");
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(stream), {}), "short\n");
}
#endif

}  // namespace
}  // namespace nimbrel::host
