#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "FakeHost.h"
#include "PluginBase/AE/AllocatorAE.h"
#include "PluginBase/AE/ArbHandlerAE.h"
#include "PluginBase/AE/ParameterAccessAE.h"
#include "PluginBase/AE/ThreadContextAE.h"
#include "PluginBase/Exception.h"
#include "PluginBase/Parameters/Custom/Ramp.h"
#include "PluginBase/Parameters/ParametersManagerBase.h"
#include "TestPlugin.h"

namespace {

using testing::HasSubstr;

constexpr double kPi = 3.14159265358979323846;

/// A layer of 400 by 200 at half resolution in x and a third in y.
class ParameterAccess : public testing::Test {
protected:
    ParameterAccess() : mManager(test::MakeManager()) {
        mHost.UseParams(std::vector<PF_ParamDef>(test::kCatalogueSize));
        mHost.mInData.downsample_x = {1, 2};
        mHost.mInData.downsample_y = {1, 3};
        mScope.emplace(&mHost.mInData, &mHost.mOutData, mHost.GetParams());
        Def(test::kPercent).u.fs_d.value = 50.0;
        Def(test::kLength).u.fs_d.value = 50.0;
        Def(test::kCount).u.sd.value = 7;
        Def(test::kAngle).u.ad.value = 180 * 65536;
        Def(test::kColor).u.cd.value = {255, 51, 102, 255};
        for (const auto index : {test::kRelativePoint, test::kAbsolutePoint}) {
            Def(index).u.point3d_d.x_value = 100.0;  // the centre: 200 of 400 pixels
            Def(index).u.point3d_d.y_value = 100.0 / 3.0;
            Def(index).u.point3d_d.z_value = 25.0;
        }
        Def(test::kCheckbox).u.bd.value = 1;
        Def(test::kPopup).u.pd.value = 1;
    }

    PF_ParamDef& Def(std::int32_t catalogueIndex) {
        const auto index = mManager->GetTable().at(static_cast<std::size_t>(catalogueIndex)).mParameterIndex;
        return mHost.mParams.at(static_cast<std::size_t>(index));
    }

    static void ExpectNear(const glm::vec3& value, const glm::vec3& expected) {
        for (int i = 0; i < 3; ++i) EXPECT_NEAR(value[i], expected[i], 1e-4F) << i;
    }

