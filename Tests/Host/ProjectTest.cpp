#include "NimbrelHost/Project/Project.h"

#include "HostInterface/HostInterface.h"
#include "TestSupport.h"

namespace nimbrel::host {
namespace {

TEST(Project, ShowsEachFileThroughOneHiddenLayer) {
    Project project(Composition{}, DefaultCamera(1920, 1080));
    ASSERT_EQ(project.GetLayers().size(), 2U);
    Layer* const effect = project.GetEffectLayer();
    Layer* const camera = project.GetCameraLayer();
    const auto add = [&](const char* path) {
        auto footage = std::make_unique<Footage>();
        footage->mPath = path;
        return project.AddModel(std::move(footage));
    };
    Layer* const model = add("/m/a.ply");
    EXPECT_EQ(project.FindModel("/m/a.ply"), model);
    Layer* const other = add("/m/b.ply");
    EXPECT_NE(other->mId, model->mId);
    EXPECT_EQ(project.GetIndex(camera), 0);
    EXPECT_EQ(project.GetIndex(effect), 1);
    EXPECT_EQ(project.GetIndex(model), 2);
    EXPECT_EQ(model->mFlags & AEGP_LayerFlag_VIDEO_ACTIVE, 0);
    EXPECT_EQ(project.GetLayerPath(model->mId), "/m/a.ply");
    EXPECT_EQ(project.GetLayerPath(effect->mId), "") << "a solid is no file";
    EXPECT_EQ(project.GetLayerPath(0), "");
    EXPECT_EQ(project.GetLayerPath(12345), "");
    EXPECT_EQ(project.FindLayerById(other->mId), other);
    EXPECT_EQ(model->mSource->mParent, project.GetRoot());
    EXPECT_EQ(project.FindFootage(model->mSource->mFootage.get())->mItem, model->mSource);
}

TEST(Project, PlacesNullsByTheirParents) {
    Project project(Composition{}, std::nullopt);
    NullSetting arm{"arm", {}, "body", "s.json: nulls[0].parent"};
    arm.mTransform.mPosition = Animation<glm::dvec3>::Constant({10, 0, 0});
    NullSetting body{"body", {}, "", ""};
    body.mTransform.mPosition.mKeys = {{0, {100, 50, 0}}, {1, {200, 50, 0}}};
    body.mTransform.mRotation = Animation<glm::dvec3>::Constant({0, 0, 90});
    body.mTransform.mScale = Animation<glm::dvec3>::Constant({300, 100, 100});
    project.AddNulls({arm, body});
    const Layer* const layer = project.FindLayerByName("arm");
    ASSERT_NE(layer, nullptr);
    EXPECT_EQ(project.GetIndex(layer), 0) << "in the order of the scene";
    // 10 times 3 along the parent's x, which is the world's y; half way the parent is at x = 150.
    const glm::dvec3 place(layer->ToWorld(0.5)[3]);
    EXPECT_NEAR(place.x, 150, 1e-9);
    EXPECT_NEAR(place.y, 80, 1e-9);

    const auto fail = [](std::vector<NullSetting> nulls) {
        Project other(Composition{}, std::nullopt);
        return UsageMessage([&] { other.AddNulls(nulls); });
    };
    EXPECT_EQ(fail({arm}), "s.json: nulls[0].parent: expected the name of a layer, but there is no layer \"body\"");
    body.mParent = "arm";
    EXPECT_NE(fail({arm, body}).find("expected a layer that doesn't hang on"), std::string::npos);
}

TEST(Project, ReordersLayers) {
    Project project(Composition{}, std::nullopt);
    EXPECT_EQ(project.GetCameraLayer(), nullptr);
    Layer* const a = project.GetEffectLayer();
    Layer* const b = project.AddNull("b");
    Layer* const c = project.AddNull("c");  // c b a
    EXPECT_TRUE(project.Reorder(c, 1));     // b c a
    EXPECT_EQ(project.GetIndex(b), 0);
    EXPECT_TRUE(project.Reorder(b, -1));  // c a b
    EXPECT_EQ(project.GetIndex(a), 1);
    EXPECT_EQ(project.GetIndex(b), 2);
    EXPECT_TRUE(project.Reorder(b, 0));
    EXPECT_EQ(project.GetIndex(b), 0);
    EXPECT_FALSE(project.Reorder(b, 3));
    EXPECT_FALSE(project.Reorder(b, -2));
    EXPECT_EQ(glm::dvec3(b->ToWorld(0)[3]), glm::dvec3(960, 540, 0));
    EXPECT_EQ(a->ToWorld(0), glm::dmat4(1));
}

}  // namespace
}  // namespace nimbrel::host
