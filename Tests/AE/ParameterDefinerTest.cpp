#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "FakeHost.h"
#include "PluginBase/AE/ArbHandlerAE.h"
#include "PluginBase/AE/ParameterAccessAE.h"
#include "PluginBase/AE/ThreadContextAE.h"
#include "PluginBase/Exception.h"
#include "PluginBase/Parameters/ParametersManagerBase.h"
#include "TestPlugin.h"

namespace {

class ParameterDefiner : public testing::Test {
protected:
    void Define() {
        const zeb::ThreadContextScope scope(&mHost.mInData, &mHost.mOutData, nullptr);
        const auto properties = mManager->MakeInitialProperties();
        zeb::ParameterDefinerAE definer(*mManager, *properties, mTexts);
        mManager->DefineParameters(definer);
    }
    const PF_ParamDef& Find(A_long uniqueId) const {
        for (const PF_ParamDef& def : mHost.mAdded) {
            if (def.uu.id == uniqueId) return def;
        }
        throw std::out_of_range("not defined");
    }
    void FreeCustoms() {
        const zeb::ThreadContextScope scope(&mHost.mInData, &mHost.mOutData, nullptr);
        for (const PF_ParamDef& def : mHost.mAdded) {
            if (def.param_type == PF_Param_ARBITRARY_DATA)
                static_cast<zeb::ArbHandlerBase*>(def.u.arb_d.refconPV)->Dispose(def.u.arb_d.dephault);
        }
    }

