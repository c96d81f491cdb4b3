#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <stdexcept>

#include "FakeHost.h"
#include "HostInterface/NimbrelDeviceSuite.h"
#include "NimbrelVersion.h"
#include "PluginBase/AE/AEGPObjects.h"
#include "PluginBase/AE/CommandDispatch.h"
#include "PluginBase/AE/ThreadContextAE.h"
#include "PluginBase/Exception.h"
#include "TestPlugin.h"

namespace {

using testing::HasSubstr;

class CommandDispatch : public testing::Test {
protected:
    void TearDown() override {
        test::TestPlugin::sOnAbout = nullptr;
        test::TestPlugin::sCommands.clear();
        EXPECT_EQ(mHost.mHeldSuites, 0);
        EXPECT_FALSE(zeb::HasThreadContext());
    }

    PF_Err Run(PF_Cmd command, void* extra = nullptr) {
        mHost.mOutData.out_flags = 0;
        const PF_Err error =
            zeb::RunCommand(command, &mHost.mInData, &mHost.mOutData, mHost.GetParams(), extra, zeb::CreatePlugin);
        // The host hands the effect's handle back with the next command.
        if (command == PF_Cmd_GLOBAL_SETUP) mHost.mInData.global_data = mHost.mOutData.global_data;
        return error;
    }

