// Drawing through the host. The texts of failures name the calls in one fixed form, whatever the layout of the source.
#include "PluginBase/AE/GraphicsAE.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

#include <fmt/format.h>

#include "../CheckAE.h"
#include "AcquiredSuiteAE.h"
#include "DrawbotObjectsAE.h"
#include "PluginBase/AE/ThreadContextAE.h"

namespace zeb::ui {
namespace {

using Path = DrawbotReference<DRAWBOT_PathRef>;

constexpr const char* kImageFailure = "Failed to draw an UI image.";

DRAWBOT_ColorRGBA ToDrawbot(const Color& color) { return {color.mRed, color.mGreen, color.mBlue, color.mAlpha}; }

Color ToColor(const PF_App_Color& color) {
    const auto scale = [](A_u_short component) { return static_cast<float>(component) / 65535.0F; };
    return {scale(color.red), scale(color.green), scale(color.blue), 1.0F};
}

/// 0 to 255, truncated; what is no number becomes 0.
std::uint8_t ToByte(float component) {
    return component > 0.0F ? static_cast<std::uint8_t>(std::min(component, 1.0F) * 255.0F) : 0;
}

/// Whole pixels of a length; an image is never larger than the host's largest world.
A_long ToPixels(float length) {
    constexpr float kMax = 30000.0F;
    return length > 0.0F ? static_cast<A_long>(std::min(length, kMax)) : 0;
}

std::vector<std::uint8_t> MakeImage(A_long width, A_long height, const std::vector<Color>& row, bool argb) {
    std::vector<std::uint8_t> pixels;
    pixels.reserve(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 4);
    for (std::size_t i = 0; i < static_cast<std::size_t>(width); ++i) {
        const Color& color = row[std::min(i, row.size() - 1)];
        const std::array<std::uint8_t, 3> rgb = {ToByte(color.mRed), ToByte(color.mGreen), ToByte(color.mBlue)};
        if (argb)
            pixels.insert(pixels.end(), {255, rgb[0], rgb[1], rgb[2]});
        else
            pixels.insert(pixels.end(), {rgb[2], rgb[1], rgb[0], 255});
    }
    const std::size_t rowBytes = pixels.size();
    pixels.resize(rowBytes * static_cast<std::size_t>(height));
    for (auto to = pixels.begin() + static_cast<std::ptrdiff_t>(rowBytes); to != pixels.end();
         to += static_cast<std::ptrdiff_t>(rowBytes))
        std::copy_n(pixels.begin(), rowBytes, to);
    return pixels;
}

}  // namespace

struct GraphicsAE::HeldSuites {
    explicit HeldSuites(SPBasicSuite* basic)
        : mApp(basic, kPFAppSuite, kPFAppSuiteVersion6),
          mDraw(basic, kDRAWBOT_DrawSuite, kDRAWBOT_DrawSuite_Version1),
          mSupplier(basic, kDRAWBOT_SupplierSuite, kDRAWBOT_SupplierSuite_Version1),
          mSurface(basic, kDRAWBOT_SurfaceSuite, kDRAWBOT_SurfaceSuite_Version2),
          mPath(basic, kDRAWBOT_PathSuite, kDRAWBOT_PathSuite_Version1) {}

    /// Without the suites of dashes and of pictures' scale, which nothing here needs.
    DRAWBOT_Suites Get() const {
        DRAWBOT_Suites suites{};
        Put(mDraw.Get(), suites.drawbot_suiteP);
        Put(mSupplier.Get(), suites.supplier_suiteP);
        Put(mSurface.Get(), suites.surface_suiteP);
        Put(mPath.Get(), suites.path_suiteP);
        return suites;
    }

    /// The host's record has members that are not const, and of the newest version of each suite.
    template <class Member>
    static void Put(const void* suite, Member*& member) {
        member = static_cast<Member*>(const_cast<void*>(suite));
    }

