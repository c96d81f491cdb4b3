#pragma once

#include "PluginBase/Exception.h"

// A host call whose failure has a text of its own.
#define ZEB_CHECK_TEXT(call, text)                                                                                \
    do {                                                                                                          \
        if (const auto zebResult = (call); zebResult != 0) ZEB_THROW(static_cast<std::int32_t>(zebResult), text); \
    } while (false)
