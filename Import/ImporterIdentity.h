#pragma once

#include "HostInterface/HostInterface.h"

/// What the importer's file tells the host of itself, in its resource on Windows and when it registers.
namespace nimbrel::importer {

inline constexpr const char* kName = "Nimbrel Import";
inline constexpr const char* kCategory = "velmaris";
inline constexpr const char* kEntryPointName = "EntryPointFunc";
inline constexpr std::uint32_t kVersion = 0x00010000;

/// Projects may name the module by it: never to be changed.
inline constexpr AEIO_ModuleSignature kSignature = 0x4E625370;  // 'NbSp'
inline constexpr const char* kModuleName = "Gaussian splats (PLY)";

/// Size of the footage in pixels, which is that of the picture drawn for it.
inline constexpr A_long kWidth = 320;
inline constexpr A_long kHeight = 180;

}  // namespace nimbrel::importer
