#pragma once

#include "HostInterface/BasicSuite.h"

// The function by which a library names its effects.

#ifdef _MSC_VER
#pragma pack(push, 8)
#endif
extern "C" {

using PF_PluginDataPtr = void*;

// Takes one effect of the library: names, the exported entry point and the interface it was built for.
using PF_PluginDataCB = A_Err (*)(PF_PluginDataPtr token, const A_u_char* name, const A_u_char* match_name,
                                  const A_u_char* category, const A_u_char* entry_point_name, A_long kind,
                                  A_long api_version_major, A_long api_version_minor, A_long reserved_info);

}  // extern "C"
#ifdef _MSC_VER
#pragma pack(pop)
#endif
