#include "ModelSettingsClipboard.h"

#include <vector>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include "FakeHost.h"
#include "Plugin.h"
#include "PluginBase/AE/ThreadContextAE.h"
#include "PluginBase/Parameters/ParametersManagerBase.h"
#include "RecordingDevice.h"

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

namespace {

class MemoryClipboard final : public Clipboard {
public:
    std::u16string GetText() override { return mText; }
    void SetText(const std::u16string& text) override { mText = text; }
    std::u16string mText;
};

/// As when another program holds the clipboard open.
class FailingClipboard final : public Clipboard {
public:
    std::u16string GetText() override { return {}; }
    void SetText(const std::u16string&) override { ++mCalls; }
    int mCalls = 0;
};

/// The effect with its values and undo groups written down instead of done.
class LoggedPlugin final : public Plugin {
public:
    nlohmann::json GetParameterValues(std::int32_t groupIndex) override {
        mLog.push_back("save " + std::to_string(groupIndex));
        return mValues;
    }
    void LoadValues(const nlohmann::json& values) override { mLog.push_back("load " + values.dump()); }
    void ResetValues(std::int32_t groupIndex) override { mLog.push_back("reset " + std::to_string(groupIndex)); }
    void ShowMessage(const std::string& text, std::int32_t severity) override {
        mLog.push_back(std::to_string(severity) + ": " + text);
    }
    void StartUndoGroup(const std::string& name) override { mLog.push_back("start " + name); }
    void EndUndoGroup() override { mLog.push_back("end"); }

    nlohmann::json mValues;
    std::vector<std::string> mLog;
};

class ModelSettingsClipboardTest : public ::testing::Test {
protected:
    ModelSettingsClipboardTest() { mPlugin.Init(); }
    ~ModelSettingsClipboardTest() override { mPlugin.Deinit(); }

    std::uint32_t GetId(std::size_t index) { return mPlugin.GetParametersManager().GetTable()[index].mUniqueId; }

    test::FakeHost mHost;
    zeb::ThreadContextScope mScope{&mHost.mInData, &mHost.mOutData, nullptr};
    zeb::render::RecordingDevice mDevice;
    LoggedPlugin mPlugin;
    MemoryClipboard mClipboard;
};

/// Slots are 148 entries apart; ids follow no such rule. In slot 1 the anchor point is 6, the scale 7.
TEST_F(ModelSettingsClipboardTest, CopiesInTheNumberingOfTheFirstSlot) {
    mPlugin.mValues = {{{"id", GetId(2 * 148 + 6)}, {"value", {1, 2, 3}}}, {{"id", GetId(2 * 148 + 7)}, {"value", 5}}};
    model_settings::Copy(mPlugin, mClipboard, 2);
    EXPECT_THAT(mPlugin.mLog, ElementsAre("save 296"));
    const nlohmann::json copied = nlohmann::json::parse(mClipboard.mText);
    EXPECT_EQ(copied.dump(),
              (nlohmann::json{{{"id", GetId(6)}, {"value", {1, 2, 3}}}, {{"id", GetId(7)}, {"value", 5}}}).dump());
    EXPECT_EQ(mClipboard.mText.find(u' '), std::u16string::npos) << "compact";

    mPlugin.mValues = {{{"id", 4000000}, {"value", "\xc3\xa4"}}};
    model_settings::Copy(mPlugin, mClipboard, 0);
    EXPECT_EQ(mClipboard.mText, u"[{\"id\":4000000,\"value\":\"\u00e4\"}]") << "the first slot's ids stand as they are";

    FailingClipboard failing;
    model_settings::Copy(mPlugin, failing, 1);
    EXPECT_EQ(failing.mCalls, 1);
}

TEST_F(ModelSettingsClipboardTest, PastesIntoAnySlotAsOneUndoStep) {
    const nlohmann::json values = {{{"id", GetId(7)}, {"value", 5}}, {{"id", 4000000}, {"value", 1}}};
    const std::string text = values.dump();
    mClipboard.mText.assign(text.begin(), text.end());
    model_settings::Paste(mPlugin, mClipboard, 4);
    nlohmann::json moved = values;
    moved[0]["id"] = GetId(4 * 148 + 7);
    EXPECT_THAT(mPlugin.mLog, ElementsAre("start Load Values", "load " + moved.dump(), "end"));
    mPlugin.mLog.clear();
    model_settings::Paste(mPlugin, mClipboard, 0);
    EXPECT_THAT(mPlugin.mLog, ElementsAre("start Load Values", "load " + text, "end"));
    mPlugin.mLog.clear();
    model_settings::Reset(mPlugin, 3);
    EXPECT_THAT(mPlugin.mLog, ElementsAre("start Reset Values", "reset 444", "end"));
}

TEST_F(ModelSettingsClipboardTest, RefusesWhatIsNoSettings) {
    const struct {
        std::u16string mText;
        const char* mError;
    } cases[] = {
        {u"", "unexpected end of input"},
        {u"hello", "parse error"},
        {u"[1, 2]", "cannot use at() with number"},
        {u"[{\"value\": 1}]", "key 'id' not found"},
        {u"[{\"id\": \"7\", \"value\": 1}]", "type must be number, but is string"},
    };
    for (const auto& [text, error] : cases) {
        mPlugin.mLog.clear();
        mClipboard.mText = text;
        try {
            model_settings::Paste(mPlugin, mClipboard, 1);
            ADD_FAILURE() << error;
        } catch (const nlohmann::json::exception& exception) {
            EXPECT_THAT(exception.what(), HasSubstr(error));
        }
        if (text.empty()) {
            EXPECT_THAT(mPlugin.mLog, ElementsAre("1: Failed to get a text from the clipboard"));
        } else {
            EXPECT_THAT(mPlugin.mLog, IsEmpty()) << "nothing is begun";
        }
    }
}

TEST(ProcessClipboard, IsSharedByAllOfTheProcess) {
    const std::unique_ptr<Clipboard> first = MakeClipboard();
    first->SetText(u"a\u00e4\U0001F600");
    EXPECT_EQ(MakeClipboard()->GetText(), u"a\u00e4\U0001F600");
}

}  // namespace
