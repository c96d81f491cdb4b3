#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

#include "HostInterface/HostInterface.h"

namespace nimbrel::host {

using EffectMainFunction = PF_Err (*)(PF_Cmd, PF_InData*, PF_OutData*, PF_ParamDef**, PF_LayerDef*, void*);

/// A loaded effect library: what it registered and its entry point. The library stays loaded to the end of the process,
/// since values and threads of its own may outlive the effect.
struct EffectLibrary {
    std::string mName;
    std::string mMatchName;
    std::string mCategory;
    EffectMainFunction mMain = nullptr;

    /// Loads the file, calls its registration function and finds the entry point that it names. Throws UsageError for a
    /// file that is missing or no library, EffectError for a library that is no effect.
    static EffectLibrary Load(const std::filesystem::path& file, SPBasicSuite* basicSuite);
};

/// The effect's file name on this system, and the importer's.
std::filesystem::path DefaultPluginName();
std::filesystem::path DefaultImporterName();
/// The folder of the running program.
std::filesystem::path ProgramFolder();

}  // namespace nimbrel::host
