#pragma once

#include "HostInterface/AEGP.h"

// Camera layers.

extern "C" {

#define kAEGPCameraSuite "AEGP Camera Suite"
#define kAEGPCameraSuiteVersion2 2

struct AEGP_CameraSuite2 {
    A_Err (*AEGP_GetCamera)(PR_RenderContextH, const A_Time*, AEGP_LayerH*);
    A_Err (*AEGP_GetCameraType)(AEGP_LayerH, A_u_long* camera_type);
    A_Err (*AEGP_GetDefaultCameraDistanceToImagePlane)(AEGP_CompH, A_FpLong* dist_to_plane);
    A_Err (*AEGP_GetCameraFilmSize)(AEGP_LayerH, A_long* film_size_units, A_FpLong* film_size);
    A_Err (*AEGP_SetCameraFilmSize)(AEGP_LayerH, A_long film_size_units, A_FpLong* film_size);
};
NIMBREL_SLOTS(AEGP_CameraSuite2, 5);
NIMBREL_SLOT(AEGP_CameraSuite2, 1, AEGP_GetCameraType);
NIMBREL_SLOT(AEGP_CameraSuite2, 4, AEGP_SetCameraFilmSize);

}  // extern "C"
