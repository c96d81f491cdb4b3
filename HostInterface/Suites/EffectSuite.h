#pragma once

#include "HostInterface/AEGP.h"
#include "HostInterface/Parameters.h"

// Effects as seen from outside.

extern "C" {

#define kAEGPEffectSuite "AEGP Effect Suite"
#define kAEGPEffectSuiteVersion4 4

struct AEGP_EffectSuite4 {
    A_Err (*AEGP_GetLayerNumEffects)(AEGP_LayerH, A_long* num_effects);
    A_Err (*AEGP_GetLayerEffectByIndex)(AEGP_PluginID plugin_id, AEGP_LayerH, A_long layer_effect_index,
                                        AEGP_EffectRefH*);
    A_Err (*AEGP_GetInstalledKeyFromLayerEffect)(AEGP_EffectRefH, A_long* installed_effect_key);
    A_Err (*AEGP_GetEffectParamUnionByIndex)(AEGP_PluginID plugin_id, AEGP_EffectRefH, A_long param_index,
                                             PF_ParamType*, PF_ParamDefUnion*);
    A_Err (*AEGP_GetEffectFlags)(AEGP_EffectRefH, A_long* effect_flags);
    A_Err (*AEGP_SetEffectFlags)(AEGP_EffectRefH, A_long effect_flags_set_mask, A_long effect_flags);
    A_Err (*AEGP_ReorderEffect)(AEGP_EffectRefH, A_long effect_index);
    A_Err (*AEGP_EffectCallGeneric)(AEGP_PluginID plugin_id, AEGP_EffectRefH, const A_Time*, A_long effect_cmd, void*);
    A_Err (*AEGP_DisposeEffect)(AEGP_EffectRefH);
    A_Err (*AEGP_ApplyEffect)(AEGP_PluginID plugin_id, AEGP_LayerH, A_long installed_effect_key, AEGP_EffectRefH*);
    A_Err (*AEGP_DeleteLayerEffect)(AEGP_EffectRefH);
    A_Err (*AEGP_GetNumInstalledEffects)(A_long* num_installed_effects);
    A_Err (*AEGP_GetNextInstalledEffect)(A_long installed_effect_key, A_long* next_effect);
    A_Err (*AEGP_GetEffectName)(A_long installed_effect_key, A_char* name);
    A_Err (*AEGP_GetEffectMatchName)(A_long installed_effect_key, A_char* utf8_match_name);
    A_Err (*AEGP_GetEffectCategory)(A_long installed_effect_key, A_char* category);
    A_Err (*AEGP_DuplicateEffect)(AEGP_EffectRefH, AEGP_EffectRefH*);
    A_Err (*AEGP_NumEffectMask)(AEGP_EffectRefH, A_u_long* num_masks);
    A_Err (*AEGP_GetEffectMaskID)(AEGP_EffectRefH, A_u_long mask_index, A_long* id_val);
    A_Err (*AEGP_AddEffectMask)(AEGP_EffectRefH, A_long id_val, AEGP_StreamRefH*);
    A_Err (*AEGP_RemoveEffectMask)(AEGP_EffectRefH, A_long id_val);
    A_Err (*AEGP_SetEffectMask)(AEGP_EffectRefH, A_u_long mask_index, A_long id_val, AEGP_StreamRefH*);
};
NIMBREL_SLOTS(AEGP_EffectSuite4, 22);
NIMBREL_SLOT(AEGP_EffectSuite4, 8, AEGP_DisposeEffect);
NIMBREL_SLOT(AEGP_EffectSuite4, 21, AEGP_SetEffectMask);

}  // extern "C"
