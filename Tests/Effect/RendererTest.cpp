#include <cstring>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <glm/ext/matrix_transform.hpp>

#include "FrameRecorder.h"
#include "Nimbrel/ShaderConstants.h"
#include "PluginBase/Exception.h"

using namespace zeb::render;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

namespace {

/// An asset whose blocks are filled with one byte value each.
GaussianSplatAsset MakeAsset(std::int32_t splatCount, std::uint8_t fill) {
    GaussianSplatAsset asset;
    asset.splatCount = splatCount;
    asset.shLevel = 2;
    asset.shFormat = SHFormat::Norm6;
    const auto size = GaussianSplatAsset::CalcTextureSize(splatCount);
    asset.colorWidth = size.width;
    asset.colorHeight = size.height;
    const auto count = static_cast<std::size_t>(std::max(splatCount, 0));
    asset.posData.assign(count * 4 + 4, fill);  // longer than the splats, as made assets are
    asset.otherData.assign(count * 8, fill);
    asset.shData.assign(count * 32, fill);
    asset.chunkData.assign((count + 255) / 256 * 64, fill);
    asset.colorData.assign(static_cast<std::size_t>(size.width * size.height) * 4, fill);
    return asset;
}

template <class T>
T Load(const std::vector<std::byte>& bytes, std::size_t offset) {
    T value;
    EXPECT_LE(offset + sizeof(value), bytes.size());
    std::memcpy(&value, bytes.data() + offset, sizeof(value));
    return value;
}

}  // namespace

class RendererTest : public FrameRecorder {
protected:
    static ModelInstance MakeInstance(std::uint32_t slot) {
        ModelInstance instance;
        instance.modelIndex = slot;
        instance.localMatrix = glm::scale(glm::mat4(1.0F), glm::vec3(1000.0F));
        instance.modelMatrix = glm::translate(glm::mat4(1.0F), glm::vec3(static_cast<float>(slot), 0.0F, 0.0F));
        instance.thirdMatrix = glm::inverse(instance.modelMatrix * instance.localMatrix);
        return instance;
    }
};

TEST_F(RendererTest, WithoutSplatsTheTargetIsClearedAndNothingElse) {
    const GaussianSplatAsset empty = MakeAsset(0, 0);
    for (const auto& models : {std::vector<ModelGroup>{}, std::vector<ModelGroup>{{&empty, {MakeInstance(1)}}}}) {
        Record(models);
        EXPECT_THAT(mDevice.mLog,
                    ElementsAre("list MainCommandList", "heaps", "pass Target clear", "transition Target 4", "end"));
    }
}