    test::FakeHost mHost;
};

TEST_F(CommandDispatch, TheObjectLivesFromSetupToSetdown) {
    ASSERT_EQ(Run(PF_Cmd_GLOBAL_SETUP), 0) << mHost.GetMessage();
    EXPECT_EQ(test::TestPlugin::sAlive, 1);
    EXPECT_EQ(mHost.mHandles, 1);
    EXPECT_EQ(mHost.mLocks, 0);
    EXPECT_EQ(test::GetHandleSize(mHost.mOutData.global_data), 80U);
    EXPECT_EQ(mHost.mOutData.my_version, 0x88600U);
    EXPECT_EQ(mHost.mOutData.out_flags, 0x400);
    EXPECT_EQ(mHost.mOutData.out_flags2, 0x400);
    EXPECT_EQ(mHost.mRegisteredName, "Nimbrel");
    EXPECT_EQ(zeb::AEGP::GetPluginId(), 77);
    EXPECT_EQ(Run(PF_Cmd_ABOUT), 0);
    EXPECT_THAT(mHost.GetMessage(), testing::StartsWith("Nimbrel, v" NIMBREL_VERSION "\r"));
    EXPECT_EQ(Run(PF_Cmd_GLOBAL_SETDOWN), 0);
    EXPECT_EQ(test::TestPlugin::sAlive, 0);
    EXPECT_EQ(mHost.mHandles, 0);
}

TEST_F(CommandDispatch, EveryFailureBecomesACodeAndAMessage) {
    ASSERT_EQ(Run(PF_Cmd_GLOBAL_SETUP), 0);
    const struct {
        std::function<void()> mThrow;
        PF_Err mCode;
        const char* mMessage;
    } rows[] = {
        {[] { ZEB_THROW(517, "stopped"); }, 517, "with message \"stopped\" and code PF_Interrupt_CANCEL"},
        {[] { ZEB_THROW_AS(zeb::RenderException, 4, "lost"); }, 4,
         "with message \"lost\" and code PF_Err_OUT_OF_MEMORY"},
        {[] { throw std::runtime_error("plain"); }, 512, "Unexpected exception with message \"plain\""},
        {[] { throw std::out_of_range(std::string(600, 'z')); }, 512, "Unexpected exception with message \"zzz"},
        {[] { throw 514; }, 514, "Unexpected exception with code PF_Err_UNRECOGNIZED_PARAM_TYPE"},
        {[] { throw 99; }, 99, "Unexpected exception with code 99"},
        {[] { throw 'c'; }, 512, "Unexpected exception"},
        {[] {
             zeb::SetMessage(zeb::OutData(), "first");
             throw 4;
         },
         4, "first"},
    };
    for (const auto& row : rows) {
        test::TestPlugin::sOnAbout = row.mThrow;
        EXPECT_EQ(Run(PF_Cmd_ABOUT), row.mCode);
        EXPECT_THAT(mHost.GetMessage(), HasSubstr(row.mMessage));
        EXPECT_EQ(mHost.mOutData.out_flags, mHost.GetMessage() == "first" ? 0 : 0x100);
    }
    EXPECT_EQ(Run(PF_Cmd_GLOBAL_SETDOWN), 0);
}

TEST_F(CommandDispatch, CommandsThatAreNotServedDoNothing) {
    std::strcpy(mHost.mOutData.return_msg, "old");
    for (const PF_Cmd command : {-1, 2, 9, 10, 11, 12, 16, 17, 19, 20, 21, 25, 27, 29, 31, 1000}) {
        EXPECT_EQ(Run(command), 0) << command;
        EXPECT_EQ(mHost.GetMessage(), "") << command;
    }
    // Served ones need the object.
    EXPECT_EQ(Run(PF_Cmd_PARAMS_SETUP), 512);
    EXPECT_THAT(mHost.GetMessage(), HasSubstr("The effect was not set up"));
    EXPECT_EQ(Run(PF_Cmd_GLOBAL_SETDOWN), 0);
    EXPECT_EQ(zeb::RunCommand(PF_Cmd_GLOBAL_SETUP, nullptr, nullptr, nullptr, nullptr, zeb::CreatePlugin), 512);
}

TEST_F(CommandDispatch, SequenceCommandsAndMissingRecords) {
    ASSERT_EQ(Run(PF_Cmd_GLOBAL_SETUP), 0);
    for (const PF_Cmd command : {5, 6, 7, 8, 28, 18}) EXPECT_EQ(Run(command), 0);
    EXPECT_THAT(test::TestPlugin::sCommands,
                testing::ElementsAre("setup", "resetup", "flatten", "setdown", "flattened"));
    for (const PF_Cmd command : {13, 15, 22, 23, 24}) {
        EXPECT_EQ(Run(command), 516) << command;
        EXPECT_THAT(mHost.GetMessage(), HasSubstr("came without its data"));
    }
    EXPECT_EQ(Run(PF_Cmd_GLOBAL_SETDOWN), 0);
}

TEST_F(CommandDispatch, AFailedSetupLeavesNothingBehind) {
    mHost.mRegisterError = 3;
    EXPECT_EQ(Run(PF_Cmd_GLOBAL_SETUP), 3);
    EXPECT_THAT(mHost.GetMessage(),
                HasSubstr("Failed to call zeb::AEGPSuites().UtilitySuite3()->AEGP_RegisterWithAEGP( "
                          "nullptr, GetPluginName(), &mPluginAEID)"));
    EXPECT_EQ(mHost.mHandles, 0);
    EXPECT_EQ(test::TestPlugin::sAlive, 0);
    EXPECT_EQ(mHost.mOutData.global_data, nullptr);

    EXPECT_EQ(zeb::RunCommand(PF_Cmd_GLOBAL_SETUP, &mHost.mInData, &mHost.mOutData, nullptr, nullptr,
                              []() -> zeb::UniquePtr<zeb::PluginBaseAE> { throw std::bad_alloc(); }),
              512);
    EXPECT_EQ(mHost.mHandles, 0);

    mHost.mOutOfHandles = true;
    EXPECT_EQ(Run(PF_Cmd_GLOBAL_SETUP), 512);
    EXPECT_THAT(mHost.GetMessage(), HasSubstr("Failed to allocate the handle of size 72"));
}

TEST_F(CommandDispatch, AHostWithoutProjectsIsNotRegisteredWith) {
    mHost.mInData.appl_id = 0x50724d72;
    ASSERT_EQ(Run(PF_Cmd_GLOBAL_SETUP), 0);
    EXPECT_EQ(mHost.mRegisteredName, "");
    EXPECT_EQ(zeb::AEGP::GetPluginId(), 0);
    EXPECT_EQ(Run(PF_Cmd_GLOBAL_SETDOWN), 0);
}

std::vector<std::string> sReports;

TEST_F(CommandDispatch, TheHostsDeviceSuiteIsHeldWhileTheEffectLives) {
    NimbrelDeviceSuite2 suite{};
    suite.GetRequestedDevice = [](const char** request) -> std::int32_t { return *request = "cpu", 0; };
    suite.GetValidationRequested = [](std::uint8_t* requested) -> std::int32_t { return *requested = 1, 0; };
    suite.GetProcessorLimit = [](std::int32_t* processors) -> std::int32_t { return *processors = 3, 0; };
    suite.ReportDevice = [](std::int32_t, const char* name, const char*, std::uint8_t, const char*) -> std::int32_t {
        return sReports.emplace_back(name), 0;
    };
    suite.ReportValidationMessage = [](const char* text) -> std::int32_t { return sReports.emplace_back(text), 0; };
    mHost.AddSuite(kNimbrelDeviceSuite, kNimbrelDeviceSuiteVersion2, &suite);
    ASSERT_EQ(Run(PF_Cmd_GLOBAL_SETUP), 0);
    EXPECT_EQ(mHost.mHeldSuites, 1);
    const zeb::render::RenderOptions& options = test::GetRenderOptionsSeen();
    EXPECT_EQ(options.mRequestedDevice, "cpu");
    EXPECT_TRUE(options.mValidation);
    EXPECT_EQ(options.mProcessorLimit, 3U);
    options.mReportDevice({0, "some device", "", true, ""});
    options.mReportValidation("some error");
    EXPECT_THAT(sReports, testing::ElementsAre("some device", "some error"));
    EXPECT_EQ(Run(PF_Cmd_GLOBAL_SETDOWN), 0);
}

}  // namespace
