#pragma once

#include "HostInterface/AEGP.h"

// From an effect to its layer, its time and its camera.

extern "C" {

#define kAEGPPFInterfaceSuite "AEGP PF Interface Suite"
#define kAEGPPFInterfaceSuiteVersion1 1

struct AEGP_PFInterfaceSuite1 {
    A_Err (*AEGP_GetEffectLayer)(PF_ProgPtr, AEGP_LayerH*);
    A_Err (*AEGP_GetNewEffectForEffect)(AEGP_PluginID plugin_id, PF_ProgPtr,
                                        AEGP_EffectRefH*);  // dispose with DisposeEffect
    A_Err (*AEGP_ConvertEffectToCompTime)(PF_ProgPtr, A_long what_time, A_u_long time_scale, A_Time*);
    A_Err (*AEGP_GetEffectCamera)(PF_ProgPtr, const A_Time*,
                                  AEGP_LayerH*);  // comp time; null layer and no error when there is no camera
    A_Err (*AEGP_GetEffectCameraMatrix)(PF_ProgPtr, const A_Time*, A_Matrix4*, A_FpLong* dist_to_image_plane,
                                        A_short* image_plane_width, A_short* image_plane_height);
};
NIMBREL_SLOTS(AEGP_PFInterfaceSuite1, 5);
NIMBREL_SLOT(AEGP_PFInterfaceSuite1, 0, AEGP_GetEffectLayer);
NIMBREL_SLOT(AEGP_PFInterfaceSuite1, 1, AEGP_GetNewEffectForEffect);
NIMBREL_SLOT(AEGP_PFInterfaceSuite1, 2, AEGP_ConvertEffectToCompTime);
NIMBREL_SLOT(AEGP_PFInterfaceSuite1, 3, AEGP_GetEffectCamera);
NIMBREL_SLOT(AEGP_PFInterfaceSuite1, 4, AEGP_GetEffectCameraMatrix);

}  // extern "C"
