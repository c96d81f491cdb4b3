#pragma once

#include "HostInterface/Types.h"

// How suites are acquired. A missing suite gives a non-zero code.

#ifdef _MSC_VER
#pragma pack(push, 8)
#endif
extern "C" {

struct SPBasicSuite {
    SPErr (*AcquireSuite)(const A_char* name, A_long version, const void** suite);
    SPErr (*ReleaseSuite)(const A_char* name, A_long version);
    SPBoolean (*IsEqual)(const A_char* token1, const A_char* token2);
    SPErr (*AllocateBlock)(A_u_longlong size, void** block);
    SPErr (*FreeBlock)(void* block);
    SPErr (*ReallocateBlock)(void* block, A_u_longlong new_size, void** new_block);
    SPErr (*Undefined)();
};
NIMBREL_SLOTS(SPBasicSuite, 7);
NIMBREL_SLOT(SPBasicSuite, 1, ReleaseSuite);
NIMBREL_SLOT(SPBasicSuite, 2, IsEqual);
NIMBREL_SLOT(SPBasicSuite, 3, AllocateBlock);
NIMBREL_SLOT(SPBasicSuite, 4, FreeBlock);
NIMBREL_SLOT(SPBasicSuite, 5, ReallocateBlock);
NIMBREL_SLOT(SPBasicSuite, 6, Undefined);

// Codes are four characters as a big-endian number.
enum : A_u_long { kSPNoError = 0, kSPSuiteNotFoundError = 0x53214664, kSPBadParameterError = 0x5061726D };
enum : A_u_long { kSPOutOfMemoryError = 0xFFFFFF6C };

}  // extern "C"
#ifdef _MSC_VER
#pragma pack(pop)
#endif
