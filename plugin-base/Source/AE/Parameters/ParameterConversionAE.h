#pragma once

#include <cstdint>
#include <string>

#include <glm/vec3.hpp>

#include "HostInterface/HostInterface.h"
#include "PluginBase/Parameters/Values/ParameterDescription.h"

/// From the host's records to the units that logic uses, and back. Positions are full-resolution pixels:
/// the host gives them at the resolution of the render, z scaled as x.
namespace zeb {

/// What z of a relative position is divided by.
enum class DepthUnit { LayerHeight, LayerWidth };

double GetDoubleFromDef(const ParameterDescription& description, const PF_ParamDef& def);
glm::vec3 GetVec3FromDef(const ParameterDescription& description, const PF_ParamDef& def);
glm::vec3 GetRawVec3FromDef(const ParameterDescription& description, const PF_ParamDef& def, DepthUnit depthUnit);
std::string GetCustomFromDef(const ParameterDescription& description, const PF_ParamDef& def);

void SetDoubleInDef(const ParameterDescription& description, double value, PF_ParamDef& def);
void SetVec3InDef(const ParameterDescription& description, const glm::vec3& value, PF_ParamDef& def);
void SetRawVec3InDef(const ParameterDescription& description, const glm::vec3& value, PF_ParamDef& def);

/// Degrees in 16.16, rounded half away from zero and held to the type's range.
PF_Fixed ToFixed(double degrees);
/// 0 to 1 as a byte, truncated and held to the range; alpha is 255.
PF_Pixel ToPixel(const glm::vec3& color);

/// The parameter's record in the command's array. Throws for a parameter that the array lacks.
PF_ParamDef& GetParamDef(PF_ParamDef** params, const ParameterDescription& description);

}  // namespace zeb
