#pragma once

#include <cstdint>

#include "PluginBase/Parameters/Values/ParameterAccess.h"

/// Ties the transform of a model to a null object of the composition, so that the host's own tools move the
/// model. On the host's interface thread, inside the command that a button brings; one undo step each. A host
/// failure throws, and the undo group is then left for the host to close.
namespace null_object {

/// Makes a null just below the effect's layer, at the place of slot `slot` (from 0), and ties the slot's
/// position, rotation and scale to it by expressions.
void Link(const zeb::ParameterCurrentValueGetter& getter, zeb::ParameterValueSetter& setter, std::int32_t slot);

/// Takes the expressions off again. The null stays.
void Unlink(const zeb::ParameterCurrentValueGetter& getter, std::int32_t slot);

}  // namespace null_object
