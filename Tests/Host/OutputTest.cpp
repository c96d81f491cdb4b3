#include "NimbrelHost/Output/Output.h"

#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>

#include <gmock/gmock.h>

#include "NimbrelHost/Output/FrameList.h"
#include "NimbrelHost/Output/FramePattern.h"
#include "NimbrelHost/Pictures/Picture.h"
#include "NimbrelHost/Support/Interrupt.h"
#include "NimbrelHost/Support/Text.h"
#include "NimbrelHost/Support/WholeFile.h"
#include "TestSupport.h"

#ifndef _WIN32
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace nimbrel::host {
namespace {

TEST(Output, ReadsFrameLists) {
    const struct {
        const char* mText;
        std::vector<int> mFrames;
    } cases[] = {
        {"7", {7}},         {"2-4", {2, 3, 4}},           {"0-10x5", {0, 5, 10}},  {"1-9:5", {1, 6}},
        {"4-2", {4, 3, 2}}, {"9-0x4", {9, 5, 1}},         {"-5--3", {-5, -4, -3}}, {"1--1", {1, 0, -1}},
        {"-1", {-1}},       {"1,3,5-7", {1, 3, 5, 6, 7}}, {"5,4-6,5", {5, 4, 6}},  {"0-4x2,1-3x2", {0, 2, 4, 1, 3}},
    };
    for (const auto& [text, frames] : cases) EXPECT_EQ(ParseFrames(text), frames) << text;
    for (const char* bad : {"", "1-", "x2", "1-5x0", "1-5x", "1-5x-2", "a", "1,", ",1", "1 ", "99999999999", "1-5x2y",
                            "1;2", "--1", "10000000"}) {
        EXPECT_THAT(UsageMessage([&] { ParseFrames(bad); }), ::testing::HasSubstr("--frames: expected frames such as"))
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

TEST(Output, ExpandsTheFramesNumber) {
    const struct {
        const char* mPattern;
        int mFrame;
        const char* mFile;
    } cases[] = {
        {"frame.####.png", 7, "frame.0007.png"},
        {"frame.##.png", 1234, "frame.1234.png"},
        {"a#b##.exr", 5, "a#b05.exr"},
        {"#.png", 0, "0.png"},
        {"plain.png", 9, "plain.png"},
        {"out#/x.png", 3, "out#/x.png"},
        {"out#/x#.png", 3, "out#/x3.png"},
        {"a.%04d.png", 7, "a.0007.png"},
        {"a%d.exr", 12, "a12.exr"},
        {"100%/a.%02d.png", 3, "100%/a.03.png"},
        {"a.####.png", -5, "a.-005.png"},
        {"50%.#.png", 1, "50%.1.png"},
    };
    for (const auto& [pattern, frame, file] : cases) EXPECT_EQ(FramePattern(pattern).Expand(frame), file);
    EXPECT_EQ(FramePattern("a.####.png", 1001).Expand(3), "a.1004.png");
    EXPECT_TRUE(FramePattern("a.#.png").HasNumber());
    EXPECT_FALSE(FramePattern("out#/x.png").HasNumber());
    EXPECT_EQ(FramePattern("a.exr").GetFormat(), FramePattern::Format::Exr);
    for (const char* bad : {"frame.####", "a.jpg", "", "a.png.txt", ".png"}) {
        EXPECT_THAT(UsageMessage([&] { FramePattern{bad}; }), ::testing::HasSubstr(".png or .exr")) << bad;
    }
}

TEST(Output, AFileAppearsWholeOrNotAtAll) {
    const TestFolder folder;
    const auto count = [&] {
        return std::distance(std::filesystem::directory_iterator(folder / ""), std::filesystem::directory_iterator());
    };
    WriteTextFile(folder / "a.txt", "one");
    {
        WholeFile whole(folder / "a.txt");
        whole.Write("half", 4);
        EXPECT_EQ(count(), 2);
    }
    std::ifstream stream(folder / "a.txt");
    std::string word;
    stream >> word;
    EXPECT_EQ(word, "one") << "the old file stays";
    EXPECT_EQ(count(), 1) << "nothing half-written is left";
    // A name as long as the system takes; its part's is no longer.
    const std::string longest = std::string(251, 'n') + ".txt";
    WriteTextFile(folder / longest, "x");
    EXPECT_EQ(std::filesystem::file_size(folder / longest), 2U);
    EXPECT_EQ(count(), 2);
    for (const char* name : {"none/a.txt", "none/a.png", "none/a.exr"}) {
        const bool isExr = std::string_view(name).ends_with("exr"), isPng = std::string_view(name).ends_with("png");
        try {
            if (isExr) WriteExr(folder / name, Frame(1, 1, 32), {});
            if (isPng) WritePng(folder / name, Frame(1, 1, 8), {});
            WriteTextFile(folder / name, "x");
            ADD_FAILURE();
        } catch (const OutputError& error) {
            EXPECT_EQ(error.what(), PathText(folder / name) + ": cannot be written: No such file or directory");
        }
    }
}

TEST(Output, ClearsAwayWhatKilledRunsLeft) {
    const TestFolder folder;
    const std::string longest = std::string(249, 'n') + "01.png";
    for (const char* name : {".a.01.png.0123456789abcdef.part", ".a.02.png.4711-3.part", ".b.01.png.0123.part",
                             ".a.01.png.part", "a.01.png.0123.part"})
        folder.Write(name, "half");
    WholeFile used(folder / "a.01.png");
    folder.Write("." + longest.substr(0, 232) + ".0123456789abcdef.part", "half");
    RemoveStaleParts(folder / "", {"a.01.png", "a.02.png", longest});
    EXPECT_FALSE(std::filesystem::exists(folder / ".a.01.png.0123456789abcdef.part"));
    EXPECT_FALSE(std::filesystem::exists(folder / ".a.02.png.4711-3.part"));
    EXPECT_FALSE(std::filesystem::exists(folder / ("." + longest.substr(0, 232) + ".0123456789abcdef.part")));
    for (const char* name : {".b.01.png.0123.part", ".a.01.png.part", "a.01.png.0123.part"})
        EXPECT_TRUE(std::filesystem::exists(folder / name)) << name;
    used.Commit();
    EXPECT_TRUE(std::filesystem::exists(folder / "a.01.png")) << "what is being written stays";
}

TEST(Output, KnowsWholePictures) {
    const TestFolder folder;
    Frame exr(9, 5, 32);
    for (std::size_t i = 0; i < exr.mPixels.size(); i += 4) exr.mPixels[i + 3] = 0x3e;
    WritePng(folder / "a.png", Frame(9, 5, 16), {});
    WriteExr(folder / "a.exr", exr, {});
    EXPECT_TRUE(IsWholePicture(folder / "a.png", 9, 5, 16));
    EXPECT_TRUE(IsWholePicture(folder / "a.exr", 9, 5, 32));
    EXPECT_FALSE(IsWholePicture(folder / "a.png", 9, 6, 16));
    EXPECT_FALSE(IsWholePicture(folder / "a.png", 9, 5, 8));
    EXPECT_FALSE(IsWholePicture(folder / "a.exr", 5, 9, 32));
    EXPECT_FALSE(IsWholePicture(folder / "none.png", 9, 5, 16));
    // Cut anywhere, or with one byte another.
    for (const auto& [name, bits] : {std::pair("a.png", 16), {"a.exr", 32}}) {
        std::ifstream stream(folder / name, std::ios::binary);
        const std::string whole{std::istreambuf_iterator<char>(stream), {}};
        for (std::size_t size = 0; size < whole.size(); ++size) {
            folder.Write("cut", whole.substr(0, size));
            EXPECT_FALSE(IsWholePicture(folder / "cut", 9, 5, bits)) << name << " cut to " << size;
        }
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

#ifndef _WIN32
// In a process of its own that never comes to an end by itself.
TEST(Output, AStoppedProcessEndsAndTakesItsUnfinishedFilesAlong) {
    const TestFolder folder;
    const struct {
        std::vector<int> mSignals;
        int mCode;
    } cases[] = {{{SIGINT}, 130}, {{SIGTERM}, 143}, {{SIGTERM, SIGINT}, 130}};
    for (const auto& [signals, code] : cases) {
        const pid_t child = fork();
        if (child == 0) {
            CatchInterrupts("");
            WholeFile done(folder / "done.png");
            done.Commit();
            WholeFile begun(folder / "begun.png");
            WholeFile other(folder / "other.png");
            for (const int number : signals) raise(number);
            for (;;) pause();
        }
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFEXITED(status));
        EXPECT_EQ(WEXITSTATUS(status), code);
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(folder / "."))
            names.push_back(entry.path().filename());
        EXPECT_THAT(names, ::testing::ElementsAre("done.png"));
    }
}
#endif

}  // namespace
}  // namespace nimbrel::host
