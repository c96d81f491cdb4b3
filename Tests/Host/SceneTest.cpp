#include "NimbrelHost/Scene/Scene.h"

#include <gmock/gmock.h>

#include "NimbrelHost/Parameters/Catalogue.h"
#include "NimbrelHost/Support/Similar.h"
#include "TestSupport.h"

namespace nimbrel::host {
namespace {

Scene Parse(const std::string& text) { return ParseScene(ParseJson(text, "s.json"), "s.json", "/scenes"); }

TEST(Scene, FillsInDefaults) {
    const Scene scene = Parse("{}");
    EXPECT_EQ(scene.mComposition.mWidth, 1920);
    EXPECT_EQ(scene.mComposition.mHeight, 1080);
    EXPECT_EQ(scene.mComposition.mFrameRate, 24);
    EXPECT_EQ(scene.mComposition.mDuration, 1);
    EXPECT_EQ(scene.mComposition.mBitsPerChannel, 8);
    EXPECT_EQ(scene.mComposition.mDownsample, 1);
    EXPECT_FALSE(scene.mCamera);
    EXPECT_FALSE(Parse(R"({"camera": null})").mCamera);

    const Scene seen = Parse(R"({"composition": {"width": 640, "height": 360}, "camera": {}})");
    EXPECT_EQ(Evaluate(seen.mCamera->mZoom, 0), 640);
    EXPECT_EQ(Evaluate(seen.mCamera->mPosition, 0), glm::dvec3(320, 180, -640));
    const Scene zoomed = Parse(R"({"camera": {"zoom": 500}})");
    EXPECT_EQ(Evaluate(zoomed.mCamera->mPosition, 0), glm::dvec3(960, 540, -500));
}

TEST(Scene, ReadsAll) {
    const Scene scene = Parse(R"({
        "composition": {"width": 101, "height": 51, "frameRate": 25, "duration": 2, "bitsPerChannel": 32,
                        "downsample": 2},
        "camera": {"type": "orthographic", "zoom": {"keyframes": [[0, 100], [2, 200]]}, "position": [1, 2, 3],
                   "pointOfInterest": [4, 5, 6], "orientation": [7, 8, 9],
                   "rotation": {"keyframes": [[0, [0, 0, 0]], [1, [10, 20, 30]]], "interpolation": "hold"}},
        "parameters": {"a": 1, "b": [1, 2, 3]}})");
    EXPECT_EQ(scene.mComposition.OutputWidth(), 51);
    EXPECT_EQ(scene.mComposition.OutputHeight(), 26);
    EXPECT_EQ(CountFrames(scene.mComposition), 50);
    EXPECT_EQ(scene.mCamera->mType, Camera::Type::Orthographic);
    EXPECT_EQ(Evaluate(scene.mCamera->mZoom, 0.5), 125);
    EXPECT_EQ(Evaluate(scene.mCamera->mRotation, 0.9), glm::dvec3(0));
    ASSERT_EQ(scene.mSettings.size(), 2U);
    EXPECT_EQ(scene.mSettings[1].mId, "b");
    EXPECT_EQ(scene.mSettings[1].mFolder, "/scenes");
}

TEST(Scene, NamesFileKeyAndExpectation) {
    const struct {
        const char* mText;
        const char* mMessage;
    } cases[] = {
        {R"([1])", "s.json: expected an object, but it is an array of 1"},
        {R"({"colour": 1})",
         "s.json: colour: unknown key, expected one of \"composition\", \"layer\", \"camera\", \"nulls\", "
         "\"parameters\""},
        {R"({"layer": {"stretch": -0.5}})",
         "s.json: layer.stretch: expected a percentage of at least 1, or at most -1"},
        {R"({"nulls": {}})", "s.json: nulls: expected an array of null objects"},
        {R"({"nulls": [{"position": [0, 0, 0]}]})", "s.json: nulls[0]: expected a null object with a \"name\""},
        {R"({"nulls": [{"name": "a", "size": 1}]})", "s.json: nulls[0].size: unknown key"},
        {R"({"nulls": [{"name": "a", "scale": 50}]})", "nulls[0].scale: expected three numbers [x, y, z]"},
        {R"({"composition": {"width": 0}})",
         "s.json: composition.width: expected a whole number from 1 to 30000, but it is 0"},
        {R"({"composition": {"width": 1.5}})", "composition.width: expected a whole number"},
        {R"({"composition": {"height": "tall"}})",
         "composition.height: expected a whole number from 1 to 30000, but it is \"tall\""},
        {R"({"composition": {"widht": 1}})", "composition.widht: unknown key, expected one of \"width\", "},
        {R"({"camera": {"zoom": {"Keyframes": [[0, 5]]}}})", "(did you mean \"keyframes\"?)"},
        {R"({"composition": {"frameRate": 0}})", "composition.frameRate: expected a number from 0.1 to 1000"},
        {R"({"composition": {"bitsPerChannel": 10}})",
         "composition.bitsPerChannel: expected 8, 16 or 32, but it is 10"},
        {R"({"composition": {"bitsPerChannel": "8"}})",
         "composition.bitsPerChannel: expected 8, 16 or 32, but it is \"8\""},
        {R"({"composition": {"downsample": 65}})", "composition.downsample: expected a whole number from 1 to 64"},
        {R"({"camera": []})", "s.json: camera: expected an object"},
        {R"({"camera": {"type": "fisheye"}})",
         "camera.type: expected \"perspective\" or \"orthographic\", but it is \"fisheye\""},
        {R"({"camera": {"zoom": 0}})", "camera.zoom: expected a zoom in pixels, above 0"},
        {R"({"camera": {"position": [1, 2]}})",
         "camera.position: expected three numbers [x, y, z], but it is an array of 2"},
        {R"({"camera": {"position": [1, 2, "z"]}})", "camera.position[2]: expected a number, but it is \"z\""},
        {R"({"camera": {"zoom": {"keyframes": []}}})",
         "camera.zoom.keyframes: expected keyframes [[seconds, value], ...]"},
        {R"({"camera": {"zoom": {"keyframes": [[0]]}}})",
         "camera.zoom.keyframes[0]: expected a keyframe [seconds, value]"},
        {R"({"camera": {"zoom": {"keyframes": [[1, 5], [1, 6]]}}})",
         "camera.zoom.keyframes[1][0]: expected a time later"},
        {R"({"camera": {"zoom": {"keyframes": [[0, 5]], "interpolation": "bezier"}}})",
         "camera.zoom.interpolation: expected \"linear\" or \"hold\""},
        {R"({"parameters": 3})", "s.json: parameters: expected an object of parameters by id, but it is 3"},
        {R"({"composition": )", "s.json: expected valid JSON: parse error at line 1"},
    };
    for (const auto& [text, message] : cases) {
        const std::string shown = UsageMessage([&, t = text] { Parse(t); });
        EXPECT_THAT(shown, ::testing::HasSubstr(message)) << text;
        EXPECT_EQ(shown.find('\n'), std::string::npos) << "one line: " << shown;
    }
}

TEST(Scene, RefusesDeepNestingManyNullsAndMissingFiles) {
    std::string nulls = R"({"nulls": [{"name": "n"})";
    for (int i = 0; i < 1000; ++i) nulls += R"(, {"name": "n"})";
    EXPECT_THAT(UsageMessage([&] { Parse(nulls + "]}"); }), ::testing::HasSubstr("nulls: expected at most 1000 null"));
    const std::string deep = std::string(100000, '[') + std::string(100000, ']');
    EXPECT_THAT(UsageMessage([&] { Parse(deep); }), ::testing::HasSubstr("levels of nesting"));
    EXPECT_EQ(UsageMessage([] { ReadScene("/no/such/scene.json"); }),
              "/no/such/scene.json: expected a readable file: No such file or directory");
    EXPECT_THAT(UsageMessage([] { ReadScene("/"); }), ::testing::HasSubstr("expected a readable file: Is a directory"));
}

TEST(Scene, WritesWhatItReads) {
    const std::string text = R"({"composition":{"width":640,"height":360,"frameRate":24.0,"duration":1.5,)"
                             R"("bitsPerChannel":16,"downsample":1},"camera":{"type":"perspective",)"
                             R"("zoom":{"keyframes":[[0.0,100.0],[1.0,50.0]],"interpolation":"hold"},)"
                             R"("position":[1.0,2.0,3.0],"pointOfInterest":[4.0,5.0,6.0],"orientation":[0.0,0.0,0.0],)"
                             R"("rotation":[0.0,10.0,0.0]}})";
    const Scene scene = Parse(text);
    const Json written = {{"composition", WriteComposition(scene.mComposition)},
                          {"camera", WriteCamera(*scene.mCamera)}};
    EXPECT_EQ(written.dump(), text);
}

TEST(TimeBase, MeetsFramesExactly) {
    const struct {
        double mRate;
        int mStep, mScale;
    } cases[] = {{24, 1, 24},          {60, 1, 60},   {23.976, 1001, 24000}, {29.97, 1001, 30000},
                 {59.94, 1001, 60000}, {12.5, 2, 25}, {0.5, 2, 1},           {1000, 1, 1000}};
    for (const auto& [rate, step, scale] : cases) {
        const TimeBase clock = MakeTimeBase(rate);
        EXPECT_EQ(clock.mStep, step) << rate;
        EXPECT_EQ(clock.mScale, scale) << rate;
    }
}

TEST(Catalogue, NamesParametersByNumber) {
    const TestFolder folder;
    const Catalogue catalogue = Catalogue::Read(folder.Write(
        "c.json", R"({"parameters": [{"uniqueID": 9, "fullId": "Model1_align_scale", "control": "x"}], "packs": []})"));
    EXPECT_EQ(catalogue.GetId(9), "Model1_align_scale");
    EXPECT_EQ(catalogue.GetId(10), "");
    EXPECT_THAT(UsageMessage([&] { Catalogue::Read(folder.Write("d.json", R"({"parameters": [{"uniqueID": 9}]})")); }),
                ::testing::HasSubstr("d.json: parameters[0]: expected an entry with \"uniqueID\" and \"fullId\""));
    EXPECT_EQ(FindSimilar("Model1_algin_scale", {"Model1_model", "Model1_align_scale"}), "Model1_align_scale");
    EXPECT_EQ(FindSimilar("zoom", {"Model1_model", "Model1_align_scale"}), "");
}

}  // namespace
}  // namespace nimbrel::host
