#pragma once

#include "HostInterface/AEGP.h"

// The host's hash; its algorithm is not public, so keys serve for equality only.

extern "C" {

#define kAEGPHashSuite "AEGP Hash Suite"
#define kAEGPHashSuiteVersion1 1

struct AEGP_HashSuite1 {
    A_Err (*AEGP_CreateHashFromPtr)(A_u_longlong buf_size, const void*, AEGP_GUID*);
    A_Err (*AEGP_HashMixInPtr)(A_u_longlong buf_size, const void*, AEGP_GUID*);
};
NIMBREL_SLOTS(AEGP_HashSuite1, 2);
NIMBREL_SLOT(AEGP_HashSuite1, 0, AEGP_CreateHashFromPtr);
NIMBREL_SLOT(AEGP_HashSuite1, 1, AEGP_HashMixInPtr);

}  // extern "C"
