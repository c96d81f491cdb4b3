// Copy and Paste between slots, and texts that come from elsewhere.
#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

#include "EffectSettings.h"
#include "NimbrelHost/Support/Errors.h"
#include "Studio.h"

namespace nimbrel::endtoend {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

std::string ReadClipboard() {
    std::ifstream file(NIMBREL_TEST_CLIPBOARD, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::string Id(int slot, const std::string& name) { return "Model" + std::to_string(slot) + "_" + name; }

class SlotClipboard : public ::testing::Test {
protected:
    SlotClipboard() { std::filesystem::remove_all(NIMBREL_TEST_CLIPBOARD); }
    ~SlotClipboard() override { std::filesystem::remove_all(NIMBREL_TEST_CLIPBOARD); }

    /// Five slots of two files, each with effects of its own; none is shown.
    static host::Json MakeScene() {
        Shot shot = MakeEffectShot("clipboard");
        shot.mModels.clear();
        for (int slot = 0; slot < 5; ++slot) {
            ShotModel model = MakeEffectModel(slot % 2 == 0 ? 3000 : 2000);
            model.mRotation = {5.0 * slot, 30.0 - 7 * slot, 11.0 * slot};
            model.mSettings["showModel"] = false;
            shot.mModels.push_back(model);
        }
        CropShape(Uneven(Box(70)))(shot.mModels[0]);
        Recolor(Sphere(90, 40), Blending::Multiply, {0.2, 0.9, 0.3}, {0.9, 0.1, 0.7}, {1, 0.25})(shot.mModels[1]);
        Fade(Uneven(Sphere(80)), 10, 90, {0.9, 0.1})(shot.mModels[2]);
        Resize(Box(60), 250, {1, 0.5})(shot.mModels[3]);
        Displace(Sphere(100), {.mOffset = {9, -14, 3}, .mRotation = {20, -35, 50}})(shot.mModels[4]);
        Disturb(Sphere(100), Noise())(shot.mModels[4]);
        return MakeSceneDocument(shot);
    }

    void Write(const std::string& text) { std::ofstream(NIMBREL_TEST_CLIPBOARD, std::ios::binary) << text; }
    void Copy(int slot) { mStudio.Press(Id(slot, "modelSettings_copy")); }
    void Paste(int slot) { mStudio.Press(Id(slot, "modelSettings_paste")); }
    int GetUniqueId(const std::string& id) { return mStudio.Get(id).mUniqueId; }

    host::Frame RenderSlot(int slot) {
        mStudio.Set(Id(slot, "showModel"), true);
        host::Frame frame = mStudio.Render();
        mStudio.Set(Id(slot, "showModel"), false);
        return frame;
    }

    Studio mStudio{MakeScene(), "clipboard", {NIMBREL_CLIPBOARD_EFFECT, "cpu", {}}};
};

TEST_F(SlotClipboard, APastedSlotDrawsWhatTheCopiedOneDraws) {
    std::vector<host::Frame> frames;
    for (int slot = 1; slot <= 5; ++slot) frames.push_back(RenderSlot(slot));
    const host::Json before = mStudio.Describe();
    for (int from = 1; from <= 5; ++from) {
        const host::Frame& expected = frames[static_cast<std::size_t>(from - 1)];
        EXPECT_GT(MeanAlpha(expected), 0.01);
        for (int to = 1; to <= 5; ++to) {
            Copy(from);
            Paste(to);
            EXPECT_GT(ComparePsnr(RenderSlot(to), expected), 90) << from << " to " << to;
            EXPECT_TRUE(from == to || ComparePsnr(frames[static_cast<std::size_t>(to - 1)], expected) < 40);
            ASSERT_TRUE(mStudio.mHost->Undo());
            EXPECT_EQ(mStudio.Describe(), before) << from << " to " << to;
        }
    }
    EXPECT_THAT(mStudio.mMessages, IsEmpty());
}

TEST_F(SlotClipboard, TakesTheTextOfAnOlderCatalogue) {
    Copy(2);
    host::Json values = host::Json::parse(ReadClipboard());
    const int scale = GetUniqueId("Model1_align_scale");
    const int gone = 4000000;
    for (host::Json& element : values) {
        if (element["id"] == scale) element["id"] = gone;
    }
    Write(values.dump());
    mStudio.Set("Model4_align_scale", 33);
    Paste(4);
    EXPECT_EQ(mStudio.GetNumber("Model4_align_scale"), 33) << "what the text lacks stays";
    EXPECT_EQ(mStudio.GetNumber("Model4_model"), mStudio.GetNumber("Model2_model"));
    EXPECT_NEAR(mStudio.GetNumber("Model4_transform_yRotation"), 23, 1e-4);
    EXPECT_EQ(mStudio.GetNumber("Model4_effects_splatColor_enabled"), 1);
}

TEST_F(SlotClipboard, RefusesOtherTextsAndChangesNothing) {
    const std::string scale = std::to_string(GetUniqueId("Model1_align_scale"));
    const std::string file = std::to_string(GetUniqueId("Model1_model"));
    const std::string popup = std::to_string(GetUniqueId("Model1_crop_shape_type"));
    const std::string ramp = std::to_string(GetUniqueId("Model1_effects_splatOpacity_ramp"));
    const std::string opacity = std::to_string(GetUniqueId("Model1_effects_splatOpacity_enabled"));
    const std::string first = R"([{"id": )" + file + R"(, "value": )" +
                              host::Json(GetModelFile(500, 0).string()).dump() + R"(}, {"id": )" + opacity +
                              R"(, "value": true}, {"id": )";
    const struct {
        std::string mText;
        const char* mMessage;
    } cases[] = {
        {"", "Failed to get a text from the clipboard"},
        {"hello",
         "Unexpected exception with message \"[json.exception.parse_error.101] parse error at line 1, column 1"},
        {"[1, 2]", "[json.exception.type_error.304] cannot use at() with number"},
        {"{\"id\": 7}", "[json.exception.type_error.304] cannot use at() with number"},
        {R"([{"id": "7", "value": 1}])", "[json.exception.type_error.302] type must be number, but is string"},
        {R"([{"id": )" + scale + R"(, "value": "big"}])", "type must be number, but is string"},
        {R"([{"id": )" + file + R"(, "value": 5}])", "type must be string, but is number"},
        // Behind values that could be set.
        {first + scale + R"(, "value": []}])", "type must be number, but is array"},
        {first + popup + R"(, "value": 2}])", "has 2 choices, but the value is 2"},
        {first + popup + R"(, "value": -1}])", "has 2 choices, but the value is -1"},
        {first + ramp + R"(, "value": {"type": "round"}}])", "type must be number, but is string"},
    };
    const host::Json before = mStudio.Describe();
    for (const auto& [text, message] : cases) {
        Write(text);
        try {
            Paste(2);
            ADD_FAILURE() << text;
        } catch (const host::EffectError& error) {
            EXPECT_THAT(error.what(), HasSubstr(message)) << text;
            EXPECT_EQ(error.GetCode(), 512);
        }
        EXPECT_FALSE(mStudio.mHost->Undo()) << text;
        EXPECT_EQ(mStudio.Describe(), before) << text;
    }
    // A clipboard that takes no text leaves the settings uncopied, without a word.
    std::filesystem::remove(NIMBREL_TEST_CLIPBOARD);
    std::filesystem::create_directory(NIMBREL_TEST_CLIPBOARD);
    Copy(1);
    EXPECT_THAT(mStudio.mMessages, IsEmpty());
    EXPECT_THROW(Paste(1), host::EffectError);
}

}  // namespace
}  // namespace nimbrel::endtoend
