#include "ModelMaker.h"

#include <cmath>
#include <cstdlib>
#include <cstring>

#include <gmock/gmock.h>

#include "ExactMath.h"
#include "HarmonicColor.h"
#include "PLYFileReader.h"
#include "PluginBase/Misc/Hash.h"
#include "PlyBuilder.h"

namespace nimbrel::maker {
namespace {

PLYFileData Make(const ModelOptions& options) {
    const std::vector<std::uint8_t> bytes = MakeModel(options);
    const TemporaryFile file(std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
    return PLYFileReader::ReadFile(file.GetPath(), true);
}

TEST(ModelMaker, TheSameOptionsGiveTheSameBytes) {
    // FNV-1a of the whole file: a change of these is a change of everyone's pictures.
    const auto hash = [](const ModelOptions& options) {
        const std::vector<std::uint8_t> bytes = MakeModel(options);
        return zeb::HashFnv1a({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
    };
    EXPECT_EQ(hash({.mCount = 2000}), 13060209509127054370u);
    EXPECT_EQ(hash({.mShape = Shape::Box, .mCount = 600, .mDegree = 1}), 2511793578444116149u);
    EXPECT_NE(hash({.mCount = 500}), hash({.mCount = 500, .mSeed = 2}));
}

TEST(ModelMaker, FilesAreWholeModelsOfSaneSplats) {
    for (Shape shape : {Shape::Knot, Shape::Box}) {
        for (int degree = 0; degree <= 3; ++degree) {
            for (std::int64_t count : {0, 1, 7, 3000}) {
                const PLYFileData data = Make({.mShape = shape, .mCount = count, .mDegree = degree});
                ASSERT_EQ(data.splatCount, count);
                ASSERT_EQ(data.shLevel, static_cast<std::uint32_t>(degree));
                for (std::size_t i = 0; i < data.data.size(); i += sizeof(float)) {
                    float value;
                    std::memcpy(&value, data.data.data() + i, sizeof(value));
                    ASSERT_LT(std::abs(value), 60.0f) << "float " << i / 4;
                }
                for (std::int64_t i = 0; i < count; ++i) {
                    float q[4];
                    std::memcpy(q, data.data.data() + static_cast<std::size_t>(i) * data.stride + data.rotOffset, 16);
                    ASSERT_NEAR(q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3], 1.0f, 1e-5f);
                }
            }
        }
    }
}

TEST(ModelMaker, TheBoxsSplatsLieFlatOnTheirFaces) {
    const PLYFileData data = Make({.mShape = Shape::Box, .mCount = 60, .mDegree = 0});
    for (std::size_t i = 0; i < 60; ++i) {
        float position[3], q[4];
        const std::uint8_t* record = data.data.data() + i * data.stride;
        std::memcpy(position, record, sizeof(position));
        std::memcpy(q, record + data.rotOffset, sizeof(q));
        // The third axis is the thin one: the rotation's last column.
        const float normal[3] = {2 * (q[1] * q[3] + q[0] * q[2]), 2 * (q[2] * q[3] - q[0] * q[1]),
                                 1 - 2 * (q[1] * q[1] + q[2] * q[2])};
        const std::size_t axis = i % 6 / 2;
        EXPECT_NEAR(std::abs(normal[axis]), 1.0f, 1e-5f) << i;
        EXPECT_EQ(position[axis], i % 2 == 0 ? 1.0f : -1.0f) << i;
    }
}

TEST(ModelMaker, OptionsOutOfRangeFail) {
    for (const ModelOptions& options : {ModelOptions{.mCount = -1}, ModelOptions{.mCount = 1LL << 31},
                                        ModelOptions{.mDegree = -1}, ModelOptions{.mDegree = 4}}) {
        EXPECT_THROW(MakeModel(options), std::invalid_argument);
    }
    EXPECT_THROW(ParseShape("cone"), std::invalid_argument);
    EXPECT_EQ(ParseShape("box"), Shape::Box);
}

#ifndef _WIN32
TEST(ModelMaker, WrongOptionsEndWithTwoAndLeaveTheFileAsItWas) {
    const TemporaryFile file("old");
    const std::filesystem::path path(file.GetPath());
    for (const char* arguments : {"--count -1", "--count 1.5", "--degree 4", "--shape cone", "--no-such-option"}) {
        const std::string command =
            std::string("'" NIMBREL_MAKE_MODEL_FILE "' -o '") + path.string() + "' " + arguments + " 2>/dev/null";
        EXPECT_EQ(std::system(command.c_str()), 2 << 8) << arguments;
        EXPECT_EQ(std::filesystem::file_size(path), 3u) << arguments;
    }
}
#endif

}  // namespace
}  // namespace nimbrel::maker
