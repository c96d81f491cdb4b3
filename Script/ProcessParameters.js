// What no single parameter supplies: each function fills the derived members of one constant structure.
// `getter` reads parameters by catalogue index; points come relative to the layer, angles in radians,
// percent sliders as fractions.

var gGlobalScale = 1000.0;
var gGlobalInvScale = 0.001;

function ProcessConstants(getter) {
    Constants.crop_center.x *= gGlobalInvScale;
    Constants.crop_center.y *= gGlobalInvScale;
    Constants.crop_center.z *= gGlobalInvScale;
    Constants.crop_radius *= gGlobalInvScale;
}

// Half the extents of the shape whose parameters begin with `prefix`.
function SetHalfSize(g, halfSize, prefix) {
    var size = g.Get(ParamInd[prefix + '_size']);
    halfSize.x = 0.5 * size * g.Get(ParamInd[prefix + '_xScale']);
    halfSize.y = 0.5 * size * g.Get(ParamInd[prefix + '_yScale']);
    halfSize.z = 0.5 * size * g.Get(ParamInd[prefix + '_zScale']);
}

function ProcessModel(g, m, ind) {
    var baseName = 'Model' + ind + '_';

    SetHalfSize(g, m.crop_shape_halfSize, baseName + 'crop_shape');
    SetHalfSize(g, m.splatColor_shape_halfSize, baseName + 'effects_splatColor_shape');
    SetHalfSize(g, m.splatOpacity_shape_halfSize, baseName + 'effects_splatOpacity_shape');
    SetHalfSize(g, m.splatScale_shape_halfSize, baseName + 'effects_splatScale_shape');

    // The range is never upside down: the minimum wins.
    var minValue = g.Get(ParamInd[baseName + 'effects_splatOpacity_minValue']);
    var maxValue = g.Get(ParamInd[baseName + 'effects_splatOpacity_maxValue']);
    if (maxValue < minValue) {
        m.model_effects_splatOpacity_maxValue = minValue;
    }
}

function ProcessModel1(getter) { ProcessModel(getter, ModelConstants1, 1); }
function ProcessModel2(getter) { ProcessModel(getter, ModelConstants2, 2); }
function ProcessModel3(getter) { ProcessModel(getter, ModelConstants3, 3); }
function ProcessModel4(getter) { ProcessModel(getter, ModelConstants4, 4); }
function ProcessModel5(getter) { ProcessModel(getter, ModelConstants5, 5); }

function ProcessNoise(g, n, ind) {
    var baseName = 'Model' + ind + '_effects_';

    var amplitude = g.Get(ParamInd[baseName + 'noise_amplitude']);
    n.noise_amplitude.x = amplitude * g.Get(ParamInd[baseName + 'noise_xAmplitudeScale']);
    n.noise_amplitude.y = amplitude * g.Get(ParamInd[baseName + 'noise_yAmplitudeScale']);
    n.noise_amplitude.z = amplitude * g.Get(ParamInd[baseName + 'noise_zAmplitudeScale']);

    var scale = g.Get(ParamInd[baseName + 'noise_settings_scale']);
    n.noise_scale.x = scale * g.Get(ParamInd[baseName + 'noise_settings_xScale']);
    n.noise_scale.y = scale * g.Get(ParamInd[baseName + 'noise_settings_yScale']);
    n.noise_scale.z = scale * g.Get(ParamInd[baseName + 'noise_settings_zScale']);
    n.noise_scale.w = scale;

    n.noise_seed = g.Get(ParamInd[baseName + 'noise_settings_seed']);
    SetHalfSize(g, n.noise_shape_halfSize, baseName + 'noise_shape');

    var displacementScale = g.Get(ParamInd[baseName + 'splatDisplacement_scale']);
    n.displacement_scale.x = displacementScale;
    n.displacement_scale.y = displacementScale;
    n.displacement_scale.z = displacementScale;
    if (!g.Get(ParamInd[baseName + 'splatDisplacement_uniformScale'])) {
        n.displacement_scale.x *= g.Get(ParamInd[baseName + 'splatDisplacement_xScale']);
        n.displacement_scale.y *= g.Get(ParamInd[baseName + 'splatDisplacement_yScale']);
        n.displacement_scale.z *= g.Get(ParamInd[baseName + 'splatDisplacement_zScale']);
    }
    SetHalfSize(g, n.displacement_shape_halfSize, baseName + 'splatDisplacement_shape');
}

function ProcessNoiseConstants1(getter) { ProcessNoise(getter, NoiseConstants1, 1); }
function ProcessNoiseConstants2(getter) { ProcessNoise(getter, NoiseConstants2, 2); }
function ProcessNoiseConstants3(getter) { ProcessNoise(getter, NoiseConstants3, 3); }
function ProcessNoiseConstants4(getter) { ProcessNoise(getter, NoiseConstants4, 4); }
function ProcessNoiseConstants5(getter) { ProcessNoise(getter, NoiseConstants5, 5); }
