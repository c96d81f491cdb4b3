// What a user does to the project with the effect's buttons, with the effect as it ships.
#include <gmock/gmock.h>

#include <cmath>
#include <fstream>

#include "HostInterface/HostInterface.h"
#include "NimbrelHost/User/Settings.h"
#include "Studio.h"

namespace nimbrel::endtoend {
namespace {

using host::Layer;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::StartsWith;

/// Two renders of one picture whose angles went through expressions: all but equal.
constexpr double kSamePicture = 60;

void ExpectSamePicture(const host::Frame& a, const host::Frame& b) {
    EXPECT_GT(MeanAlpha(a), 0.01);
    EXPECT_GT(ComparePsnr(a, b), kSamePicture);
}

constexpr const char* kCreate = "Model1_transform_createNullObject";
constexpr const char* kUnlink = "Model1_transform_unlinkNullObject";

TEST(NullObject, LinkingMovesNothingAtAnyTime) {
    host::Json document = MakeSceneDocument(MakeProjectShot());
    document["composition"]["duration"] = 2;
    document["parameters"]["Model1_transform_position"] =
        host::Json::parse(R"({"keyframes": [[0, [70, 40, 0]], [2, [95, 55, 40]]]})");
    document["parameters"]["Model1_transform_zRotation"] = host::Json::parse(R"({"keyframes": [[0, 15], [2, 120]]})");
    Studio studio(document, "moving");
    std::vector<host::Frame> before;
    const std::vector<int> frames = {0, 9, 30};
    for (const int frame : frames) before.push_back(studio.Render(frame));
    EXPECT_LT(ComparePsnr(before[0], before[2]), 40) << "the model must move";
    studio.Press(kCreate);
    for (std::size_t i = 0; i < frames.size(); ++i) ExpectSamePicture(before[i], studio.Render(frames[i]));

    const Layer* const null = studio.FindLayer("1 Transform Null");
    ASSERT_NE(null, nullptr);
    EXPECT_EQ(null->mKind, Layer::Kind::Null);
    EXPECT_TRUE(null->Is3D());
    EXPECT_EQ(null->GetPose(0).mPosition, glm::dvec3(70, 40, 0));
    EXPECT_NEAR(null->GetPose(0).mRotation.y, -40, 1e-9);
    const host::Project& project = studio.mHost->GetProject();
    EXPECT_EQ(project.GetIndex(null), project.GetIndex(studio.mHost->GetProject().GetEffectLayer()) + 1);
    EXPECT_EQ(studio.Get("Model1_transform_position").mExpression.mText,
              "nullLayer = thisComp.layer(\"1 Transform Null\");\npos = nullLayer.toWorld([0,0,0]);\n"
              "value + [pos[0] - 70, pos[1] - 40, pos[2] - 0];");
    EXPECT_EQ(studio.Get("Model1_transform_yScale").mExpression.mText,
              "nullLayer = thisComp.layer(\"1 Transform Null\");value * 0.01 * nullLayer.transform.scale[1]");
    EXPECT_EQ(host::EvaluateNumbers(studio.Get("Model1_transform_uniformScale"), 0).x, 0);
    EXPECT_THAT(studio.mMessages, IsEmpty());
}

TEST(NullObject, MovesTheModelAsItMovesLayers) {
    struct Place {
        glm::dvec3 mPosition, mRotation, mScale{100};
    };
    const Shot shot = MakeProjectShot();
    const glm::dvec3 position = shot.mModels[0].mPosition;
    const glm::dvec3 rotation = shot.mModels[0].mRotation;
    const struct {
        Place mNull;
        std::optional<Place> mParent;
        Place mModel;  ///< where a model without a null must be placed for the same picture
    } cases[] = {
        {{{60, 50, 30}, rotation}, {}, {{60, 50, 30}, rotation}},
        {{position, {-50, 70, 110}}, {}, {position, {-50, 70, 110}}},
        {{position, rotation, {60, 130, 90}}, {}, {position, rotation, {60, 130, 90}}},
        // A parent at (80, 45, 0), turned by 90 degrees about z: x goes to y, y to -x.
        {{{20, 10, 5}, {0, 0, 0}}, Place{{80, 45, 0}, {0, 0, 90}}, {{80 - 10, 45 + 20, 5}, {0, 0, 90}}},
    };
    const auto move = [](Layer& null, const Place& place) {
        null.mNull->mPosition = decltype(null.mNull->mPosition)::Constant(place.mPosition);
        null.mNull->mRotation = decltype(null.mNull->mRotation)::Constant(place.mRotation);
        null.mNull->mScale = decltype(null.mNull->mScale)::Constant(place.mScale);
    };
    for (const auto& [place, parentPlace, modelPlace] : cases) {
        Shot moved = shot;
        moved.mModels[0].mPosition = modelPlace.mPosition;
        moved.mModels[0].mRotation = modelPlace.mRotation;
        moved.mModels[0].mSettings = {{"transform_uniformScale", false},
                                      {"transform_xScale", modelPlace.mScale.x},
                                      {"transform_yScale", modelPlace.mScale.y},
                                      {"transform_zScale", modelPlace.mScale.z}};
        const host::Frame expected = Studio(moved).Render();
        Studio studio(shot);
        studio.Press(kCreate);
        Layer& null = *studio.FindLayer("1 Transform Null");
        if (parentPlace) {
            null.mParent = studio.mHost->GetProject().AddNull("parent");
            null.mParent->mFlags |= AEGP_LayerFlag_LAYER_IS_3D;
            move(*null.mParent, *parentPlace);
        }
        move(null, place);
        ExpectSamePicture(expected, studio.Render());
    }
}

TEST(NullObject, IsMadeAgainAndUnlinked) {
    Studio studio(MakeProjectShot());
    const host::Frame before = studio.Render();
    studio.Press(kCreate);
    // The parameters' own values are taken over, not what the first null makes of them.
    studio.FindLayer("1 Transform Null")->mNull->mPosition.mKeys[0].mValue.x += 30;
    studio.FindLayer("1 Transform Null")->mNull->mRotation.mKeys[0].mValue.x += 10;
    studio.Press(kCreate);
    ASSERT_NE(studio.FindLayer("1 Transform Null 1"), nullptr);
    ExpectSamePicture(before, studio.Render());
    EXPECT_THAT(studio.Get("Model1_transform_xRotation").mExpression.mText,
                StartsWith("nullLayer = thisComp.layer(\"1 Transform Null 1\");\nrelValue = value - 25;\nif (length("));
    studio.Press("Model2_transform_createNullObject");
    EXPECT_NE(studio.FindLayer("2 Transform Null"), nullptr);
    studio.FindLayer("1 Transform Null 1")->mNull->mPosition.mKeys[0].mValue.x += 40;
    EXPECT_LT(ComparePsnr(before, studio.Render()), 40);

    const host::Json saved = studio.Save();
    EXPECT_EQ(saved["nulls"].size(), 3U);
    const host::Frame linked = studio.Render();
    for (int time = 0; time < 2; ++time) studio.Press(kUnlink);
    for (const auto& parameter : studio.mHost->GetParameters().GetAll()) {
        const bool ofSlot = parameter->mId.rfind("Model1_", 0) == 0;
        EXPECT_TRUE(!ofSlot || parameter->mExpression.mText.empty()) << parameter->mId;
    }
    ExpectSamePicture(before, studio.Render());
    EXPECT_NE(studio.FindLayer("1 Transform Null"), nullptr) << "the null stays";
    studio.Finish();

    // The saved scene is linked as well.
    Studio again(saved, "saved");
    ExpectSamePicture(linked, again.Render());
    EXPECT_EQ(again.Save().dump(), saved.dump());
}

/// Through the clipboard that the effect ships with where the system has none.
TEST(Clipboard, CarriesASlotToAnotherThatCanBeReset) {
    Studio studio(MakeProjectShot());
    const host::Frame before = studio.Render();
    studio.Press("Model1_modelSettings_copy");
    studio.Press("Model3_modelSettings_paste");
    studio.Press("Model1_modelSettings_reset");
    ExpectSamePicture(before, studio.Render());
    EXPECT_THAT(studio.mMessages, IsEmpty());

    studio.Press("Model3_modelSettings_reset");
    for (const host::Json& entry : host::ListParameters(*studio.mHost))
        EXPECT_TRUE(!entry.contains("value") || entry["value"] == entry["default"]) << entry.dump();
    EXPECT_EQ(studio.GetNumber("Model3_model"), 0) << "the file goes too";
}

TEST(FileChoice, TestsTheFileAndSaysWhatIsWrong) {
    const std::filesystem::path broken = GetScratchFolder() / "broken.ply";
    std::ofstream(broken) << "ply\nformat ascii 1.0\nelement vertex 1\nend_header\n";
    Studio studio(Shot{});
    const auto layerId = [&] { return static_cast<int>(host::EvaluateNumbers(studio.Get("Model1_model"), 0).x); };
    studio.Choose("Model1_model", GetModelFile(4000, 1).string());
    EXPECT_THAT(studio.mMessages, IsEmpty());
    EXPECT_NE(layerId(), 0);

    studio.Choose("Model1_model", broken.string());
    EXPECT_THAT(studio.mMessages, ElementsAre("Failed to load model \"" + broken.string() +
                                              "\" with error: \"Unexpected file format.\""));
    EXPECT_EQ(layerId(), 0) << "the pop-up goes back to none";

    // What is cached is not read again: it may even be gone.
    const std::filesystem::path passing = GetScratchFolder() / "passing.ply";
    std::filesystem::copy_file(GetModelFile(4000, 1), passing);
    studio.Set("Model1_model", passing.string());
    const host::Frame drawn = studio.Render();
    studio.mMessages.clear();
    std::filesystem::resize_file(passing, 100);
    studio.mHost->ChangeParameter(studio.Get("Model1_model"));
    EXPECT_THAT(studio.mMessages, IsEmpty());
    EXPECT_NE(layerId(), 0);
}

TEST(FileChoice, TakesOnlyLayersOfFiles) {
    host::Json document = MakeSceneDocument(Shot{});
    document["camera"] = host::Json::object();
    Studio studio(document, "layers");
    host::Project& project = studio.mHost->GetProject();
    const auto choose = [&](const Layer* layer) {
        studio.mMessages.clear();
        studio.Get("Model1_model").mValue.mKeys[0].mValue.mNumbers.x = layer == nullptr ? 0 : layer->mId;
        studio.mHost->ChangeParameter(studio.Get("Model1_model"));
        EXPECT_EQ(host::EvaluateNumbers(studio.Get("Model1_model"), 0).x, 0);
        return studio.mMessages;
    };
    EXPECT_THAT(choose(project.GetEffectLayer()),
                ElementsAre("Failed to get a path: the footage is not an imported file"));
    EXPECT_THAT(choose(project.GetCameraLayer()),
                ElementsAre("Failed to get a path: the layer must be of type footage"));
    EXPECT_THAT(choose(nullptr), IsEmpty());
}

TEST(Info, ShowsWhatIsKnownOfASlot) {
    Studio studio(MakeProjectShot());
    studio.Press("Model1_info");
    studio.Press("Model4_info");
    ASSERT_THAT(studio.mDialogs, SizeIs(2));
    EXPECT_EQ(studio.mDialogs[0].first, "Model Info");
    EXPECT_THAT(studio.mDialogs[0].second,
                StartsWith("Path: \"" + GetModelFile(4000, 1).string() + "\"\nSplats: 4 000\nVideo Memory: "));
    EXPECT_THAT(
        studio.mDialogs[0].second,
        HasSubstr("\nNote: Splat positions were multiplied by 1000 to match the dimensions of the After Effects "
                  "scene.\n\nRender Info:\n"));
    EXPECT_THAT(studio.mDialogs[1].second,
                StartsWith("Please import a ply file, add it to a composition and select in popup \"4 Model\" to apply "
                           "a model.\n\nRender Info:\n"));
}

}  // namespace
}  // namespace nimbrel::endtoend
