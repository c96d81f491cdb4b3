#include "FakeDrawbot.h"

#include <fmt/format.h>

namespace test {
namespace {

FakeDrawbot* sDrawbot = nullptr;

SPErr Answer(const char* function) { return sDrawbot->mFailing == function ? 4 : 0; }

template <class... Args>
SPErr Note(const char* function, fmt::format_string<Args...> format, Args&&... args) {
    if (const SPErr error = Answer(function); error != 0) return error;
    sDrawbot->mCalls.push_back(function + (" " + fmt::format(format, std::forward<Args>(args)...)));
    return 0;
}

/// A new object's address is its number.
template <class Ref>
SPErr Make(const char* function, Ref* ref) {
    if (const SPErr error = Answer(function); error != 0) return error;
    ++sDrawbot->mAlive;
    *ref = reinterpret_cast<Ref>(static_cast<std::uintptr_t>(0x1000));
    return 0;
}

std::string Text(const DRAWBOT_ColorRGBA& c) { return fmt::format("{} {} {} {}", c.red, c.green, c.blue, c.alpha); }

PF_Err GetColor(const char* function, int base, PF_App_Color* color) {
    // Each colour number has a colour of its own.
    *color = {static_cast<A_u_short>(base), 32768, 65535};
    return Answer(function);
}

}  // namespace

FakeDrawbot::FakeDrawbot(FakeHost& host) {
    sDrawbot = this;
    mApp.PF_AppGetBgColor = [](PF_App_Color* color) { return GetColor("PF_AppGetBgColor", 999, color); };
    mApp.PF_AppGetColor = [](A_short type, PF_App_Color* color) { return GetColor("PF_AppGetColor", type, color); };
    mApp.PF_InvalidateRect = [](PF_ContextH, const PF_Rect*) -> PF_Err { return ++sDrawbot->mInvalidated, 0; };
    mApp.PF_AppColorPickerDialog = [](const A_char*, const PF_PixelFloat* sample, PF_Boolean,
                                      PF_PixelFloat* picked) -> PF_Err {
        sDrawbot->mPickerAsked.push_back(*sample);
        *picked = sDrawbot->mPicked;
        return sDrawbot->mPickerError;
    };
    mCustomUI.PF_GetDrawingReference = [](PF_ContextH, PF_DrawRef* ref) -> PF_Err {
        *ref = reinterpret_cast<PF_DrawRef>(sDrawbot->mGivesReference ? 0x20 : 0);
        return Answer("PF_GetDrawingReference");
    };
    mDraw.GetSupplier = [](DRAWBOT_DrawRef, DRAWBOT_SupplierRef* ref) -> SPErr {
        *ref = reinterpret_cast<DRAWBOT_SupplierRef>(0x30);
        return Answer("GetSupplier");
    };
    mDraw.GetSurface = [](DRAWBOT_DrawRef, DRAWBOT_SurfaceRef* ref) -> SPErr {
        *ref = reinterpret_cast<DRAWBOT_SurfaceRef>(0x40);
        return Answer("GetSurface");
    };
    mSupplier.NewPen = [](DRAWBOT_SupplierRef, const DRAWBOT_ColorRGBA* color, float size, DRAWBOT_PenRef* ref) {
        const SPErr error = Note("NewPen", "{} of {}", Text(*color), size);
        return error != 0 ? error : Make("NewPen", ref);
    };
    mSupplier.NewBrush = [](DRAWBOT_SupplierRef, const DRAWBOT_ColorRGBA* color, DRAWBOT_BrushRef* ref) {
        const SPErr error = Note("NewBrush", "{}", Text(*color));
        return error != 0 ? error : Make("NewBrush", ref);
    };
    mSupplier.NewPath = [](DRAWBOT_SupplierRef, DRAWBOT_PathRef* ref) { return Make("NewPath", ref); };
    mSupplier.NewImageFromBuffer = [](DRAWBOT_SupplierRef, A_long width, A_long height, A_long rowBytes, A_long layout,
                                      const void* data, DRAWBOT_ImageRef* ref) {
        const auto* bytes = static_cast<const std::uint8_t*>(data);
        sDrawbot->mImage.assign(bytes, bytes + rowBytes * height);
        const SPErr error = Note("NewImageFromBuffer", "{} x {}, {}, layout {}", width, height, rowBytes, layout);
        return error != 0 ? error : Make("NewImageFromBuffer", ref);
    };
    mSupplier.SupportsPixelLayoutBGRA = [](DRAWBOT_SupplierRef, A_Boolean* answer) -> SPErr {
        *answer = sDrawbot->mSupportsBgra;
        return Answer("SupportsPixelLayoutBGRA");
    };
    mSupplier.PrefersPixelLayoutARGB = [](DRAWBOT_SupplierRef, A_Boolean* answer) -> SPErr {
        *answer = sDrawbot->mPrefersArgb;
        return Answer("PrefersPixelLayoutARGB");
    };
    mSupplier.ReleaseObject = [](DRAWBOT_ObjectRef) -> SPErr { return --sDrawbot->mAlive, 0; };
    mSurface.FillPath = [](DRAWBOT_SurfaceRef, DRAWBOT_BrushRef, DRAWBOT_PathRef, A_long type) {
        return Note("FillPath", "{}", type);
    };
    mSurface.StrokePath = [](DRAWBOT_SurfaceRef, DRAWBOT_PenRef, DRAWBOT_PathRef) { return Note("StrokePath", ""); };
    mSurface.DrawImage = [](DRAWBOT_SurfaceRef, DRAWBOT_ImageRef, const DRAWBOT_PointF32* at, float alpha) {
        return Note("DrawImage", "{} {} at {}", at->x, at->y, alpha);
    };
    mPath.MoveTo = [](DRAWBOT_PathRef, float x, float y) { return Note("MoveTo", "{} {}", x, y); };
    mPath.LineTo = [](DRAWBOT_PathRef, float x, float y) { return Note("LineTo", "{} {}", x, y); };
    mPath.AddRect = [](DRAWBOT_PathRef, const DRAWBOT_RectF32* r) {
        return Note("AddRect", "{} {} {} {}", r->left, r->top, r->width, r->height);
    };
    mPath.Close = [](DRAWBOT_PathRef) { return Note("Close", ""); };
    host.AddSuite(kPFAppSuite, kPFAppSuiteVersion6, &mApp);
    host.AddSuite(kPFEffectCustomUISuite, kPFEffectCustomUISuiteVersion2, &mCustomUI);
    host.AddSuite(kDRAWBOT_DrawSuite, kDRAWBOT_DrawSuite_Version1, &mDraw);
    host.AddSuite(kDRAWBOT_SupplierSuite, kDRAWBOT_SupplierSuite_Version1, &mSupplier);
    host.AddSuite(kDRAWBOT_SurfaceSuite, kDRAWBOT_SurfaceSuite_Version2, &mSurface);
    host.AddSuite(kDRAWBOT_PathSuite, kDRAWBOT_PathSuite_Version1, &mPath);
    host.AddSuite(kDRAWBOT_PenSuite, kDRAWBOT_PenSuite_Version1, &mPen);
    host.AddSuite(kDRAWBOT_ImageSuite, kDRAWBOT_ImageSuite_Version1, &mImageSuite);
}

FakeDrawbot::~FakeDrawbot() { sDrawbot = nullptr; }

}  // namespace test
