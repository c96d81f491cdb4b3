#pragma once

#include "HostInterface/Worlds.h"

// Definitions and values of parameters.

#ifdef _MSC_VER
#pragma pack(push, 8)
#endif
extern "C" {

using PF_ParamIndex = A_long;
using PF_ParamValue = A_long;
using PF_ParamType = A_long;
using PF_ParamFlags = A_long;
using PF_ParamUIFlags = A_long;
using PF_ChangeFlags = A_long;
using PF_ValueDisplayFlags = A_short;
using PF_FSliderFlags = A_u_long;

enum { PF_MAX_EFFECT_NAME_LEN = 31, PF_MAX_EFFECT_PARAM_NAME_LEN = 31, PF_MAX_EFFECT_MSG_LEN = 255 };

struct PF_SliderDef {
    PF_ParamValue value;
    A_char value_str[32];
    A_char value_desc[32];
    PF_ParamValue valid_min, valid_max;
    PF_ParamValue slider_min, slider_max;
    PF_ParamValue dephault;
};
NIMBREL_LAYOUT(PF_SliderDef, 88, 4);
NIMBREL_OFFSET(PF_SliderDef, value_str, 4);
NIMBREL_OFFSET(PF_SliderDef, value_desc, 36);
NIMBREL_OFFSET(PF_SliderDef, valid_min, 68);
NIMBREL_OFFSET(PF_SliderDef, valid_max, 72);
NIMBREL_OFFSET(PF_SliderDef, slider_min, 76);
NIMBREL_OFFSET(PF_SliderDef, slider_max, 80);
NIMBREL_OFFSET(PF_SliderDef, dephault, 84);

struct PF_FixedSliderDef {
    PF_ParamValue value;
    A_char value_str[32];
    A_char value_desc[32];
    PF_ParamValue valid_min, valid_max;
    PF_ParamValue slider_min, slider_max;
    PF_ParamValue dephault;
    A_short precision;
    PF_ValueDisplayFlags display_flags;
};
NIMBREL_LAYOUT(PF_FixedSliderDef, 92, 4);
NIMBREL_OFFSET(PF_FixedSliderDef, precision, 88);
NIMBREL_OFFSET(PF_FixedSliderDef, display_flags, 90);

// The value is 64 bits wide, its limits and default 32.
struct PF_FloatSliderDef {
    PF_FpLong value;
    PF_FpLong phase;
    A_char value_desc[32];
    PF_FpShort valid_min, valid_max;
    PF_FpShort slider_min, slider_max;
    PF_FpShort dephault;
    A_short precision;  // digits after the point
    PF_ValueDisplayFlags display_flags;
    PF_FSliderFlags fs_flags;
    PF_FpShort curve_tolerance;
    PF_Boolean useExponent;
    PF_FpShort exponent;
};
NIMBREL_LAYOUT(PF_FloatSliderDef, 88, 8);
NIMBREL_OFFSET(PF_FloatSliderDef, phase, 8);
NIMBREL_OFFSET(PF_FloatSliderDef, value_desc, 16);
NIMBREL_OFFSET(PF_FloatSliderDef, valid_min, 48);
NIMBREL_OFFSET(PF_FloatSliderDef, valid_max, 52);
NIMBREL_OFFSET(PF_FloatSliderDef, slider_min, 56);
NIMBREL_OFFSET(PF_FloatSliderDef, slider_max, 60);
NIMBREL_OFFSET(PF_FloatSliderDef, dephault, 64);
NIMBREL_OFFSET(PF_FloatSliderDef, precision, 68);
NIMBREL_OFFSET(PF_FloatSliderDef, display_flags, 70);
NIMBREL_OFFSET(PF_FloatSliderDef, fs_flags, 72);
NIMBREL_OFFSET(PF_FloatSliderDef, curve_tolerance, 76);
NIMBREL_OFFSET(PF_FloatSliderDef, useExponent, 80);
NIMBREL_OFFSET(PF_FloatSliderDef, exponent, 84);

// Degrees, 16.16.
struct PF_AngleDef {
    PF_ParamValue value;
    PF_ParamValue dephault;
    PF_ParamValue valid_min, valid_max;
};
NIMBREL_LAYOUT(PF_AngleDef, 16, 4);
NIMBREL_OFFSET(PF_AngleDef, dephault, 4);
NIMBREL_OFFSET(PF_AngleDef, valid_min, 8);
NIMBREL_OFFSET(PF_AngleDef, valid_max, 12);

struct PF_CheckBoxDef {
    PF_ParamValue value;  // 0 or 1
    PF_Boolean dephault;
    A_char reserved;
    A_short reserved1;
    union {
        const A_char* nameptr;  // text beside the box
    } u;
};
NIMBREL_LAYOUT(PF_CheckBoxDef, 16, 8);
NIMBREL_OFFSET(PF_CheckBoxDef, dephault, 4);
NIMBREL_OFFSET(PF_CheckBoxDef, reserved, 5);
NIMBREL_OFFSET(PF_CheckBoxDef, reserved1, 6);
NIMBREL_OFFSET(PF_CheckBoxDef, u, 8);

struct PF_ColorDef {
    PF_UnionablePixel value;  // alpha unused
    PF_UnionablePixel dephault;
};
NIMBREL_LAYOUT(PF_ColorDef, 8, 1);
NIMBREL_OFFSET(PF_ColorDef, dephault, 4);

struct PF_PointDef {
    PF_Fixed x_value, y_value;
    A_char reserved[3];
    PF_Boolean restrict_bounds;
    PF_Fixed x_dephault, y_dephault;
};
NIMBREL_LAYOUT(PF_PointDef, 20, 4);
NIMBREL_OFFSET(PF_PointDef, y_value, 4);
NIMBREL_OFFSET(PF_PointDef, restrict_bounds, 11);
NIMBREL_OFFSET(PF_PointDef, x_dephault, 12);
NIMBREL_OFFSET(PF_PointDef, y_dephault, 16);

// Values are pixels; defaults are percentages, x of the layer's width, y and z of its height.
struct PF_Point3DDef {
    PF_FpLong x_value, y_value, z_value;
    PF_FpLong x_dephault, y_dephault, z_dephault;
    A_char reserved[16];
};
NIMBREL_LAYOUT(PF_Point3DDef, 64, 8);
NIMBREL_OFFSET(PF_Point3DDef, y_value, 8);
NIMBREL_OFFSET(PF_Point3DDef, z_value, 16);
NIMBREL_OFFSET(PF_Point3DDef, x_dephault, 24);
NIMBREL_OFFSET(PF_Point3DDef, y_dephault, 32);
NIMBREL_OFFSET(PF_Point3DDef, z_dephault, 40);
NIMBREL_OFFSET(PF_Point3DDef, reserved, 48);

// Entries count from 1 and are joined by "|"; "(-" makes a separator.
struct PF_PopupDef {
    PF_ParamValue value;
    A_short num_choices;
    A_short dephault;
    union {
        const A_char* namesptr;
    } u;
};
NIMBREL_LAYOUT(PF_PopupDef, 16, 8);
NIMBREL_OFFSET(PF_PopupDef, num_choices, 4);
NIMBREL_OFFSET(PF_PopupDef, dephault, 6);
NIMBREL_OFFSET(PF_PopupDef, u, 8);

struct PF_ButtonDef {
    PF_ParamValue value;
    union {
        const A_char* namesptr;  // text on the button
    } u;
};
NIMBREL_LAYOUT(PF_ButtonDef, 16, 8);
NIMBREL_OFFSET(PF_ButtonDef, u, 8);

struct PF_ArbitraryDef {
    A_short id;
    A_short pad;
    PF_Handle dephault;
    PF_Handle value;
    void* refconPV;
};
NIMBREL_LAYOUT(PF_ArbitraryDef, 32, 8);
NIMBREL_OFFSET(PF_ArbitraryDef, pad, 2);
NIMBREL_OFFSET(PF_ArbitraryDef, dephault, 8);
NIMBREL_OFFSET(PF_ArbitraryDef, value, 16);
NIMBREL_OFFSET(PF_ArbitraryDef, refconPV, 24);

struct PF_PathDef {
    A_u_long path_id;
    A_long reserved0;
    A_long dephault;
};
NIMBREL_LAYOUT(PF_PathDef, 12, 4);

union PF_ParamDefUnion {
    PF_LayerDef ld;
    PF_SliderDef sd;
    PF_FixedSliderDef fd;
    PF_AngleDef ad;
    PF_CheckBoxDef bd;
    PF_ColorDef cd;
    PF_PointDef td;
    PF_PopupDef pd;
    PF_FloatSliderDef fs_d;
    PF_ArbitraryDef arb_d;
    PF_PathDef path_d;
    PF_ButtonDef button_d;
    PF_Point3DDef point3d_d;
};
NIMBREL_LAYOUT(PF_ParamDefUnion, 120, 8);

// One parameter, as it is defined and as it is checked out. Zero the whole record before filling it.
struct PF_ParamDef {
    union {
        A_long id;
        PF_ChangeFlags change_flags;
    } uu;
    PF_ParamUIFlags ui_flags;
    A_short ui_width;
    A_short ui_height;
    PF_ParamType param_type;
    A_char name[32];
    PF_ParamFlags flags;
    A_long unused;
    PF_ParamDefUnion u;
};
using PF_ParamDefPtr = PF_ParamDef*;
using PF_ParamList = PF_ParamDef**;
NIMBREL_LAYOUT(PF_ParamDef, 176, 8);
NIMBREL_OFFSET(PF_ParamDef, ui_flags, 4);
NIMBREL_OFFSET(PF_ParamDef, ui_width, 8);
NIMBREL_OFFSET(PF_ParamDef, ui_height, 10);
NIMBREL_OFFSET(PF_ParamDef, param_type, 12);
NIMBREL_OFFSET(PF_ParamDef, name, 16);
NIMBREL_OFFSET(PF_ParamDef, flags, 48);
NIMBREL_OFFSET(PF_ParamDef, unused, 52);
NIMBREL_OFFSET(PF_ParamDef, u, 56);

struct PF_UserChangedParamExtra {
    PF_ParamIndex param_index;
};
NIMBREL_LAYOUT(PF_UserChangedParamExtra, 4, 4);

enum : A_long {
    PF_Param_LAYER = 0,
    PF_Param_SLIDER = 1,
    PF_Param_FIX_SLIDER = 2,
    PF_Param_ANGLE = 3,
    PF_Param_CHECKBOX = 4,
    PF_Param_COLOR = 5,
    PF_Param_POINT = 6,
    PF_Param_POPUP = 7,
    PF_Param_CUSTOM = 8,
    PF_Param_NO_DATA = 9,
    PF_Param_FLOAT_SLIDER = 10,
    PF_Param_ARBITRARY_DATA = 11,
    PF_Param_PATH = 12,
    PF_Param_GROUP_START = 13,
    PF_Param_GROUP_END = 14,
    PF_Param_BUTTON = 15,
    PF_Param_POINT_3D = 18,
};

enum : A_long {
    PF_ParamFlag_CANNOT_TIME_VARY = 2,
    PF_ParamFlag_CANNOT_INTERP = 4,
    PF_ParamFlag_COLLAPSE_TWIRLY = 32,
    PF_ParamFlag_START_COLLAPSED = 32,
    PF_ParamFlag_SUPERVISE = 64,
    PF_ParamFlag_USE_VALUE_FOR_OLD_PROJECTS = 128,
    PF_ParamFlag_LAYER_PARAM_IS_TRACKMATTE = 128,
    PF_ParamFlag_EXCLUDE_FROM_HAVE_INPUTS_CHANGED = 256,
    PF_ParamFlag_SKIP_REVEAL_WHEN_UNHIDDEN = 512,
};

enum : A_long {
    PF_PUI_NONE = 0,
    PF_PUI_TOPIC = 1,
    PF_PUI_CONTROL = 2,
    PF_PUI_STD_CONTROL_ONLY = 4,
    PF_PUI_NO_ECW_UI = 8,
    PF_PUI_ECW_SEPARATOR = 16,
    PF_PUI_DISABLED = 32,
    PF_PUI_DONT_ERASE_TOPIC = 64,
    PF_PUI_DONT_ERASE_CONTROL = 128,
    PF_PUI_RADIO_BUTTON = 256,
    PF_PUI_INVISIBLE = 512,
};

enum : A_long {
    PF_ChangeFlag_NONE = 0,
    PF_ChangeFlag_CHANGED_VALUE = 1,
    PF_ChangeFlag_RESERVED = 2,
    PF_ChangeFlag_SET_TO_VARY = 4,
    PF_ChangeFlag_SET_TO_CONSTANT = 8,
};

enum : A_long {
    PF_ValueDisplayFlag_NONE = 0,
    PF_ValueDisplayFlag_PERCENT = 1,
    PF_ValueDisplayFlag_PIXEL = 2,
    PF_ValueDisplayFlag_REVERSE = 8,
};

enum : A_long {
    PF_FSliderFlag_NONE = 0,
    PF_FSliderFlag_WANT_PHASE = 1,
};

enum : A_long {
    PF_LayerDefault_MYSELF = -1,
    PF_LayerDefault_NONE = 0,
};

}  // extern "C"
#ifdef _MSC_VER
#pragma pack(pop)
#endif
