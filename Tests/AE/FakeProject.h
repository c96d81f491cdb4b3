#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "FakeHost.h"

/// A project with one composition, as far as file paths, streams and the camera need it. Handles are
/// addresses of its objects. What is handed out and must be given back is counted.
namespace test {

struct FakeItem {
    AEGP_ItemType mType = AEGP_ItemType_FOOTAGE;
    std::u16string mName;
    std::u16string mPath;  ///< empty: no file
    FakeItem* mParent = nullptr;
};

struct FakeLayer {
    A_long mId = 0;
    FakeItem* mSource = nullptr;
    bool mVideo = true;
};

struct FakeStream {
    A_long mLayerId = 0;
    std::u16string mName;
    A_u_long mFlags = 0;
};

class FakeProject {
public:
    explicit FakeProject(FakeHost& host);
    ~FakeProject();

    static FakeProject& Get();

    FakeItem& AddItem(AEGP_ItemType type, std::u16string name, std::u16string path);
    /// Puts a layer at the bottom.
    FakeLayer& AddLayer(FakeItem* source);
    FakeLayer* FindLayer(A_long id);

    std::vector<std::unique_ptr<FakeItem>> mItems;  ///< the first is the root folder
    std::vector<std::unique_ptr<FakeLayer>> mLayers;
    FakeLayer* mEffectLayer = nullptr;
    std::map<A_long, FakeStream> mStreams;  ///< by host index
    A_long mNextId = 1;
    bool mLayersValid = true;
    int mImports = 0;
    AEGP_InterpretationStyle mImportStyle = 0;
    int mReorders = 0;
    int mNumLayersError = 0;
    int mHeld = 0;  ///< effects, streams, values, memory handles and footage in the caller's hands

    // The camera; null for none.
    FakeLayer* mCamera = nullptr;
    A_Matrix4 mCameraToWorld{};
    double mZoom = 0.0;
    AEGP_CameraType mCameraType = AEGP_CameraType_PERSPECTIVE;
    A_Time mCameraTime{};  ///< of the last question

    // Controls of "PF Param Utils Suite".
    std::vector<std::pair<A_long, PF_ParamDef>> mUpdated;
    PF_Err mUpdateError = 0;

private:
    AEGP_PFInterfaceSuite1 mInterface{};
    AEGP_EffectSuite4 mEffect{};
    AEGP_StreamSuite5 mStream{};
    AEGP_StreamSuite2 mStream2{};
    AEGP_DynamicStreamSuite4 mDynamic{};
    AEGP_LayerSuite8 mLayer{};
    AEGP_ItemSuite6 mItem6{};
    AEGP_ItemSuite9 mItem9{};
    AEGP_FootageSuite5 mFootage{};
    AEGP_ProjSuite6 mProj{};
    AEGP_MemorySuite1 mMemory{};
    AEGP_CameraSuite2 mCameraSuite{};
    PF_ParamUtilsSuite3 mParamUtils{};
};

}  // namespace test
