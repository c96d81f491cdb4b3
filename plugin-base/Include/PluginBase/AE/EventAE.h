#pragma once

#include "HostInterface/HostInterface.h"
#include "PluginBase/UI/Contexts.h"

namespace zeb {

class PluginBaseAE;

/// Carries out one event of the effect's custom controls (PF_Cmd_EVENT): finds the control of the parameter that the
/// event names and passes the event on. `params` is the command's parameter array, which the control reads and writes.
///
/// A window's context keeps the controls that it has seen events of, from its first event to its last.
void HandleEvent(PluginBaseAE& plugin, PF_ParamDef* params[], PF_EventExtra& extra);

/// Where the event's control lies, and for events of the pointer, where that is and which keys are held.
EventContext MakeEventContext(const PF_EventExtra& extra);

}  // namespace zeb
