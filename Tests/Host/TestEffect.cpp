// A tiny effect that speaks the host's interface and nothing else, to test the host with.
#include "TestEffect.h"

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>

#include "TestEffectSupport.h"

#ifdef _WIN32
#define TEST_EXPORT extern "C" __declspec(dllexport)
#else
#define TEST_EXPORT extern "C" __attribute__((visibility("default")))
#endif

namespace {

using namespace test_effect;

constexpr const char* kProbes = "Level|Turn|Switch|Mode|Tint|Spot|Path|Count|Curve|Camera|Zoom|Cached";
constexpr const char* kFaults = "None|Message|Code|Info|Leak|Padding|Wait|Unserved|Pen|Stale|Event";
constexpr const char* kCacheClass = "test.doubled";

A_Err CacheKey(void* options, AEGP_CCComputeKeyP key) {
    std::memset(key, 0, sizeof(*key));
    std::memcpy(key, options, sizeof(double));
    return A_Err_NONE;
}
A_Err CacheCompute(void* options, void** value) {
    *value = new double(*static_cast<double*>(options) * 2);
    return A_Err_NONE;
}
A_u_longlong CacheSize(void*) { return sizeof(double); }
void CacheDelete(void* value) { delete static_cast<double*>(value); }

PF_Err GlobalSetup(PF_InData* in, PF_OutData* out) {
    Acquired<PF_HandleSuite1> handles(in, kPFHandleSuite, kPFHandleSuiteVersion1);
    out->global_data = handles->host_new_handle(8);
    out->out_flags = PF_OutFlag_DEEP_COLOR_AWARE | PF_OutFlag_CUSTOM_UI;
    out->out_flags2 = PF_OutFlag2_SUPPORTS_SMART_RENDER | PF_OutFlag2_FLOAT_COLOR_AWARE |
                      PF_OutFlag2_SUPPORTS_THREADED_RENDERING | PF_OutFlag2_SUPPORTS_GET_FLATTENED_SEQUENCE_DATA;
    Acquired<AEGP_ComputeCacheSuite1> cache(in, kAEGPComputeCacheSuite, kAEGPComputeCacheSuiteVersion1);
    const AEGP_ComputeCacheCallbacks callbacks = {CacheKey, CacheCompute, CacheSize, CacheDelete};
    return cache ? cache->AEGP_ClassRegister(kCacheClass, &callbacks) : 0;
}

PF_Err GlobalSetdown(PF_InData* in) {
    Acquired<AEGP_ComputeCacheSuite1> cache(in, kAEGPComputeCacheSuite, kAEGPComputeCacheSuiteVersion1);
    if (cache) cache->AEGP_ClassUnregister(kCacheClass);
    Acquired<PF_HandleSuite1> handles(in, kPFHandleSuite, kPFHandleSuiteVersion1);
    handles->host_dispose_handle(in->global_data);
    return 0;
}

PF_ParamDef Define(const char* name, int id, int type) {
    PF_ParamDef def;
    std::memset(&def, 0, sizeof(def));
    std::snprintf(def.name, sizeof(def.name), "%s", name);
    def.uu.id = id;
    def.param_type = type;
    return def;
}

PF_ParamDef DefinePopup(const char* name, int id, const char* choices, int count) {
    PF_ParamDef def = Define(name, id, PF_Param_POPUP);
    def.u.pd.num_choices = static_cast<A_short>(count);
    def.u.pd.value = def.u.pd.dephault = 1;
    def.u.pd.u.namesptr = choices;
    return def;
}

PF_Err ParamsSetup(PF_InData* in, PF_OutData* out) {
    PF_ParamDef defs[] = {Define("Level", kLevel, PF_Param_FLOAT_SLIDER),
                          Define("Turn", kTurn, PF_Param_ANGLE),
                          Define("Switch", kSwitch, PF_Param_CHECKBOX),
                          DefinePopup("Mode", kMode, "Normal|Add|Multiply", 3),
                          Define("Tint", kTint, PF_Param_COLOR),
                          Define("Spot", kSpot, PF_Param_POINT_3D),
                          Define("1 Model", kModel, PF_Param_LAYER),
                          Define("Count", kCount, PF_Param_SLIDER),
                          Define("Curve", kCurve, PF_Param_ARBITRARY_DATA),
                          Define("Press", kPress, PF_Param_BUTTON),
                          Define("Group", kGroup, PF_Param_GROUP_START),
                          Define("", kGroupEnd, PF_Param_GROUP_END),
                          DefinePopup("Probe", kProbe, kProbes, 12),
                          DefinePopup("Fault", kFault, kFaults, 11)};
    PF_FloatSliderDef& level = defs[0].u.fs_d;
    level.value = 50;
    level.dephault = 50;
    level.valid_max = 3.4028235e38F;
    level.slider_max = 100;
    level.precision = 1;
    level.display_flags = PF_ValueDisplayFlag_PERCENT;
    defs[2].u.bd.value = 1;
    defs[2].u.bd.dephault = 1;
    defs[4].u.cd.value = defs[4].u.cd.dephault = {255, 255, 128, 0};
    PF_Point3DDef& spot = defs[5].u.point3d_d;
    spot.x_dephault = 50;
    spot.y_dephault = 50;
    spot.z_dephault = 10;
    defs[6].flags = PF_ParamFlag_CANNOT_TIME_VARY;
    defs[7].u.sd.valid_min = -5;
    defs[7].u.sd.valid_max = 100;
    defs[7].u.sd.dephault = 3;
    defs[8].u.arb_d.dephault = NewCurve(in, 0.25);
    defs[8].ui_flags = PF_PUI_CONTROL;
    defs[8].ui_width = 100;
    defs[8].ui_height = 40;
    defs[9].u.button_d.u.namesptr = "Push";
    for (PF_ParamDef& def : defs) {
        if (const PF_Err error = in->inter.add_param(in->effect_ref, -1, &def)) return error;
    }
    out->num_params = static_cast<A_long>(sizeof(defs) / sizeof(defs[0])) + 1;
    PF_CustomUIInfo events{};
    events.events = PF_CustomEFlag_EFFECT;
    return in->inter.register_ui(in->effect_ref, &events);
}

PF_Err Fail(PF_OutData* out, const char* text, bool isError) {
    std::snprintf(out->return_msg, sizeof(out->return_msg), "%s", text);
    if (isError) out->out_flags |= PF_OutFlag_DISPLAY_ERROR_MESSAGE;
    return isError ? PF_Err_INTERNAL_STRUCT_DAMAGED : 0;
}

PF_Err Arbitrary(PF_InData* in, PF_OutData* out, PF_ArbParamsExtra* extra) {
    PF_ArbParamsUnion& u = extra->u;
    char text[64];
    switch (extra->which_function) {
        case PF_Arbitrary_NEW_FUNC: *u.new_func_params.arbPH = NewCurve(in, 0.25); return 0;
        case PF_Arbitrary_FLAT_SIZE_FUNC: *u.flat_size_func_params.flat_data_sizePLu = sizeof(double); return 0;
        case PF_Arbitrary_FLATTEN_FUNC:
            std::memcpy(u.flatten_func_params.flat_dataPV, *u.flatten_func_params.arbH, sizeof(double));
            return 0;
        case PF_Arbitrary_UNFLATTEN_FUNC: {
            if (u.unflatten_func_params.buf_sizeLu != sizeof(double)) return Fail(out, "a curve is 8 bytes", true);
            double flat = 0;
            std::memcpy(&flat, u.unflatten_func_params.flat_dataPV, sizeof(flat));
            *u.unflatten_func_params.arbPH = NewCurve(in, flat);
            return 0;
        }
        case PF_Arbitrary_COMPARE_FUNC: {
            const double a = GetCurve(u.compare_func_params.a_arbH), b = GetCurve(u.compare_func_params.b_arbH);
            *u.compare_func_params.compareP = a == b  ? PF_ArbCompare_EQUAL
                                              : a < b ? PF_ArbCompare_LESS
                                                      : PF_ArbCompare_MORE;
            return 0;
        }
        case PF_Arbitrary_COPY_FUNC:
            *u.copy_func_params.dst_arbPH = NewCurve(in, GetCurve(u.copy_func_params.src_arbH));
            return 0;
        case PF_Arbitrary_DISPOSE_FUNC: {
            Acquired<PF_HandleSuite1> handles(in, kPFHandleSuite, kPFHandleSuiteVersion1);
            handles->host_dispose_handle(u.dispose_func_params.arbH);
            return 0;
        }
        case PF_Arbitrary_INTERP_FUNC: {
            const double a = GetCurve(u.interp_func_params.left_arbH), b = GetCurve(u.interp_func_params.right_arbH);
            *u.interp_func_params.interpPH = NewCurve(in, a + (b - a) * u.interp_func_params.tF);
            return 0;
        }
        case PF_Arbitrary_PRINT_SIZE_FUNC: *u.print_size_func_params.print_sizePLu = sizeof(text); return 0;
        case PF_Arbitrary_PRINT_FUNC:
            std::snprintf(text, sizeof(text), "{\"v\":%g}", GetCurve(u.print_func_params.arbH));
            std::memcpy(u.print_func_params.print_bufferPC, text, std::strlen(text) + 1);
            return 0;
        case PF_Arbitrary_SCAN_FUNC:
            if (std::strncmp(u.scan_func_params.bufPC, "{\"v\":", 5) != 0) {
                std::snprintf(out->return_msg, sizeof(out->return_msg), "a curve has a \"v\"");
                out->out_flags |= PF_OutFlag_DISPLAY_ERROR_MESSAGE;
                return PF_Err_CANNOT_PARSE_KEYFRAME_TEXT;
            }
            *u.scan_func_params.arbPH = NewCurve(in, std::strtod(u.scan_func_params.bufPC + 5, nullptr));
            return 0;
        default: return PF_Err_INTERNAL_STRUCT_DAMAGED;
    }
}

class Checkout {
public:
    Checkout(PF_InData* in, int id) : mIn(in) {
        std::memset(&mDef, 0, sizeof(mDef));
        mError = in->inter.checkout_param(in->effect_ref, IndexOf(id), in->current_time, in->time_step, in->time_scale,
                                          &mDef);
    }
    ~Checkout() {
        if (mError == 0) mIn->inter.checkin_param(mIn->effect_ref, &mDef);
    }
    const PF_ParamDefUnion* operator->() const { return &mDef.u; }

private:
    PF_InData* mIn;
    PF_ParamDef mDef;
    PF_Err mError;
};

double ProbePathLength(PF_InData* in) {
    Acquired<AEGP_PFInterfaceSuite1> pf(in, kAEGPPFInterfaceSuite, kAEGPPFInterfaceSuiteVersion1);
    Acquired<AEGP_StreamSuite2> streams(in, kAEGPStreamSuite, kAEGPStreamSuiteVersion2);
    Acquired<AEGP_LayerSuite8> layers(in, kAEGPLayerSuite, kAEGPLayerSuiteVersion8);
    Acquired<AEGP_ItemSuite6> items(in, kAEGPItemSuite, kAEGPItemSuiteVersion6);
    Acquired<AEGP_FootageSuite5> footages(in, kAEGPFootageSuite, kAEGPFootageSuiteVersion5);
    Acquired<AEGP_EffectSuite4> effects(in, kAEGPEffectSuite, kAEGPEffectSuiteVersion4);
    Acquired<AEGP_MemorySuite1> memory(in, kAEGPMemorySuite, kAEGPMemorySuiteVersion1);
    AEGP_EffectRefH effect = nullptr;
    AEGP_StreamRefH stream = nullptr;
    AEGP_StreamValue value{};
    const A_Time now{in->current_time, in->time_scale};
    pf->AEGP_GetNewEffectForEffect(1, in->effect_ref, &effect);
    streams->AEGP_GetNewEffectStreamByIndex(1, effect, IndexOf(kModel), &stream);
    streams->AEGP_GetNewStreamValue(1, stream, AEGP_LTimeMode_LayerTime, &now, 0, &value);
    const A_long id = value.val.layer_id;
    streams->AEGP_DisposeStreamValue(&value);
    streams->AEGP_DisposeStream(stream);
    effects->AEGP_DisposeEffect(effect);
    if (id == 0) return 0;
    AEGP_LayerH own = nullptr, layer = nullptr;
    AEGP_CompH comp = nullptr;
    AEGP_ItemH item = nullptr;
    AEGP_FootageH footage = nullptr;
    AEGP_MemHandle text = nullptr;
    A_short type = 0;
    pf->AEGP_GetEffectLayer(in->effect_ref, &own);
    layers->AEGP_GetLayerParentComp(own, &comp);
    layers->AEGP_GetLayerFromLayerID(comp, id, &layer);
    layers->AEGP_GetLayerSourceItem(layer, &item);
    items->AEGP_GetItemType(item, &type);
    if (type != AEGP_ItemType_FOOTAGE) return -1;
    footages->AEGP_GetMainFootageFromItem(item, &footage);
    footages->AEGP_GetFootagePath(footage, 0, AEGP_FOOTAGE_MAIN_FILE_INDEX, &text);
    void* data = nullptr;
    A_u_long size = 0;
    memory->AEGP_LockMemHandle(text, &data);
    memory->AEGP_GetMemHandleSize(text, &size);
    memory->AEGP_UnlockMemHandle(text);
    memory->AEGP_FreeMemHandle(text);
    return size / 2.0 - 1;
}

double ProbeCamera(PF_InData* in, int probe) {
    Acquired<AEGP_PFInterfaceSuite1> pf(in, kAEGPPFInterfaceSuite, kAEGPPFInterfaceSuiteVersion1);
    Acquired<AEGP_LayerSuite8> layers(in, kAEGPLayerSuite, kAEGPLayerSuiteVersion8);
    Acquired<AEGP_StreamSuite5> streams(in, kAEGPStreamSuite, kAEGPStreamSuiteVersion5);
    A_Time time{};
    AEGP_LayerH camera = nullptr;
    pf->AEGP_ConvertEffectToCompTime(in->effect_ref, in->current_time, in->time_scale, &time);
    pf->AEGP_GetEffectCamera(in->effect_ref, &time, &camera);
    if (camera == nullptr) return -1;
    AEGP_StreamVal2 zoom{};
    A_Matrix4 matrix{};
    streams->AEGP_GetLayerStreamValue(camera, AEGP_LayerStream_ZOOM, AEGP_LTimeMode_CompTime, &time, 0, &zoom, nullptr);
    layers->AEGP_GetLayerToWorldXform(camera, &time, &matrix);
    return probe == kProbeZoom ? zoom.one_d : matrix.mat[3][0];
}

double ProbeCached(PF_InData* in, double level) {
    Acquired<AEGP_ComputeCacheSuite1> cache(in, kAEGPComputeCacheSuite, kAEGPComputeCacheSuiteVersion1);
    if (!cache) return -1;
    void *receipt = nullptr, *value = nullptr;
    if (cache->AEGP_ComputeIfNeededAndCheckout(kCacheClass, &level, true, &receipt) != 0) return -2;
    cache->AEGP_GetReceiptComputeValue(receipt, &value);
    const double doubled = *static_cast<double*>(value);
    cache->AEGP_CheckinComputeReceipt(receipt);
    return doubled;
}

double GetProbe(PF_InData* in) {
    const int probe = Checkout(in, kProbe)->pd.value - 1;
    switch (probe) {
        case kProbeLevel: return Checkout(in, kLevel)->fs_d.value;
        case kProbeTurn: return Checkout(in, kTurn)->ad.value / 65536.0;
        case kProbeSwitch: return Checkout(in, kSwitch)->bd.value;
        case kProbeMode: return Checkout(in, kMode)->pd.value;
        case kProbeTintGreen: return Checkout(in, kTint)->cd.value.green;
        case kProbeSpotZ: return Checkout(in, kSpot)->point3d_d.z_value;
        case kProbePathLength: return ProbePathLength(in);
        case kProbeCount: return Checkout(in, kCount)->sd.value;
        case kProbeCurve: return GetCurve(Checkout(in, kCurve)->arb_d.value);
        case kProbeCached: return ProbeCached(in, Checkout(in, kLevel)->fs_d.value);
        default: return ProbeCamera(in, probe);
    }
}

template <class Word>
void Fill(PF_EffectWorld* world, double full, double blue) {
    for (int y = 0; y < world->height; ++y) {
        for (int x = 0; x < world->width; ++x) {
            const Word pixel[4] = {static_cast<Word>(full), static_cast<Word>(world->origin_x + x),
                                   static_cast<Word>(world->origin_y + y), static_cast<Word>(blue)};
            std::memcpy(
                reinterpret_cast<char*>(world->data) + y * world->rowbytes + x * static_cast<int>(sizeof(pixel)), pixel,
                sizeof(pixel));
        }
    }
}

PF_Err Misbehave(PF_InData* in, PF_OutData* out, PF_EffectWorld* world) {
    switch (Checkout(in, kFault)->pd.value - 1) {
        case kMessage: return Fail(out, "the test effect fails\ras it was told", true);
        case kCode: return 513;
        case kInfo: return Fail(out, "nothing is wrong", false);
        case kLeak: NewCurve(in, 1); return 0;
        case kPadding: reinterpret_cast<char*>(world->data)[world->rowbytes - 1] = 0; return 0;
        case kWait:
            for (;;) {
                if (const PF_Err error = in->inter.progress(in->effect_ref, 1, 2)) return error;
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
        case kUnserved: {
            Acquired<AEGP_LayerSuite8> layers(in, kAEGPLayerSuite, kAEGPLayerSuiteVersion8);
            AEGP_LayerH layer = nullptr;
            return layers->AEGP_GetActiveLayer(&layer) == 0 ? PF_Err_INTERNAL_STRUCT_DAMAGED : 0;
        }
        default: return 0;
    }
}

PF_Err PreRender(PF_InData* in, PF_PreRenderExtra* extra) {
    const int scale = static_cast<int>(in->downsample_x.den);
    PF_LRect& max = extra->output->max_result_rect;
    max = {0, 0, in->width / scale, in->height / scale};  // rounded down: the host's frame may be a pixel larger
    const PF_LRect& request = extra->input->output_request.rect;
    PF_LRect result = {request.left > 0 ? request.left : 0, request.top > 0 ? request.top : 0,
                       request.right < max.right ? request.right : max.right,
                       request.bottom < max.bottom ? request.bottom : max.bottom};
    if (result.left >= result.right || result.top >= result.bottom) result = {0, 0, 0, 0};
    extra->output->result_rect = result;
    extra->output->pre_render_data = std::malloc(16);
    return 0;
}

PF_Err Render(PF_InData* in, PF_OutData* out, PF_SmartRenderExtra* extra) {
    PF_EffectWorld* world = nullptr;
    if (const PF_Err error = extra->cb->checkout_output(in->effect_ref, &world)) return error;
    if (const PF_Err error = Misbehave(in, out, world)) return error;
    const double blue = GetProbe(in);
    Acquired<PF_WorldSuite2> worlds(in, kPFWorldSuite, kPFWorldSuiteVersion2);
    A_long format = 0;
    worlds->PF_GetPixelFormat(world, &format);
    switch (format) {
        case PF_PixelFormat_ARGB32: Fill<A_u_char>(world, 255, blue); return 0;
        case PF_PixelFormat_ARGB64: Fill<A_u_short>(world, 32768, blue); return 0;
        case PF_PixelFormat_ARGB128: Fill<float>(world, 1, blue); return 0;
        default: return PF_Err_INTERNAL_STRUCT_DAMAGED;
    }
}

/// The button doubles the level and the curve, moves the spot, tries the layer, which the host must ignore, and shows a
/// dialog where it can.
PF_Err UserChanged(PF_InData* in, PF_ParamDef** params, const PF_UserChangedParamExtra* extra) {
    if (extra->param_index != IndexOf(kPress)) return 0;
    const auto change = [&](int id) -> PF_ParamDefUnion& {
        PF_ParamDef& def = *params[IndexOf(id)];
        def.uu.change_flags = PF_ChangeFlag_CHANGED_VALUE;
        return def.u;
    };
    change(kLevel).fs_d.value *= 2;
    const PF_Handle curve = change(kCurve).arb_d.value;
    SetCurve(curve, GetCurve(curve) * 2);
    change(kSpot).point3d_d.z_value += 1;
    change(kModel);
    params[IndexOf(kTurn)]->u.ad.value = 65536;  // not marked
    Acquired<AEGP_UtilitySuite6> utility(in, kAEGPUtilitySuite, kAEGPUtilitySuiteVersion6);
    A_Boolean available = 0;
    utility->AEGP_IsScriptingAvailable(&available);
    if (available == 0) return 0;
    AEGP_MemHandle result = nullptr;
    const A_Err error = utility->AEGP_ExecuteScript(
        1, "var w = new Window('dialog', 'T'); w.add('statictext', undefined, 'hello'); w.show()", 0, &result, nullptr);
    Acquired<AEGP_MemorySuite1> memory(in, kAEGPMemorySuite, kAEGPMemorySuiteVersion1);
    return error != 0 ? error : memory->AEGP_FreeMemHandle(result);
}

PF_Err NewSequence(PF_InData* in, PF_OutData* out) {
    out->sequence_data = NewCurve(in, 7);
    return 0;
}

}  // namespace

TEST_EXPORT PF_Err EffectMain(PF_Cmd command, PF_InData* in, PF_OutData* out, PF_ParamDef** params, PF_LayerDef*,
                              void* extra) {
    switch (command) {
        case PF_Cmd_GLOBAL_SETUP: return GlobalSetup(in, out);
        case PF_Cmd_GLOBAL_SETDOWN: return GlobalSetdown(in);
        case PF_Cmd_PARAMS_SETUP: return ParamsSetup(in, out);
        case PF_Cmd_SEQUENCE_SETUP:
        case PF_Cmd_SEQUENCE_RESETUP:
        case PF_Cmd_GET_FLATTENED_SEQUENCE_DATA: return NewSequence(in, out);
        case PF_Cmd_SEQUENCE_SETDOWN: {
            Acquired<PF_HandleSuite1> handles(in, kPFHandleSuite, kPFHandleSuiteVersion1);
            handles->host_dispose_handle(in->sequence_data);
            return 0;
        }
        case PF_Cmd_EVENT: return HandleEvent(in, out, params, static_cast<PF_EventExtra*>(extra));
        case PF_Cmd_USER_CHANGED_PARAM: return UserChanged(in, params, static_cast<PF_UserChangedParamExtra*>(extra));
        case PF_Cmd_ARBITRARY_CALLBACK: return Arbitrary(in, out, static_cast<PF_ArbParamsExtra*>(extra));
        case PF_Cmd_SMART_PRE_RENDER: return PreRender(in, static_cast<PF_PreRenderExtra*>(extra));
        case PF_Cmd_SMART_RENDER: return Render(in, out, static_cast<PF_SmartRenderExtra*>(extra));
        default: return 0;
    }
}

TEST_EXPORT A_Err PluginDataEntryFunction(PF_PluginDataPtr token, PF_PluginDataCB callback, SPBasicSuite*, const char*,
                                          const char*) {
    const auto text = [](const char* from) { return reinterpret_cast<const A_u_char*>(from); };
    return callback(token, text("Test"), text("nimbrel Test"), text("test"), text("EffectMain"), 0x65464B54, 13, 27, 8);
}