    test::FakeHost mHost;
    zeb::UniquePtr<zeb::ParametersManagerBase> mManager = test::MakeManager();
    std::deque<std::string> mTexts;
};

TEST_F(ParameterDefiner, EveryKindHasItsCommonPart) {
    Define();
    const struct {
        A_long mId, mType;
        const char* mName;
        A_long mFlags;
    } rows[] = {
        {101, 13, "Group", 0},      {102, 10, "Percent", 2 | 32}, {103, 10, "Length", 32},
        {104, 1, "Count", 64 | 32}, {105, 3, "Angle", 32},        {106, 5, "Color", 32},
        {107, 18, "Relative", 32},  {108, 18, "Absolute", 32},    {109, 4, "A check box whose name is longe", 32},
        {110, 7, "Popup", 32},      {111, 0, "File", 32},         {112, 15, "", 64},
        {113, 11, "Ramp", 32},      {114, 11, "Gradient", 32},    {115, 14, "", 0},
        {117, 0, "Clip", 32},
    };
    ASSERT_EQ(mHost.mAdded.size(), std::size(rows));
    EXPECT_EQ(mHost.mOutData.num_params, static_cast<A_long>(std::size(rows)) + 1);
    for (std::size_t i = 0; i < std::size(rows); ++i) {
        const PF_ParamDef& def = mHost.mAdded[i];
        EXPECT_EQ(def.uu.id, rows[i].mId);
        EXPECT_EQ(def.param_type, rows[i].mType) << rows[i].mId;
        EXPECT_EQ(def.flags, rows[i].mFlags) << rows[i].mId;
        EXPECT_STREQ(def.name, rows[i].mName);
    }
    FreeCustoms();
}

TEST_F(ParameterDefiner, EveryKindHasItsValues) {
    Define();
    const PF_FloatSliderDef& percent = Find(102).u.fs_d;
    EXPECT_DOUBLE_EQ(percent.value, 50.0);
    EXPECT_FLOAT_EQ(percent.dephault, 50.0F);
    EXPECT_FLOAT_EQ(percent.valid_min, 0.0F);
    EXPECT_FLOAT_EQ(percent.valid_max, std::numeric_limits<float>::max());
    EXPECT_FLOAT_EQ(percent.slider_max, 200.0F);
    EXPECT_EQ(percent.display_flags, 1);
    EXPECT_EQ(percent.precision, 2);
    EXPECT_FLOAT_EQ(percent.curve_tolerance, 0.05F);
    const PF_FloatSliderDef& length = Find(103).u.fs_d;
    EXPECT_DOUBLE_EQ(length.value, 12.5);
    EXPECT_EQ(length.display_flags, 0);
    EXPECT_EQ(length.precision, 1);
    EXPECT_FLOAT_EQ(length.valid_min, -10.0F);
    const PF_SliderDef& count = Find(104).u.sd;
    EXPECT_THAT(std::vector<int>({count.value, count.dephault, count.valid_min, count.valid_max, count.slider_min,
                                  count.slider_max}),
                testing::ElementsAre(3, 3, 1, 9, 2, 8));
    EXPECT_EQ(Find(105).u.ad.value, 0);
    const PF_ColorDef& color = Find(106).u.cd;
    EXPECT_THAT(std::vector<int>({color.value.alpha, color.value.red, color.value.green, color.value.blue}),
                testing::ElementsAre(255, 255, 127, 255));
    EXPECT_EQ(color.dephault.green, 127);
    const PF_Point3DDef& point = Find(107).u.point3d_d;
    EXPECT_THAT(std::vector<double>({point.x_value, point.y_value, point.z_value}),
                testing::ElementsAre(0.5, 0.25, -1.0));
    EXPECT_THAT(std::vector<double>({point.x_dephault, point.y_dephault, point.z_dephault}),
                testing::ElementsAre(50.0, 25.0, -100.0));
    EXPECT_EQ(Find(109).u.bd.value, 1);
    EXPECT_EQ(Find(109).u.bd.dephault, 1);
    EXPECT_STREQ(Find(109).u.bd.u.nameptr, "beside");
    const PF_PopupDef& popup = Find(110).u.pd;
    EXPECT_EQ(popup.num_choices, 3);
    EXPECT_EQ(popup.value, 2);
    EXPECT_EQ(popup.dephault, 2);
    EXPECT_STREQ(popup.u.namesptr, "One|Two|Three");
    EXPECT_STREQ(Find(112).u.button_d.u.namesptr, "Press");
    FreeCustoms();
}

TEST_F(ParameterDefiner, CustomControlsHoldTheirDefaultAndAreRegistered) {
    Define();
    const PF_ParamDef& ramp = Find(113);
    EXPECT_EQ(ramp.ui_width, 150);
    EXPECT_EQ(ramp.ui_height, 140);
    EXPECT_EQ(ramp.ui_flags, 130);
    EXPECT_EQ(ramp.u.arb_d.id, 0);
    EXPECT_EQ(ramp.u.arb_d.value, nullptr);
    EXPECT_EQ(ramp.u.arb_d.refconPV, &zeb::GetArbHandler("Ramp"));
    EXPECT_EQ(Find(114).ui_height, 50);
    {
        const zeb::ThreadContextScope scope(&mHost.mInData, &mHost.mOutData, nullptr);
        const auto object = zeb::GetArbHandler("Ramp").LockObject(ramp.u.arb_d.dephault);
        EXPECT_EQ(nlohmann::json::parse(object->ToJSON())["keys"], nlohmann::json::parse("[[0.0, 0.25], [1.0, 0.75]]"));
    }
    ASSERT_EQ(mHost.mRegisteredUI.size(), 1U);
    EXPECT_EQ(mHost.mRegisteredUI[0].events, 4);
    EXPECT_EQ(mHost.mHandles, 2);
    EXPECT_EQ(mHost.mLocks, 0);
    FreeCustoms();
    EXPECT_EQ(mHost.mHandles, 0);
}

TEST_F(ParameterDefiner, ARefusalIsReportedAndFreesTheDefault) {
    mHost.mAddError = 514;
    try {
        Define();
        FAIL();
    } catch (const zeb::Exception& exception) {
        EXPECT_EQ(exception.code, 514);
        EXPECT_THAT(exception.what(), testing::HasSubstr("\"Failed to call PF_ADD_PARAM(zeb::InData(), -1, &def)\""));
    }
    const zeb::ThreadContextScope scope(&mHost.mInData, &mHost.mOutData, nullptr);
    const auto properties = mManager->MakeInitialProperties();
    {
        zeb::ParameterDefinerAE definer(*mManager, *properties, mTexts);
        const zeb::ParameterDescription& ramp = mManager->GetTable()[test::kRamp];
        EXPECT_THROW(definer.DefineCustom(ramp, ramp.GetSettings<zeb::ParameterCustomSettings>()), zeb::Exception);
    }
    EXPECT_EQ(mHost.mHandles, 0);
    EXPECT_TRUE(mHost.mRegisteredUI.empty());
}

}  // namespace
