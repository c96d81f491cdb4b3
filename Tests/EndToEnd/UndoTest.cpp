// What a user does with the effect's controls is one step, and taking it back leaves nothing of it.
#include <gmock/gmock.h>

#include <fstream>

#include "Studio.h"

namespace nimbrel::endtoend {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class Undo : public ::testing::Test {
protected:
    static host::Json MakeScene() {
        Shot shot = MakeProjectShot();
        shot.mModels.push_back(shot.mModels[0]);
        shot.mModels[1].mPosition = {50, 40, 0};
        shot.mModels[1].mSettings = {
            {"effects_splatOpacity_enabled", true},
            {"effects_splatOpacity_ramp", {{"type", 0}, {"interpolation", 1}, {"keys", {{0.0, 0.25}, {1.0, 0.75}}}}},
            {"transform_position", {{"keyframes", {{0.0, {50, 40, 0}}, {1.0, {70, 50, 10}}}}}}};
        return MakeSceneDocument(shot);
    }

    /// Does something that must be one step of that name, all of it inside the effect's group if it has one, and takes
    /// it back, does it again, and takes it back once more.
    void ExpectOneStep(const std::string& name, bool hasGroup, const std::function<void()>& act) {
        const host::Json before = mStudio.Describe();
        const host::Frame frame = mStudio.Render();
        const std::vector<std::size_t> held = mStudio.CountHeld();
        host::UndoHistory& undo = mStudio.mHost->GetUndo();
        undo.Clear();
        act();
        ASSERT_THAT(undo.ListSteps(), ElementsAre(name));
        EXPECT_EQ(undo.CountLooseChanges() == 0, hasGroup) << name;
        const host::Json after = mStudio.Describe();
        EXPECT_NE(after, before) << name;
        ASSERT_TRUE(mStudio.mHost->Undo());
        EXPECT_EQ(mStudio.Describe(), before) << name << host::Json::diff(before, mStudio.Describe());
        EXPECT_EQ(mStudio.Render().mPixels, frame.mPixels) << name;
        EXPECT_THAT(undo.ListSteps(), IsEmpty());
        ASSERT_TRUE(mStudio.mHost->Redo());
        EXPECT_EQ(mStudio.Describe(), after) << name;
        ASSERT_TRUE(mStudio.mHost->Undo());
        EXPECT_EQ(mStudio.Describe(), before) << name;
        undo.Clear();
        EXPECT_EQ(mStudio.CountHeld(), held) << name;
    }

    Studio mStudio{MakeScene(), "undo", {NIMBREL_EFFECT_FILE, "cpu", {}}};
};

TEST_F(Undo, TakesBackEveryButtonInOneStep) {
    const auto press = [&](const char* id) { return [this, id] { mStudio.Press(id); }; };
    ExpectOneStep("Link Null Object", true, press("Model1_transform_createNullObject"));
    ExpectOneStep("Link Null Object", true, press("Model2_transform_createNullObject"));
    mStudio.Press("Model1_transform_createNullObject");
    ExpectOneStep("Link Null Object", true, press("Model1_transform_createNullObject"));
    ExpectOneStep("Unlink Null Object", true, press("Model1_transform_unlinkNullObject"));
    ExpectOneStep("Reset Values", true, press("Model2_modelSettings_reset"));
    mStudio.Press("Model2_modelSettings_copy");
    ExpectOneStep("Load Values", true, press("Model1_modelSettings_paste"));
    ExpectOneStep("Load Values", true, press("Model5_modelSettings_paste"));
}

TEST_F(Undo, TakesBackTheChoiceOfAFile) {
    const std::filesystem::path broken = GetScratchFolder() / "broken.ply";
    std::ofstream(broken) << "ply\n";
    const auto choose = [&](const host::Json& file) { return [this, file] { mStudio.Choose("Model1_model", file); }; };
    ExpectOneStep("1 Model", true, choose(GetModelFile(500, 0).string()));
    ExpectOneStep("1 Model", true, choose(nullptr));
    // The effect clears the parameter itself, and it opens no group for that.
    ExpectOneStep("1 Model", false, choose(broken.string()));
}

TEST_F(Undo, GoesBackThroughManySteps) {
    std::vector<host::Json> states;
    for (const char* id : {"Model1_transform_createNullObject", "Model2_transform_createNullObject",
                           "Model2_modelSettings_reset", "Model1_transform_unlinkNullObject"}) {
        states.push_back(mStudio.Describe());
        mStudio.Press(id);
    }
    for (; !states.empty(); states.pop_back()) {
        ASSERT_TRUE(mStudio.mHost->Undo());
        EXPECT_EQ(mStudio.Describe(), states.back());
    }
    EXPECT_FALSE(mStudio.mHost->Undo());
    // A new step ends what could be done again. Buttons that change nothing make none.
    EXPECT_TRUE(mStudio.mHost->Redo());
    mStudio.Press("Model1_info");
    EXPECT_TRUE(mStudio.mHost->Redo());
    mStudio.Press("Model1_transform_unlinkNullObject");
    EXPECT_FALSE(mStudio.mHost->Redo());
}

}  // namespace
}  // namespace nimbrel::endtoend
