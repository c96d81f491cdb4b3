#pragma once

#include <functional>
#include <string>

#include "PluginBase/Parameters/Values/ParameterDescription.h"

/// A file path as a parameter. The host has no control for paths: the parameter is a layer, and the file
/// is the footage of that layer. Thread: one with a context; setting needs a command that may change the
/// project.
namespace zeb {

/// Empty without a layer, or with one that is no file; the latter shows a message.
std::u16string GetFilePath(const ParameterDescription& description);

/// Chooses a layer of the composition with this file, or makes one below the effect's layer, importing
/// the file into the project folder that `getFolderName` names. An empty path clears the parameter.
void SetFilePath(const ParameterDescription& description, const std::u16string& path,
                 const std::function<std::u16string(const std::u16string&)>& getFolderName);

void ClearFilePath(const ParameterDescription& description);

}  // namespace zeb
