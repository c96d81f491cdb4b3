// The constant structures of a frame, as the effect's catalogue and scripts make them.
#include <array>
#include <cstddef>
#include <numbers>
#include <thread>

#include <fmt/format.h>
#include <gmock/gmock.h>

#include "CatalogueManager.h"
#include "Nimbrel/ShaderConstants.h"

namespace {

using nimbrel::gpu::ModelConstants1;
using nimbrel::gpu::NoiseConstants1;

const test::CatalogueManager& Manager() {
    static const test::CatalogueManager manager;
    return manager;
}

/// Catalogue index of a parameter of a slot (from 1).
std::int32_t Index(int slot, const std::string& id) {
    const std::string name = fmt::format("Model{}_{}", slot, id);
    for (const auto& description : Manager().Get().GetTable()) {
        if (description.mScriptName == name) return description.mIndex;
    }
    ADD_FAILURE() << "no parameter " << name;
    return -1;
}

struct Blob {
    explicit Blob(const test::Values& values = {})
        : mBytes(Manager().Pack(values)), mView(mBytes.data(), mBytes.size()) {}
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

// clang-format off
// The records' members: the catalogue must put each where the programs read it.
#define MODEL_MEMBERS(X)                                                                                   \
    X(crop_shape_halfSize) X(splatColor_shape_halfSize) X(splatOpacity_shape_halfSize)                     \
    X(splatScale_shape_halfSize) X(model_showModel) X(model_crop_shape_enabled) X(model_crop_shape_invert) \
    X(model_crop_shape_type) X(model_crop_shape_center) X(model_crop_yPlane_enabled)                       \
    X(model_crop_yPlane_altitude) X(model_effects_splatColor_enabled) X(model_effects_splatColor_blending) \
    X(model_effects_splatColor_shape_type) X(model_effects_splatColor_shape_center)                        \
    X(model_effects_splatColor_shape_feather) X(model_effects_splatOpacity_enabled)                        \
    X(model_effects_splatOpacity_minValue) X(model_effects_splatOpacity_maxValue)                          \
    X(model_effects_splatOpacity_shape_type) X(model_effects_splatOpacity_shape_center)                    \
    X(model_effects_splatOpacity_shape_feather) X(model_effects_splatScale_enabled)                        \
    X(model_effects_splatScale_maxValue) X(model_effects_splatScale_shape_type)                            \
    X(model_effects_splatScale_shape_center) X(model_effects_splatScale_shape_feather)
#define NOISE_MEMBERS(X)                                                                                   \
    X(noise_seed) X(noise_amplitude) X(noise_scale) X(noise_shape_halfSize) X(displacement_scale)          \
    X(displacement_shape_halfSize) X(displacement_enabled) X(displacement_offset) X(displacement_xRotation) \
    X(displacement_yRotation) X(displacement_zRotation) X(displacement_shape_type)                         \
    X(displacement_shape_center) X(displacement_shape_feather) X(noise_enabled) X(noise_settings_offset)   \
    X(noise_settings_evolution) X(noise_shape_type) X(noise_shape_center) X(noise_shape_feather)
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

TEST(PackedCatalogue, ChangedValuesReachTheirSlotOnly) {
    for (int slot = 1; slot <= 5; ++slot) {
        test::Values values;
        const std::pair<const char*, double> doubles[] = {{"crop_shape_size", 200.0},
                                                          {"crop_shape_xScale", 0.5},
                                                          {"crop_shape_yScale", 2.0},
                                                          {"crop_shape_zScale", 0.25},
                                                          {"effects_splatOpacity_minValue", 0.75},
                                                          {"effects_splatOpacity_maxValue", 0.25},
                                                          {"effects_noise_amplitude", 10.0},
                                                          {"effects_noise_yAmplitudeScale", 0.5},
                                                          {"effects_noise_settings_scale", 3.0},
                                                          {"effects_noise_settings_zScale", 2.0},
                                                          {"effects_splatDisplacement_scale", 4.0},
                                                          {"effects_splatDisplacement_xScale", 0.5},
                                                          {"effects_splatDisplacement_xRotation", 1.25}};
        for (const auto& [id, value] : doubles) values.mDoubles[Index(slot, id)] = value;
        values.mInts[Index(slot, "effects_noise_settings_seed")] = 41;
        values.mInts[Index(slot, "effects_splatColor_blending")] = 2;
        values.mVec3s[Index(slot, "effects_noise_settings_offset")] = glm::vec3(1.0F, 2.0F, 3.0F);
        values.mBools[Index(slot, "showModel")] = false;
        values.mCustoms[Index(slot, "effects_splatScale_ramp")] =
            R"({"type":1,"interpolation":2,"keys":[[0,0.5],[1,0.25]]})";
        const Blob uniform(values);
        const ModelConstants1 m = uniform.Model(slot);
        EXPECT_EQ(m.crop_shape_halfSize, glm::vec4(50.0F, 200.0F, 25.0F, 0.0F));
        EXPECT_EQ(m.model_effects_splatOpacity_minValue, 0.75F);
        EXPECT_EQ(m.model_effects_splatOpacity_maxValue, 0.75F) << "the minimum wins";
        EXPECT_EQ(m.model_effects_splatColor_blending, 2);
        EXPECT_EQ(m.model_showModel, 0);
        const NoiseConstants1 n = uniform.Noise(slot);
        EXPECT_EQ(n.noise_amplitude, glm::vec4(10.0F, 5.0F, 10.0F, 0.0F));
        EXPECT_EQ(n.noise_scale, glm::vec4(3.0F, 3.0F, 6.0F, 3.0F));
        EXPECT_EQ(n.noise_seed, 41.0F);
        EXPECT_EQ(n.noise_settings_offset, glm::vec4(1.0F, 2.0F, 3.0F, 0.0F));
        EXPECT_EQ(n.displacement_xRotation, 1.25F);
        EXPECT_EQ(n.displacement_scale, glm::vec4(4.0F, 4.0F, 4.0F, 0.0F)) << "uniform: the axis scales do not count";
        const auto ramps = uniform.mView.Read<std::array<float, 7 * 1024>>(fmt::format("Ramps{}", slot), 0);
        EXPECT_EQ(ramps[5 * 1024 + 1022], 0.5F);
        EXPECT_EQ(ramps[5 * 1024 + 1023], 0.25F);
        const Blob defaults;
        for (int other = 1; other <= 5; ++other) {
            if (other == slot) continue;
            for (const char* pack : {"ModelConstants", "ModelCpp", "NoiseConstants", "Ramps", "Gradients"}) {
                const auto a = uniform.mView.GetStruct(pack + std::to_string(other));
                const auto b = defaults.mView.GetStruct(pack + std::to_string(other));
                EXPECT_EQ(std::memcmp(a.mData, b.mData, a.mSize), 0) << pack << other;
            }
        }

        values.mBools[Index(slot, "effects_splatDisplacement_uniformScale")] = false;
        EXPECT_EQ(Blob(values).Noise(slot).displacement_scale, glm::vec4(2.0F, 4.0F, 4.0F, 0.0F));
    }
}

TEST(PackedCatalogue, ThreadsThatPackAtOnceGetEqualBlobs) {
    test::Values values;
    values.mDoubles[Index(3, "effects_noise_amplitude")] = 12.5;
    const std::vector<std::byte> expected = Manager().Pack(values);
    std::array<int, 4> equal{};
    std::vector<std::thread> threads;
    for (int& count : equal) {
        threads.emplace_back([&count, &values, &expected] {
            for (int i = 0; i < 5; ++i) count += Manager().Pack(values) == expected ? 1 : 0;
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_THAT(equal, testing::Each(5));
}

TEST(PackedCatalogue, ResetRestoresTheDefaultBlob) {
    test::Values values;
    values.mDoubles[Index(2, "effects_noise_amplitude")] = 3.0;
    values.mCustoms[Index(2, "effects_noise_ramp")] = R"({"type":0,"interpolation":1,"keys":[]})";
    values.mVec3s[Index(2, "transform_position")] = glm::vec3(7.0F);
    EXPECT_NE(Manager().Pack(values), Manager().Pack());
    test::ValuesSetter setter(Manager().Get(), values);
    Manager().Get().ResetValues(setter, 148);
    values.mVec3s.clear();  // written relative to the layer, where the defaults of this getter are pixels
    EXPECT_EQ(Manager().Pack(values), Manager().Pack());
}

}  // namespace