TEST_F(RendererTest, OneSortAndOneDrawServeAllInstances) {
    const GaussianSplatAsset first = MakeAsset(300, 0x11);
    const GaussianSplatAsset empty = MakeAsset(0, 0);
    const GaussianSplatAsset second = MakeAsset(1000, 0x22);
    for (int slot = 1; slot <= 4; ++slot) {
        mBlob.Set(fmt::format("NoiseConstants{}", slot), 0, static_cast<float>(slot));
        mBlob.Set(fmt::format("ModelConstants{}", slot), 252, slot);
        mBlob.Set(fmt::format("Ramps{}", slot), 28668, static_cast<float>(slot));
        mBlob.Set(fmt::format("Gradients{}", slot), 16380, static_cast<float>(slot));
    }
    Record({{&first, {MakeInstance(2)}}, {&empty, {MakeInstance(3)}}, {&second, {MakeInstance(1), MakeInstance(4)}}});

    // 300 + 2 * 1000 splats; the empty asset's instance keeps its number but dispatches nothing.
    EXPECT_THAT(
        mDevice.Find("dispatch CS"),
        ElementsAre("dispatch CSSetIndices 9 1 1 of 256", "dispatch CSCalcDistances.NoEffects 2 1 1 of 256",
                    "dispatch CSCalcDistances.NoEffects 4 1 1 of 256",
                    "dispatch CSCalcDistances.NoEffects 4 1 1 of 256", "dispatch CSCalcViewData.NoEffects 2 1 1 of 256",
                    "dispatch CSCalcViewData.NoEffects 4 1 1 of 256",
                    "dispatch CSCalcViewData.NoEffects 4 1 1 of 256"));
    EXPECT_THAT(mDevice.Find("uav 11 SplatViewData"),
                ElementsAre("uav 11 SplatViewData+0", "uav 11 SplatViewData+12000", "uav 11 SplatViewData+52000"));
    // Each asset, also the empty one, has 16 rows of colours.
    EXPECT_THAT(mDevice.Find("constants 5 "), ElementsAre("constants 5 197122 0", "constants 5 197122 32"));
    EXPECT_THAT(mDevice.mCreated, Contains("texture RampsTexture 1024x28 24"));
    EXPECT_THAT(mDevice.mCreated, Contains("texture GradientsTexture 1024x4 1"));

    EXPECT_THAT(mDevice.Find("draw "), ElementsAre("draw RenderGaussianSplats_1 6x2300"));
    const std::uint32_t slots[] = {2, 3, 1, 4};
    for (std::size_t i = 0; i < 4; ++i) {
        const auto slot = static_cast<float>(slots[i]);
        EXPECT_EQ(Load<float>(mDevice.Bytes("NoiseConstantsBuffer"), i * 256), slot);
        EXPECT_EQ(Load<std::uint32_t>(mDevice.Bytes("ModelConstants"), i * 256 + 252), slots[i]);
        EXPECT_EQ(Load<float>(mDevice.Bytes("RampsUploadBuffer"), i * 28672 + 28668), slot);
        EXPECT_EQ(Load<float>(mDevice.Bytes("GradientsUploadBuffer"), i * 16384 + 16380), slot);
    }
}

/// An instance's flags decide, by the slot's own constants; what only changes looks does not matter to the order.
TEST_F(RendererTest, InstancesWithoutEffectsRunTheKernelsWithoutThem) {
    using nimbrel::gpu::ModelConstants1;
    using nimbrel::gpu::NoiseConstants1;
    struct Flag {
        const char* mStruct;
        std::size_t mOffset;
        std::int32_t mValue;
        bool mMoves;
        bool mShows;
    };
    const Flag flags[] = {
        {"NoiseConstants1", offsetof(NoiseConstants1, displacement_enabled), 1, true, true},
        {"NoiseConstants1", offsetof(NoiseConstants1, noise_enabled), -1, true, true},
        {"ModelConstants1", offsetof(ModelConstants1, model_crop_shape_enabled), 1, false, true},
        {"ModelConstants1", offsetof(ModelConstants1, model_crop_yPlane_enabled), 1, false, true},
        {"ModelConstants1", offsetof(ModelConstants1, model_effects_splatColor_enabled), 1, false, true},
        {"ModelConstants1", offsetof(ModelConstants1, model_effects_splatOpacity_enabled), 1, false, true},
        {"ModelConstants1", offsetof(ModelConstants1, model_effects_splatScale_enabled), 1, false, true},
        {"ModelConstants1", offsetof(ModelConstants1, model_effects_splatScale_enabled), 2, false, false},
        {"ModelConstants1", offsetof(ModelConstants1, model_crop_shape_invert), 1, false, false},
        {"NoiseConstants1", offsetof(NoiseConstants1, noise_amplitude), 1, false, false},
    };
    const GaussianSplatAsset asset = MakeAsset(10, 0);
    for (const Flag& flag : flags) {
        SCOPED_TRACE(std::string(flag.mStruct) + "+" + std::to_string(flag.mOffset));
        mBlob.Set(flag.mStruct, flag.mOffset, flag.mValue);
        Record({{&asset, {MakeInstance(2), MakeInstance(1), MakeInstance(3)}}});
        mBlob.Set(flag.mStruct, flag.mOffset, 0);
        const auto line = [](const char* kernel, bool full) {
            return fmt::format("dispatch {}{} 1 1 1 of 256", kernel, full ? "" : ".NoEffects");
        };
        EXPECT_THAT(mDevice.Find("dispatch CSCalcD"),
                    ElementsAre(line("CSCalcDistances", false), line("CSCalcDistances", flag.mMoves),
                                line("CSCalcDistances", false)));
        EXPECT_THAT(mDevice.Find("dispatch CSCalcV"),
                    ElementsAre(line("CSCalcViewData", false), line("CSCalcViewData", flag.mShows),
                                line("CSCalcViewData", false)));
        // Another program has none of the bindings of the one before.
        EXPECT_EQ(mDevice.Find("srv 0 SplatChunks").size(), 2U + (flag.mMoves ? 2U : 0U) + (flag.mShows ? 2U : 0U));
    }
}

