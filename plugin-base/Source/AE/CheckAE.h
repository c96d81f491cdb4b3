#pragma once

#include <string>

#include "HostInterface/HostInterface.h"
#include "PluginBase/Exception.h"

// A host call whose failure has a text of its own.
#define ZEB_CHECK_TEXT(call, text)                                                                                \
    do {                                                                                                          \
        if (const auto zebResult = (call); zebResult != 0) ZEB_THROW(static_cast<std::int32_t>(zebResult), text); \
    } while (false)

namespace zeb {

/// A pointer that the host owes us; without it a zeb::Exception names it.
template <class T>
T* NeedFromHost(T* pointer, const char* what) {
    if (pointer == nullptr) ZEB_THROW(PF_Err_BAD_CALLBACK_PARAM, std::string("The host gave no ") + what);
    return pointer;
}

}  // namespace zeb
