#pragma once

#include "HostInterface/Types.h"

// Handles, values and numbers of the project suites. Handles are opaque and 8 bytes.

#ifdef _MSC_VER
#pragma pack(push, 8)
#endif
extern "C" {

using AEGP_PluginID = A_long;
using AEGP_LayerIDVal = A_long;
using AEGP_LayerStream = A_long;
using AEGP_LayerFlags = A_long;
using AEGP_StreamType = A_long;
using AEGP_ObjectType = A_long;
using AEGP_MemFlag = A_long;
using AEGP_MemSize = A_u_long;
using AEGP_CameraType = A_u_long;
using AEGP_DynStreamFlags = A_u_long;
using AEGP_LTimeMode = A_short;
using AEGP_ItemType = A_short;
using AEGP_LayerQuality = A_short;
using AEGP_InterpretationStyle = A_u_char;
using AEGP_LabelID = A_char;
using AEGP_ProjBitDepth = A_char;

struct _AEGP_Project;
using AEGP_ProjectH = _AEGP_Project**;
struct _AEGP_Item;
using AEGP_ItemH = _AEGP_Item**;
struct _AEGP_Comp;
using AEGP_CompH = _AEGP_Comp**;
struct _AEGP_Footage;
using AEGP_FootageH = _AEGP_Footage**;
struct _AEGP_Layer;
using AEGP_LayerH = _AEGP_Layer**;
struct _AEGP_EffectRef;
using AEGP_EffectRefH = _AEGP_EffectRef**;
struct _AEGP_StreamRef;
using AEGP_StreamRefH = _AEGP_StreamRef**;
struct _AEGP_MaskRef;
using AEGP_MaskRefH = _AEGP_MaskRef**;
struct _AEGP_MaskOutlineVal;
using AEGP_MaskOutlineValH = _AEGP_MaskOutlineVal**;
struct _AEGP_TextDocument;
using AEGP_TextDocumentH = _AEGP_TextDocument**;
struct _AEGP_Collection2;
using AEGP_Collection2H = _AEGP_Collection2**;
struct _AEGP_MemHandleRef;
using AEGP_MemHandle = _AEGP_MemHandleRef**;
struct _AEGP_MarkerVal;
using AEGP_MarkerValP = _AEGP_MarkerVal*;
struct _AEGP_ItemView;
using AEGP_ItemViewP = _AEGP_ItemView*;
struct _PR_RenderContext;
using PR_RenderContextH = _PR_RenderContext**;
struct _AEGP_GlobalRefcon;
using AEGP_GlobalRefcon = _AEGP_GlobalRefcon*;

// Records that only pass by pointer.
struct AEGP_LayerTransferMode;
struct AEGP_DownsampleFactor;
struct AEGP_FootageInterp;
struct AEGP_SoundDataFormat;
struct AEGP_TimeDisplay3;
struct AEGP_ErrReportState;

struct AEGP_ColorVal {
    A_FpLong alphaF, redF, greenF, blueF;
};
NIMBREL_LAYOUT(AEGP_ColorVal, 32, 8);
NIMBREL_OFFSET(AEGP_ColorVal, redF, 8);
NIMBREL_OFFSET(AEGP_ColorVal, greenF, 16);
NIMBREL_OFFSET(AEGP_ColorVal, blueF, 24);

struct AEGP_TwoDVal {
    A_FpLong x, y;
};

struct AEGP_ThreeDVal {
    A_FpLong x, y, z;
};

union AEGP_StreamVal2 {
    A_FpLong four_d[4];
    AEGP_ThreeDVal three_d;
    AEGP_TwoDVal two_d;
    A_FpLong one_d;
    AEGP_ColorVal color;
    PF_Handle arbH;
    AEGP_MarkerValP markerP;
    AEGP_LayerIDVal layer_id;
    A_long mask_id;
    AEGP_MaskOutlineValH mask;
    AEGP_TextDocumentH text_documentH;
};
using AEGP_StreamVal = AEGP_StreamVal2;
NIMBREL_LAYOUT(AEGP_StreamVal2, 32, 8);

struct AEGP_StreamValue2 {
    AEGP_StreamRefH streamH;
    AEGP_StreamVal2 val;
};
using AEGP_StreamValue = AEGP_StreamValue2;
NIMBREL_LAYOUT(AEGP_StreamValue2, 40, 8);
NIMBREL_OFFSET(AEGP_StreamValue2, val, 8);

struct AEGP_FootageLayerKey {
    A_long layer_idL;
    A_long layer_indexL;
    A_char nameAC[64];
    A_long layer_draw_style;
};
NIMBREL_LAYOUT(AEGP_FootageLayerKey, 76, 4);
NIMBREL_OFFSET(AEGP_FootageLayerKey, layer_indexL, 4);
NIMBREL_OFFSET(AEGP_FootageLayerKey, nameAC, 8);
NIMBREL_OFFSET(AEGP_FootageLayerKey, layer_draw_style, 72);

struct AEGP_FileSequenceImportOptions {
    A_Boolean all_in_folderB;
    A_Boolean force_alphabeticalB;
    A_long start_frameL;
    A_long end_frameL;
};
NIMBREL_LAYOUT(AEGP_FileSequenceImportOptions, 12, 4);
NIMBREL_OFFSET(AEGP_FileSequenceImportOptions, force_alphabeticalB, 1);
NIMBREL_OFFSET(AEGP_FileSequenceImportOptions, start_frameL, 4);
NIMBREL_OFFSET(AEGP_FileSequenceImportOptions, end_frameL, 8);

struct AEGP_GUID {
    A_long bytes[4];
};
using AEGP_CCComputeKey = AEGP_GUID;
using AEGP_CCComputeKeyP = AEGP_CCComputeKey*;
NIMBREL_LAYOUT(AEGP_GUID, 16, 4);

// Compute cache: options and values are the effect's, receipts the host's.
using AEGP_CCComputeClassIdP = const A_char*;
using AEGP_CCComputeOptionsRefconP = void*;
using AEGP_CCComputeValueRefconP = void*;
using AEGP_CCCheckoutReceiptP = void*;

struct AEGP_ComputeCacheCallbacks {
    A_Err (*generate_key)(AEGP_CCComputeOptionsRefconP, AEGP_CCComputeKeyP out_key);
    A_Err (*compute)(AEGP_CCComputeOptionsRefconP, AEGP_CCComputeValueRefconP* out_value);
    A_u_longlong (*approx_size_value)(AEGP_CCComputeValueRefconP);  // bytes
    void (*delete_compute_value)(AEGP_CCComputeValueRefconP);
};
NIMBREL_SLOTS(AEGP_ComputeCacheCallbacks, 4);
NIMBREL_SLOT(AEGP_ComputeCacheCallbacks, 1, compute);
NIMBREL_SLOT(AEGP_ComputeCacheCallbacks, 2, approx_size_value);
NIMBREL_SLOT(AEGP_ComputeCacheCallbacks, 3, delete_compute_value);

// Hooks of general plug-ins, never called from here.
struct A_Version {
    A_short majorS, minorS;
};
using AEGP_HookPriority = A_long;
using AEGP_Command = A_long;
using AEGP_CommandHook = void (*)();
using AEGP_CommandRefcon = void*;
using AEGP_UpdateMenuHook = void (*)();
using AEGP_UpdateMenuRefcon = void*;
using AEGP_DeathHook = void (*)();
using AEGP_DeathRefcon = void*;
using AEGP_VersionHook = void (*)();
using AEGP_VersionRefcon = void*;
using AEGP_AboutStringHook = void (*)();
using AEGP_AboutStringRefcon = void*;
using AEGP_AboutHook = void (*)();
using AEGP_AboutRefcon = void*;
using AEGP_IdleHook = void (*)();
using AEGP_IdleRefcon = void*;
using AEGP_IORefcon = void*;
struct PR_ArtisanEntryPoints;
struct AEIO_ModuleInfo;
struct _AEIO_FunctionBlock4;
using AEIO_FunctionBlock4 = _AEIO_FunctionBlock4;
struct PT_TrackerEntryPoints;

enum : A_long {
    AEGP_LayerStream_NONE = -1,
    AEGP_LayerStream_ANCHORPOINT = 0,
    AEGP_LayerStream_POSITION = 1,
    AEGP_LayerStream_SCALE = 2,
    AEGP_LayerStream_ROTATION = 3,
    AEGP_LayerStream_ROTATE_Z = 3,
    AEGP_LayerStream_OPACITY = 4,
    AEGP_LayerStream_AUDIO = 5,
    AEGP_LayerStream_MARKER = 6,
    AEGP_LayerStream_TIME_REMAP = 7,
    AEGP_LayerStream_ROTATE_X = 8,
    AEGP_LayerStream_ROTATE_Y = 9,
    AEGP_LayerStream_ORIENTATION = 10,
    AEGP_LayerStream_ZOOM = 11,
    AEGP_LayerStream_DEPTH_OF_FIELD = 12,
    AEGP_LayerStream_FOCUS_DISTANCE = 13,
    AEGP_LayerStream_APERTURE = 14,
    AEGP_LayerStream_BLUR_LEVEL = 15,
};

enum : A_long {
    AEGP_StreamType_NO_DATA = 0,
    AEGP_StreamType_ThreeD_SPATIAL = 1,
    AEGP_StreamType_ThreeD = 2,
    AEGP_StreamType_TwoD_SPATIAL = 3,
    AEGP_StreamType_TwoD = 4,
    AEGP_StreamType_OneD = 5,
    AEGP_StreamType_COLOR = 6,
    AEGP_StreamType_ARB = 7,
    AEGP_StreamType_MARKER = 8,
    AEGP_StreamType_LAYER_ID = 9,
    AEGP_StreamType_MASK_ID = 10,
    AEGP_StreamType_MASK = 11,
    AEGP_StreamType_TEXT_DOCUMENT = 12,
};

enum : A_long {
    AEGP_LTimeMode_LayerTime = 0,
    AEGP_LTimeMode_CompTime = 1,
};

enum : A_long {
    AEGP_LayerIDVal_NONE = 0,
};

enum : A_long {
    AEGP_LayerFlag_NONE = 0,
    AEGP_LayerFlag_VIDEO_ACTIVE = 1 << 0,
    AEGP_LayerFlag_AUDIO_ACTIVE = 1 << 1,
    AEGP_LayerFlag_EFFECTS_ACTIVE = 1 << 2,
    AEGP_LayerFlag_MOTION_BLUR = 1 << 3,
    AEGP_LayerFlag_FRAME_BLENDING = 1 << 4,
    AEGP_LayerFlag_LOCKED = 1 << 5,
    AEGP_LayerFlag_SHY = 1 << 6,
    AEGP_LayerFlag_COLLAPSE = 1 << 7,
    AEGP_LayerFlag_AUTO_ORIENT_ROTATION = 1 << 8,
    AEGP_LayerFlag_ADJUSTMENT_LAYER = 1 << 9,
    AEGP_LayerFlag_TIME_REMAPPING = 1 << 10,
    AEGP_LayerFlag_LAYER_IS_3D = 1 << 11,
    AEGP_LayerFlag_LOOK_AT_CAMERA = 1 << 12,
    AEGP_LayerFlag_LOOK_AT_POI = 1 << 13,
    AEGP_LayerFlag_SOLO = 1 << 14,
    AEGP_LayerFlag_MARKERS_LOCKED = 1 << 15,
    AEGP_LayerFlag_NULL_LAYER = 1 << 16,
    AEGP_LayerFlag_HIDE_LOCKED_MASKS = 1 << 17,
    AEGP_LayerFlag_GUIDE_LAYER = 1 << 18,
    AEGP_LayerFlag_ADVANCED_FRAME_BLENDING = 1 << 19,
    AEGP_LayerFlag_SUBLAYERS_RENDER_SEPARATELY = 1 << 20,
    AEGP_LayerFlag_ENVIRONMENT_LAYER = 1 << 21,
};

// None is the largest number of the unsigned type.
enum : AEGP_CameraType {
    AEGP_CameraType_NONE = 0xFFFFFFFF,
    AEGP_CameraType_PERSPECTIVE = 0,
    AEGP_CameraType_ORTHOGRAPHIC = 1,
};

enum : AEGP_ItemType {
    AEGP_ItemType_NONE = 0,
    AEGP_ItemType_FOLDER = 1,
    AEGP_ItemType_COMP = 2,
    AEGP_ItemType_FOOTAGE = 4,
};

enum : A_long {
    AEGP_ItemFlag_MISSING = 1,
    AEGP_ItemFlag_HAS_VIDEO = 0x10,
    AEGP_ItemFlag_HAS_AUDIO = 0x20,
    AEGP_ItemFlag_STILL = 0x40,
};

enum : A_long {
    AEGP_ObjectType_NONE = -1,
    AEGP_ObjectType_AV = 0,
    AEGP_ObjectType_LIGHT = 1,
    AEGP_ObjectType_CAMERA = 2,
    AEGP_ObjectType_TEXT = 3,
    AEGP_ObjectType_VECTOR = 4,
};

enum : AEGP_DynStreamFlags {
    AEGP_DynStreamFlag_ACTIVE_EYEBALL = 1,
    AEGP_DynStreamFlag_HIDDEN = 2,
    AEGP_DynStreamFlag_DISABLED = 0x10,
    AEGP_DynStreamFlag_ELIDED = 0x20,
    AEGP_DynStreamFlag_SHOWN_WHEN_EMPTY = 0x400,
    AEGP_DynStreamFlag_SKIP_REVEAL_WHEN_UNHIDDEN = 0x10000,
};

using AEGP_StreamGroupingType = A_long;
enum : AEGP_StreamGroupingType {
    AEGP_StreamGroupingType_NONE = -1,
    AEGP_StreamGroupingType_LEAF = 0,
    AEGP_StreamGroupingType_NAMED_GROUP = 1,
    AEGP_StreamGroupingType_INDEXED_GROUP = 2,
};

enum : AEGP_InterpretationStyle {
    AEGP_InterpretationStyle_NO_DIALOG_GUESS = 0,
    AEGP_InterpretationStyle_DIALOG_OK = 1,
    AEGP_InterpretationStyle_NO_DIALOG_NO_GUESS = 2,
};

using AEGP_FootageSignature = A_long;
enum : AEGP_FootageSignature {
    AEGP_FootageSignature_NONE = -1,
    AEGP_FootageSignature_MISSING = 0,
    AEGP_FootageSignature_SOLID = 0x536F6C69,
};

enum : A_long {
    AEGP_MemFlag_NONE = 0,
    AEGP_MemFlag_CLEAR = 1,
    AEGP_MemFlag_QUIET = 2,
};

#define AEGP_FOOTAGE_MAIN_FILE_INDEX 0
#define AEGP_REORDER_LAYER_TO_END (-1)

}  // extern "C"
#ifdef _MSC_VER
#pragma pack(pop)
#endif
