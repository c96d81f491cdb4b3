#pragma once

#include "HostInterface/Effect.h"

// Events of custom controls.

#ifdef _MSC_VER
#pragma pack(push, 8)
#endif
extern "C" {

using PF_EventType = A_long;
using PF_WindowType = A_long;
using PF_EffectArea = A_long;
using PF_Modifiers = A_long;
using PF_CursorType = A_long;
using PF_EventInFlags = A_long;
using PF_EventOutFlags = A_long;
using PF_CustomEventFlags = A_long;

struct DRAWBOT_Draw;
using DRAWBOT_DrawRef = DRAWBOT_Draw*;

struct PF_AsyncManager;
using PF_AsyncManagerP = PF_AsyncManager*;

// Clicks and drags.
struct PF_DoClickEventInfo {
    A_u_long when;
    PF_Point screen_point;
    A_long num_clicks;
    PF_Modifiers modifiers;
    A_intptr_t continue_refcon[4];
    PF_Boolean send_drag;
    PF_Boolean last_time;
};
NIMBREL_LAYOUT(PF_DoClickEventInfo, 64, 8);
NIMBREL_OFFSET(PF_DoClickEventInfo, screen_point, 4);
NIMBREL_OFFSET(PF_DoClickEventInfo, num_clicks, 12);
NIMBREL_OFFSET(PF_DoClickEventInfo, modifiers, 16);
NIMBREL_OFFSET(PF_DoClickEventInfo, continue_refcon, 24);
NIMBREL_OFFSET(PF_DoClickEventInfo, send_drag, 56);
NIMBREL_OFFSET(PF_DoClickEventInfo, last_time, 57);

struct PF_DrawEventInfo {
    PF_UnionableRect update_rect;
    A_long depth;
};
NIMBREL_LAYOUT(PF_DrawEventInfo, 20, 4);
NIMBREL_OFFSET(PF_DrawEventInfo, depth, 16);

struct PF_KeyDownEvent {
    A_u_long when;
    PF_Point screen_point;
    A_u_long keycode;
    PF_Modifiers modifiers;
};
NIMBREL_LAYOUT(PF_KeyDownEvent, 20, 4);
NIMBREL_OFFSET(PF_KeyDownEvent, screen_point, 4);
NIMBREL_OFFSET(PF_KeyDownEvent, keycode, 12);
NIMBREL_OFFSET(PF_KeyDownEvent, modifiers, 16);

struct PF_AdjustCursorEventInfo {
    PF_Point screen_point;
    PF_Modifiers modifiers;
    PF_CursorType set_cursor;
};
NIMBREL_LAYOUT(PF_AdjustCursorEventInfo, 16, 4);
NIMBREL_OFFSET(PF_AdjustCursorEventInfo, modifiers, 8);
NIMBREL_OFFSET(PF_AdjustCursorEventInfo, set_cursor, 12);

union PF_EventUnion {
    PF_DoClickEventInfo do_click;
    PF_DrawEventInfo draw;
    PF_KeyDownEvent key_down;
    PF_AdjustCursorEventInfo adjust_cursor;
};
NIMBREL_LAYOUT(PF_EventUnion, 64, 8);

struct PF_EffectWindowInfo {
    PF_ParamIndex index;
    PF_EffectArea area;
    PF_Rect current_frame;  // same coordinates as screen_point
    PF_Rect param_title_frame;
    A_long horiz_offset;
};
NIMBREL_LAYOUT(PF_EffectWindowInfo, 44, 4);
NIMBREL_OFFSET(PF_EffectWindowInfo, area, 4);
NIMBREL_OFFSET(PF_EffectWindowInfo, current_frame, 8);
NIMBREL_OFFSET(PF_EffectWindowInfo, param_title_frame, 24);
NIMBREL_OFFSET(PF_EffectWindowInfo, horiz_offset, 40);

// For composition and layer windows.
struct PF_EventCallbacks {
    void* refcon;
    NimbrelUnusedCallback layer_to_comp, comp_to_layer, get_comp2layer_xform, get_layer2comp_xform, source_to_frame;
    NimbrelUnusedCallback frame_to_source, info_draw_color, info_draw_text;
};
NIMBREL_SLOTS(PF_EventCallbacks, 9);

struct PF_Context {
    A_u_long magic;
    PF_WindowType w_type;
    void* reserved_flt;
    A_intptr_t plugin_state[4];  // the effect's own
    DRAWBOT_DrawRef reserved_drawref;
    void* reserved_paneP;
    void* reserved_job_manageP;
};
using PF_ContextPtr = PF_Context*;
using PF_ContextH = PF_Context**;
enum : A_u_long { PF_CONTEXT_MAGIC = 0x05EA771E };
NIMBREL_LAYOUT(PF_Context, 72, 8);
NIMBREL_OFFSET(PF_Context, w_type, 4);
NIMBREL_OFFSET(PF_Context, reserved_flt, 8);
NIMBREL_OFFSET(PF_Context, plugin_state, 16);
NIMBREL_OFFSET(PF_Context, reserved_drawref, 48);
NIMBREL_OFFSET(PF_Context, reserved_paneP, 56);
NIMBREL_OFFSET(PF_Context, reserved_job_manageP, 64);

struct PF_EventExtra {
    PF_ContextH contextH;
    PF_EventType e_type;
    PF_EventUnion u;
    PF_EffectWindowInfo effect_win;
    PF_EventCallbacks cbs;
    PF_EventInFlags evt_in_flags;
    PF_EventOutFlags evt_out_flags;
};
NIMBREL_LAYOUT(PF_EventExtra, 208, 8);
NIMBREL_OFFSET(PF_EventExtra, e_type, 8);
NIMBREL_OFFSET(PF_EventExtra, u, 16);
NIMBREL_OFFSET(PF_EventExtra, effect_win, 80);
NIMBREL_OFFSET(PF_EventExtra, cbs, 128);
NIMBREL_OFFSET(PF_EventExtra, evt_in_flags, 200);
NIMBREL_OFFSET(PF_EventExtra, evt_out_flags, 204);

// What an effect registers to be sent events.
struct PF_CustomUIInfo {
    A_long reserved;
    PF_CustomEventFlags events;
    A_long comp_ui_width, comp_ui_height, comp_ui_alignment;
    A_long layer_ui_width, layer_ui_height, layer_ui_alignment;
    A_long preview_ui_width, preview_ui_height, preview_ui_alignment;
};
NIMBREL_LAYOUT(PF_CustomUIInfo, 44, 4);
NIMBREL_OFFSET(PF_CustomUIInfo, events, 4);
NIMBREL_OFFSET(PF_CustomUIInfo, comp_ui_width, 8);
NIMBREL_OFFSET(PF_CustomUIInfo, comp_ui_height, 12);
NIMBREL_OFFSET(PF_CustomUIInfo, comp_ui_alignment, 16);
NIMBREL_OFFSET(PF_CustomUIInfo, layer_ui_width, 20);
NIMBREL_OFFSET(PF_CustomUIInfo, layer_ui_height, 24);
NIMBREL_OFFSET(PF_CustomUIInfo, layer_ui_alignment, 28);
NIMBREL_OFFSET(PF_CustomUIInfo, preview_ui_width, 32);
NIMBREL_OFFSET(PF_CustomUIInfo, preview_ui_height, 36);
NIMBREL_OFFSET(PF_CustomUIInfo, preview_ui_alignment, 40);

// Channels are 0 to 65535.
struct PF_App_Color {
    A_u_short red, green, blue;
};
NIMBREL_LAYOUT(PF_App_Color, 6, 2);
NIMBREL_OFFSET(PF_App_Color, green, 2);
NIMBREL_OFFSET(PF_App_Color, blue, 4);

struct PF_State {
    A_long reservedAL[4];
};
NIMBREL_LAYOUT(PF_State, 16, 4);

struct PF_AppPersonalTextInfo;
struct PF_AppProgressDialog;
using PF_AppProgressDialogP = PF_AppProgressDialog*;

struct PF_FontName {
    A_char font_nameAC[256];
};
NIMBREL_LAYOUT(PF_FontName, 256, 1);

enum : A_long {
    PF_Window_NONE = -1,
    PF_Window_COMP = 0,
    PF_Window_LAYER = 1,
    PF_Window_EFFECT = 2,
    PF_Window_PREVIEW = 3,
};

enum : A_long {
    PF_Event_NONE = -1,
    PF_Event_NEW_CONTEXT = 0,
    PF_Event_ACTIVATE = 1,
    PF_Event_DO_CLICK = 2,
    PF_Event_DRAG = 3,
    PF_Event_DRAW = 4,
    PF_Event_DEACTIVATE = 5,
    PF_Event_CLOSE_CONTEXT = 6,
    PF_Event_IDLE = 7,
    PF_Event_ADJUST_CURSOR = 9,
    PF_Event_KEYDOWN = 10,
    PF_Event_MOUSE_EXITED = 11,
};

enum : A_long {
    PF_EA_NONE = 0,
    PF_EA_PARAM_TITLE = 1,
    PF_EA_CONTROL = 2,
};

enum : A_long {
    PF_EO_NONE = 0,
    PF_EO_HANDLED_EVENT = 1,
    PF_EO_ALWAYS_UPDATE = 2,
    PF_EO_NEVER_UPDATE = 4,
    PF_EO_UPDATE_NOW = 8,
};

enum : A_long {
    PF_EI_NONE = 0,
    PF_EI_DONT_DRAW = 1,
};

enum : A_long {
    PF_CustomEFlag_NONE = 0,
    PF_CustomEFlag_COMP = 1,
    PF_CustomEFlag_LAYER = 2,
    PF_CustomEFlag_EFFECT = 4,
    PF_CustomEFlag_PREVIEW = 8,
};

enum : A_long {
    PF_Mod_NONE = 0,
    PF_Mod_CMD_CTRL_KEY = 0x100,
    PF_Mod_SHIFT_KEY = 0x200,
    PF_Mod_CAPS_LOCK_KEY = 0x400,
    PF_Mod_OPT_ALT_KEY = 0x800,
    PF_Mod_MAC_CONTROL_KEY = 0x1000,
};

enum : A_long {
    PF_Cursor_NONE = 0,
    PF_Cursor_CUSTOM = 1,
    PF_Cursor_ARROW = 2,
    PF_Cursor_CROSSHAIRS = 8,
    PF_Cursor_HAND = 14,
    PF_Cursor_FINGER_POINTER = 23,
};

using PF_App_ColorType = A_short;
enum : PF_App_ColorType {
    PF_App_Color_NONE = -1,
    PF_App_Color_FRAME = 0,
    PF_App_Color_FILL = 1,
    PF_App_Color_TEXT = 2,
    PF_App_Color_LIGHT_TINGE = 3,
    PF_App_Color_DARK_TINGE = 4,
    PF_App_Color_HILITE = 5,
    PF_App_Color_SHADOW = 6,
    PF_App_Color_BUTTON_FRAME = 7,
    PF_App_Color_BUTTON_FILL = 8,
    PF_App_Color_BUTTON_TEXT = 9,
    PF_App_Color_BUTTON_LIGHT_TINGE = 10,
    PF_App_Color_BUTTON_DARK_TINGE = 11,
    PF_App_Color_BUTTON_HILITE = 12,
    PF_App_Color_BUTTON_SHADOW = 13,
    PF_App_Color_FRAME_DISABLED = 21,
    PF_App_Color_FILL_DISABLED = 22,
    PF_App_Color_TEXT_DISABLED = 23,
    PF_App_Color_LIGHT_TINGE_DISABLED = 24,
    PF_App_Color_DARK_TINGE_DISABLED = 25,
    PF_App_Color_HILITE_DISABLED = 26,
    PF_App_Color_SHADOW_DISABLED = 27,
    PF_App_Color_BLACK = 42,
    PF_App_Color_WHITE = 43,
    PF_App_Color_GRAY = 44,
    PF_App_Color_RED = 45,
    PF_App_Color_YELLOW = 46,
    PF_App_Color_GREEN = 47,
    PF_App_Color_CYAN = 48,
    PF_App_Color_HOT_TEXT = 55,
    PF_App_Color_PURE_BLACK = 79,
    PF_App_Color_PURE_WHITE = 80,
    PF_App_Color_PANEL_BACKGROUND = 1000,
};

}  // extern "C"
#ifdef _MSC_VER
#pragma pack(pop)
#endif
