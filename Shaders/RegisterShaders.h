#pragma once

/// The embedded programs of the effect and the framework.
namespace nimbrel {

/// Enters all programs and their forms in the registry of zeb::render. Forms other than the plain one are named
/// "NAME.Wave", "NAME.Serial" and "NAME.NoEffects". Call it before any device exists; further calls, from any thread,
/// do nothing.
void RegisterShaders();

}  // namespace nimbrel