TEST_F(RendererTest, ZDepthGoesThroughATargetOfItsOwn) {
    const GaussianSplatAsset asset = MakeAsset(5, 0);
    mBlob.Set("CommonCpp", 0, 1);
    Record({{&asset, {MakeInstance(1)}}});
    EXPECT_THAT(mDevice.mCreated, Contains("texture ZDepthRT 1920x1080 1"));
    EXPECT_THAT(mDevice.Find("pass"), ElementsAre("pass ZDepthRT clear", "pass Target clear"));
    EXPECT_THAT(mDevice.Find("viewport"), ElementsAre("viewport 0 0 640 360", "viewport 0 0 1920 1080"));
    EXPECT_THAT(mDevice.Find("draw"), ElementsAre("draw RenderGaussianSplats_1 6x5", "draw FillBackground_1 0 6"));
    Record({});  // black without splats, in the texture that stands
    EXPECT_THAT(mDevice.Find("draw"), ElementsAre("draw FillBackground_1 0 6"));
    EXPECT_THAT(mDevice.mCreated, Not(Contains(HasSubstr("ZDepthRT"))));
}

TEST_F(RendererTest, BuffersStayWhenModelsLeaveAndGrowWhenTheyCome) {
    const GaussianSplatAsset small = MakeAsset(10, 0);
    const GaussianSplatAsset large = MakeAsset(5000, 0);
    Record({{&large, {MakeInstance(1)}}});
    Record({{&small, {MakeInstance(1)}}});
    EXPECT_THAT(mDevice.mCreated, Not(Contains(HasSubstr("buffer "))));
    Record({{&large, {MakeInstance(1), MakeInstance(2)}}});
    EXPECT_THAT(mDevice.mCreated, Contains("buffer SplatViewData 400000"));
    EXPECT_THAT(mDevice.mCreated, Not(Contains(HasSubstr("buffer SplatPos"))));
}

TEST_F(RendererTest, MoreSplatsThanADeviceTakesAreRefused) {
    GaussianSplatAsset asset = MakeAsset(1, 0);
    const auto failure = [&](std::size_t instances) {
        try {
            Record({{&asset, std::vector<ModelInstance>(instances, MakeInstance(1))}});
        } catch (const zeb::Exception& exception) {
            EXPECT_THAT(mDevice.Find("dispatch"), IsEmpty());
            return std::string(exception.what());
        }
        return std::string("no failure");
    };
    asset.splatCount = 500000000;
    EXPECT_THAT(failure(5), HasSubstr("2500000000 splats; no more than 2147483647 can be drawn on this device"));
    asset.splatCount = 40000000;
    asset.colorHeight = 19552;
    EXPECT_THAT(failure(1), HasSubstr("more than 33554432 splats together"));
    // An asset whose blocks do not hold what its count says is not read past its end.
    EXPECT_THROW(Record({{&asset, {MakeInstance(1)}}}), zeb::Exception);
}
