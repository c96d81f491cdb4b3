#pragma once
// Before all else: what MinGW's headers define for its own compiler and no other.
#include <_mingw.h>
#ifndef __MINGW_IMPORT
#define __MINGW_IMPORT extern
#endif
// Its interfaces carry their identifiers in no way that this compiler knows. Only the syntax counts.
struct _GUID;
#define __uuidof(object) (*static_cast<const _GUID*>(nullptr))