    test::FakeHost mHost;
    zeb::UniquePtr<zeb::ParametersManagerBase> mManager;
    std::optional<zeb::ThreadContextScope> mScope;
    test::TestPlugin mPlugin;
};

template <class Getter>
void ExpectScalars(const Getter& getter) {
    EXPECT_DOUBLE_EQ(getter.GetDouble(test::kPercent), 0.5);
    EXPECT_DOUBLE_EQ(getter.GetDouble(test::kLength), 50.0);
    EXPECT_EQ(getter.GetInt(test::kCount), 7);
    EXPECT_DOUBLE_EQ(getter.GetDouble(test::kAngle), kPi);
    EXPECT_TRUE(getter.GetBool(test::kCheckbox));
    EXPECT_EQ(getter.GetPopup(test::kPopup), 0);
}

TEST_F(ParameterAccess, CurrentValuesComeInLogicUnits) {
    const zeb::ParameterCurrentValueGetterAE getter(*mManager, mHost.GetParams());
    ExpectScalars(getter);
    ExpectNear(getter.GetVec3(test::kColor), {0.2F, 0.4F, 1.0F});
    ExpectNear(getter.GetRawVec3(test::kColor), {0.2F, 0.4F, 1.0F});
    ExpectNear(getter.GetVec3(test::kRelativePoint), {200.0F, 100.0F, 50.0F});
    ExpectNear(getter.GetRawVec3(test::kRelativePoint), {0.5F, 0.5F, 0.25F});  // z by the height
    ExpectNear(getter.GetRawVec3(test::kAbsolutePoint), {200.0F, 100.0F, 50.0F});
}

TEST_F(ParameterAccess, ValuesAtATimeAreCheckedOutAndIn) {
    const zeb::ParameterTemporalValueGetterAE temporal(*mManager);
    const zeb::ParameterCurrentValueGetterFromTemporal getter(*mManager, temporal, zeb::GetCurrentTime(mHost.mInData));
    ExpectScalars(getter);
    EXPECT_THAT(mHost.mCheckoutTime, testing::ElementsAre(30, 10, 300));
    ExpectNear(getter.GetVec3(test::kRelativePoint), {200.0F, 100.0F, 50.0F});
    ExpectNear(getter.GetRawVec3(test::kRelativePoint), {0.5F, 0.5F, 0.125F});  // z by the width
    ExpectNear(getter.GetVec3(test::kColor), {0.2F, 0.4F, 1.0F});
    EXPECT_EQ(mHost.mCheckedOut, 0);
}

TEST_F(ParameterAccess, AFailedCheckoutLeavesNothingCheckedOut) {
    const zeb::ParameterTemporalValueGetterAE getter(*mManager);
    const zeb::TimeValue time{1, 2, 3};
    EXPECT_EQ(getter.GetInt(test::kCount, time), 7);
    mHost.mFailingParam = mManager->GetTable()[test::kAngle].mParameterIndex;
    try {
        getter.GetDouble(test::kAngle, time);
        FAIL();
    } catch (const zeb::Exception& exception) {
        EXPECT_EQ(exception.code, 513);
        EXPECT_THAT(exception.what(), HasSubstr("Failed to call PF_CHECKOUT_PARAM(zeb::InData(), index, time.mTime, "
                                                "time.mTimeStep, time.mTimeScale, &mDef)"));
    }
    // A value that cannot be converted is checked in as well.
    EXPECT_THROW(getter.GetVec3(test::kCount, time), zeb::Exception);
    EXPECT_EQ(mHost.mCheckedOut, 0);
}

TEST_F(ParameterAccess, WrongKindsAndMissingParametersAreRefused) {
    const zeb::ParameterCurrentValueGetterAE getter(*mManager, mHost.GetParams());
    EXPECT_THROW(getter.GetInt(test::kCatalogueSize), std::out_of_range);
    try {
        getter.GetDouble(test::kColor);
        FAIL();
    } catch (const zeb::Exception& exception) {
        EXPECT_THAT(exception.what(), HasSubstr("\"Unsupported control type 8\""));
    }
    EXPECT_THROW(getter.GetVec3(test::kAngle), zeb::Exception);
    EXPECT_THROW(getter.GetBool(test::kSkipped), zeb::Exception);
    EXPECT_THROW(zeb::ParameterCurrentValueGetterAE(*mManager, nullptr).GetInt(test::kCount), zeb::Exception);
}

TEST_F(ParameterAccess, WrittenValuesReadBackAndAreMarked) {
    zeb::ParameterValueSetterAE setter(*mManager, mHost.GetParams(), mPlugin);
    const zeb::ParameterCurrentValueGetterAE getter(*mManager, mHost.GetParams());
    setter.SetDouble(test::kPercent, 0.25);
    EXPECT_DOUBLE_EQ(Def(test::kPercent).u.fs_d.value, 25.0);
    EXPECT_EQ(Def(test::kPercent).uu.change_flags, 1);
    EXPECT_EQ(Def(test::kLength).uu.change_flags, 0);
    setter.SetDouble(test::kAngle, -kPi / 2.0);
    EXPECT_EQ(Def(test::kAngle).u.ad.value, -90 * 65536);
    setter.SetDouble(test::kAngle, kPi * (1.0 + 0.7 / 65536.0 / 180.0));
    EXPECT_EQ(Def(test::kAngle).u.ad.value, 180 * 65536 + 1) << "rounded";
    setter.SetDouble(test::kAngle, 1e30);
    EXPECT_EQ(Def(test::kAngle).u.ad.value, std::numeric_limits<std::int32_t>::max());
    setter.SetPopup(test::kPopup, 2);
    EXPECT_EQ(Def(test::kPopup).u.pd.value, 3);
    setter.SetBool(test::kCheckbox, false);
    EXPECT_EQ(Def(test::kCheckbox).u.bd.value, 0);
    setter.SetInt(test::kCount, -4);
    EXPECT_EQ(Def(test::kCount).u.sd.value, -4);
    setter.SetVec3(test::kColor, {-1.0F, 0.999F, 3.0F});
    EXPECT_EQ(Def(test::kColor).u.cd.value.red, 0);
    EXPECT_EQ(Def(test::kColor).u.cd.value.green, 254);  // 254.7, truncated
    EXPECT_EQ(Def(test::kColor).u.cd.value.blue, 255);
    setter.SetVec3(test::kRelativePoint, {40.0F, 30.0F, 20.0F});
    EXPECT_DOUBLE_EQ(Def(test::kRelativePoint).u.point3d_d.x_value, 20.0);
    EXPECT_DOUBLE_EQ(Def(test::kRelativePoint).u.point3d_d.y_value, 10.0);
    EXPECT_DOUBLE_EQ(Def(test::kRelativePoint).u.point3d_d.z_value, 10.0);
    setter.SetRawVec3(test::kRelativePoint, {0.5F, 0.25F, 0.125F});
    ExpectNear(getter.GetVec3(test::kRelativePoint), {200.0F, 50.0F, 25.0F});
    ExpectNear(getter.GetRawVec3(test::kRelativePoint), {0.5F, 0.25F, 0.125F});
    setter.SetRawVec3(test::kAbsolutePoint, {3.0F, 4.0F, 5.0F});
    ExpectNear(getter.GetVec3(test::kAbsolutePoint), {3.0F, 4.0F, 5.0F});
    EXPECT_THROW(setter.SetDouble(test::kPopup, 1.0), zeb::Exception);
}

TEST_F(ParameterAccess, ADownsampleOfZeroCountsAsFull) {
    mHost.mInData.downsample_x = {0, 0};
    mHost.mInData.downsample_y = {1, 0};
    const zeb::ParameterCurrentValueGetterAE getter(*mManager, mHost.GetParams());
    ExpectNear(getter.GetVec3(test::kAbsolutePoint), {100.0F, 100.0F / 3.0F, 25.0F});
}

}  // namespace
