#pragma once

#include "CommandLine.h"
#include "NimbrelHost/Commands/Host.h"
#include "NimbrelHost/Scene/Scene.h"

namespace nimbrel::host {

/// The scene that the command line names, from a file or the standard input, with its composition as the options want
/// it; without a scene the defaults. Throws UsageError.
Scene ReadSceneOf(const CommandLine& line);

/// Gives the effect's parameters what the scene and then the options say, and frames and turns the models where that is
/// wanted. Throws UsageError, OutputError, EffectError.
void ApplySettings(Host& host, const CommandLine& line, const Scene& scene);

}  // namespace nimbrel::host
