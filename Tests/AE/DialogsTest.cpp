#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "FakeHost.h"
#include "PluginBase/AE/ThreadContextAE.h"
#include "TestPlugin.h"

namespace {

std::string sScript;
A_Boolean sScripting = 1;

TEST(Dialogs, ATextIsShownByOneScript) {
    test::FakeHost host;
    AEGP_UtilitySuite6 availability{};
    availability.AEGP_IsScriptingAvailable = [](A_Boolean* available) -> A_Err { return *available = sScripting, 0; };
    host.AddSuite(kAEGPUtilitySuite, kAEGPUtilitySuiteVersion6, &availability);
    AEGP_UtilitySuite5 execution{};
    execution.AEGP_ExecuteScript = [](AEGP_PluginID, const A_char* script, A_Boolean encoding, AEGP_MemHandle* result,
                                      AEGP_MemHandle*) -> A_Err {
        sScript = script;
        EXPECT_EQ(encoding, 0);
        return *result = nullptr, 0;
    };
    host.AddSuite(kAEGPUtilitySuite, kAEGPUtilitySuiteVersion5, &execution);
    const zeb::ThreadContextScope scope(&host.mInData, &host.mOutData, nullptr);
    test::TestPlugin plugin;
    EXPECT_TRUE(plugin.ShowTextDialog("two\nlines \"quoted\" \\", "Title"));
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
    sScript.clear();
    sScripting = 0;
    EXPECT_TRUE(plugin.ShowTextDialog("x", "y"));
    EXPECT_EQ(sScript, "");
}

}  // namespace
