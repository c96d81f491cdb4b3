#include "NoEffects.hlsli"

#include "CSCalcViewData.hlsl"
