#include <cstring>

#include "NimbrelHost/Commands/Command.h"
#include "NimbrelHost/Drawing/Theme.h"
#include "Suites/SuiteSupport.h"

// The suites of the application and of custom controls: colours, the colour picker, windows.

namespace nimbrel::host {
namespace {

PF_App_Color ToAppColor(Rgb color) {
    // 8 bits times 257 are 16.
    const auto channel = [&](int shift) { return static_cast<A_u_short>(((color >> shift) & 0xff) * 257); };
    return {channel(16), channel(8), channel(0)};
}

PF_Err AppGetBgColor(Host&, PF_App_Color* color) {
    if (color == nullptr) return PF_Err_BAD_CALLBACK_PARAM;
    *color = ToAppColor(theme::kBackground);
    return PF_Err_NONE;
}

PF_Err AppGetColor(Host&, A_short type, PF_App_Color* color) {
    const std::optional<Rgb> found = FindAppColor(type);
    if (color == nullptr || !found) return PF_Err_BAD_CALLBACK_PARAM;
    *color = ToAppColor(*found);
    return PF_Err_NONE;
}

/// Room for a tag is not told; this one is of the length that tags have.
PF_Err AppGetLanguage(Host&, A_char* tag) {
    if (tag == nullptr) return PF_Err_BAD_CALLBACK_PARAM;
    std::memcpy(tag, "en_US", 6);
    return PF_Err_NONE;
}

PF_Err SetCursor(Host&, A_long) { return PF_Err_NONE; }

PF_Err IsRenderEngine(Host&, PF_Boolean* answer) {
    if (answer == nullptr) return PF_Err_BAD_CALLBACK_PARAM;
    *answer = 1;
    return PF_Err_NONE;
}

/// Whoever drives the host answers for the user; nobody there is a user who cancels.
PF_Err AppColorPickerDialog(Host& host, const A_char* title, const PF_PixelFloat* sample, PF_Boolean,
                            PF_PixelFloat* picked) {
    if (sample == nullptr || picked == nullptr) return PF_Err_BAD_CALLBACK_PARAM;
    const Command* const command = Command::Current();
    if (command == nullptr || CheckMayChangeProject() != A_Err_NONE) return PF_Err_INVALID_CALLBACK;
    const auto& pick = host.GetOptions().mPickColor;
    if (!pick) return PF_Interrupt_CANCEL;
    const std::optional<glm::vec4> color =
        pick(title == nullptr ? "" : title, {sample->red, sample->green, sample->blue, sample->alpha});
    if (!color) return PF_Interrupt_CANCEL;
    *picked = {color->a, color->r, color->g, color->b};
    return PF_Err_NONE;
}

PF_Err GetMouse(Host& host, PF_Point* point) {
    if (point == nullptr) return PF_Err_BAD_CALLBACK_PARAM;
    *point = host.GetCustomUI().mPointer;
    return PF_Err_NONE;
}

/// Windows are drawn whole, so the rectangle doesn't matter; null means all.
PF_Err InvalidateRect(Host& host, PF_ContextH context, const PF_Rect*) {
    CustomUI& ui = host.GetCustomUI();
    if (!ui.IsOpen(context)) return PF_Err_BAD_CALLBACK_PARAM;
    ui.mNeedsRedraw = true;
    return PF_Err_NONE;
}

/// The one window lies at the screen's corner.
PF_Err ConvertLocalToGlobal(Host&, const PF_Point* local, PF_Point* global) {
    if (local == nullptr || global == nullptr) return PF_Err_BAD_CALLBACK_PARAM;
    *global = *local;
    return PF_Err_NONE;
}

PF_Err GetDrawingReference(Host& host, PF_ContextH context, DRAWBOT_DrawRef* reference) {
    if (reference == nullptr) return PF_Err_BAD_CALLBACK_PARAM;
    *reference = host.GetCustomUI().GetDrawReference(context);
    return *reference == nullptr ? PF_Err_INVALID_CALLBACK : PF_Err_NONE;
}

}  // namespace

void AddAppSuite(SuiteRegistry& suites) {
    static const PFAppSuite6 appSuite = [] {
        auto table = MakeTable<PFAppSuite6>(kPFAppSuite);
        NIMBREL_SERVE(table, PF_AppGetBgColor, AppGetBgColor);
        NIMBREL_SERVE(table, PF_AppGetColor, AppGetColor);
        NIMBREL_SERVE(table, PF_AppGetLanguage, AppGetLanguage);
        NIMBREL_SERVE(table, PF_SetCursor, SetCursor);
        NIMBREL_SERVE(table, PF_IsRenderEngine, IsRenderEngine);
        NIMBREL_SERVE(table, PF_AppColorPickerDialog, AppColorPickerDialog);
        NIMBREL_SERVE(table, PF_GetMouse, GetMouse);
        NIMBREL_SERVE(table, PF_InvalidateRect, InvalidateRect);
        NIMBREL_SERVE(table, PF_ConvertLocalToGlobal, ConvertLocalToGlobal);
        return table;
    }();
    suites.Add(kPFAppSuite, kPFAppSuiteVersion6, &appSuite);
}

void AddCustomUISuite(SuiteRegistry& suites) {
    static const PF_EffectCustomUISuite2 suite = [] {
        auto table = MakeTable<PF_EffectCustomUISuite2>(kPFEffectCustomUISuite);
        NIMBREL_SERVE(table, PF_GetDrawingReference, GetDrawingReference);
        return table;
    }();
    suites.Add(kPFEffectCustomUISuite, kPFEffectCustomUISuiteVersion2, &suite);
}

}  // namespace nimbrel::host
