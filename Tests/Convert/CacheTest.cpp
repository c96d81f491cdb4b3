// Converted models in the user's cache folder, as nimbrel-render keeps them.
#include <gtest/gtest.h>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "Programs.h"

namespace nimbrel::convert::test {
namespace {

/// One frame of a model, and what was said about it.
struct Render {
    Render(const Workplace& place, const std::filesystem::path& model, const std::string& before = "") {
        const std::filesystem::path picture = place / "frame.png";
        std::filesystem::remove(picture);
        mOutcome = RunShell(fmt::format("{} $RENDER --gpu cpu --quiet --size 64x36 --model {} -o {}", before,
                                        model.string(), picture.string()));
        mPicture = ReadFile(picture);
    }
    bool Says(const char* text) const { return mOutcome.mText.find(text) != std::string::npos; }

    Outcome mOutcome;
    std::string mPicture;
};

std::size_t CountFiles(const std::filesystem::path& folder) {
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder), {}));
}

TEST(Cache, KeepsOneFileForEachContent) {
    const Workplace place;
    const std::string bytes = WriteSpz(GetKnot(1000, 2), 4);
    const Render first(place, place.Write("a.spz", bytes)), again(place, place.Write("b.spz", bytes));
    EXPECT_EQ(first.mOutcome.mCode, 0) << first.mOutcome.mText;
    EXPECT_TRUE(first.Says("SPZ 4, 1000 splats) was converted to"));
    EXPECT_EQ(again.mOutcome.mText, "");
    EXPECT_EQ(again.mPicture, first.mPicture);
    EXPECT_EQ(CountFiles(place.GetCache()), 1U);
    // A plain file is handed over as it is.
    EXPECT_EQ(Render(place, GetKnotFile(1000, 2)).mOutcome.mText, "");
    EXPECT_EQ(CountFiles(place.GetCache()), 1U);
    // A scene is saved with the file that was given, and a model of several files is known by all of them.
    RunShell(
        fmt::format("$RENDER --model {} --save-scene {}", (place / "a.spz").string(), (place / "scene.json").string()));
    EXPECT_EQ(nlohmann::json::parse(ReadFile(place / "scene.json"))["parameters"]["Model1_model"], "a.spz");
    for (const int count : {500, 501}) {
        for (const NamedFile& file : WriteSog(GetKnot(count, 1), 2)) place.Write("sog/" + file.mName, file.mBytes);
        EXPECT_TRUE(
            Render(place, place / "sog/meta.json").Says(fmt::format("{} splats) was converted", count).c_str()));
    }
}

TEST(Cache, AWrongFileIsMadeAnew) {
    const Workplace place;
    const std::filesystem::path model = place.Write("a.glb", WriteGlb(GetKnot(1000, 1)));
    const Render expected(place, model);
    const std::filesystem::path cached = std::filesystem::directory_iterator(place.GetCache())->path();
    const std::string good = ReadFile(cached);
    std::string changed = good;
    changed[changed.size() - 100] ^= 1;
    for (const std::string& poison :
         {ReadFile(GetKnotFile(1000, 1)), good.substr(0, good.size() - 4), changed, std::string()}) {
        WriteFile(cached, poison);
        const Render render(place, model);
        EXPECT_EQ(render.mPicture, expected.mPicture);
        EXPECT_TRUE(render.Says("was converted"));
        EXPECT_EQ(ReadFile(cached), good);
    }
}

TEST(Cache, TwoProcessesAtOnce) {
    const Workplace place;
    const std::filesystem::path model = place.Write("a.spz", WriteSpz(GetKnot(20000, 3), 3));
    const std::string line =
        "$RENDER --gpu cpu --quiet --size 64x36 --model " + model.string() + " -o " + (place / "").string();
    const Outcome outcome =
        RunShell(fmt::format("{0}a.png & {0}b.png & wait %1; first=$?; wait %2 && exit $first", line));
    EXPECT_EQ(outcome.mCode, 0) << outcome.mText;
    EXPECT_NE(ReadFile(place / "a.png"), "");
    EXPECT_EQ(ReadFile(place / "a.png"), ReadFile(place / "b.png"));
    EXPECT_EQ(CountFiles(place.GetCache()), 1U);
}

