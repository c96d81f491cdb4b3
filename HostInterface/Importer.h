#pragma once

#include "HostInterface/AEGP.h"
#include "HostInterface/Worlds.h"

// Importers: general plug-ins that make a file format footage. The host calls the function that the plug-in's resource
// names, once, on the main thread; there the plug-in registers a module, and later calls go to the module's functions.

#ifdef _MSC_VER
#pragma pack(push, 8)
#endif
extern "C" {

struct SPBasicSuite;

using AEIO_ModuleFlags = A_u_long;
using AEIO_ModuleFlags2 = A_u_long;
using AEIO_AlphaFlags = A_u_long;
using FIEL_Type = A_u_long;
using FIEL_Order = A_u_long;
using AEIO_ModuleSignature = A_long;
using AEIO_FileType = A_long;
using AEIO_Creator = A_long;
using AEIO_DrawingFlags = A_long;
using AEIO_Field = A_long;
using AEIO_SndQuality = A_long;
using AEIO_LabelFlags = A_long;
using AEIO_InputDepth = A_long;
using AEIO_SupportedDepthFlags = A_long;
using AEIO_IdleFlags = A_long;
using AEIO_RenderMarkerFlag = A_long;
using AEIO_Quality = A_short;
using AEIO_TimeDir = A_short;
using AEIO_SndEncoding = A_short;
using AEIO_SndSampleSize = A_short;
using AEIO_SndChannels = A_short;
using AEIO_AlphaType = A_u_char;
using AEIO_MarkerType = A_u_char;
using AEIO_FileSize = A_u_longlong;
using AEIO_Handle = AEGP_MemHandle;

// The host's records of one opened source and of one output.
struct AEIO_SeqSpec;
using AEIO_InSpecH = AEIO_SeqSpec**;
struct AEIO_OutSpec;
using AEIO_OutSpecH = AEIO_OutSpec**;

// Records that only pass by pointer.
struct PF_ChannelDesc;
struct PF_ChannelChunk;
struct AEIO_DrawFramePB;
struct AEGP_ColorProfile;
using AEGP_ConstColorProfileP = const AEGP_ColorProfile*;
using AEGP_ConstMarkerValP = const _AEGP_MarkerVal*;

using AEIO_MessageFunc = void (*)(A_Err err, const A_char* msg);
using AEIO_AbortProc = A_Err (*)(void* refcon);
using AEIO_ProgressProc = A_Err (*)(void* refcon, A_long count, A_long total);

// First argument of every function of a module; a report to the user goes to msg_func.
struct AEIO_InData {
    AEIO_MessageFunc msg_func;
    const SPBasicSuite* pica_basicP;
    A_long aegp_plug_id;
    void* aegp_refconPV;
};
using AEIO_BasicData = AEIO_InData;
NIMBREL_LAYOUT(AEIO_BasicData, 32, 8);
NIMBREL_OFFSET(AEIO_BasicData, pica_basicP, 8);
NIMBREL_OFFSET(AEIO_BasicData, aegp_plug_id, 16);
NIMBREL_OFFSET(AEIO_BasicData, aegp_refconPV, 24);

// pad is "."; no terminator.
struct AEIO_FileExt {
    A_char pad;
    A_char extension[3];
};
NIMBREL_LAYOUT(AEIO_FileExt, 4, 1);
NIMBREL_OFFSET(AEIO_FileExt, extension, 1);

struct PFILE_FileKind {
    A_long type;
    A_long creator;
};
NIMBREL_LAYOUT(PFILE_FileKind, 8, 4);
NIMBREL_OFFSET(PFILE_FileKind, creator, 4);

union AEIO_FileKind {
    PFILE_FileKind mac;
    AEIO_FileExt ext;
    A_long scrap;
};
NIMBREL_LAYOUT(AEIO_FileKind, 8, 4);

// The four characters include the ".".
struct AEIO_AuxExt {
    A_char extension[4];
    A_long type;
    A_long creator;
};
NIMBREL_LAYOUT(AEIO_AuxExt, 12, 4);
NIMBREL_OFFSET(AEIO_AuxExt, type, 4);
NIMBREL_OFFSET(AEIO_AuxExt, creator, 8);

// read_kinds: first num_filetypes entries as `mac`, then num_extensions as `ext`, then num_clips as `scrap`.
struct AEIO_ModuleInfo {
    AEIO_ModuleSignature sig;
    A_char name[32];
    AEIO_ModuleFlags flags;
    AEIO_ModuleFlags2 flags2;
    A_long max_width;
    A_long max_height;
    A_short num_filetypes;
    A_short num_extensions;
    A_short num_clips;
    A_short pad;
    PFILE_FileKind create_kind;
    AEIO_FileExt create_ext;
    AEIO_FileKind read_kinds[16];
    A_short num_aux_extensionsS;
    AEIO_AuxExt aux_ext[16];
};
NIMBREL_LAYOUT(AEIO_ModuleInfo, 396, 4);
NIMBREL_OFFSET(AEIO_ModuleInfo, name, 4);
NIMBREL_OFFSET(AEIO_ModuleInfo, flags, 36);
NIMBREL_OFFSET(AEIO_ModuleInfo, flags2, 40);
NIMBREL_OFFSET(AEIO_ModuleInfo, max_width, 44);
NIMBREL_OFFSET(AEIO_ModuleInfo, max_height, 48);
NIMBREL_OFFSET(AEIO_ModuleInfo, num_filetypes, 52);
NIMBREL_OFFSET(AEIO_ModuleInfo, num_extensions, 54);
NIMBREL_OFFSET(AEIO_ModuleInfo, num_clips, 56);
NIMBREL_OFFSET(AEIO_ModuleInfo, pad, 58);
NIMBREL_OFFSET(AEIO_ModuleInfo, create_kind, 60);
NIMBREL_OFFSET(AEIO_ModuleInfo, create_ext, 68);
NIMBREL_OFFSET(AEIO_ModuleInfo, read_kinds, 72);
NIMBREL_OFFSET(AEIO_ModuleInfo, num_aux_extensionsS, 200);
NIMBREL_OFFSET(AEIO_ModuleInfo, aux_ext, 204);

// Texts of the project panel, each with its terminator.
struct AEIO_Verbiage {
    A_char name[32];
    A_char type[32];
    A_char sub_type[128];
};
NIMBREL_LAYOUT(AEIO_Verbiage, 192, 1);
NIMBREL_OFFSET(AEIO_Verbiage, type, 32);
NIMBREL_OFFSET(AEIO_Verbiage, sub_type, 64);

struct AEIO_RationalScale {
    A_Ratio x;
    A_Ratio y;
};
NIMBREL_LAYOUT(AEIO_RationalScale, 16, 4);
NIMBREL_OFFSET(AEIO_RationalScale, y, 8);

// These two are packed to 2 bytes on every system. The colour is what premultiplied pixels were matted with; alpha is
// an AEIO_AlphaType.
#pragma pack(push, 2)
struct AEIO_AlphaLabel {
    A_short version;
    AEIO_AlphaFlags flags;
    A_u_char red;
    A_u_char green;
    A_u_char blue;
    AEIO_AlphaType alpha;
};
struct FIEL_Label {
    A_u_long signature;
    A_short version;
    FIEL_Type type;
    FIEL_Order order;
    A_u_long reserved;
};
#pragma pack(pop)
NIMBREL_LAYOUT(AEIO_AlphaLabel, 10, 2);
NIMBREL_OFFSET(AEIO_AlphaLabel, flags, 2);
NIMBREL_OFFSET(AEIO_AlphaLabel, red, 6);
NIMBREL_OFFSET(AEIO_AlphaLabel, alpha, 9);
NIMBREL_LAYOUT(FIEL_Label, 18, 2);
NIMBREL_OFFSET(FIEL_Label, version, 4);
NIMBREL_OFFSET(FIEL_Label, type, 6);
NIMBREL_OFFSET(FIEL_Label, order, 10);
NIMBREL_OFFSET(FIEL_Label, reserved, 14);

// Either function may be null; a result that is not 0 ends the work and is returned.
struct AEIO_InterruptFuncs {
    void* refcon;
    AEIO_AbortProc abort0;
    AEIO_ProgressProc progress0;
};
NIMBREL_LAYOUT(AEIO_InterruptFuncs, 24, 8);
NIMBREL_OFFSET(AEIO_InterruptFuncs, abort0, 8);
NIMBREL_OFFSET(AEIO_InterruptFuncs, progress0, 16);

// What to draw, in pixels of the scaled picture; an empty region means all of it.
struct AEIO_DrawSparseFramePB {
    AEIO_Quality qual;
    AEIO_RationalScale rs;
    A_Time tr;
    A_Time duration;
    A_LRect required_region;
    AEIO_InterruptFuncs inter;
};
NIMBREL_LAYOUT(AEIO_DrawSparseFramePB, 80, 8);
NIMBREL_OFFSET(AEIO_DrawSparseFramePB, rs, 4);
NIMBREL_OFFSET(AEIO_DrawSparseFramePB, tr, 20);
NIMBREL_OFFSET(AEIO_DrawSparseFramePB, duration, 28);
NIMBREL_OFFSET(AEIO_DrawSparseFramePB, required_region, 36);
NIMBREL_OFFSET(AEIO_DrawSparseFramePB, inter, 56);

struct A_LPoint {
    A_long x, y;
};
NIMBREL_LAYOUT(A_LPoint, 8, 4);

struct AEIO_Marker {
    const A_char* chapterZ0;
    const A_char* commentZ0;
    const A_char* urlZ0;
    const A_char* url_frame_targetZ0;
};
NIMBREL_SLOTS(AEIO_Marker, 4);

// A module's functions. Most answer AEIO_Err_USE_DFLT_CALLBACK where the host's own answer will do.
struct _AEIO_FunctionBlock4 {
    A_Err (*AEIO_InitInSpecFromFile)(AEIO_BasicData*, const A_UTF16Char* file_path, AEIO_InSpecH);
    A_Err (*AEIO_InitInSpecInteractive)(AEIO_BasicData*, AEIO_InSpecH);
    A_Err (*AEIO_DisposeInSpec)(AEIO_BasicData*, AEIO_InSpecH);
    A_Err (*AEIO_FlattenOptions)(AEIO_BasicData*, AEIO_InSpecH, AEIO_Handle* flat_options);
    A_Err (*AEIO_InflateOptions)(AEIO_BasicData*, AEIO_InSpecH, AEIO_Handle flat_options);
    A_Err (*AEIO_SynchInSpec)(AEIO_BasicData*, AEIO_InSpecH, A_Boolean* changed);
    A_Err (*AEIO_GetActiveExtent)(AEIO_BasicData*, AEIO_InSpecH, const A_Time*, A_LRect* extent);
    A_Err (*AEIO_GetInSpecInfo)(AEIO_BasicData*, AEIO_InSpecH, AEIO_Verbiage*);
    A_Err (*AEIO_DrawSparseFrame)(AEIO_BasicData*, AEIO_InSpecH, const AEIO_DrawSparseFramePB*, PF_EffectWorld*,
                                  AEIO_DrawingFlags*);
    A_Err (*AEIO_GetDimensions)(AEIO_BasicData*, AEIO_InSpecH, const AEIO_RationalScale*, A_long* width,
                                A_long* height);
    A_Err (*AEIO_GetDuration)(AEIO_BasicData*, AEIO_InSpecH, A_Time*);
    A_Err (*AEIO_GetTime)(AEIO_BasicData*, AEIO_InSpecH, A_Time*);
    A_Err (*AEIO_GetSound)(AEIO_BasicData*, AEIO_InSpecH, AEIO_SndQuality, const AEIO_InterruptFuncs*, const A_Time*,
                           const A_Time*, A_u_long start_sample, A_u_long num_samples, void* data);
    A_Err (*AEIO_InqNextFrameTime)(AEIO_BasicData*, AEIO_InSpecH, const A_Time* base_time, AEIO_TimeDir,
                                   A_Boolean* found, A_Time* key_time);
    A_Err (*AEIO_InitOutputSpec)(AEIO_BasicData*, AEIO_OutSpecH, A_Boolean* user_interacted);
    A_Err (*AEIO_GetFlatOutputOptions)(AEIO_BasicData*, AEIO_OutSpecH, AEIO_Handle*);
    A_Err (*AEIO_DisposeOutputOptions)(AEIO_BasicData*, void* options);
    A_Err (*AEIO_UserOptionsDialog)(AEIO_BasicData*, AEIO_OutSpecH, const PF_EffectWorld* sample,
                                    A_Boolean* user_interacted);
    A_Err (*AEIO_GetOutputInfo)(AEIO_BasicData*, AEIO_OutSpecH, AEIO_Verbiage*);
    A_Err (*AEIO_OutputInfoChanged)(AEIO_BasicData*, AEIO_OutSpecH);
    A_Err (*AEIO_SetOutputFile)(AEIO_BasicData*, AEIO_OutSpecH, const A_UTF16Char* file_path);
    A_Err (*AEIO_StartAdding)(AEIO_BasicData*, AEIO_OutSpecH, A_long flags);
    A_Err (*AEIO_AddFrame)(AEIO_BasicData*, AEIO_OutSpecH, A_long frame_index, A_long frames, const PF_EffectWorld*,
                           const A_LPoint* origin, A_Boolean was_compressed, AEIO_InterruptFuncs*);
    A_Err (*AEIO_EndAdding)(AEIO_BasicData*, AEIO_OutSpecH, A_long flags);
    A_Err (*AEIO_OutputFrame)(AEIO_BasicData*, AEIO_OutSpecH, const PF_EffectWorld*);
    A_Err (*AEIO_WriteLabels)(AEIO_BasicData*, AEIO_OutSpecH, AEIO_LabelFlags* written);
    A_Err (*AEIO_GetSizes)(AEIO_BasicData*, AEIO_OutSpecH, A_u_longlong* free_space, A_u_longlong* file_size);
    A_Err (*AEIO_Flush)(AEIO_BasicData*, AEIO_OutSpecH);
    A_Err (*AEIO_AddSoundChunk)(AEIO_BasicData*, AEIO_OutSpecH, const A_Time* start, A_u_long num_samples,
                                const void* data);
    A_Err (*AEIO_Idle)(AEIO_BasicData*, AEIO_ModuleSignature, AEIO_IdleFlags*);
    A_Err (*AEIO_GetDepths)(AEIO_BasicData*, AEIO_OutSpecH, AEIO_SupportedDepthFlags*);
    A_Err (*AEIO_GetOutputSuffix)(AEIO_BasicData*, AEIO_OutSpecH, A_char* suffix);
    A_Err (*AEIO_SeqOptionsDlg)(AEIO_BasicData*, AEIO_InSpecH, A_Boolean* user_interacted);
    A_Err (*AEIO_GetNumAuxChannels)(AEIO_BasicData*, AEIO_InSpecH, A_long* num_channels);
    A_Err (*AEIO_GetAuxChannelDesc)(AEIO_BasicData*, AEIO_InSpecH, A_long chan_index, PF_ChannelDesc*);
    A_Err (*AEIO_DrawAuxChannel)(AEIO_BasicData*, AEIO_InSpecH, A_long chan_index, const AEIO_DrawFramePB*,
                                 PF_ChannelChunk*);
    A_Err (*AEIO_FreeAuxChannel)(AEIO_BasicData*, AEIO_InSpecH, PF_ChannelChunk*);
    A_Err (*AEIO_NumAuxFiles)(AEIO_BasicData*, AEIO_InSpecH, A_long* files_per_frame);
    A_Err (*AEIO_GetNthAuxFileSpec)(AEIO_BasicData*, AEIO_InSpecH, A_long frame_num, A_long n, AEGP_MemHandle* path);
    A_Err (*AEIO_CloseSourceFiles)(AEIO_BasicData*, AEIO_InSpecH);
    A_Err (*AEIO_CountUserData)(AEIO_BasicData*, AEIO_InSpecH, A_u_long type, A_u_long max_size, A_u_long* num_of_type);
    A_Err (*AEIO_SetUserData)(AEIO_BasicData*, AEIO_OutSpecH, A_u_long type, A_u_long index, AEIO_Handle data);
    A_Err (*AEIO_GetUserData)(AEIO_BasicData*, AEIO_InSpecH, A_u_long type, A_u_long index, A_u_long max_size,
                              AEIO_Handle* data);
    A_Err (*AEIO_AddMarker)(AEIO_BasicData*, AEIO_OutSpecH, A_long frame_index, AEIO_MarkerType, void* marker_data,
                            AEIO_InterruptFuncs*);
    A_Err (*AEIO_VerifyFileImportable)(AEIO_BasicData*, AEIO_ModuleSignature, const A_UTF16Char* file_path,
                                       A_Boolean* importable);
    A_Err (*AEIO_UserAudioOptionsDialog)(AEIO_BasicData*, AEIO_OutSpecH, A_Boolean* user_interacted);
    A_Err (*AEIO_AddMarker2)(AEIO_BasicData*, AEIO_OutSpecH, A_long frame_index, const AEIO_Marker*,
                             AEIO_InterruptFuncs*);
    A_Err (*AEIO_AddMarker3)(AEIO_BasicData*, AEIO_OutSpecH, A_long frame_index, AEGP_ConstMarkerValP,
                             AEIO_RenderMarkerFlag, AEIO_InterruptFuncs*);
    A_Err (*AEIO_GetMimeType)(AEIO_BasicData*, AEIO_OutSpecH, A_long mime_type_size, A_char* mime_type);
};
using AEIO_FunctionBlock4 = _AEIO_FunctionBlock4;
NIMBREL_SLOTS(AEIO_FunctionBlock4, 49);
NIMBREL_SLOT(AEIO_FunctionBlock4, 2, AEIO_DisposeInSpec);
NIMBREL_SLOT(AEIO_FunctionBlock4, 5, AEIO_SynchInSpec);
NIMBREL_SLOT(AEIO_FunctionBlock4, 8, AEIO_DrawSparseFrame);
NIMBREL_SLOT(AEIO_FunctionBlock4, 13, AEIO_InqNextFrameTime);
NIMBREL_SLOT(AEIO_FunctionBlock4, 20, AEIO_SetOutputFile);
NIMBREL_SLOT(AEIO_FunctionBlock4, 29, AEIO_Idle);
NIMBREL_SLOT(AEIO_FunctionBlock4, 33, AEIO_GetNumAuxChannels);
NIMBREL_SLOT(AEIO_FunctionBlock4, 37, AEIO_NumAuxFiles);
NIMBREL_SLOT(AEIO_FunctionBlock4, 40, AEIO_CountUserData);
NIMBREL_SLOT(AEIO_FunctionBlock4, 44, AEIO_VerifyFileImportable);
NIMBREL_SLOT(AEIO_FunctionBlock4, 48, AEIO_GetMimeType);

enum : AEIO_ModuleFlags {
    AEIO_MFlag_NONE = 0,
    AEIO_MFlag_INPUT = 0x1,
    AEIO_MFlag_OUTPUT = 0x2,
    AEIO_MFlag_FILE = 0x4,
    AEIO_MFlag_STILL = 0x8,
    AEIO_MFlag_VIDEO = 0x10,
    AEIO_MFlag_AUDIO = 0x20,
    AEIO_MFlag_NO_TIME = 0x40,
    AEIO_MFlag_CANT_CLIP = 0x200,
    AEIO_MFlag_INPUT_OPTIONS = 0x200000,
    AEIO_MFlag_HSF_AWARE = 0x400000,
    AEIO_MFlag_CAN_DRAW_DEEP = 0x40000000,
};

enum : AEIO_ModuleFlags2 {
    AEIO_MFlag2_NONE = 0,
    AEIO_MFlag2_CAN_DRAW_FLOAT = 0x10,
};

enum : A_Err {
    AEIO_Err_UNSUPPORTED_CALLBACK = 9985,
    AEIO_Err_UNIMPLEMENTED = 9986,
    AEIO_Err_UNSUPPORTED_FILETYPE = 9987,
    AEIO_Err_INAPPROPRIATE_ACTION = 9988,
    AEIO_Err_BAD_BMWORLD = 9989,
    AEIO_Err_INCONSISTENT_PARAMETERS = 9990,
    AEIO_Err_INVALID_TIME = 9991,
    AEIO_Err_USE_DFLT_CALLBACK = 9992,
    AEIO_Err_USER_CANCEL = 9993,
    AEIO_Err_DISK_FULL = 9994,
    AEIO_Err_INITIALIZE_FAILED = 9995,
    AEIO_Err_BAD_FILENAME = 9996,
    AEIO_Err_PARSING = 9997,
    AEIO_Err_NOT_SEQUENCE = 9998,
    AEIO_Err_USE_DFLT_GETSIZES_FREESPACE = 9999,
};

// Bits a pixel; 24 has no alpha.
enum : AEIO_InputDepth {
    AEIO_InputDepth_24 = 24,
    AEIO_InputDepth_32 = 32,
    AEIO_InputDepth_48 = 48,
    AEIO_InputDepth_64 = 64,
    AEIO_InputDepth_96 = 96,
    AEIO_InputDepth_128 = 128,
};

enum : A_long {
    AEIO_Alpha_STRAIGHT = 0,
    AEIO_Alpha_PREMUL = 1,
    AEIO_Alpha_IGNORE = 2,
    AEIO_Alpha_NONE = 3,
    AEIO_AlphaLabel_VERSION = 0x0101,
    AEIO_DFlags_NONE = 0,
    AEIO_DFlags_DID_DEINT = 2,
    AEIO_DFlags_DID_ALPHA_CONV = 4,
    AEIO_Qual_LOW = 0,
    AEIO_Qual_HIGH = 1,
    AEIO_IdleFlag_NONE = 0,
    AEIO_ANY_CREATOR = -1,
    FIEL_Type_FRAME_RENDERED = 0,
    FIEL_Order_UPPER_FIRST = 0,
    FIEL_Label_VERSION = 1,
    FIEL_Tag = 0x4649454C,          // 'FIEL'
    AEGP_PLUGIN_TYPE = 0x41456778,  // 'AEgx'
};

}  // extern "C"
#ifdef _MSC_VER
#pragma pack(pop)
#endif
