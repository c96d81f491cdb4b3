// Every format against the plain file of the same model: numbers, and pictures of what the effect draws.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "Programs.h"
#include "Shot.h"

namespace nimbrel::convert::test {
namespace {

/// The largest differences that a format's steps allow. Positions in file units, scales as logarithms, colours and
/// opacities from 0 to 1, rotations as 1 - |cos of half the angle|.
struct Steps {
    double mPosition = 0, mScale = 0, mColor = 0, mOpacity = 0, mRotation = 1e-6, mHarmonic = 0;
};

double Sigmoid(double value) { return 1 / (1 + std::exp(-value)); }

/// Both models splat by splat.
Steps Compare(const Sample& expected, const Sample& got) {
    const RowLayout layout = got.mLayout, whole = expected.mLayout;
    Steps worst;
    worst.mRotation = 0;
    for (std::size_t i = 0; i < got.mRows.size(); ++i) {
        const auto &a = expected.mRows[i], &b = got.mRows[i];
        const auto take = [](double& largest, double x, double y) {
            largest = std::isnan(x - y) ? INFINITY : std::max(largest, std::abs(x - y));
        };
        double cosine = 0;
        for (std::size_t k = 0; k < 3; ++k) {
            take(worst.mPosition, a[k], b[k]);
            take(worst.mScale, a[whole.Scale() + k], b[layout.Scale() + k]);
            take(worst.mColor, a[RowLayout::kDc + k] * 0.2820948, b[RowLayout::kDc + k] * 0.2820948);
            for (std::size_t n = 0; n < layout.Coefficients(); ++n) {
                take(worst.mHarmonic, a[RowLayout::kRest + k * whole.Coefficients() + n],
                     b[RowLayout::kRest + k * layout.Coefficients() + n]);
            }
        }
        for (std::size_t k = 0; k < 4; ++k) cosine += a[whole.Rotation() + k] * b[layout.Rotation() + k];
        take(worst.mOpacity, Sigmoid(a[whole.Opacity()]), Sigmoid(b[layout.Opacity()]));
        take(worst.mRotation, 1, std::abs(cosine));
    }
    return worst;
}

void ExpectWithin(const Steps& got, const Steps& allowed) {
    EXPECT_LE(got.mPosition, allowed.mPosition);
    EXPECT_LE(got.mScale, allowed.mScale);
    EXPECT_LE(got.mColor, allowed.mColor);
    EXPECT_LE(got.mOpacity, allowed.mOpacity);
    EXPECT_LE(got.mRotation, allowed.mRotation);
    EXPECT_LE(got.mHarmonic, allowed.mHarmonic);
}

// From behind and above the model's right, so that neither axis nor band of harmonics can be turned unseen.
host::Frame Draw(const std::filesystem::path& file, const glm::dvec3& rotation = glm::dvec3(0), double scale = 20) {
    endtoend::Shot shot;
    shot.mModels.emplace_back();
    shot.mModels[0].mFile = file;
    shot.mModels[0].mAlignScale = scale;
    shot.mModels[0].mRotation = rotation;
    shot.mCamera = endtoend::ShotCamera{false, 400, {700, -500, -700}, {160, 90, 0}};
    return endtoend::RenderWithEffect(shot);
}

struct FormatCase {
    const char* mFile;
    int mDegree;
    std::function<std::string(const Sample&)> mWrite;
    Steps mSteps;
    double mPsnr;
    const char* mInfo;  ///< what --info calls it
};

const Steps kExact{0, 1e-6, 1e-6, 1e-6, 1e-6, 0};

// Floats go through unharmed. The largest steps: of positions half of 1/2047 of a chunk, 1/4096, 1/32767 of 8 units, or
// 1/65535 of a range of logarithms; of scales 1/2 of 1/2047 of a chunk, 1/16 of a logarithm, half floats' 1/2048, or
// 1/255 of a range; of rotations 8 or 10 bits; of harmonics a byte of a range of 8, 4, 2 or the model's own.
const FormatCase kCases[] = {
    {"ascii.ply", 3, [](const Sample& s) { return WritePly(s, PlyKind::Ascii); }, kExact, 100, "PLY, ascii"},
    {"big.ply", 2, [](const Sample& s) { return WritePly(s, PlyKind::BigEndian); }, kExact, 100, "PLY, big-endian"},
    {"double.ply", 1, [](const Sample& s) { return WritePly(s, PlyKind::Doubles); }, kExact, 100, "PLY, binary"},
    {"packed.ply", 3, WriteCompressedPly, {3e-3, 3e-3, 2e-3, 2e-3, 2e-6, 1.6e-2}, 38, "compressed PLY"},
    {"a.splat", 0, WriteSplat, {0, 1e-6, 2e-3, 2e-3, 1e-4, 0}, 40, ".splat"},
    {"float.ksplat",
     2,
     [](const Sample& s) { return WriteKsplat(s, 0); },
     {0, 1e-6, 2e-3, 2e-3, 1e-6, 0},
     40,
     ".ksplat, compression 0"},
    {"half.ksplat",
     1,
     [](const Sample& s) { return WriteKsplat(s, 1); },
     {2e-4, 1e-3, 2e-3, 2e-3, 2e-6, 2e-3},
     40,
     ".ksplat, compression 1"},
    {"byte.ksplat",
     3,
     [](const Sample& s) { return WriteKsplat(s, 2); },
     {2e-4, 1e-3, 2e-3, 2e-3, 2e-6, 8e-3},
     30,
     ".ksplat, compression 2"},
    {"1.spz", 3, [](const Sample& s) { return WriteSpz(s, 1); }, {2e-3, 3.2e-2, 1e-2, 2e-3, 6e-3, 4e-3}, 35, "SPZ 1"},
    {"2.spz", 2, [](const Sample& s) { return WriteSpz(s, 2); }, {2e-4, 3.2e-2, 1e-2, 2e-3, 6e-3, 4e-3}, 35, "SPZ 2"},
    {"3.spz", 1, [](const Sample& s) { return WriteSpz(s, 3); }, {2e-4, 3.2e-2, 1e-2, 2e-3, 4e-6, 4e-3}, 35, "SPZ 3"},
    {"4.spz", 3, [](const Sample& s) { return WriteSpz(s, 4); }, {2e-4, 3.2e-2, 1e-2, 2e-3, 4e-6, 4e-3}, 35, "SPZ 4"},
    {"1.sog",
     3,
     [](const Sample& s) { return WriteZip(WriteSog(s, 1)); },
     {2e-4, 2e-2, 1e-2, 1e-2, 4e-5, 1e-2},
     35,
     "SOG 1, zip"},
    {"2.sog",
     2,
     [](const Sample& s) { return WriteZip(WriteSog(s, 2)); },
     {2e-4, 2e-2, 1e-2, 2e-3, 4e-5, 1e-2},
     35,
     "SOG 2, zip"},
    {"a.glb",
     3,
     [](const Sample& s) { return WriteGlb(s); },
     {1e-6, 1e-6, 1e-6, 1e-6, 1e-6, 1e-6},
     80,
     "GLB, KHR_gaussian_splatting"},
};

class Formats : public testing::TestWithParam<FormatCase> {};

TEST_P(Formats, GiveTheModelAndItsPicture) {
    constexpr int kCount = 3000;
    const FormatCase& format = GetParam();
    const Sample& knot = GetKnot(kCount, format.mDegree);
    const Workplace place;
    const std::filesystem::path file = place.Write(format.mFile, format.mWrite(knot)), plain = place / "plain.ply";
    const Outcome outcome = RunShell(fmt::format("$CONVERT {} {}", file.string(), plain.string()));
    ASSERT_EQ(outcome.mCode, 0) << outcome.mText;
    const Sample got = ReadPlain(ReadFile(plain));
    ASSERT_EQ(got.mRows.size(), knot.mRows.size());
    EXPECT_EQ(got.mLayout.mDegree, std::string_view(format.mFile) == "byte.ksplat" ? 2 : format.mDegree);
    const Steps steps = Compare(knot, got);
    ExpectWithin(steps, format.mSteps);
    // For Docs/Formats.md, by --gtest_output=json.
    RecordProperty("steps", fmt::format("{:.2g} {:.2g} {:.2g} {:.2g} {:.2g} {:.2g}", steps.mPosition, steps.mScale,
                                        steps.mColor, steps.mOpacity, steps.mRotation, steps.mHarmonic));

    const nlohmann::json info = nlohmann::json::parse(RunShell("$CONVERT --info --json " + file.string()).mText);
    EXPECT_EQ(info["format"], format.mInfo);
    EXPECT_EQ(info["splats"], kCount);
    EXPECT_EQ(info["notFinite"], 0);

    const host::Frame expected = Draw(GetKnotFile(kCount, format.mDegree));
    EXPECT_GT(endtoend::MeanAlpha(expected), 0.1);
    // Through the host, which converts the file itself.
    const double psnr = endtoend::ComparePsnr(Draw(file), expected);
    EXPECT_GE(psnr, format.mPsnr);
    RecordProperty("psnr", fmt::format("{:.1f}", psnr));
}

INSTANTIATE_TEST_SUITE_P(All, Formats, testing::ValuesIn(kCases), [](const auto& test) {
    std::string name = test.param.mFile;
    std::replace(name.begin(), name.end(), '.', '_');
    return name;
});

// The effect itself turns a model and what its harmonics show: a file turned by its axes must agree with it.
TEST(Axes, TurnPositionsShapesAndHarmonics) {
    const Workplace place;
    const std::filesystem::path plain = GetKnotFile(3000, 3), spz = place.Write("a.spz", WriteSpz(GetKnot(3000, 3), 4));
    const Outcome outcome =
        RunShell(fmt::format("$CONVERT --keep-axes {} {}", spz.string(), (place / "kept.ply").string()));
    ASSERT_EQ(outcome.mCode, 0) << outcome.mText;
    EXPECT_GE(endtoend::ComparePsnr(Draw(place / "kept.ply"), Draw(plain, {180, 0, 0})), 35.0);
    // A node that turns by 40 degrees about the axis that glTF and PLY share.
    const double half = 20 * M_PI / 180;
    const std::string node = fmt::format(R"("rotation":[0,0,{},{}])", std::sin(half), std::cos(half));
    const host::Frame turned = Draw(place.Write("z.glb", WriteGlb(GetKnot(3000, 3), node)));
    EXPECT_GE(endtoend::ComparePsnr(turned, Draw(plain, {0, 0, 40})), 35.0);
    EXPECT_LT(endtoend::ComparePsnr(turned, Draw(plain, {0, 0, -40})), 25.0);
    // And one about x, which points the other way, that makes the model smaller, too.
    const std::string tilt =
        fmt::format(R"("rotation":[{},0,0,{}],"scale":[0.5,0.5,0.5])", -std::sin(half), std::cos(half));
    const host::Frame tilted = Draw(place.Write("x.glb", WriteGlb(GetKnot(3000, 3), tilt)), glm::dvec3(0), 40);
    EXPECT_GE(endtoend::ComparePsnr(tilted, Draw(plain, {40, 0, 0})), 35.0);
}

struct PeerCase {
    const char* mFile;
    const char* mOptions;
    Steps mSteps;
};

// Written by npm's @playcanvas/splat-transform 3.7.0 from nimbrel-make-model --count 100. It leaves SPZ as it stands,
// and sorts splats for two formats, whose rows are matched by their places.
const PeerCase kPeerFiles[] = {
    {"knot.compressed.ply", "", {4e-3, 4e-3, 3e-3, 3e-3, 3e-6, 2e-2}},
    {"knot3.spz", "--keep-axes", {2e-4, 3.3e-2, 1e-2, 4e-3, 4e-6, 7e-2}},
    {"knot4.spz", "--keep-axes", {2e-4, 3.3e-2, 1e-2, 4e-3, 4e-6, 7e-2}},
    {"knot.sog", "", {2e-4, 0.1, 0.1, 4e-3, 1e-4, 0.4}},
    {"knot.glb", "", {1e-6, 1e-6, 1e-6, 1e-5, 1e-6, 1e-6}},
};

Sample OrderedLike(const Sample& expected, Sample got) {
    Rows rows;
    for (const std::vector<float>& row : expected.mRows) {
        const auto distance = [&](const std::vector<float>& other) {
            return std::hypot(row[0] - other[0], row[1] - other[1], row[2] - other[2]);
        };
        rows.push_back(*std::min_element(got.mRows.begin(), got.mRows.end(),
                                         [&](const auto& a, const auto& b) { return distance(a) < distance(b); }));
    }
    got.mRows = std::move(rows);
    return got;
}

TEST(PeerFiles, AreReadAsTheirWriterMeantThem) {
    for (const PeerCase& file : kPeerFiles) {
        const Workplace place;
        const Outcome outcome = RunShell(fmt::format("$CONVERT {} {}/{} {}", file.mOptions, NIMBREL_PEER_FILES,
                                                     file.mFile, (place / "plain.ply").string()));
        ASSERT_EQ(outcome.mCode, 0) << outcome.mText;
        SCOPED_TRACE(file.mFile);
        const Sample got = ReadPlain(ReadFile(place / "plain.ply"));
        ASSERT_EQ(got.mRows.size(), 100U);
        ExpectWithin(Compare(GetKnot(100, 3), OrderedLike(GetKnot(100, 3), got)), file.mSteps);
    }
}

}  // namespace
}  // namespace nimbrel::convert::test
