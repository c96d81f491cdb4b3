// The constant structures of a frame, as the effect's catalogue and scripts make them.
#include <array>
#include <cstddef>
#include <numbers>

#include <fmt/format.h>
#include <gmock/gmock.h>

#include "CatalogueManager.h"
#include "Nimbrel/ShaderConstants.h"
#include "Shaders/RecordMembers.h"

namespace {

using nimbrel::gpu::ModelConstants1;
using nimbrel::gpu::NoiseConstants1;

const test::CatalogueManager& Manager() {
    static const test::CatalogueManager manager;
    return manager;
}

struct Blob {
    Blob() : mBytes(Manager().Pack()), mView(mBytes.data(), mBytes.size()) {}
    ModelConstants1 Model(int slot) const {
        return mView.Read<ModelConstants1>(fmt::format("ModelConstants{}", slot), 0);
    }
    NoiseConstants1 Noise(int slot) const {
        return mView.Read<NoiseConstants1>(fmt::format("NoiseConstants{}", slot), 0);
    }

    std::vector<std::byte> mBytes;
    zeb::PackedParameters mView;
};

TEST(PackedCatalogue, StructuresStandInOrderWithTheirSizes) {
    const Blob blob;
    std::vector<std::string> names = {"CommonCpp"};
    for (const char* name : {"ModelConstants", "ModelCpp", "NoiseConstants", "Ramps", "Gradients"}) {
        for (int slot = 1; slot <= 5; ++slot) names.push_back(name + std::to_string(slot));
    }
    EXPECT_EQ(blob.mView.GetNames(), names);
    for (const std::string& name : names) {
        const std::size_t size = name[0] == 'R' ? 28672 : name[0] == 'G' ? 16384 : 256;
        EXPECT_EQ(blob.mView.GetStruct(name).mSize, size) << name;
    }
}

// The catalogue must put each member where the programs read it.
// clang-format off
#define MODEL_OFFSET(member) {#member, offsetof(ModelConstants1, member)},
#define NOISE_OFFSET(member) {#member, offsetof(NoiseConstants1, member)},
// clang-format on

TEST(PackedCatalogue, OffsetsAreThoseOfTheSharedRecords) {
    const auto offsets = [](const std::string& pack) {
        std::map<std::string, std::size_t> result;
        for (const auto& member : Manager().Get().GetPacker().GetPack(pack).mMembers)
            result[member.mName] = member.mOffset;
        return result;
    };
    const std::map<std::string, std::size_t> model = {MODEL_MEMBERS(MODEL_OFFSET)};
    const std::map<std::string, std::size_t> noise = {NOISE_MEMBERS(NOISE_OFFSET)};
    for (int slot = 1; slot <= 5; ++slot) {
        EXPECT_EQ(offsets(fmt::format("ModelConstants{}", slot)), model);
        EXPECT_EQ(offsets(fmt::format("NoiseConstants{}", slot)), noise);
    }
}

TEST(PackedCatalogue, DefaultsOfEverySlot) {
    const Blob blob;
    const glm::vec4 half(500.0F, 500.0F, 500.0F, 0.0F);  // of a shape of the default size
    for (int slot = 1; slot <= 5; ++slot) {
        const ModelConstants1 m = blob.Model(slot);
        const NoiseConstants1 n = blob.Noise(slot);
        EXPECT_THAT((std::array{m.crop_shape_halfSize, m.splatColor_shape_halfSize, m.splatOpacity_shape_halfSize,
                                m.splatScale_shape_halfSize, n.noise_shape_halfSize, n.displacement_shape_halfSize}),
                    testing::Each(half));
        EXPECT_EQ(m.model_showModel, 1);
        EXPECT_EQ(m.model_crop_shape_enabled, 0);
        EXPECT_THAT(
            (std::array{m.model_effects_splatOpacity_minValue, m.model_effects_splatOpacity_maxValue,
                        m.model_effects_splatColor_shape_feather, m.model_effects_splatScale_maxValue, n.noise_seed}),
            testing::ElementsAre(0.0F, 1.0F, 0.5F, 1.0F, 0.0F));
        EXPECT_THAT((std::array{n.noise_amplitude, n.noise_scale, n.displacement_scale, n.noise_settings_offset}),
                    testing::ElementsAre(glm::vec4(1000.0F, 1000.0F, 1000.0F, 0.0F), glm::vec4(1.0F),
                                         glm::vec4(1.0F, 1.0F, 1.0F, 0.0F), glm::vec4(0.0F)));

        const std::string cpp = fmt::format("ModelCpp{}", slot);
        EXPECT_EQ(blob.mView.Read<float>(cpp, 32), 1.0F);  // align_scale
        EXPECT_EQ(blob.mView.Read<glm::vec3>(cpp, 80), glm::vec3(0.5F, 0.5F, 0.0F));
        EXPECT_EQ(blob.mView.Read<std::int32_t>(cpp, 100), 1);  // transform_uniformScale

        const auto ramps = blob.mView.Read<std::array<float, 7 * 1024>>(fmt::format("Ramps{}", slot), 0);
        for (std::size_t row = 0; row < 7; ++row) {
            EXPECT_EQ(ramps[row * 1024], 1.0F);
            EXPECT_NEAR(ramps[row * 1024 + 256], 0.5 + 0.5 * std::cos(std::numbers::pi * 256.0 / 1023.0), 1e-6);
            EXPECT_EQ(ramps[row * 1024 + 1023], 0.0F);
        }
        const auto colors = blob.mView.Read<std::array<float, 4096>>(fmt::format("Gradients{}", slot), 0);
        EXPECT_THAT(colors, testing::Each(testing::FloatNear(1.0F, 1e-6F)));
    }
#ifdef NIMBREL_RELEASE
    constexpr std::int32_t kSplatsCount = 0;  // skipped, though the default is -1
#else
    constexpr std::int32_t kSplatsCount = -1;
#endif
    EXPECT_EQ((blob.mView.Read<std::array<float, 2>>("CommonCpp", 4)), (std::array{100.0F, 10000.0F}));
    EXPECT_EQ(blob.mView.Read<std::int32_t>("CommonCpp", 0), 0);
    EXPECT_EQ((blob.mView.Read<std::array<std::int32_t, 2>>("CommonCpp", 12)), (std::array{0, kSplatsCount}));
}

}  // namespace
