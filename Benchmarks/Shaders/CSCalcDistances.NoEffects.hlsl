#include "NoEffects.hlsli"

#include "CSCalcDistances.hlsl"
