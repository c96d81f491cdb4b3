#pragma once

#include "HostInterface/AEGP.h"

// Values kept by the host under a computed key. Receipts are checked in exactly once.

extern "C" {

#define kAEGPComputeCacheSuite "AEGP Compute Cache"
#define kAEGPComputeCacheSuiteVersion1 1

struct AEGP_ComputeCacheSuite1 {
    A_Err (*AEGP_ClassRegister)(AEGP_CCComputeClassIdP, const AEGP_ComputeCacheCallbacks*);
    A_Err (*AEGP_ClassUnregister)(AEGP_CCComputeClassIdP);
    A_Err (*AEGP_ComputeIfNeededAndCheckout)(AEGP_CCComputeClassIdP, AEGP_CCComputeOptionsRefconP,
                                             bool wait_for_other_thread, AEGP_CCCheckoutReceiptP*);
    A_Err (*AEGP_CheckoutCached)(AEGP_CCComputeClassIdP, AEGP_CCComputeOptionsRefconP,
                                 AEGP_CCCheckoutReceiptP*);  // 22 when not cached
    A_Err (*AEGP_GetReceiptComputeValue)(AEGP_CCCheckoutReceiptP, AEGP_CCComputeValueRefconP*);
    A_Err (*AEGP_CheckinComputeReceipt)(AEGP_CCCheckoutReceiptP);
};
NIMBREL_SLOTS(AEGP_ComputeCacheSuite1, 6);
NIMBREL_SLOT(AEGP_ComputeCacheSuite1, 0, AEGP_ClassRegister);
NIMBREL_SLOT(AEGP_ComputeCacheSuite1, 1, AEGP_ClassUnregister);
NIMBREL_SLOT(AEGP_ComputeCacheSuite1, 2, AEGP_ComputeIfNeededAndCheckout);
NIMBREL_SLOT(AEGP_ComputeCacheSuite1, 3, AEGP_CheckoutCached);
NIMBREL_SLOT(AEGP_ComputeCacheSuite1, 4, AEGP_GetReceiptComputeValue);
NIMBREL_SLOT(AEGP_ComputeCacheSuite1, 5, AEGP_CheckinComputeReceipt);

}  // extern "C"
