#pragma once

#include "HostInterface/HostInterface.h"

/// What the effect can do, as the host asks at global setup and reads in the resource of the Windows file.
inline constexpr PF_OutFlags kOutFlags = PF_OutFlag_SEQUENCE_DATA_NEEDS_FLATTENING | PF_OutFlag_USE_OUTPUT_EXTENT |
                                         PF_OutFlag_PIX_INDEPENDENT | PF_OutFlag_CUSTOM_UI |
                                         PF_OutFlag_DEEP_COLOR_AWARE;
inline constexpr PF_OutFlags2 kOutFlags2 =
    PF_OutFlag2_I_USE_3D_CAMERA | PF_OutFlag2_SUPPORTS_SMART_RENDER | PF_OutFlag2_FLOAT_COLOR_AWARE |
    PF_OutFlag2_SUPPORTS_GET_FLATTENED_SEQUENCE_DATA | PF_OutFlag2_SUPPORTS_THREADED_RENDERING;
inline constexpr bool kIsBeta = false;
