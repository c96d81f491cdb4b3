// The wireframe aids: which shapes a frame collects, and what the pass records for them.
#include <cstring>

#include <gmock/gmock.h>
#include <glm/ext/matrix_transform.hpp>

#include "FrameRecorder.h"
#include "Nimbrel/RenderShapesPass.h"
#include "PluginBase/Exception.h"

using namespace zeb::render;
using nimbrel::gpu::ModelConstants1;
using nimbrel::gpu::NoiseConstants1;
using nimbrel::gpu::ShapeInfo;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;

namespace {

constexpr std::size_t kPivotSwitch = 0;
constexpr std::size_t kPreviewSwitches[] = {48, 52, 56, 60, 64, 68};

ModelInstance MakeInstance(std::uint32_t slot, const glm::mat4& transform = glm::mat4(1.0F)) {
    ModelInstance instance;
    instance.modelIndex = slot;
    instance.modelMatrix = transform;
    return instance;
}

std::vector<glm::vec3> HalfSizes(const std::vector<ShapeEntry>& shapes) {
    std::vector<glm::vec3> sizes;
    for (const ShapeEntry& shape : shapes) sizes.push_back(shape.halfSize);
    return sizes;
}

/// The constants with a box of its own half size for each preview, none with a soft edge.
void SetBoxes(TestBlob& blob, int slot) {
    const auto size = [](float n) { return glm::vec4(n, n, n, 0.0F); };
    ModelConstants1 m{};
    m.model_crop_shape_type = m.model_effects_splatColor_shape_type = m.model_effects_splatOpacity_shape_type =
        m.model_effects_splatScale_shape_type = 1;
    m.crop_shape_halfSize = size(1);
    m.splatColor_shape_halfSize = size(2);
    m.splatOpacity_shape_halfSize = size(3);
    m.splatScale_shape_halfSize = size(4);
    m.model_effects_splatColor_shape_feather = m.model_effects_splatOpacity_shape_feather =
        m.model_effects_splatScale_shape_feather = 1.0F;
    NoiseConstants1 n{};
    n.displacement_shape_type = n.noise_shape_type = 1;
    n.displacement_shape_halfSize = size(5);
    n.noise_shape_halfSize = size(6);
    n.displacement_shape_feather = n.noise_shape_feather = 1.0F;
    blob.Set("ModelConstants" + std::to_string(slot), 0, m);
    blob.Set("NoiseConstants" + std::to_string(slot), 0, n);
}

}  // namespace

class ShapesTest : public FrameRecorder {
protected:
    ShapesInfo Collect(std::vector<ModelInstance> instances = {MakeInstance(1)}) {
        return ShapesInfo::Collect(mBlob.Pack(), {{&mAsset, std::move(instances)}});
    }

    void Record(std::vector<ModelInstance> instances) { FrameRecorder::Record({{&mAsset, std::move(instances)}}); }

    ShapeInfo LoadShape(const std::string& buffer, std::size_t index) {
        ShapeInfo shape{};
        const std::vector<std::byte>& bytes = mDevice.Bytes(buffer);
        EXPECT_LE((index + 1) * sizeof(shape), bytes.size()) << buffer;
        std::memcpy(&shape, bytes.data() + index * sizeof(shape), sizeof(shape));
        return shape;
    }

    const GaussianSplatAsset mAsset{};  // without splats
};

TEST_F(ShapesTest, ShapesAreCollectedInTheOrderOfDrawing) {
    SetBoxes(mBlob, 1);
    for (const std::size_t offset : kPreviewSwitches) mBlob.Set("ModelCpp1", offset, 1);
    mBlob.Set("ModelCpp1", kPivotSwitch, 1);
    const ShapesInfo all = Collect();
    EXPECT_THAT(all.mPoints, SizeIs(1));
    // Drawn crop, colour, opacity, scale, displacement, noise.
    EXPECT_THAT(HalfSizes(all.mBoxes),
                ElementsAre(glm::vec3(1), glm::vec3(2), glm::vec3(3), glm::vec3(4), glm::vec3(5), glm::vec3(6)));
    EXPECT_THAT(all.mSpheres, IsEmpty());
}

TEST_F(ShapesTest, SoftEdgesShowTheirInnerEndWhereThereIsOne) {
    mBlob.Set("ModelCpp1", 52, 1);
    const struct {
        float mFeather;
        glm::vec3 mHalfSize;
        std::vector<glm::vec3> mExpected;  ///< inner if there is one, then outer
    } cases[] = {
        {0.25F, {8, 4, 2}, {{6, 3, 1.5F}, {8, 4, 2}}},
        {0.9999995F, {8, 4, 2}, {{8, 4, 2}}},
        {0.5F, {0, 0, 0}, {{0, 0, 0}}},
        {0.5F, {8, 0, 0}, {{4, 0, 0}, {8, 0, 0}}},
        {0.5F, {8, -4, 0}, {{4, 0, 0}, {8, -4, 0}}},
    };
    for (const auto& test : cases) {
        ModelConstants1 constants{};
        constants.model_effects_splatColor_shape_feather = test.mFeather;
        constants.splatColor_shape_halfSize = glm::vec4(test.mHalfSize, 0.0F);
        mBlob.Set("ModelConstants1", 0, constants);
        const ShapesInfo shapes = Collect();
        EXPECT_EQ(HalfSizes(shapes.mSpheres), test.mExpected) << test.mFeather;
        EXPECT_THAT(shapes.mBoxes, IsEmpty());
    }
}

