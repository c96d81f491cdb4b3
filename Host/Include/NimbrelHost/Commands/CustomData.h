#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "NimbrelHost/Commands/Host.h"

namespace nimbrel::host {

/// What the host does with values that only the effect understands, each through the effect's own callback. Handles
/// given back are the caller's to dispose of. Any thread. Throws EffectError.
PF_Handle NewCustom(Host& host, const Parameter& parameter);
PF_Handle CopyCustom(Host& host, const Parameter& parameter, PF_Handle source);
PF_Handle InterpolateCustom(Host& host, const Parameter& parameter, PF_Handle left, PF_Handle right, double fraction);
PF_Handle ScanCustom(Host& host, const Parameter& parameter, const std::string& text);
std::string PrintCustom(Host& host, const Parameter& parameter, PF_Handle value);
/// As it stands in a project on disk.
std::vector<std::uint8_t> FlattenCustom(Host& host, const Parameter& parameter, PF_Handle value);
PF_Handle UnflattenCustom(Host& host, const Parameter& parameter, const std::vector<std::uint8_t>& flat);
bool AreCustomEqual(Host& host, const Parameter& parameter, PF_Handle a, PF_Handle b);
void DisposeCustom(Host& host, const Parameter& parameter, PF_Handle value);

/// The value at a time as a fresh handle.
PF_Handle EvaluateCustom(Host& host, const Parameter& parameter, double seconds);

/// Saves the value and reads it again, as a project on disk does, and puts what came back in its place. Reports a value
/// that is not the same afterwards.
void RestoreCustom(Host& host, const Parameter& parameter, PF_Handle& value);

/// Disposes of all custom values that the parameter holds, its default included.
void ReleaseCustom(Host& host, Parameter& parameter);

}  // namespace nimbrel::host
