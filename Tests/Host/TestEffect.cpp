// A tiny effect that speaks the host's interface and nothing else, and does wrong what an effect can do wrong.
#include "TestEffect.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>
#include <utility>

#include "HostInterface/HostInterface.h"

#ifdef _WIN32
#define TEST_EXPORT extern "C" __declspec(dllexport)
#else
#define TEST_EXPORT extern "C" __attribute__((visibility("default")))
#endif

namespace {

using namespace test_effect;

constexpr const char* kFaults = "None|Message|Code|Info|Leak|Padding|Wait|Unserved|Pen|Stale";

int IndexOf(int id) { return id - kLevel + 1; }

template <class Suite>
class Acquired {
public:
    Acquired(PF_InData* in, const char* name, int version) : mBasic(in->pica_basicP), mName(name), mVersion(version) {
        mBasic->AcquireSuite(name, version, &mSuite);
    }
    ~Acquired() { mBasic->ReleaseSuite(mName, mVersion); }
    const Suite* operator->() const { return static_cast<const Suite*>(mSuite); }

private:
    SPBasicSuite* mBasic;
    const char* mName;
    int mVersion;
    const void* mSuite = nullptr;
};

PF_ParamDef Define(const char* name, int id, int type) {
    PF_ParamDef def;
    std::memset(&def, 0, sizeof(def));
    std::snprintf(def.name, sizeof(def.name), "%s", name);
    def.uu.id = id;
    def.param_type = type;
    return def;
}

PF_Err ParamsSetup(PF_InData* in, PF_OutData* out) {
    PF_ParamDef defs[] = {Define("Level", kLevel, PF_Param_FLOAT_SLIDER), Define("Count", kCount, PF_Param_SLIDER),
                          Define("Tint", kTint, PF_Param_COLOR),          Define("Press", kPress, PF_Param_BUTTON),
                          Define("Group", kGroup, PF_Param_GROUP_START),  Define("", kGroupEnd, PF_Param_GROUP_END),
                          Define("Fault", kFault, PF_Param_POPUP)};
    defs[0].u.fs_d.value = defs[0].u.fs_d.dephault = 50;
    defs[0].u.fs_d.valid_max = defs[0].u.fs_d.slider_max = 1000;
    defs[1].u.sd.valid_max = defs[1].u.sd.slider_max = 100;
    defs[2].u.cd.value = defs[2].u.cd.dephault = {255, 255, 128, 0};
    defs[3].u.button_d.u.namesptr = "Push";
    PF_ParamDef& fault = defs[6];
    fault.u.pd.num_choices = 10;
    fault.u.pd.value = fault.u.pd.dephault = 1;
    fault.u.pd.u.namesptr = kFaults;
    fault.ui_flags = PF_PUI_CONTROL;
    fault.ui_width = 100;
    fault.ui_height = 40;
    for (PF_ParamDef& def : defs) {
        if (const PF_Err error = in->inter.add_param(in->effect_ref, -1, &def)) return error;
    }
    out->num_params = static_cast<A_long>(std::size(defs)) + 1;
    PF_CustomUIInfo events{};
    events.events = PF_CustomEFlag_EFFECT;
    return in->inter.register_ui(in->effect_ref, &events);
}

PF_Err Show(PF_OutData* out, const char* text, bool isError) {
    std::snprintf(out->return_msg, sizeof(out->return_msg), "%s", text);
    if (isError) out->out_flags |= PF_OutFlag_DISPLAY_ERROR_MESSAGE;
    return isError ? PF_Err_INTERNAL_STRUCT_DAMAGED : 0;
}

int GetFault(PF_InData* in) {
    PF_ParamDef def;
    std::memset(&def, 0, sizeof(def));
    in->inter.checkout_param(in->effect_ref, IndexOf(kFault), in->current_time, in->time_step, in->time_scale, &def);
    in->inter.checkin_param(in->effect_ref, &def);
    return def.u.pd.value - 1;
}

PF_Err Render(PF_InData* in, PF_OutData* out, const PF_SmartRenderExtra* extra) {
    PF_EffectWorld* world = nullptr;
    if (const PF_Err error = extra->cb->checkout_output(in->effect_ref, &world)) return error;
    switch (GetFault(in)) {
        case kMessage: return Show(out, "the test effect fails\ras it was told", true);
        case kCode: return 513;
        case kInfo: return Show(out, "nothing is wrong", false);
        case kLeak: Acquired<PF_HandleSuite1>(in, kPFHandleSuite, kPFHandleSuiteVersion1)->host_new_handle(8); return 0;
        case kPadding: reinterpret_cast<char*>(world->data)[world->rowbytes - 1] = 0; return 0;
        case kWait:
            for (;;) {
                if (const PF_Err error = in->inter.progress(in->effect_ref, 1, 2)) return error;
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
        case kUnserved: {
            const Acquired<AEGP_LayerSuite8> layers(in, kAEGPLayerSuite, kAEGPLayerSuiteVersion8);
            AEGP_LayerH layer = nullptr;
            return layers->AEGP_GetActiveLayer(&layer) == 0 ? PF_Err_INTERNAL_STRUCT_DAMAGED : 0;
        }
        default: return 0;
    }
}

PF_Err PreRender(PF_InData* in, const PF_PreRenderExtra* extra) {
    extra->output->max_result_rect = {0, 0, in->width, in->height};
    extra->output->result_rect = extra->input->output_request.rect;
    extra->output->pre_render_data = std::malloc(16);  // the host's to free
    return 0;
}

void DrawText(const DRAWBOT_SupplierSuite1& make, const DRAWBOT_SurfaceSuite2& draw, DRAWBOT_SupplierRef supplier,
              DRAWBOT_SurfaceRef surface, const DRAWBOT_ColorRGBA& color) {
    float size = 0;
    DRAWBOT_FontRef font = nullptr;
    DRAWBOT_BrushRef brush = nullptr;
    make.GetDefaultFontSize(supplier, &size);
    make.NewDefaultFont(supplier, size, &font);
    make.NewBrush(supplier, &color, &brush);
    const DRAWBOT_UTF16Char text[] = {'H', 0xe9, 0};
    const DRAWBOT_PointF32 origin{50, 20};
    draw.DrawString(surface, brush, font, text, &origin, kDRAWBOT_TextAlignment_Center, kDRAWBOT_TextTruncation_None,
                    0);
    make.ReleaseObject(reinterpret_cast<DRAWBOT_ObjectRef>(font));
    make.ReleaseObject(reinterpret_cast<DRAWBOT_ObjectRef>(brush));
}

/// A ground with a text; strokes a path, and then again when it is released.
PF_Err Draw(PF_InData* in, PF_ParamDef** params, PF_EventExtra* event) {
    const Acquired<PF_EffectCustomUISuite2> ui(in, kPFEffectCustomUISuite, kPFEffectCustomUISuiteVersion2);
    const Acquired<DRAWBOT_DrawbotSuite1> open(in, kDRAWBOT_DrawSuite, kDRAWBOT_DrawSuite_Version1);
    const Acquired<DRAWBOT_SupplierSuite1> make(in, kDRAWBOT_SupplierSuite, kDRAWBOT_SupplierSuite_Version1);
    const Acquired<DRAWBOT_SurfaceSuite2> draw(in, kDRAWBOT_SurfaceSuite, kDRAWBOT_SurfaceSuite_Version2);
    DRAWBOT_DrawRef drawing = nullptr;
    DRAWBOT_SupplierRef supplier = nullptr;
    DRAWBOT_SurfaceRef surface = nullptr;
    ui->PF_GetDrawingReference(event->contextH, &drawing);
    open->GetSupplier(drawing, &supplier);
    open->GetSurface(drawing, &surface);
    const DRAWBOT_ColorRGBA color{1, 0, 0, 1};
    DRAWBOT_PathRef path = nullptr;
    DRAWBOT_PenRef pen = nullptr;
    const DRAWBOT_RectF32 ground{0, 0, 100, 40};
    draw->PaintRect(surface, &color, &ground);
    DrawText(*make.operator->(), *draw.operator->(), supplier, surface, color);
    make->NewPath(supplier, &path);
    make->NewPen(supplier, &color, 1, &pen);
    draw->StrokePath(surface, pen, path);
    make->ReleaseObject(reinterpret_cast<DRAWBOT_ObjectRef>(path));
    const int fault = params[IndexOf(kFault)]->u.pd.value - 1;
    if (fault == kStalePath) draw->StrokePath(surface, pen, path);
    if (fault != kLeakPen) make->ReleaseObject(reinterpret_cast<DRAWBOT_ObjectRef>(pen));
    event->evt_out_flags |= PF_EO_HANDLED_EVENT;
    return 0;
}

/// The button doubles the level, swaps red and green of the tint, and changes the count without saying so.
PF_Err UserChanged(PF_ParamDef** params, const PF_UserChangedParamExtra* extra) {
    if (extra->param_index != IndexOf(kPress)) return 0;
    params[IndexOf(kLevel)]->u.fs_d.value *= 2;
    params[IndexOf(kLevel)]->uu.change_flags = PF_ChangeFlag_CHANGED_VALUE;
    std::swap(params[IndexOf(kTint)]->u.cd.value.red, params[IndexOf(kTint)]->u.cd.value.green);
    params[IndexOf(kTint)]->uu.change_flags = PF_ChangeFlag_CHANGED_VALUE;
    params[IndexOf(kCount)]->u.sd.value = 7;
    return 0;
}

}  // namespace

TEST_EXPORT PF_Err EffectMain(PF_Cmd command, PF_InData* in, PF_OutData* out, PF_ParamDef** params, PF_LayerDef*,
                              void* extra) {
    switch (command) {
        case PF_Cmd_GLOBAL_SETUP:
            out->out_flags = PF_OutFlag_DEEP_COLOR_AWARE | PF_OutFlag_CUSTOM_UI;
            out->out_flags2 = PF_OutFlag2_SUPPORTS_SMART_RENDER | PF_OutFlag2_FLOAT_COLOR_AWARE |
                              PF_OutFlag2_SUPPORTS_THREADED_RENDERING;
            return 0;
        case PF_Cmd_PARAMS_SETUP: return ParamsSetup(in, out);
        case PF_Cmd_USER_CHANGED_PARAM: return UserChanged(params, static_cast<PF_UserChangedParamExtra*>(extra));
        case PF_Cmd_SMART_PRE_RENDER: return PreRender(in, static_cast<PF_PreRenderExtra*>(extra));
        case PF_Cmd_SMART_RENDER: return Render(in, out, static_cast<PF_SmartRenderExtra*>(extra));
        case PF_Cmd_EVENT: {
            auto* const event = static_cast<PF_EventExtra*>(extra);
            return event->e_type == PF_Event_DRAW ? Draw(in, params, event) : 0;
        }
        default: return 0;
    }
}

TEST_EXPORT A_Err PluginDataEntryFunction(PF_PluginDataPtr token, PF_PluginDataCB callback, SPBasicSuite*, const char*,
                                          const char*) {
    const auto text = [](const char* from) { return reinterpret_cast<const A_u_char*>(from); };
    return callback(token, text("Test"), text("nimbrel Test"), text("test"), text("EffectMain"), 0x65464B54, 13, 27, 8);
}
