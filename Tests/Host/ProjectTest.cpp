#include "NimbrelHost/Project/Project.h"

#include "HostInterface/HostInterface.h"
#include "TestSupport.h"

namespace nimbrel::host {
namespace {

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

}  // namespace
}  // namespace nimbrel::host
