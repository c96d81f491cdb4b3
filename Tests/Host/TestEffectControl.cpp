// The control of the test effect: a bar whose end is the curve's value, drawn with every suite that there is for it.
// A click or a drag sets the value, a double click sets it to a quarter, ctrl asks for a colour and takes its red. The
// bar knows whether the pointer is over it, for as long as its window is open.
#include <cstdio>

#include "TestEffect.h"
#include "TestEffectSupport.h"

namespace test_effect {
namespace {

int GetFault(PF_ParamDef** params) { return params[IndexOf(kFault)]->u.pd.value - 1; }

void DrawText(PF_InData* in, DRAWBOT_SupplierRef supplier, DRAWBOT_SurfaceRef surface, DRAWBOT_BrushRef brush,
              const DRAWBOT_PointF32& origin) {
    const Acquired<DRAWBOT_SupplierSuite1> make(in, kDRAWBOT_SupplierSuite, kDRAWBOT_SupplierSuite_Version1);
    const Acquired<DRAWBOT_SurfaceSuite2> draw(in, kDRAWBOT_SurfaceSuite, kDRAWBOT_SurfaceSuite_Version2);
    float size = 0;
    DRAWBOT_FontRef font = nullptr;
    make->GetDefaultFontSize(supplier, &size);
    make->NewDefaultFont(supplier, size, &font);
    const DRAWBOT_UTF16Char text[] = {'H', 0xe9, 0};
    draw->DrawString(surface, brush, font, text, &origin, kDRAWBOT_TextAlignment_Center, kDRAWBOT_TextTruncation_None,
                     0);
    make->ReleaseObject(reinterpret_cast<DRAWBOT_ObjectRef>(font));
}

/// A red and a half transparent blue pixel, in the layout that the supplier prefers.
void DrawPixels(PF_InData* in, DRAWBOT_SupplierRef supplier, DRAWBOT_SurfaceRef surface,
                const DRAWBOT_PointF32& origin) {
    const Acquired<DRAWBOT_SupplierSuite1> make(in, kDRAWBOT_SupplierSuite, kDRAWBOT_SupplierSuite_Version1);
    const Acquired<DRAWBOT_SurfaceSuite2> draw(in, kDRAWBOT_SurfaceSuite, kDRAWBOT_SurfaceSuite_Version2);
    A_Boolean argb = 0;
    make->PrefersPixelLayoutARGB(supplier, &argb);
    const unsigned char asArgb[] = {255, 255, 0, 0, 128, 0, 0, 255}, asBgra[] = {0, 0, 255, 255, 255, 0, 0, 128};
    DRAWBOT_ImageRef image = nullptr;
    make->NewImageFromBuffer(supplier, 2, 1, 8,
                             argb != 0 ? kDRAWBOT_PixelLayout_32ARGB_Straight : kDRAWBOT_PixelLayout_32BGRA_Straight,
                             argb != 0 ? asArgb : asBgra, &image);
    draw->DrawImage(surface, image, &origin, 1);
    make->ReleaseObject(reinterpret_cast<DRAWBOT_ObjectRef>(image));
}

PF_Err Draw(PF_InData* in, PF_ParamDef** params, PF_EventExtra* event) {
    const Acquired<PF_EffectCustomUISuite2> ui(in, kPFEffectCustomUISuite, kPFEffectCustomUISuiteVersion2);
    const Acquired<PFAppSuite6> app(in, kPFAppSuite, kPFAppSuiteVersion6);
    const Acquired<DRAWBOT_DrawbotSuite1> open(in, kDRAWBOT_DrawSuite, kDRAWBOT_DrawSuite_Version1);
    const Acquired<DRAWBOT_SupplierSuite1> make(in, kDRAWBOT_SupplierSuite, kDRAWBOT_SupplierSuite_Version1);
    const Acquired<DRAWBOT_SurfaceSuite2> draw(in, kDRAWBOT_SurfaceSuite, kDRAWBOT_SurfaceSuite_Version2);
    const Acquired<DRAWBOT_PathSuite1> paths(in, kDRAWBOT_PathSuite, kDRAWBOT_PathSuite_Version1);
    PF_DrawRef drawing = nullptr;
    if (const PF_Err error = ui->PF_GetDrawingReference(event->contextH, &drawing)) return error;
    DRAWBOT_SupplierRef supplier = nullptr;
    DRAWBOT_SurfaceRef surface = nullptr;
    open->GetSupplier(drawing, &supplier);
    open->GetSurface(drawing, &surface);
    PF_App_Color text{};
    app->PF_AppGetColor(PF_App_Color_TEXT, &text);
    const auto channel = [](A_u_short word) { return static_cast<float>(word) / 65535; };
    const DRAWBOT_ColorRGBA bar{channel(text.red), channel(text.green), channel(text.blue), 1},
        ground{0, 0.5F, 0, 0.5F};
    const PF_Rect& frame = event->effect_win.current_frame;
    const auto left = static_cast<float>(frame.left), top = static_cast<float>(frame.top);
    const auto width = static_cast<float>(frame.right - frame.left),
               height = static_cast<float>(frame.bottom - frame.top);
    const auto value = static_cast<float>(GetCurve(params[event->effect_win.index]->u.arb_d.value));

    const DRAWBOT_RectF32 whole{left, top, width, height}, filled{left, top, width * value, height};
    DRAWBOT_PathRef path = nullptr;
    DRAWBOT_BrushRef brush = nullptr;
    DRAWBOT_PenRef pen = nullptr;
    draw->PaintRect(surface, &ground, &whole);
    make->NewPath(supplier, &path);
    paths->AddRect(path, &filled);
    make->NewBrush(supplier, &bar, &brush);
    draw->FillPath(surface, brush, path, kDRAWBOT_FillType_EvenOdd);
    // The pointer over it gives it a thicker border.
    make->NewPen(supplier, &bar, (*event->contextH)->plugin_state[0] != 0 ? 3 : 1, &pen);
    draw->StrokePath(surface, pen, path);
    DrawText(in, supplier, surface, brush, {left + width / 2, top + height / 2});
    DrawPixels(in, supplier, surface, {left + 1, top + 1});
    const auto release = [&](void* object) { make->ReleaseObject(static_cast<DRAWBOT_ObjectRef>(object)); };
    release(path);
    release(brush);
    if (GetFault(params) == kStalePath) draw->StrokePath(surface, pen, path);
    if (GetFault(params) != kLeakPen) release(pen);
    event->evt_out_flags |= PF_EO_HANDLED_EVENT;
    return 0;
}

void SetValue(PF_ParamDef** params, PF_EventExtra* event, double value) {
    PF_ParamDef& param = *params[event->effect_win.index];
    SetCurve(param.u.arb_d.value, value < 0 ? 0 : value > 1 ? 1 : value);
    param.uu.change_flags = PF_ChangeFlag_CHANGED_VALUE;
    event->evt_out_flags |= PF_EO_HANDLED_EVENT;
}

PF_Err Click(PF_InData* in, PF_ParamDef** params, PF_EventExtra* event) {
    PF_DoClickEventInfo& click = event->u.do_click;
    const PF_Rect& frame = event->effect_win.current_frame;
    if ((click.modifiers & PF_Mod_CMD_CTRL_KEY) != 0) {
        const Acquired<PFAppSuite6> app(in, kPFAppSuite, kPFAppSuiteVersion6);
        const PF_PixelFloat now{1, 0.25F, 0.5F, 0.75F};
        PF_PixelFloat picked{};
        const PF_Err error = app->PF_AppColorPickerDialog("Pick red", &now, 1, &picked);
        if (error == 0) SetValue(params, event, static_cast<double>(picked.red));
        return error == PF_Interrupt_CANCEL ? 0 : error;
    }
    const double value = static_cast<double>(click.screen_point.h - frame.left) / (frame.right - frame.left);
    SetValue(params, event, click.num_clicks == 2 ? 0.25 : value);
    click.send_drag = 1;
    return 0;
}

void SetHover(PF_InData* in, PF_EventExtra* event, bool over) {
    A_intptr_t& state = (*event->contextH)->plugin_state[0];
    event->u.adjust_cursor.set_cursor = PF_Cursor_FINGER_POINTER;
    if ((state != 0) == over) return;
    state = over ? 1 : 0;
    const Acquired<PFAppSuite6> app(in, kPFAppSuite, kPFAppSuiteVersion6);
    app->PF_InvalidateRect(event->contextH, nullptr);
}

}  // namespace

PF_Err HandleEvent(PF_InData* in, PF_OutData* out, PF_ParamDef** params, PF_EventExtra* event) {
    if (event->effect_win.index != 0 && GetFault(params) == kFailEvent) {
        SetValue(params, event, 1);
        std::snprintf(out->return_msg, sizeof(out->return_msg), "the control fails");
        return PF_Err_INTERNAL_STRUCT_DAMAGED;
    }
    switch (event->e_type) {
        case PF_Event_DRAW: return Draw(in, params, event);
        case PF_Event_DO_CLICK:
        case PF_Event_DRAG: return Click(in, params, event);
        case PF_Event_ADJUST_CURSOR:
        case PF_Event_MOUSE_EXITED: SetHover(in, event, event->e_type == PF_Event_ADJUST_CURSOR); return 0;
        default: return 0;
    }
}

}  // namespace test_effect
