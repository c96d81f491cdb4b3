#pragma once

#include <cstddef>
#include <cstdint>

#include <glm/mat4x4.hpp>
#include <glm/vec2.hpp>
#include <glm/vec3.hpp>
#include <glm/vec4.hpp>

/// Records that the CPU and the GPU programs share, byte for byte. Each has its twin in the programs'
/// sources: constant blocks and buffer elements of the same names. Little-endian, matrices by columns.
/// A member of type vec4 takes 16 bytes also where only x, y and z are read. Constant buffers are bound
/// in steps of 256 bytes; the records themselves hold only what the programs declare.
namespace nimbrel::gpu {

/// Threads of a group in the kernels that run one thread per splat.
inline constexpr std::uint32_t kSplatGroupSize = 256;
/// Splats of a chunk.
inline constexpr std::uint32_t kSplatsPerChunk = 256;
/// Splats of a row of 128 tiles of 16 by 16 texels of the colour texture: where parts of an asset may begin.
inline constexpr std::uint32_t kSplatsPerTileRow = 32768;
inline constexpr std::uint32_t kRowsPerTileRow = 16;
/// Samples of a row of the ramp and gradient textures, and rows of ramps of one model instance.
inline constexpr std::uint32_t kCurveSamples = 1024;
inline constexpr std::uint32_t kRampRows = 7;
/// The sort's fixed numbers: threads of a group, keys of a block, bins of one pass of four bits.
inline constexpr std::uint32_t kSortGroupSize = 128;
inline constexpr std::uint32_t kSortBlockSize = 512;
inline constexpr std::uint32_t kSortBinCount = 16;

/// `_CameraType` of CalcViewDataConstants.
enum class CameraType : std::uint32_t { Perspective = 0, Orthographic = 1 };

/// Rows of one model instance in the ramp texture.
enum class RampRow : std::uint32_t {
    ColorAmount = 0,
    Opacity = 1,
    DisplacementOffset = 2,
    DisplacementScale = 3,
    DisplacementRotation = 4,
    Scale = 5,
    Noise = 6,
};

/// Element of `_SplatChunks`: value ranges of 256 consecutive splats. Words are two halves, the least
/// value in the low 16 bits and the greatest in the high ones; positions are floats (least, greatest).
struct SplatChunkInfo {
    std::uint32_t colR, colG, colB, colA;
    glm::vec2 posX, posY, posZ;
    std::uint32_t sclX, sclY, sclZ;
    std::uint32_t shR, shG, shB;
};
static_assert(sizeof(SplatChunkInfo) == 64);
static_assert(offsetof(SplatChunkInfo, posX) == 16 && offsetof(SplatChunkInfo, sclX) == 40);
static_assert(offsetof(SplatChunkInfo, shR) == 52);

/// Element of `_SplatViewData`: one projected splat. `pos` in clip space, axes in pixels; `color` holds
/// halves: red << 16 | green, blue << 16 | opacity.
struct SplatViewData {
    glm::vec4 pos;
    glm::vec2 axis1;
    glm::vec2 axis2;
    std::uint32_t color[2];
};
static_assert(sizeof(SplatViewData) == 40);
static_assert(offsetof(SplatViewData, axis1) == 16 && offsetof(SplatViewData, axis2) == 24);
static_assert(offsetof(SplatViewData, color) == 32);

/// Element of `_ExportBuffer`: one splat as plain floats, in asset space. `rot` has its scalar part first.
struct ExportSplatData {
    glm::vec3 pos;
    glm::vec3 nor;
    glm::vec3 dc0;
    glm::vec4 shR14, shR58, shR9C;
    glm::vec3 shRDF;
    glm::vec4 shG14, shG58, shG9C;
    glm::vec3 shGDF;
    glm::vec4 shB14, shB58, shB9C;
    glm::vec3 shBDF;
    float opacity;
    glm::vec3 scale;
    glm::vec4 rot;
};
static_assert(sizeof(ExportSplatData) == 248);
static_assert(offsetof(ExportSplatData, shR14) == 36 && offsetof(ExportSplatData, shG14) == 96);
static_assert(offsetof(ExportSplatData, shB14) == 156 && offsetof(ExportSplatData, opacity) == 216);
static_assert(offsetof(ExportSplatData, scale) == 220 && offsetof(ExportSplatData, rot) == 232);

/// Element of `Shapes`: one gizmo shape. `crossRadius` is the half length of its cross's arms.
struct ShapeInfo {
    glm::mat4 transform;
    glm::vec4 color;
    glm::vec3 center;
    glm::vec3 halfSize;
    float crossRadius;
};
static_assert(sizeof(ShapeInfo) == 108);
static_assert(offsetof(ShapeInfo, color) == 64 && offsetof(ShapeInfo, center) == 80);
static_assert(offsetof(ShapeInfo, halfSize) == 92 && offsetof(ShapeInfo, crossRadius) == 104);

/// b6. `_SplatFormat`: position format in bits 0-7, scale format in 8-15, SH format in 16-23.
struct SplatConstants {
    std::uint32_t _SplatFormat;
    std::uint32_t _SplatColorYOffset;  ///< first row of the asset in the colour texture
};
static_assert(sizeof(SplatConstants) == 8);

/// b7 of the view-data kernel.
struct CalcViewDataConstants {
    glm::mat4 _MatrixAlign;          ///< asset space to aligned model space
    glm::mat4 _MatrixTransform;      ///< aligned model space to world
    glm::mat4 _MatrixWorldToObject;  ///< upper 3x3: world directions to those of SH
    glm::mat4 _MatrixVP;             ///< world to clip
    glm::mat4 _MatrixMV;             ///< asset space to view
    glm::mat4 _MatrixCamera;         ///< world to view
    glm::mat4 _MatrixP;              ///< view to clip
    glm::vec4 _VecScreenParams;      ///< target's width and height in pixels, 0, 0
    glm::vec4 _VecWorldSpaceCameraPos;
    float _SplatScale;
    float _SplatOpacityScale;
    std::uint32_t _SHOrder;  ///< highest degree to evaluate, compared as signed
    std::uint32_t _SplatCount;
    std::uint32_t _CameraType;
    std::uint32_t _DrawingIndex;  ///< the instance's rows in the ramp and gradient textures
    std::uint32_t _DrawZDepth;    ///< 1 replaces colour by depth
    float _ZDepthNear;
    float _ZDepthFar;
};
static_assert(sizeof(CalcViewDataConstants) == 516);
static_assert(offsetof(CalcViewDataConstants, _MatrixVP) == 192 && offsetof(CalcViewDataConstants, _MatrixP) == 384);
static_assert(offsetof(CalcViewDataConstants, _VecScreenParams) == 448);
static_assert(offsetof(CalcViewDataConstants, _SplatScale) == 480 && offsetof(CalcViewDataConstants, _SHOrder) == 488);
static_assert(offsetof(CalcViewDataConstants, _CameraType) == 496 &&
              offsetof(CalcViewDataConstants, _ZDepthFar) == 512);

/// b16 of the distance kernel. The third row of the second matrix gives the sort depth.
struct CalcDistancesConstants {
    glm::mat4 _CalcDistancesMatrixAlign;
    glm::mat4 _CalcDistancesMatrixVP;
    std::uint32_t _CalcDistancesSplatCount;
    std::uint32_t _CalcDistancesInstanceIndex;
};
static_assert(sizeof(CalcDistancesConstants) == 136);
static_assert(offsetof(CalcDistancesConstants, _CalcDistancesSplatCount) == 128);

/// b10 of the index kernel.
struct SetIndicesConstants {
    std::uint32_t _SetIndiceSplatCount;
};
static_assert(sizeof(SetIndicesConstants) == 4);

/// b19 of the export kernel.
struct ExportDataConstants {
    std::uint32_t _ExportDataSplatCount;
};
static_assert(sizeof(ExportDataConstants) == 4);

/// b15: crop, colour, opacity and scale settings of one model. Lengths in pixels of aligned model space.
struct ModelConstants1 {
    glm::vec4 crop_shape_halfSize;
    glm::vec4 splatColor_shape_halfSize;
    glm::vec4 splatOpacity_shape_halfSize;
    glm::vec4 splatScale_shape_halfSize;
    std::int32_t model_showModel;
    std::int32_t model_crop_shape_enabled;
    std::int32_t model_crop_shape_invert;
    std::int32_t model_crop_shape_type;
    glm::vec4 model_crop_shape_center;
    std::int32_t model_crop_yPlane_enabled;
    float model_crop_yPlane_altitude;
    std::int32_t model_effects_splatColor_enabled;
    std::int32_t model_effects_splatColor_blending;
    std::int32_t model_effects_splatColor_shape_type;
    std::uint32_t padding0;
    std::uint32_t padding1[2];
    glm::vec4 model_effects_splatColor_shape_center;
    float model_effects_splatColor_shape_feather;
    std::int32_t model_effects_splatOpacity_enabled;
    float model_effects_splatOpacity_minValue;
    float model_effects_splatOpacity_maxValue;
    std::int32_t model_effects_splatOpacity_shape_type;
    std::uint32_t padding2;
    std::uint32_t padding3[2];
    glm::vec4 model_effects_splatOpacity_shape_center;
    float model_effects_splatOpacity_shape_feather;
    std::int32_t model_effects_splatScale_enabled;
    float model_effects_splatScale_maxValue;
    std::int32_t model_effects_splatScale_shape_type;
    glm::vec4 model_effects_splatScale_shape_center;
    float model_effects_splatScale_shape_feather;
};
static_assert(sizeof(ModelConstants1) == 228);
static_assert(offsetof(ModelConstants1, model_showModel) == 64);
static_assert(offsetof(ModelConstants1, model_crop_shape_center) == 80);
static_assert(offsetof(ModelConstants1, model_crop_yPlane_enabled) == 96);
static_assert(offsetof(ModelConstants1, model_effects_splatColor_shape_type) == 112);
static_assert(offsetof(ModelConstants1, model_effects_splatColor_shape_center) == 128);
static_assert(offsetof(ModelConstants1, model_effects_splatOpacity_minValue) == 152);
static_assert(offsetof(ModelConstants1, model_effects_splatOpacity_shape_center) == 176);
static_assert(offsetof(ModelConstants1, model_effects_splatScale_enabled) == 196);
static_assert(offsetof(ModelConstants1, model_effects_splatScale_shape_center) == 208);
static_assert(offsetof(ModelConstants1, model_effects_splatScale_shape_feather) == 224);

/// b11: displacement and noise settings of one model.
struct NoiseConstants1 {
    float noise_seed;
    std::uint32_t padding4;
    std::uint32_t padding5[2];
    glm::vec4 noise_amplitude;
    glm::vec4 noise_scale;  ///< per axis, and over all in w
    glm::vec4 noise_shape_halfSize;
    glm::vec4 displacement_scale;
    glm::vec4 displacement_shape_halfSize;
    std::int32_t displacement_enabled;
    std::uint32_t padding6;
    std::uint32_t padding7[2];
    glm::vec4 displacement_offset;
    float displacement_xRotation;  ///< radians
    float displacement_yRotation;
    float displacement_zRotation;
    std::int32_t displacement_shape_type;
    glm::vec4 displacement_shape_center;
    float displacement_shape_feather;
    std::int32_t noise_enabled;
    std::uint32_t padding8[2];
    glm::vec4 noise_settings_offset;
    float noise_settings_evolution;
    std::int32_t noise_shape_type;
    std::uint32_t padding9[2];
    glm::vec4 noise_shape_center;
    float noise_shape_feather;
};
static_assert(sizeof(NoiseConstants1) == 228);
static_assert(offsetof(NoiseConstants1, noise_amplitude) == 16 && offsetof(NoiseConstants1, noise_scale) == 32);
static_assert(offsetof(NoiseConstants1, displacement_scale) == 64);
static_assert(offsetof(NoiseConstants1, displacement_enabled) == 96);
static_assert(offsetof(NoiseConstants1, displacement_offset) == 112);
static_assert(offsetof(NoiseConstants1, displacement_xRotation) == 128);
static_assert(offsetof(NoiseConstants1, displacement_shape_center) == 144);
static_assert(offsetof(NoiseConstants1, noise_enabled) == 164);
static_assert(offsetof(NoiseConstants1, noise_settings_offset) == 176);
static_assert(offsetof(NoiseConstants1, noise_settings_evolution) == 192);
static_assert(offsetof(NoiseConstants1, noise_shape_center) == 208);
static_assert(offsetof(NoiseConstants1, noise_shape_feather) == 224);

/// b9 of the splat draw; only `_ScreenParams`, the target's size in pixels, is read by a stage.
struct TextureConstants {
    glm::vec2 _ScreenParams;
    std::int32_t _StartIndex;
    std::int32_t _Count;
};
static_assert(sizeof(TextureConstants) == 16);

/// The same for the form "Windows", which sees the records in parts of so many.
struct WindowedTextureConstants {
    TextureConstants mTexture;
    std::uint32_t _WindowSize;
};
static_assert(sizeof(WindowedTextureConstants) == 20);

/// b0 of the gizmos; "RenderCube" has only a matrix there.
struct VertexShaderConstants {
    glm::mat4 viewProjection;
    std::uint32_t circleDotsCount;
    std::uint32_t gridCellsX;
    std::uint32_t gridCellsZ;
};
static_assert(sizeof(VertexShaderConstants) == 76);

/// b0 of the sort programs; `cbShift` at b1 is one word, the lowest bit of the pass.
struct SortConstants {
    std::uint32_t numKeys;
    std::int32_t numBlocksPerThreadGroup;
    std::uint32_t numThreadGroups;
    std::uint32_t numThreadGroupsWithAdditionalBlocks;
    std::uint32_t numReduceThreadgroupPerBin;
    std::uint32_t numScanValues;
    std::uint32_t padding;
};
static_assert(sizeof(SortConstants) == 28);

/// b0 of the Convert programs: the picture's size in pixels.
struct ConvertConstants {
    glm::vec2 size;
};
static_assert(sizeof(ConvertConstants) == 8);

/// b0 of the Copy programs.
struct CopyConstants {
    glm::uvec2 size;
    glm::uvec2 srcOffset;
    glm::uvec2 dstOffsetPixels;
    std::uint32_t dstRowPitchBytes;
};
static_assert(sizeof(CopyConstants) == 28);
static_assert(offsetof(CopyConstants, dstRowPitchBytes) == 24);

}  // namespace nimbrel::gpu
