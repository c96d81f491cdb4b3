#include <gtest/gtest.h>

#include <cstring>
#include <sstream>

#include <nlohmann/json.hpp>

#include "Nimbrel/ShaderConstants.h"
#include "PluginBase/Exception.h"
#include "PluginBase/Render/Render.h"
#include "RecordMembers.h"
#include "Shaders/RegisterShaders.h"
#include "SpirvModule.h"

namespace nimbrel::embedded {
extern const std::size_t kProgramListSize;
extern const unsigned char kProgramList[];
}  // namespace nimbrel::embedded

namespace nimbrel::test {
namespace {

using zeb::render::Render;
using zeb::render::ShaderFormat;

/// What this build has; all of them must tell the same.
#if defined(_WIN32)
constexpr ShaderFormat kFormats[] = {ShaderFormat::Dxil, ShaderFormat::Dxbc};
#else
constexpr ShaderFormat kFormats[] = {ShaderFormat::Spirv};
#endif

struct StageExpectation {
    const char* mEntry;
    const char* mRegisters;  ///< used ones, in the order b, s, t, u
};

struct ProgramExpectation {
    const char* mName;
    StageExpectation mVertex;
    StageExpectation mPixel;
    StageExpectation mCompute;
    std::uint32_t mGroupSize[3];
};

ProgramExpectation Draw(const char* name, StageExpectation vertex, StageExpectation pixel) {
    return {name, vertex, pixel, {}, {}};
}

ProgramExpectation Kernel(const char* name, const char* registers, std::uint32_t threads) {
    return {name, {}, {}, {name, registers}, {threads, 1, 1}};
}

std::vector<ProgramExpectation> ExpectedPrograms() {
    std::vector<ProgramExpectation> programs = {
        Draw("RenderGaussianSplats", {"vert", "b9 t7 t8"}, {"frag", ""}),
        Draw("RenderGaussianSplatsBoxes", {"vert", "t7 t8"}, {"frag", ""}),
        Draw("FillBackground", {"VSMain", ""}, {"PSMain", "s1 t0"}),
        Kernel("CSSetIndices", "b10 u9", 256),
        Kernel("CSCalcDistances", "b6 b11 b16 s14 t1 t2 t12 u8", 256),
        Kernel("CSCalcViewData", "b6 b7 b11 b15 s14 t1 t2 t3 t4 t5 t12 t13 u17", 256),
        Kernel("CSExportData", "b6 b19 t1 t2 t3 t4 t5 u18", 256),
        Draw("RenderCube", {"VSMain", "b0"}, {"PSMain", ""}),
        Draw("RenderSphereGizmo", {"VSSphereMain", "b0 t1"}, {"PSMain", ""}),
        Draw("RenderBoxGizmo", {"VSBoxMain", "b0 t1"}, {"PSMain", ""}),
        Draw("RenderCrossGizmo", {"VSCrossMain", "b0 t1"}, {"PSMain", ""}),
        Draw("RenderYGridGizmo", {"VSYGridMain", "b0 t1"}, {"PSMain", ""}),
        Draw("TextDrawing", {"VSMain", "b1"}, {"PSMain", "b0 s0 t0"}),
        Draw("ConvertNone", {"VSMain", "b0"}, {"PSConvertNone", "t0"}),
        Draw("ConvertUnmultiply", {"VSMain", "b0"}, {"PSConvertUnmultiply", "t0"}),
    };
    const std::pair<const char*, const char*> sorts[] = {{"FfxParallelSortCount", "b0 b1 u2 u6"},
                                                         {"FfxParallelSortReduce", "b0 u6 u7"},
                                                         {"FfxParallelSortScan", "b0 u8 u9"},
                                                         {"FfxParallelSortScanAdd", "b0 u8 u9 u10"},
                                                         {"FfxParallelSortScatter", "b0 b1 u2 u3 u4 u5 u6"}};
    for (const auto& [name, registers] : sorts) programs.push_back(Kernel(name, registers, 128));
    static const char* const kCopies[5][5] = {{"CopyU8RGBA", "CopyU8RGB", "CopyU8Alpha", "CopyU8ARGB", "2"},
                                              {"CopyU16RGBA", "CopyU16RGB", "CopyU16Alpha", "CopyU16ARGB", "4"},
                                              {"CopyI16RGBA", "CopyI16RGB", "CopyI16Alpha", "CopyI16ARGB", "4"},
                                              {"CopyF16RGBA", "CopyF16RGB", "CopyF16Alpha", "CopyF16ARGB", "4"},
                                              {"CopyF32RGBA", "CopyF32RGB", "CopyF32Alpha", "CopyF32ARGB", "8"}};
    const char* const entries[] = {"CSCopyRGBA", "CSCopyRGB", "CSCopyAlpha", "CSCopyARGB"};
    for (const auto& row : kCopies) {
        const auto width = static_cast<std::uint32_t>(row[4][0] - '0');
        for (int k = 0; k < 4; ++k) programs.push_back({row[k], {}, {}, {entries[k], "b0 t0 u1"}, {width, 8, 1}});
    }
    return programs;
}

std::string RegistersOf(const StageInfo& stage) {
    std::map<std::pair<char, int>, std::string> sorted;
    for (const auto& [name, resource] : stage.mResources) sorted[{name[0], std::stoi(name.substr(1))}] = name;
    std::string text;
    for (const auto& [key, name] : sorted) text += (text.empty() ? "" : " ") + name;
    return text;
}

/// The format under test.
ShaderFormat gFormat = kFormats[0];

const zeb::render::EmbeddedShaderData& Find(const std::string& program) {
    return Render::GetEmbeddedShaderData(program, gFormat);
}

StageInfo Inspect(const std::string& program, int stage) {
    const auto& data = Find(program).mStages[stage];
    return InspectStage(data.mData, data.mSize);
}

/// Every program of the list with its forms, as the registry names them.
std::vector<std::string> ListedPrograms() {
    std::vector<std::string> names;
    const auto list =
        nlohmann::json::parse(embedded::kProgramList, embedded::kProgramList + embedded::kProgramListSize);
    for (const auto& program : list["programs"]) {
        names.push_back(program["name"]);
        if (program.contains("form")) names.back() += "." + program["form"].get<std::string>();
    }
    return names;
}

/// Shader model 5.1 has no waves.
bool IsLeftOut(const std::string& name) {
    return gFormat == ShaderFormat::Dxbc && name.find(".Wave") != std::string::npos;
}

struct Reflection : testing::TestWithParam<ShaderFormat> {
    static void SetUpTestSuite() { RegisterShaders(); }
    void SetUp() override { gFormat = GetParam(); }
};

void ExpectStage(const ProgramExpectation& program, int stage, const StageExpectation& expected) {
    SCOPED_TRACE(std::string(program.mName) + ", stage " + std::to_string(stage));
    const auto& data = Find(program.mName).mStages[stage];
    if (expected.mEntry == nullptr) {
        EXPECT_EQ(data.mSize, 0U);
        EXPECT_EQ(data.mData, nullptr);
        return;
    }
    ASSERT_NE(data.mData, nullptr);
    const StageInfo info = InspectStage(data.mData, data.mSize);
    constexpr std::uint32_t kModels[] = {0, 4, 5};
    EXPECT_EQ(info.mModel, kModels[stage]);
    // The others do not keep the name.
    EXPECT_EQ(info.mEntry, gFormat == ShaderFormat::Spirv ? expected.mEntry : "");
    EXPECT_EQ(RegistersOf(info), expected.mRegisters);
    if (stage == 2) {
        for (int axis = 0; axis < 3; ++axis) EXPECT_EQ(info.mGroupSize[axis], program.mGroupSize[axis]);
    }
}

TEST_P(Reflection, AllProgramsAreRegisteredWithTheirStagesAndBindings) {
    const std::vector<ProgramExpectation> programs = ExpectedPrograms();
    ASSERT_EQ(programs.size(), 40U);
    int stages = 0;
    for (const ProgramExpectation& program : programs) {
        ExpectStage(program, 0, program.mVertex);
        ExpectStage(program, 1, program.mPixel);
        ExpectStage(program, 2, program.mCompute);
        const zeb::render::EmbeddedShaderData& data = Find(program.mName);
        EXPECT_EQ(data.mStages[3].mSize, 0U);
        for (const auto& stage : data.mStages) stages += stage.mSize != 0 ? 1 : 0;
    }
    EXPECT_EQ(stages, 51);
}

TEST_P(Reflection, TheListNamesThoseProgramsAndNoOthers) {
    std::set<std::string> expected;
    for (const ProgramExpectation& program : ExpectedPrograms()) expected.insert(program.mName);
    std::set<std::string> listed;
    for (const std::string& name : ListedPrograms()) {
        listed.insert(name.substr(0, name.find('.')));
        if (IsLeftOut(name)) {
            EXPECT_THROW(Find(name), zeb::Exception) << name;
        } else {
            EXPECT_NO_THROW(Find(name)) << name;
        }
    }
    EXPECT_EQ(listed, expected);
}

TEST_P(Reflection, FormsHaveTheirProgramsBindings) {
    const std::pair<const char*, std::vector<const char*>> forms[] = {
        {"FfxParallelSortReduce", {".Wave"}},  {"FfxParallelSortScan", {".Wave"}},
        {"FfxParallelSortScanAdd", {".Wave"}}, {"FfxParallelSortScatter", {".Wave", ".Serial"}},
        {"FfxParallelSortCount", {".Serial"}},
    };
    for (const auto& [name, suffixes] : forms) {
        const StageInfo plain = Inspect(name, 2);
        EXPECT_FALSE(plain.mUsesWaves) << name;
        for (const char* suffix : suffixes) {
            if (gFormat == ShaderFormat::Dxbc && std::strcmp(suffix, ".Wave") == 0) continue;
            const StageInfo form = Inspect(std::string(name) + suffix, 2);
            EXPECT_EQ(RegistersOf(form), RegistersOf(plain)) << name << suffix;
            EXPECT_EQ(form.mGroupSize[0], plain.mGroupSize[0]) << name << suffix;
            EXPECT_EQ(form.mUsesWaves, std::strcmp(suffix, ".Wave") == 0) << name << suffix;
            EXPECT_LE(form.mMostOfABuiltIn, 1) << name << suffix;
        }
    }
    // Of these the effects' constants and curves are gone.
    EXPECT_EQ(RegistersOf(Inspect("CSCalcDistances.NoEffects", 2)), "b6 b16 t1 t2 u8");
    EXPECT_EQ(RegistersOf(Inspect("CSCalcViewData.NoEffects", 2)), "b6 b7 t1 t2 t3 t4 t5 u17");
}

TEST_P(Reflection, RegisteringAgainDoesNothingAndATakenNameThrows) {
    EXPECT_NO_THROW(RegisterShaders());
    EXPECT_THROW(Render::SetEmbeddedShaderData("CSSetIndices", {}, gFormat), zeb::Exception);
}

TEST_P(Reflection, NoArithmeticMayBeContracted) {
    std::size_t arithmetic = 0;
    for (const std::string& program : ListedPrograms()) {
        if (IsLeftOut(program)) continue;
        for (int stage = 0; stage < 3; ++stage) {
            if (Find(program).mStages[stage].mSize == 0) continue;
            const StageInfo info = Inspect(program, stage);
            EXPECT_EQ(info.mStrictCount, info.mArithmeticCount) << program;
            EXPECT_EQ(info.mFusableCount, 0U) << program;
            arithmetic += info.mArithmeticCount;
        }
    }
    EXPECT_GT(arithmetic, 500U);
}

#if defined(_WIN32)
// A runtime refuses a container without its digest, and one made for a validator that it does not know yet: 1.0 came
// with shader model 6.0.
TEST_P(Reflection, ContainersAreSignedForEveryRuntime) {
    for (const std::string& program : ListedPrograms()) {
        if (IsLeftOut(program)) continue;
        for (int stage = 0; stage < 3; ++stage) {
            if (Find(program).mStages[stage].mSize == 0) continue;
            const StageInfo info = Inspect(program, stage);
            EXPECT_TRUE(info.mIsSigned) << program;
            EXPECT_EQ(info.mValidator, gFormat == ShaderFormat::Dxil ? "1.0" : "") << program;
        }
    }
}
#endif

struct MemberExpectation {
    const char* mName;
    std::size_t mOffset;
};

struct LayoutExpectation {
    const char* mProgram;
    int mStage;
    const char* mRegister;
    std::size_t mSize;  ///< of a constant block, or the stride of a buffer
    std::vector<MemberExpectation> mMembers;
};

#define MEMBER(record, member) \
    { #member, offsetof(gpu::record, member) }
#define MODEL_MEMBER(member) MEMBER(ModelConstants1, member),
#define NOISE_MEMBER(member) MEMBER(NoiseConstants1, member),

const std::vector<LayoutExpectation>& ExpectedLayouts() {
    static const std::vector<LayoutExpectation> layouts = {
        {"CSCalcViewData",
         2,
         "b6",
         sizeof(gpu::SplatConstants),
         {MEMBER(SplatConstants, _SplatFormat), MEMBER(SplatConstants, _SplatColorYOffset)}},
        {"CSCalcViewData",
         2,
         "b7",
         sizeof(gpu::CalcViewDataConstants),
         {MEMBER(CalcViewDataConstants, _MatrixAlign), MEMBER(CalcViewDataConstants, _MatrixTransform),
          MEMBER(CalcViewDataConstants, _MatrixWorldToObject), MEMBER(CalcViewDataConstants, _MatrixVP),
          MEMBER(CalcViewDataConstants, _MatrixMV), MEMBER(CalcViewDataConstants, _MatrixCamera),
          MEMBER(CalcViewDataConstants, _MatrixP), MEMBER(CalcViewDataConstants, _VecScreenParams),
          MEMBER(CalcViewDataConstants, _VecWorldSpaceCameraPos), MEMBER(CalcViewDataConstants, _SplatScale),
          MEMBER(CalcViewDataConstants, _SplatOpacityScale), MEMBER(CalcViewDataConstants, _SHOrder),
          MEMBER(CalcViewDataConstants, _SplatCount), MEMBER(CalcViewDataConstants, _CameraType),
          MEMBER(CalcViewDataConstants, _DrawingIndex), MEMBER(CalcViewDataConstants, _DrawZDepth),
          MEMBER(CalcViewDataConstants, _ZDepthNear), MEMBER(CalcViewDataConstants, _ZDepthFar)}},
        {"CSCalcViewData", 2, "b15", sizeof(gpu::ModelConstants1), {MODEL_MEMBERS(MODEL_MEMBER)}},
        {"CSCalcDistances", 2, "b11", sizeof(gpu::NoiseConstants1), {NOISE_MEMBERS(NOISE_MEMBER)}},
        {"CSCalcDistances",
         2,
         "b16",
         sizeof(gpu::CalcDistancesConstants),
         {MEMBER(CalcDistancesConstants, _CalcDistancesMatrixAlign),
          MEMBER(CalcDistancesConstants, _CalcDistancesMatrixVP),
          MEMBER(CalcDistancesConstants, _CalcDistancesSplatCount),
          MEMBER(CalcDistancesConstants, _CalcDistancesInstanceIndex)}},
        {"CSSetIndices", 2, "b10", 4, {MEMBER(SetIndicesConstants, _SetIndiceSplatCount)}},
        {"CSExportData", 2, "b19", 4, {MEMBER(ExportDataConstants, _ExportDataSplatCount)}},
        {"RenderGaussianSplats",
         0,
         "b9",
         sizeof(gpu::TextureConstants),
         {MEMBER(TextureConstants, _ScreenParams), MEMBER(TextureConstants, _StartIndex),
          MEMBER(TextureConstants, _Count)}},
        {"RenderSphereGizmo",
         0,
         "b0",
         sizeof(gpu::VertexShaderConstants),
         {MEMBER(VertexShaderConstants, viewProjection), MEMBER(VertexShaderConstants, circleDotsCount),
          MEMBER(VertexShaderConstants, gridCellsX), MEMBER(VertexShaderConstants, gridCellsZ)}},
        {"RenderCube", 0, "b0", 64, {{"modelViewProjection", 0}}},
        {"TextDrawing", 0, "b1", 64, {{"projection", 0}}},
        {"TextDrawing", 1, "b0", 16, {{"color", 0}}},
        {"FfxParallelSortScatter",
         2,
         "b0",
         sizeof(gpu::SortConstants),
         {MEMBER(SortConstants, numKeys), MEMBER(SortConstants, numBlocksPerThreadGroup),
          MEMBER(SortConstants, numThreadGroups), MEMBER(SortConstants, numThreadGroupsWithAdditionalBlocks),
          MEMBER(SortConstants, numReduceThreadgroupPerBin), MEMBER(SortConstants, numScanValues)}},
        {"FfxParallelSortScatter", 2, "b1", 4, {{"shift", 0}}},
        {"ConvertNone", 0, "b0", sizeof(gpu::ConvertConstants), {MEMBER(ConvertConstants, size)}},
        {"CopyF16RGB",
         2,
         "b0",
         sizeof(gpu::CopyConstants),
         {MEMBER(CopyConstants, size), MEMBER(CopyConstants, srcOffset), MEMBER(CopyConstants, dstOffsetPixels),
          MEMBER(CopyConstants, dstRowPitchBytes)}},
        {"CSCalcViewData",
         2,
         "t1",
         sizeof(gpu::SplatChunkInfo),
         {MEMBER(SplatChunkInfo, colR), MEMBER(SplatChunkInfo, colG), MEMBER(SplatChunkInfo, colB),
          MEMBER(SplatChunkInfo, colA), MEMBER(SplatChunkInfo, posX), MEMBER(SplatChunkInfo, posY),
          MEMBER(SplatChunkInfo, posZ), MEMBER(SplatChunkInfo, sclX), MEMBER(SplatChunkInfo, sclY),
          MEMBER(SplatChunkInfo, sclZ), MEMBER(SplatChunkInfo, shR), MEMBER(SplatChunkInfo, shG),
          MEMBER(SplatChunkInfo, shB)}},
        {"CSCalcViewData",
         2,
         "u17",
         sizeof(gpu::SplatViewData),
         {MEMBER(SplatViewData, pos), MEMBER(SplatViewData, axis1), MEMBER(SplatViewData, axis2),
          MEMBER(SplatViewData, color)}},
        {"RenderGaussianSplats",
         0,
         "t8",
         sizeof(gpu::SplatViewData),
         {MEMBER(SplatViewData, pos), MEMBER(SplatViewData, axis1), MEMBER(SplatViewData, axis2),
          MEMBER(SplatViewData, color)}},
        {"CSExportData",
         2,
         "u18",
         sizeof(gpu::ExportSplatData),
         {MEMBER(ExportSplatData, pos), MEMBER(ExportSplatData, nor), MEMBER(ExportSplatData, dc0),
          MEMBER(ExportSplatData, shR14), MEMBER(ExportSplatData, shR58), MEMBER(ExportSplatData, shR9C),
          MEMBER(ExportSplatData, shRDF), MEMBER(ExportSplatData, shG14), MEMBER(ExportSplatData, shG58),
          MEMBER(ExportSplatData, shG9C), MEMBER(ExportSplatData, shGDF), MEMBER(ExportSplatData, shB14),
          MEMBER(ExportSplatData, shB58), MEMBER(ExportSplatData, shB9C), MEMBER(ExportSplatData, shBDF),
          MEMBER(ExportSplatData, opacity), MEMBER(ExportSplatData, scale), MEMBER(ExportSplatData, rot)}},
        {"RenderBoxGizmo",
         0,
         "t1",
         sizeof(gpu::ShapeInfo),
         {MEMBER(ShapeInfo, transform), MEMBER(ShapeInfo, color), MEMBER(ShapeInfo, center),
          MEMBER(ShapeInfo, halfSize), MEMBER(ShapeInfo, crossRadius)}},
    };
    return layouts;
}

TEST_P(Reflection, RecordsAreLaidOutAsTheProcessorWritesThem) {
    for (const LayoutExpectation& expected : ExpectedLayouts()) {
        SCOPED_TRACE(std::string(expected.mProgram) + " " + expected.mRegister);
        const StageInfo stage = Inspect(expected.mProgram, expected.mStage);
        ASSERT_EQ(stage.mResources.count(expected.mRegister), 1U);
        const Resource& resource = stage.mResources.at(expected.mRegister);
        EXPECT_EQ(resource.mIsBuffer ? resource.mStride : resource.mSize, expected.mSize);
        std::vector<BlockMember> members = resource.mMembers;
        std::erase_if(members, [](const BlockMember& member) { return member.mName.find("padding") == 0; });
        ASSERT_EQ(members.size(), expected.mMembers.size());
        for (std::size_t i = 0; i < members.size(); ++i) {
            EXPECT_EQ(members[i].mName, expected.mMembers[i].mName);
            EXPECT_EQ(members[i].mOffset, expected.mMembers[i].mOffset) << expected.mMembers[i].mName;
        }
    }
}

TEST_P(Reflection, MatricesLieByColumns) {
    for (const Resource& block :
         {Inspect("CSCalcViewData", 2).mResources["b7"], Inspect("RenderCube", 0).mResources["b0"],
          Inspect("RenderBoxGizmo", 0).mResources["b0"]}) {
        for (const BlockMember& member : block.mMembers) {
            const bool named =
                member.mName.find("_Matrix") == 0 || member.mName.find("iewProjection") != std::string::npos;
            EXPECT_EQ(member.mIsColumnMajorMatrix, named) << member.mName;
        }
    }
}

TEST_P(Reflection, ResourcesAreOfTheRightKind) {
    const StageInfo stage = Inspect("CSCalcViewData", 2);
    for (const char* name : {"t5", "t12", "t13"}) EXPECT_TRUE(stage.mResources.at(name).mIsTexture) << name;
    EXPECT_TRUE(stage.mResources.at("s14").mIsSampler);
    for (const char* name : {"t2", "t3", "t4"}) EXPECT_EQ(stage.mResources.at(name).mStride, 4U) << name;
    EXPECT_TRUE(Inspect("CopyU8RGBA", 2).mResources.at("u1").mIsBuffer);
    EXPECT_TRUE(Inspect("TextDrawing", 1).mResources.at("t0").mIsTexture);
    EXPECT_EQ(stage.mHasPushConstants, gFormat == ShaderFormat::Spirv) << "offsets of root buffers";
}

INSTANTIATE_TEST_SUITE_P(Formats, Reflection, testing::ValuesIn(kFormats), [](const auto& format) {
    return std::string(format.param == ShaderFormat::Spirv  ? "Spirv"
                       : format.param == ShaderFormat::Dxil ? "Dxil"
                                                            : "Dxbc");
});

}  // namespace
}  // namespace nimbrel::test
