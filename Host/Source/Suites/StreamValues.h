#pragma once

#include "HostInterface/HostInterface.h"
#include "NimbrelHost/Commands/Host.h"

/// What stands behind the stream suites: the values of layers' and effects' properties, as the user sees them: points
/// in full-resolution pixels, pop-ups from 1. Times are in seconds.
namespace nimbrel::host {

/// The value of a layer's own stream. Streams that the layer doesn't have give false.
bool ReadLayerStream(const Layer& layer, int stream, double seconds, AEGP_StreamVal2& value, A_long& type);
/// Nulls alone can be moved here, as long as they have no keyframes.
A_Err WriteLayerStream(Layer& layer, int stream, const AEGP_StreamVal2& value);

/// The type of an effect's stream; no-data for what has no value here.
A_long GetParameterStreamType(const Parameter& parameter);
A_Err ReadParameterStream(Host& host, const Parameter& parameter, double seconds, bool preExpression,
                          AEGP_StreamVal2& value);
A_Err WriteParameterStream(Host& host, Parameter& parameter, const AEGP_StreamVal2& value);

}  // namespace nimbrel::host
