#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "FakeHost.h"
#include "FakeProject.h"
#include "PluginBase/AE/AEGPObjects.h"
#include "PluginBase/AE/ParameterAccessAE.h"
#include "PluginBase/AE/ThreadContextAE.h"
#include "PluginBase/Exception.h"
#include "PluginBase/Parameters/ParametersManagerBase.h"
#include "TestPlugin.h"

namespace {

const std::u16string kPath = u"C:\\models\\\u00e4.ply";

class FilePath : public testing::Test {
protected:
    FilePath() : mManager(test::MakeManager()), mScope(&mHost.mInData, &mHost.mOutData, nullptr) {}
    void TearDown() override { EXPECT_EQ(mProject.mHeld, 0); }

    A_long& LayerId() { return mProject.mStreams[mManager->GetTable()[test::kFile].mParameterIndex].mLayerId; }
    void Set(const std::u16string& path) { mSetter.SetString(test::kFile, path); }
    std::u16string Get() const { return mGetter.GetString(test::kFile); }

    test::FakeHost mHost;
    test::FakeProject mProject{mHost};
    zeb::UniquePtr<zeb::ParametersManagerBase> mManager;
    zeb::ThreadContextScope mScope;
    test::TestPlugin mPlugin;
    zeb::ParameterValueSetterAE mSetter{*mManager, nullptr, mPlugin};
    zeb::ParameterCurrentValueGetterAE mGetter{*mManager, nullptr};
};

TEST_F(FilePath, ReadsTheFootageOfTheChosenLayer) {
    EXPECT_EQ(Get(), u"");
    LayerId() = mProject.AddLayer(&mProject.AddItem(AEGP_ItemType_FOOTAGE, u"a", kPath)).mId;
    EXPECT_EQ(Get(), kPath);
    EXPECT_EQ(mHost.GetMessage(), "");
    EXPECT_EQ(zeb::ParameterTemporalValueGetterAE(*mManager).GetString(test::kFile, {}), kPath);
}

TEST_F(FilePath, WhatIsNoFileShowsAMessage) {
    LayerId() = mProject.AddLayer(&mProject.AddItem(AEGP_ItemType_COMP, u"c", kPath)).mId;
    EXPECT_EQ(Get(), u"");
    EXPECT_EQ(mHost.GetMessage(), "Failed to get a path: the layer must be of type footage");
    mHost.mOutData.return_msg[0] = '\0';
    LayerId() = mProject.mEffectLayer->mId;  // no source at all
    EXPECT_EQ(Get(), u"");
    EXPECT_EQ(mHost.GetMessage(), "Failed to get a path: the layer must be of type footage");
    mHost.mOutData.return_msg[0] = '\0';
    LayerId() = mProject.AddLayer(&mProject.AddItem(AEGP_ItemType_FOOTAGE, u"solid", {})).mId;
    EXPECT_EQ(Get(), u"");
    EXPECT_EQ(mHost.GetMessage(), "Failed to get a path: the footage is not an imported file");
    EXPECT_EQ(mHost.mOutData.out_flags, 0);
}

TEST_F(FilePath, SettingTakesTheFirstOfFiveRoads) {
    // Nothing chosen, nothing wanted.
    Set(u"");
    EXPECT_EQ(LayerId(), 0);

    // The file is nowhere: it is imported into the effect's folder, below the effect's layer, invisible.
    Set(kPath);
    EXPECT_EQ(mProject.mImports, 1);
    EXPECT_EQ(mProject.mImportStyle, 2);
    ASSERT_EQ(mProject.mLayers.size(), 2U);
    EXPECT_EQ(mProject.mLayers[0].get(), mProject.mEffectLayer);
    EXPECT_FALSE(mProject.mLayers[1]->mVideo);
    EXPECT_EQ(LayerId(), mProject.mLayers[1]->mId);
    const test::FakeItem* item = mProject.mLayers[1]->mSource;
    EXPECT_EQ(item->mPath, kPath);
    ASSERT_NE(item->mParent, nullptr);
    EXPECT_EQ(item->mParent->mName, u"Imported");
    EXPECT_EQ(item->mParent->mParent, mProject.mItems.front().get());

    // It is chosen already.
    const A_long chosen = LayerId();
    Set(kPath);
    EXPECT_EQ(LayerId(), chosen);
    // A layer has it.
    LayerId() = 0;
    Set(kPath);
    EXPECT_EQ(LayerId(), chosen);
    EXPECT_EQ(mProject.mLayers.size(), 2U);
    // The project has it, but no layer; the effect's layer is not the topmost.
    mProject.mLayers.pop_back();
    mProject.mLayers.insert(mProject.mLayers.begin(), std::make_unique<test::FakeLayer>(test::FakeLayer{99, nullptr}));
    LayerId() = 0;
    Set(kPath);
    EXPECT_EQ(mProject.mImports, 1);
    ASSERT_EQ(mProject.mLayers.size(), 3U);
    EXPECT_EQ(mProject.mLayers[1].get(), mProject.mEffectLayer);
    EXPECT_EQ(LayerId(), mProject.mLayers[2]->mId);
    // Another file goes into the same folder.
    Set(u"b.ply");
    EXPECT_EQ(mProject.mItems.back()->mParent, item->mParent);
    // Nothing is wanted any more.
    Set(u"");
    EXPECT_EQ(LayerId(), 0);
}

TEST_F(FilePath, ARefusedLayerClearsTheParameter) {
    mProject.mLayersValid = false;
    LayerId() = mProject.mEffectLayer->mId;
    Set(kPath);
    EXPECT_EQ(LayerId(), 0);
    EXPECT_EQ(mProject.mLayers.size(), 1U);
    LayerId() = 5;
    mSetter.ClearString(test::kFile);
    EXPECT_EQ(LayerId(), 0);
}

TEST_F(FilePath, AFailingCallIsNamedByItsText) {
    mProject.mNumLayersError = 5;
    try {
        Set(kPath);
        FAIL();
    } catch (const zeb::Exception& exception) {
        EXPECT_EQ(exception.code, 5);
        EXPECT_THAT(exception.what(), testing::HasSubstr("Throw in function zeb::AEGP::Comp::GetCompNumLayers() with "
                                                         "message \"Failed to call GetSuites().LayerSuite8()->"
                                                         "AEGP_GetCompNumLayers(mCompHandle, &numLayers)\""));
    }
}

TEST_F(FilePath, LayersAreMovedJustBelowAnother) {
    for (int i = 0; i < 3; ++i) mProject.AddLayer(nullptr);
    const auto layer = [this](std::size_t i) {
        return zeb::AEGP::Layer(reinterpret_cast<AEGP_LayerH>(mProject.mLayers[i].get()));
    };
    // From above, from below, and from where it is already: ids begin as 1 2 3 4.
    const struct {
        std::size_t mMoved, mReference;
        std::vector<A_long> mIds;
        int mReorders;
    } rows[] = {{0, 2, {2, 3, 1, 4}, 1}, {3, 0, {2, 4, 3, 1}, 2}, {1, 0, {2, 4, 3, 1}, 2}};
    for (const auto& row : rows) {
        zeb::AEGP::MoveLayerBelow(layer(row.mMoved), layer(row.mReference));
        std::vector<A_long> ids;
        for (const auto& each : mProject.mLayers) ids.push_back(each->mId);
        EXPECT_EQ(ids, row.mIds);
        EXPECT_EQ(mProject.mReorders, row.mReorders);
    }
}

}  // namespace
