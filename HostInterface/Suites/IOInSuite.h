#pragma once

#include "HostInterface/Importer.h"

// What an importer tells the host of an opened source. The set functions read their arguments during the call only.

extern "C" {

#define kAEGPIOInSuite "AEGP IO In Suite"
#define kAEGPIOInSuiteVersion4 5
#define kAEGPIOInSuiteVersion5 6

struct AEGP_IOInSuite5 {
    A_Err (*AEGP_GetInSpecOptionsHandle)(AEIO_InSpecH, void** options);
    A_Err (*AEGP_SetInSpecOptionsHandle)(AEIO_InSpecH, void* options, void** old_options);
    A_Err (*AEGP_GetInSpecFilePath)(AEIO_InSpecH, AEGP_MemHandle* path);  // UTF-16; the caller frees it
    A_Err (*AEGP_GetInSpecNativeFPS)(AEIO_InSpecH, A_Fixed* native_fps);
    A_Err (*AEGP_SetInSpecNativeFPS)(AEIO_InSpecH, A_Fixed native_fps);
    A_Err (*AEGP_GetInSpecDepth)(AEIO_InSpecH, A_short* depth);
    A_Err (*AEGP_SetInSpecDepth)(AEIO_InSpecH, A_short depth);
    A_Err (*AEGP_GetInSpecSize)(AEIO_InSpecH, AEIO_FileSize*);
    A_Err (*AEGP_SetInSpecSize)(AEIO_InSpecH, AEIO_FileSize);
    A_Err (*AEGP_GetInSpecInterlaceLabel)(AEIO_InSpecH, FIEL_Label*);
    A_Err (*AEGP_SetInSpecInterlaceLabel)(AEIO_InSpecH, const FIEL_Label*);
    A_Err (*AEGP_GetInSpecAlphaLabel)(AEIO_InSpecH, AEIO_AlphaLabel*);
    A_Err (*AEGP_SetInSpecAlphaLabel)(AEIO_InSpecH, const AEIO_AlphaLabel*);
    A_Err (*AEGP_GetInSpecDuration)(AEIO_InSpecH, A_Time*);
    A_Err (*AEGP_SetInSpecDuration)(AEIO_InSpecH, const A_Time*);
    A_Err (*AEGP_GetInSpecDimensions)(AEIO_InSpecH, A_long* width, A_long* height);
    A_Err (*AEGP_SetInSpecDimensions)(AEIO_InSpecH, A_long width, A_long height);
    A_Err (*AEGP_InSpecGetRationalDimensions)(AEIO_InSpecH, const AEIO_RationalScale*, A_long* width, A_long* height,
                                              A_LRect*);
    A_Err (*AEGP_GetInSpecHSF)(AEIO_InSpecH, A_Ratio*);
    A_Err (*AEGP_SetInSpecHSF)(AEIO_InSpecH, const A_Ratio*);  // pixel aspect ratio
    A_Err (*AEGP_GetInSpecSoundRate)(AEIO_InSpecH, A_FpLong*);
    A_Err (*AEGP_SetInSpecSoundRate)(AEIO_InSpecH, A_FpLong);
    A_Err (*AEGP_GetInSpecSoundEncoding)(AEIO_InSpecH, AEIO_SndEncoding*);
    A_Err (*AEGP_SetInSpecSoundEncoding)(AEIO_InSpecH, AEIO_SndEncoding);
    A_Err (*AEGP_GetInSpecSoundSampleSize)(AEIO_InSpecH, AEIO_SndSampleSize*);
    A_Err (*AEGP_SetInSpecSoundSampleSize)(AEIO_InSpecH, AEIO_SndSampleSize);
    A_Err (*AEGP_GetInSpecSoundChannels)(AEIO_InSpecH, AEIO_SndChannels*);
    A_Err (*AEGP_SetInSpecSoundChannels)(AEIO_InSpecH, AEIO_SndChannels);
    A_Err (*AEGP_AddAuxExtMap)(const A_char* extension, A_long file_type, A_long creator);
    A_Err (*AEGP_SetInSpecEmbeddedColorProfile)(AEIO_InSpecH, AEGP_ConstColorProfileP,
                                                const A_UTF16Char* profile_description);
    A_Err (*AEGP_SetInSpecAssignedColorProfile)(AEIO_InSpecH, AEGP_ConstColorProfileP);
    // Version 5 of the suite ends here.
    A_Err (*AEGP_GetInSpecNativeStartTime)(AEIO_InSpecH, A_Time*);
    A_Err (*AEGP_SetInSpecNativeStartTime)(AEIO_InSpecH, const A_Time*);
    A_Err (*AEGP_ClearInSpecNativeStartTime)(AEIO_InSpecH);
    A_Err (*AEGP_GetInSpecNativeDisplayDropFrame)(AEIO_InSpecH, A_Boolean*);
    A_Err (*AEGP_SetInSpecNativeDisplayDropFrame)(AEIO_InSpecH, A_Boolean);
    A_Err (*AEGP_SetInSpecStillSequenceNativeFPS)(AEIO_InSpecH, A_Fixed native_fps);
};
NIMBREL_SLOTS(AEGP_IOInSuite5, 37);
NIMBREL_SLOT(AEGP_IOInSuite5, 2, AEGP_GetInSpecFilePath);
NIMBREL_SLOT(AEGP_IOInSuite5, 6, AEGP_SetInSpecDepth);
NIMBREL_SLOT(AEGP_IOInSuite5, 12, AEGP_SetInSpecAlphaLabel);
NIMBREL_SLOT(AEGP_IOInSuite5, 16, AEGP_SetInSpecDimensions);
NIMBREL_SLOT(AEGP_IOInSuite5, 19, AEGP_SetInSpecHSF);
NIMBREL_SLOT(AEGP_IOInSuite5, 28, AEGP_AddAuxExtMap);
NIMBREL_SLOT(AEGP_IOInSuite5, 31, AEGP_GetInSpecNativeStartTime);
NIMBREL_SLOT(AEGP_IOInSuite5, 36, AEGP_SetInSpecStillSequenceNativeFPS);

}  // extern "C"
