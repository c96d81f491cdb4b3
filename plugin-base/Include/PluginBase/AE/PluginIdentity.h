#pragma once

#include <cstdint>

#include "HostInterface/HostInterface.h"
#include "NimbrelVersion.h"

/// What the library tells the host of its one effect: by registration, at global setup and in the resource of the
/// Windows file, which must all say the same.
namespace zeb {

inline constexpr const char* kPluginName = "Nimbrel";
inline constexpr const char* kPluginMatchName = "velmaris Nimbrel";
inline constexpr const char* kPluginCategory = "velmaris";
inline constexpr const char* kEntryPointName = "EffectMain";
inline constexpr A_long kPluginKind = 0x65464b54;  // 'eFKT'
inline constexpr A_long kInterfaceVersion = 13;
inline constexpr A_long kInterfaceSubversion = 27;
inline constexpr A_long kReservedInfo = 8;

/// The version as one word: build in bits 0 to 8, stage 9 to 10, bug fix 11 to 14, minor 15 to 18, the
/// low three bits of the major number 19 to 21 and its next four 26 to 29.
inline constexpr std::uint32_t kVersionMajor = NIMBREL_VERSION_MAJOR;
inline constexpr std::uint32_t kVersionMinor = NIMBREL_VERSION_MINOR;
inline constexpr std::uint32_t kVersionBugFix = NIMBREL_VERSION_PATCH;
constexpr std::uint32_t MakeVersionWord(bool beta) {
    const std::uint32_t stage = beta ? 2 : 3;
    return ((kVersionMajor >> 3 & 15U) << 26) | ((kVersionMajor & 7U) << 19) | (kVersionMinor << 15) |
           (kVersionBugFix << 11) | (stage << 9);
}

}  // namespace zeb