TEST(Cache, WithoutARoomTheModelLiesInATemporaryFile) {
    const Workplace place;
    const std::filesystem::path model = place.Write("a.splat", WriteSplat(GetKnot(1000, 0)));
    const Render expected(place, model);
    std::filesystem::remove_all(place / "cache");
    std::filesystem::create_directories(place / "temporary");
    // A folder that nobody can make, not even root.
    place.Write("cache/nimbrel", "a file");
    const std::string temporary = "TMPDIR=" + (place / "temporary").string();
    const Render render(place, model, temporary);
    EXPECT_EQ(render.mOutcome.mCode, 0) << render.mOutcome.mText;
    EXPECT_TRUE(render.Says("It lies there for this run only: "));
    EXPECT_TRUE(render.Says("Not a directory"));
    EXPECT_EQ(render.mPicture, expected.mPicture);
    EXPECT_EQ(CountFiles(place / "temporary"), 0U);
    // Nowhere at all: every file is too large. The reason is said, and nothing half is left.
    const Render nowhere(place, model, "trap '' XFSZ; ulimit -f 16; " + temporary);
    EXPECT_EQ(nowhere.mOutcome.mCode, 1);
    EXPECT_TRUE(nowhere.Says("cannot be written: File too large")) << nowhere.mOutcome.mText;
    EXPECT_EQ(CountFiles(place / "temporary"), 0U);
}

TEST(Cache, RefusedModelsNameTheSceneAndTheFault) {
    const Workplace place;
    const std::string bytes = WriteSpz(GetKnot(1000, 0), 3);
    const Render cut(place, place.Write("cut.spz", bytes.substr(0, 500)));
    EXPECT_EQ(cut.mOutcome.mCode, 2);
    EXPECT_TRUE(cut.Says("--model: ")) << cut.mOutcome.mText;
    EXPECT_TRUE(cut.Says("cut.spz\": its packed data ends after")) << cut.mOutcome.mText;
    EXPECT_EQ(cut.mPicture, "");
    // Of what no importer takes, and of what the effect refuses, the kind is told too.
    const Render photo(place, place.Write("photo.jpg", "\xff\xd8\xff\xe0 and so on"));
    EXPECT_EQ(photo.mOutcome.mCode, 2);
    EXPECT_TRUE(photo.Says("it is a JPEG picture, none of the formats that are read")) << photo.mOutcome.mText;
    EXPECT_TRUE(photo.Says("no importer takes this \".jpg\" file")) << photo.mOutcome.mText;
    const Render mesh(place, place.Write("mesh.ply",
                                         "ply\nformat binary_little_endian 1.0\nelement vertex 1\nproperty float x\n"
                                         "element face 0\nproperty list uchar int i\nend_header\n1234"));
    EXPECT_EQ(mesh.mOutcome.mCode, 1);
    EXPECT_TRUE(mesh.Says("Model1_model: ")) << mesh.mOutcome.mText;
    EXPECT_TRUE(mesh.Says("it holds no splats: its vertices lack y, z")) << mesh.mOutcome.mText;
    EXPECT_TRUE(mesh.Says("File doesn't contain gaussian splats.")) << mesh.mOutcome.mText;
    // The effect draws what there is of a plain file.
    const std::string plain = ReadFile(GetKnotFile(1000, 0));
    const Render half(place, place.Write("half.ply", plain.substr(0, plain.size() / 2)));
    EXPECT_EQ(half.mOutcome.mCode, 0);
    EXPECT_TRUE(half.Says("its header states 1000 splats, but it holds 49")) << half.mOutcome.mText;
}

}  // namespace
}  // namespace nimbrel::convert::test
