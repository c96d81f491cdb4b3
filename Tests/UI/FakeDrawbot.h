#pragma once

#include <set>
#include <string>
#include <vector>

#include "../AE/FakeHost.h"

/// The drawing suites of a host, for one object at a time: calls are noted, objects counted, one function may fail.
namespace test {

class FakeDrawbot {
public:
    explicit FakeDrawbot(FakeHost& host);
    ~FakeDrawbot();

    std::vector<std::string> mCalls;  ///< one text for each call that draws or adds to a path
    std::string mFailing;             ///< name of the function that answers 4
    bool mPrefersArgb = true;
    bool mSupportsBgra = true;
    bool mGivesReference = true;
    int mAlive = 0;                           ///< objects made and not released
    std::vector<std::uint8_t> mImage;         ///< bytes of the last image
    int mInvalidated = 0;                     ///< redraws asked for
    std::vector<PF_PixelFloat> mPickerAsked;  ///< colours that the picker was opened with
    PF_PixelFloat mPicked{};
    PF_Err mPickerError = 0;

private:
    PFAppSuite6 mApp{};
    PF_EffectCustomUISuite2 mCustomUI{};
    DRAWBOT_DrawbotSuite1 mDraw{};
    DRAWBOT_SupplierSuite1 mSupplier{};
    DRAWBOT_SurfaceSuite2 mSurface{};
    DRAWBOT_PathSuite1 mPath{};
    DRAWBOT_PenSuite1 mPen{};
    DRAWBOT_ImageSuite1 mImageSuite{};
};

}  // namespace test
