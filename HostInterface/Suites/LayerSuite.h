#pragma once

#include "HostInterface/AEGP.h"

// Layers of a composition.

extern "C" {

#define kAEGPLayerSuite "AEGP Layer Suite"
#define kAEGPLayerSuiteVersion8 14

struct AEGP_LayerSuite8 {
    A_Err (*AEGP_GetCompNumLayers)(AEGP_CompH, A_long* num_layers);
    A_Err (*AEGP_GetCompLayerByIndex)(AEGP_CompH, A_long layer_index, AEGP_LayerH*);  // 0 is topmost
    A_Err (*AEGP_GetActiveLayer)(AEGP_LayerH*);
    A_Err (*AEGP_GetLayerIndex)(AEGP_LayerH, A_long* layer_index);
    A_Err (*AEGP_GetLayerSourceItem)(AEGP_LayerH, AEGP_ItemH*);
    A_Err (*AEGP_GetLayerSourceItemID)(AEGP_LayerH, A_long* source_item_id);
    A_Err (*AEGP_GetLayerParentComp)(AEGP_LayerH, AEGP_CompH*);
    A_Err (*AEGP_GetLayerName)(AEGP_PluginID plugin_id, AEGP_LayerH, AEGP_MemHandle*,
                               AEGP_MemHandle*);  // layer name, source name; either may be null; free both
    A_Err (*AEGP_GetLayerQuality)(AEGP_LayerH, A_short* quality);
    A_Err (*AEGP_SetLayerQuality)(AEGP_LayerH, A_short quality);
    A_Err (*AEGP_GetLayerFlags)(AEGP_LayerH, A_long* layer_flags);
    A_Err (*AEGP_SetLayerFlag)(AEGP_LayerH, A_long single_flag, A_Boolean value);
    A_Err (*AEGP_IsLayerVideoReallyOn)(AEGP_LayerH, A_Boolean* on);
    A_Err (*AEGP_IsLayerAudioReallyOn)(AEGP_LayerH, A_Boolean* on);
    A_Err (*AEGP_GetLayerCurrentTime)(AEGP_LayerH, A_short time_mode, A_Time*);
    A_Err (*AEGP_GetLayerInPoint)(AEGP_LayerH, A_short time_mode, A_Time*);
    A_Err (*AEGP_GetLayerDuration)(AEGP_LayerH, A_short time_mode, A_Time*);
    A_Err (*AEGP_SetLayerInPointAndDuration)(AEGP_LayerH, A_short time_mode, const A_Time*, const A_Time*);
    A_Err (*AEGP_GetLayerOffset)(AEGP_LayerH, A_Time*);
    A_Err (*AEGP_SetLayerOffset)(AEGP_LayerH, const A_Time*);
    A_Err (*AEGP_GetLayerStretch)(AEGP_LayerH, A_Ratio*);
    A_Err (*AEGP_SetLayerStretch)(AEGP_LayerH, const A_Ratio*);
    A_Err (*AEGP_GetLayerTransferMode)(AEGP_LayerH, AEGP_LayerTransferMode*);
    A_Err (*AEGP_SetLayerTransferMode)(AEGP_LayerH, const AEGP_LayerTransferMode*);
    A_Err (*AEGP_IsAddLayerValid)(AEGP_ItemH, AEGP_CompH, A_Boolean* valid);
    A_Err (*AEGP_AddLayer)(AEGP_ItemH, AEGP_CompH, AEGP_LayerH*);  // goes on top
    A_Err (*AEGP_ReorderLayer)(AEGP_LayerH, A_long layer_index);   // -1 to the end
    A_Err (*AEGP_GetLayerMaskedBounds)(AEGP_LayerH, A_short time_mode, const A_Time*, A_FloatRect*);
    A_Err (*AEGP_GetLayerObjectType)(AEGP_LayerH, A_long* object_type);
    A_Err (*AEGP_IsLayer3D)(AEGP_LayerH, A_Boolean* is_3D);
    A_Err (*AEGP_IsLayer2D)(AEGP_LayerH, A_Boolean* is_2D);
    A_Err (*AEGP_IsVideoActive)(AEGP_LayerH, A_short time_mode, const A_Time*, A_Boolean* is_active);
    A_Err (*AEGP_IsLayerUsedAsTrackMatte)(AEGP_LayerH, A_Boolean fill_must_be_active, A_Boolean* is_track_matte);
    A_Err (*AEGP_DoesLayerHaveTrackMatte)(AEGP_LayerH, A_Boolean* has_track_matte);
    A_Err (*AEGP_ConvertCompToLayerTime)(AEGP_LayerH, const A_Time*, A_Time*);
    A_Err (*AEGP_ConvertLayerToCompTime)(AEGP_LayerH, const A_Time*, A_Time*);
    A_Err (*AEGP_GetLayerDancingRandValue)(AEGP_LayerH, const A_Time*, A_long* rand_value);
    A_Err (*AEGP_GetLayerID)(AEGP_LayerH, A_long* id_val);
    A_Err (*AEGP_GetLayerToWorldXform)(AEGP_LayerH, const A_Time*, A_Matrix4*);  // comp time
    A_Err (*AEGP_GetLayerToWorldXformFromView)(AEGP_LayerH, const A_Time*, const A_Time*, A_Matrix4*);
    A_Err (*AEGP_SetLayerName)(AEGP_LayerH, const A_UTF16Char* new_name);
    A_Err (*AEGP_GetLayerParent)(AEGP_LayerH, AEGP_LayerH*);
    A_Err (*AEGP_SetLayerParent)(AEGP_LayerH, AEGP_LayerH);
    A_Err (*AEGP_DeleteLayer)(AEGP_LayerH);
    A_Err (*AEGP_DuplicateLayer)(AEGP_LayerH, AEGP_LayerH*);
    A_Err (*AEGP_GetLayerFromLayerID)(AEGP_CompH, A_long id, AEGP_LayerH*);
    A_Err (*AEGP_GetLayerLabel)(AEGP_LayerH, A_char* label);
    A_Err (*AEGP_SetLayerLabel)(AEGP_LayerH, A_char label);
    A_Err (*AEGP_GetLayerSamplingQuality)(AEGP_LayerH, A_short* quality);
    A_Err (*AEGP_SetLayerSamplingQuality)(AEGP_LayerH, A_short quality);
};
NIMBREL_SLOTS(AEGP_LayerSuite8, 50);
NIMBREL_SLOT(AEGP_LayerSuite8, 0, AEGP_GetCompNumLayers);
NIMBREL_SLOT(AEGP_LayerSuite8, 1, AEGP_GetCompLayerByIndex);
NIMBREL_SLOT(AEGP_LayerSuite8, 3, AEGP_GetLayerIndex);
NIMBREL_SLOT(AEGP_LayerSuite8, 4, AEGP_GetLayerSourceItem);
NIMBREL_SLOT(AEGP_LayerSuite8, 6, AEGP_GetLayerParentComp);
NIMBREL_SLOT(AEGP_LayerSuite8, 7, AEGP_GetLayerName);
NIMBREL_SLOT(AEGP_LayerSuite8, 11, AEGP_SetLayerFlag);
NIMBREL_SLOT(AEGP_LayerSuite8, 24, AEGP_IsAddLayerValid);
NIMBREL_SLOT(AEGP_LayerSuite8, 25, AEGP_AddLayer);
NIMBREL_SLOT(AEGP_LayerSuite8, 26, AEGP_ReorderLayer);
NIMBREL_SLOT(AEGP_LayerSuite8, 37, AEGP_GetLayerID);
NIMBREL_SLOT(AEGP_LayerSuite8, 38, AEGP_GetLayerToWorldXform);
NIMBREL_SLOT(AEGP_LayerSuite8, 45, AEGP_GetLayerFromLayerID);
NIMBREL_SLOT(AEGP_LayerSuite8, 49, AEGP_SetLayerSamplingQuality);

}  // extern "C"
