#pragma once

#include "HostInterface/HostInterface.h"
#include "PluginBase/AE/PluginBaseAE.h"

namespace zeb {

using PluginFactory = UniquePtr<PluginBaseAE> (*)();

/// Carries one command of the host to the effect's object, which lives in the global data from
/// PF_Cmd_GLOBAL_SETUP to PF_Cmd_GLOBAL_SETDOWN. Every failure becomes a code and, in `outData`, a
/// message. Commands that are not served do nothing. `createPlugin` makes the object at the set-up. Thread: any that
/// the host chooses.
PF_Err RunCommand(PF_Cmd command, PF_InData* inData, PF_OutData* outData, PF_ParamDef* params[], void* extra,
                  PluginFactory createPlugin) noexcept;

}  // namespace zeb