    AcquiredSuiteAE<PFAppSuite6> mApp;
    AcquiredSuiteAE<DRAWBOT_DrawbotSuite1> mDraw;
    AcquiredSuiteAE<DRAWBOT_SupplierSuite1> mSupplier;
    AcquiredSuiteAE<DRAWBOT_SurfaceSuite2> mSurface;
    AcquiredSuiteAE<DRAWBOT_PathSuite1> mPath;
};

GraphicsAE::GraphicsAE(PF_EventExtra& extra)
    : mHeld(std::make_unique<HeldSuites>(AEGPSuites().GetBasicSuite())),
      mAppSuite(mHeld->mApp.Get()),
      mSuites(mHeld->Get()) {
    const AcquiredSuiteAE<PF_EffectCustomUISuite2> customUI(AEGPSuites().GetBasicSuite(), kPFEffectCustomUISuite,
                                                            kPFEffectCustomUISuiteVersion2);
    DRAWBOT_DrawRef drawRef = nullptr;
    ZEB_CHECK_TEXT(customUI->PF_GetDrawingReference(extra.contextH, &drawRef),
                   "Failed to call customUISuite->PF_GetDrawingReference(eventExtra->contextH, &drawRef)");
    if (drawRef == nullptr) ZEB_THROW(kInternalError, "The host gave no drawing reference");
    ZEB_CHECK(mSuites.drawbot_suiteP->GetSupplier(drawRef, &mSupplier));
    ZEB_CHECK(mSuites.drawbot_suiteP->GetSurface(drawRef, &mSurface));
    A_Boolean supportsPixelLayoutBGRA = 0;
    ZEB_CHECK_TEXT(mSuites.supplier_suiteP->SupportsPixelLayoutBGRA(mSupplier, &supportsPixelLayoutBGRA),
                   "Failed to call mSuites.supplier_suiteP->SupportsPixelLayoutBGRA( mSupplier, "
                   "&supportsPixelLayoutBGRA)");
    mSupportsBgra = supportsPixelLayoutBGRA != 0;
}

GraphicsAE::~GraphicsAE() = default;

Color GraphicsAE::GetStandardColor(StandardColor number) {
    // The host's colour of each number but the first, which is the panel's background.
    constexpr std::array<PF_App_ColorType, 8> kTypes = {
        PF_App_Color_NONE, PF_App_Color_FRAME, PF_App_Color_HILITE, PF_App_Color_HILITE, PF_App_Color_HILITE_DISABLED,
        PF_App_Color_TEXT, PF_App_Color_TEXT,  PF_App_Color_TEXT};
    const auto index = static_cast<std::size_t>(number);
    if (index >= kTypes.size()) ZEB_THROW(kInternalError, fmt::format("There is no standard color {}", index));
    PF_App_Color cl{};
    if (number == StandardColor::Background) {
        ZEB_CHECK((*mAppSuite->PF_AppGetBgColor)(&cl));
        return ToColor(cl);
    }
    const PF_App_ColorType appColorType = kTypes[index];
    ZEB_CHECK((*mAppSuite->PF_AppGetColor)(appColorType, &cl));
    return ToColor(cl);
}

UniquePtr<Brush> GraphicsAE::MakeBrush(const Color& color) {
    const DRAWBOT_ColorRGBA drawbotColor = ToDrawbot(color);
    DRAWBOT_BrushRef brush = nullptr;
    ZEB_CHECK(mSuites.supplier_suiteP->NewBrush(mSupplier, &drawbotColor, &brush));
    return MakeUnique<BrushAE>(mSuites, brush);
}

UniquePtr<Pen> GraphicsAE::MakePen(const Color& color, float thickness) {
    const DRAWBOT_ColorRGBA drawbotColor = ToDrawbot(color);
    DRAWBOT_PenRef pen = nullptr;
    ZEB_CHECK_TEXT(mSuites.supplier_suiteP->NewPen(mSupplier, &drawbotColor, thickness, &pen),
                   "Failed to call mSuites.supplier_suiteP->NewPen( mSupplier, &drawbotColor, thickness, &pen)");
    return MakeUnique<PenAE>(mSuites, pen);
}

DRAWBOT_PathRef GraphicsAE::NewPath() {
    DRAWBOT_PathRef path = nullptr;
    ZEB_CHECK(mSuites.supplier_suiteP->NewPath(mSupplier, &path));
    return path;
}

UniquePtr<Polygon> GraphicsAE::MakePolygon() { return MakeUnique<PolygonAE>(mSuites, NewPath()); }

void GraphicsAE::AddRect(DRAWBOT_PathRef path, const Rect& rect) {
    const DRAWBOT_RectF32 drawbotRect = {rect.mX, rect.mY, rect.mWidth, rect.mHeight};
    ZEB_CHECK(mSuites.path_suiteP->AddRect(path, &drawbotRect));
}

void GraphicsAE::Stroke(const Pen& pen, DRAWBOT_PathRef drawbotPath) {
    const DRAWBOT_PenRef drawbotPen = static_cast<const PenAE&>(pen).mPen.Get();
    ZEB_CHECK(mSuites.surface_suiteP->StrokePath(mSurface, drawbotPen, drawbotPath));
}

void GraphicsAE::Fill(const Brush& brush, DRAWBOT_PathRef drawbotPath) {
    const DRAWBOT_BrushRef drawbotBrush = static_cast<const BrushAE&>(brush).mBrush.Get();
    ZEB_CHECK_TEXT(mSuites.surface_suiteP->FillPath(mSurface, drawbotBrush, drawbotPath, kDRAWBOT_FillType_EvenOdd),
                   "Failed to call mSuites.surface_suiteP->FillPath( mSurface, drawbotBrush, drawbotPath, "
                   "kDRAWBOT_FillType_EvenOdd)");
}

void GraphicsAE::DrawLine(const Pen& pen, const Point& p1, const Point& p2) {
    const Path owner(mSuites, NewPath());
    const DRAWBOT_PathRef path = owner.Get();
    ZEB_CHECK(mSuites.path_suiteP->MoveTo(path, p1.mX, p1.mY));
    ZEB_CHECK(mSuites.path_suiteP->LineTo(path, p2.mX, p2.mY));
    Stroke(pen, path);
}

void GraphicsAE::DrawLineStrip(const Pen& pen, const std::vector<Point>& points) {
    if (points.size() < 2) return;
    const Path owner(mSuites, NewPath());
    const DRAWBOT_PathRef path = owner.Get();
    auto it = points.begin();
    ZEB_CHECK(mSuites.path_suiteP->MoveTo(path, it->mX, it->mY));
    for (++it; it != points.end(); ++it) ZEB_CHECK(mSuites.path_suiteP->LineTo(path, it->mX, it->mY));
    Stroke(pen, path);
}

void GraphicsAE::FillRect(const Rect& rect, const Brush& brush) {
    const Path path(mSuites, NewPath());
    AddRect(path.Get(), rect);
    Fill(brush, path.Get());
}

void GraphicsAE::DrawRect(const Rect& rect, const Pen& pen) {
    const Path path(mSuites, NewPath());
    AddRect(path.Get(), rect);
    Stroke(pen, path.Get());
}

void GraphicsAE::FillPolygon(const Polygon& polygon, const Brush& brush) {
    Fill(brush, static_cast<const PolygonAE&>(polygon).GetPath());
}

void GraphicsAE::DrawPolygon(const Polygon& polygon, const Pen& pen) {
    Stroke(pen, static_cast<const PolygonAE&>(polygon).GetPath());
}

void GraphicsAE::FillGradientRect(const Rect& rect, const std::vector<Color>& row) {
    const A_long width = ToPixels(rect.mWidth);
    const A_long height = ToPixels(rect.mHeight);
    if (width < 1 || height < 1 || row.empty()) return;
    A_Boolean prefersArgb = 0;
    ZEB_CHECK_TEXT(mSuites.supplier_suiteP->PrefersPixelLayoutARGB(mSupplier, &prefersArgb), kImageFailure);
    const bool argb = prefersArgb != 0 || !mSupportsBgra;
    const std::vector<std::uint8_t> pixels = MakeImage(width, height, row, argb);
    DRAWBOT_ImageRef image = nullptr;
    ZEB_CHECK_TEXT(
        mSuites.supplier_suiteP->NewImageFromBuffer(
            mSupplier, width, height, width * 4,
            argb ? kDRAWBOT_PixelLayout_32ARGB_Straight : kDRAWBOT_PixelLayout_32BGRA_Straight, pixels.data(), &image),
        kImageFailure);
    const DrawbotReference<DRAWBOT_ImageRef> owner(mSuites, image);
    const DRAWBOT_PointF32 corner = {rect.mX, rect.mY};
    ZEB_CHECK_TEXT(mSuites.surface_suiteP->DrawImage(mSurface, image, &corner, 1.0F), kImageFailure);
}

}  // namespace zeb::ui
