#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "FakeHost.h"
#include "FakeProject.h"
#include "PluginBase/AE/ThreadContextAE.h"
#include "PluginBase/Exception.h"
#include "TestPlugin.h"

namespace {

PF_Err sPickerError = 0;
PF_PixelFloat sSample{};
std::string sScript;
std::u16string* sResult = nullptr;
A_Boolean sScripting = 1;
std::vector<std::string> sUndo;

PF_Err PickColor(const A_char*, const PF_PixelFloat* sample, PF_Boolean, PF_PixelFloat* picked) {
    sSample = *sample;
    *picked = {0.1F, 0.2F, 0.3F, 0.4F};
    return sPickerError;
}

A_Err IsScripting(A_Boolean* available) { return *available = sScripting, 0; }

A_Err Execute(AEGP_PluginID, const A_char* script, A_Boolean encoding, AEGP_MemHandle* result, AEGP_MemHandle*) {
    sScript = script;
    EXPECT_EQ(encoding, 0);
    if (sResult != nullptr) ++test::FakeProject::Get().mHeld;
    return *result = reinterpret_cast<AEGP_MemHandle>(sResult), 0;
}

class Dialogs : public testing::Test {
protected:
    Dialogs() : mScope(&mHost.mInData, &mHost.mOutData, nullptr) {
        mApp.PF_AppColorPickerDialog = PickColor;
        mHost.AddSuite(kPFAppSuite, kPFAppSuiteVersion6, &mApp);
        mUtility6.AEGP_IsScriptingAvailable = IsScripting;
        mUtility6.AEGP_StartUndoGroup = [](const A_char* name) -> A_Err { return sUndo.emplace_back(name), 0; };
        mUtility6.AEGP_EndUndoGroup = []() -> A_Err { return sUndo.emplace_back("end"), 0; };
        mHost.AddSuite(kAEGPUtilitySuite, kAEGPUtilitySuiteVersion6, &mUtility6);
        mUtility5.AEGP_ExecuteScript = Execute;
        mHost.AddSuite(kAEGPUtilitySuite, kAEGPUtilitySuiteVersion5, &mUtility5);
    }

    test::FakeHost mHost;
    test::FakeProject mProject{mHost};
    PFAppSuite6 mApp{};
    AEGP_UtilitySuite6 mUtility6{};
    AEGP_UtilitySuite5 mUtility5{};
    zeb::ThreadContextScope mScope;
    test::TestPlugin mPlugin;
};

TEST_F(Dialogs, TheColourPickerReordersItsComponents) {
    const glm::vec4 given(0.6F, 0.7F, 0.8F, 0.9F);
    EXPECT_EQ(mPlugin.ColorPickerDialog("t", given), glm::vec4(0.2F, 0.3F, 0.4F, 0.1F));
    EXPECT_FLOAT_EQ(sSample.alpha, 0.9F);
    EXPECT_FLOAT_EQ(sSample.red, 0.6F);
    sPickerError = PF_Interrupt_CANCEL;
    EXPECT_EQ(mPlugin.ColorPickerDialog("t", given), given);
    sPickerError = 4;
    try {
        mPlugin.ColorPickerDialog("t", given);
        FAIL();
    } catch (const zeb::Exception& exception) {
        EXPECT_EQ(exception.code, 4);
        EXPECT_THAT(exception.what(), testing::HasSubstr("\"Failed to show a color picker dialog.\""));
    }
}

TEST_F(Dialogs, ATextIsShownByOneScript) {
    sResult = new std::u16string(u"\u0031");  // the byte '1', then zero
    EXPECT_FALSE(mPlugin.ShowTextDialog("two\nlines \"quoted\" \\", "Title"));
    EXPECT_EQ(sScript,
              "var w = new Window(\"dialog\", \"Title\", undefined, { resizeable : true })\n"
              "w.orientation = \"column\"\n"
              "var h = w.add('edittext {properties: {multiline: true, readonly: true}}')\n"
              "h.minimumSize = [ 600, 400 ]\n"
              "h.alignment = [ \"fill\", \"fill\" ]\n"
              "h.text = \"two\\nlines \\\"quoted\\\" \\\\\"\n"
              "w.add(\"button\", undefined, \"OK\")\n"
              "w.layout.layout()\n"
              "\n"
              "// onResize needed on Mac OS X\n"
              "w.onResizing = w.onResize = function() { this.layout.resize(); }\n"
              "w.show()");
    sResult = nullptr;
    EXPECT_TRUE(mPlugin.ShowTextDialog("x", "y"));
    sScript.clear();
    sScripting = 0;
    EXPECT_TRUE(mPlugin.ShowTextDialog("x", "y"));
    EXPECT_EQ(sScript, "");
    EXPECT_EQ(mProject.mHeld, 0);
}

TEST_F(Dialogs, MessagesAndUndoGroupsReachTheHost) {
    mPlugin.ShowMessage("first", 2);
    mPlugin.ShowMessage("second", 1);
    EXPECT_EQ(mHost.GetMessage(), "first");
    EXPECT_EQ(mHost.mOutData.out_flags, 0);
    mPlugin.StartUndoGroup("Link");
    mPlugin.EndUndoGroup();
    EXPECT_THAT(sUndo, testing::ElementsAre("Link", "end"));
}

}  // namespace