TEST_F(ShapesTest, AnUnknownTypeIsAnErrorOnlyWhenShown) {
    ModelConstants1 constants{};
    constants.model_crop_shape_type = 2;
    mBlob.Set("ModelConstants1", 0, constants);
    EXPECT_TRUE(Collect().IsEmpty());
    mBlob.Set("ModelCpp1", 48, 1);
    try {
        Collect();
        FAIL();
    } catch (const zeb::Exception& exception) {
        EXPECT_THAT(exception.what(), HasSubstr("Unknown shape type 2"));
        EXPECT_EQ(exception.code, zeb::kInternalError);
    }
}

TEST_F(ShapesTest, NothingIsRecordedWithoutShapes) {
    SetBoxes(mBlob, 1);
    Record({MakeInstance(1)});
    EXPECT_THAT(mDevice.mLog,
                ElementsAre("list MainCommandList", "heaps", "pass Target clear", "transition Target 4", "end"));
    EXPECT_THAT(mDevice.mCreated, Not(Contains(HasSubstr("buffer Render"))));
    EXPECT_THAT(mDevice.mCreated, Not(Contains(HasSubstr("Gizmo_1"))));
}

TEST_F(ShapesTest, CrossesComeFirstThenSpheresThenBoxes) {
    SetBoxes(mBlob, 1);
    SetBoxes(mBlob, 2);
    ModelConstants1 spheres{};
    mBlob.Set("ModelConstants3", 0, spheres);
    mBlob.Set("ModelCpp1", kPivotSwitch, 1);
    mBlob.Set("ModelCpp1", 48, 1);
    mBlob.Set("ModelCpp2", 68, 1);
    mBlob.Set("ModelCpp3", 48, 1);
    mBlob.Set("CommonCpp", 0, 1);  // Z depth does not hide them
    Record({MakeInstance(2), MakeInstance(1), MakeInstance(3)});

    const std::vector<std::string>& log = mDevice.mLog;
    const auto pass = std::find(log.begin(), log.end(), "pass Target load");
    ASSERT_NE(pass, log.end());
    EXPECT_THAT(
        std::vector<std::string>(pass, log.end()),
        ElementsAre("pass Target load", "transition Target 4", "viewport 0 0 640 360", "scissor 0 0 640 360",
                    "cbv 0 RenderSpheresConstants+0", "srv 1 RenderPointsInfo+0", "draw RenderCrossGizmo_1 2x3 strip",
                    "cbv 0 RenderSpheresConstants+0", "srv 1 RenderSpheresInfo+0", "draw RenderCrossGizmo_1 2x3 strip",
                    "cbv 0 RenderSpheresConstants+0", "srv 1 RenderBoxesInfo+0", "draw RenderCrossGizmo_1 2x6 strip",
                    "cbv 0 RenderSpheresConstants+0", "srv 1 RenderSpheresInfo+0",
                    "draw RenderSphereGizmo_1 100x3 strip", "cbv 0 RenderSpheresConstants+0", "srv 1 RenderBoxesInfo+0",
                    "draw RenderBoxGizmo_1 24x2 lines", "end"));
    EXPECT_THAT(mDevice.mCreated, Contains("buffer RenderSpheresConstants 256"));
    EXPECT_THAT(mDevice.mCreated, Contains("buffer RenderBoxesInfo 216"));
    EXPECT_THAT(mDevice.mCreated, Contains("pipeline RenderBoxGizmo_1 of lines"));
    EXPECT_EQ(LoadShape("RenderBoxesInfo", 0).halfSize, glm::vec3(6));
    EXPECT_EQ(LoadShape("RenderBoxesInfo", 1).halfSize, glm::vec3(1));
    std::uint32_t counts[3];
    std::memcpy(counts, mDevice.Bytes("RenderSpheresConstants").data() + 64, sizeof(counts));
    EXPECT_THAT(counts, ElementsAre(99U, 10U, 10U));
}

TEST_F(ShapesTest, CrossesHaveOneSizeOnTheScreen) {
    // At the centre of the image plane, 640 in front of the camera, a step of 100 / 640 of w is 50 view units; w + 1
    // moves the point by 1 in depth and, as nothing divides by w, scales what the camera's place adds by 1.0050005.
    // So (50, 0, 641 - 640 * 1.0050005) from the centre: length 50.0484.
    mBlob.Set("ModelCpp1", kPivotSwitch, 1);
    const glm::mat4 center = glm::translate(glm::mat4(1.0F), glm::vec3(320.0F, 180.0F, 0.0F));
    Record({MakeInstance(1, center), MakeInstance(1, glm::scale(center, glm::vec3(2.0F)))});
    EXPECT_NEAR(LoadShape("RenderPointsInfo", 0).crossRadius, 50.0484F, 0.01F);
    // A model twice as large has half as long arms in its own space.
    EXPECT_NEAR(LoadShape("RenderPointsInfo", 1).crossRadius, 25.0242F, 0.01F);
    // Down-sampled by two, 50 pixels are 100 units.
    mDrawInfo.mScaleX = mDrawInfo.mScaleY = 0.5F;
    mDrawInfo.mOutputWidth = 320;
    mDrawInfo.mOutputHeight = 180;
    Record({MakeInstance(1, center)});
    EXPECT_NEAR(LoadShape("RenderPointsInfo", 0).crossRadius, 100.0242F, 0.01F);
}
