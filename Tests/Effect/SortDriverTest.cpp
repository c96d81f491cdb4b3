#include <algorithm>

#include <fmt/format.h>
#include <gmock/gmock.h>

#include "Nimbrel/ParallelSort.h"
#include "PluginBase/Exception.h"
#include "PluginBase/Render/Render.h"
#include "RecordingDevice.h"
#include "RenderHelper/Buffer.h"
#include "RenderHelper/ComputeProgram.h"

using namespace zeb::render;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

TEST(ComputeProgram, MapsRegistersToTheOrderOfDeclaration) {
    RecordingDevice device;
    ComputeProgram program(device, "Program", 256);
    program.AddUnorderedAccess(17);
    program.AddConstantBuffer(0);
    program.AddRootConstants(2, 6);
    program.AddDescriptorTable(DescriptorRangeType::Texture, 2, 12);
    program.AddShaderResource(3);
    EXPECT_EQ(program.GetParameterIndex(17), 0U);
    EXPECT_EQ(program.GetParameterIndex(0), 1U);
    EXPECT_EQ(program.GetParameterIndex(6), 2U);
    EXPECT_EQ(program.GetParameterIndex(12), 3U);
    EXPECT_EQ(program.GetParameterIndex(3), 4U);
    try {
        program.GetParameterIndex(5);
        FAIL();
    } catch (const zeb::Exception& exception) {
        EXPECT_THAT(exception.what(), HasSubstr("Failed to get the parameter index by register index of 5"));
        EXPECT_EQ(exception.code, 512);
    }
    EXPECT_EQ(&program.GetPipelineState(), &program.GetPipelineState());
    EXPECT_EQ(std::count(device.mCreated.begin(), device.mCreated.end(), "pipeline Program"), 1);
}

TEST(Buffer, GrowsNeverShrinksAndIsNeverEmpty) {
    RecordingDevice device;
    ::Buffer blocks(device, "Blocks", 0, kUploadBuffer);
    EXPECT_FALSE(blocks.SetCount(0));
    EXPECT_THROW(blocks.Get(), zeb::Exception);
    EXPECT_TRUE(blocks.SetByteSize(400));
    EXPECT_EQ(blocks.GetCount(), 100U);
    EXPECT_FALSE(blocks.SetByteSize(40));
    EXPECT_EQ(blocks.GetCount(), 10U);
    EXPECT_FALSE(blocks.SetCount(100));
    EXPECT_TRUE(blocks.SetCount(101));
    StructuredBuffer<std::uint16_t> records(device, "Records", kUploadBuffer, 256);
    EXPECT_TRUE(records.SetCount(3));
    EXPECT_THAT(device.mCreated, ElementsAre("buffer Blocks 400", "buffer Blocks 404", "buffer Records 768"));
    records.Store(MappedBuffer(records).Get(), 2, std::uint16_t{0x1234});
    EXPECT_EQ(device.Bytes("Records")[512], std::byte{0x34});
}

TEST(ParallelSort, SplitsKeysOverAtMost800Groups) {
    struct Row {
        std::uint32_t mKeys;
        std::uint32_t mGroups, mAdditional, mReduceGroups, mScanValues;
        std::int32_t mBlocksPerGroup;
    };
    const Row rows[] = {
        {0, 0, 0, 1, 16, 1},
        {1, 1, 0, 1, 16, 1},
        {512, 1, 0, 1, 16, 1},
        {513, 2, 0, 1, 16, 1},
        {511 * 512, 511, 0, 1, 16, 1},
        {512 * 512, 512, 0, 1, 16, 1},
        {512 * 512 + 1, 513, 0, 2, 32, 1},
        {799 * 512, 799, 0, 2, 32, 1},
        {409600, 800, 0, 2, 32, 1},
        {409601, 800, 1, 2, 32, 1},
        {819200, 800, 0, 2, 32, 2},
        {16776960, 800, 768, 2, 32, 40},
    };
    for (const Row& row : rows) {
        const auto constants = ParallelSort::MakeConstants(row.mKeys);
        EXPECT_EQ(constants.numKeys, row.mKeys);
        EXPECT_EQ(constants.numThreadGroups, row.mGroups) << row.mKeys;
        EXPECT_EQ(constants.numBlocksPerThreadGroup, row.mBlocksPerGroup) << row.mKeys;
        EXPECT_EQ(constants.numThreadGroupsWithAdditionalBlocks, row.mAdditional) << row.mKeys;
        EXPECT_EQ(constants.numReduceThreadgroupPerBin, row.mReduceGroups) << row.mKeys;
        EXPECT_EQ(constants.numScanValues, row.mScanValues) << row.mKeys;
    }
}

class SortRecording : public ::testing::Test {
protected:
    void Sort(RecordingDevice& device, std::uint32_t count) {
        ParallelSort sort(device);
        const auto keys = device.CreateBuffer("Keys", 4 * count + 4, MemoryKind::Default, {}, {});
        const auto payload = device.CreateBuffer("Payload", 4 * count + 4, MemoryKind::Default, {}, {});
        const auto list = device.GetThreadData().mCommandQueue->CreateCommandList("List");
        sort.Sort(*list->CreateComputeCommandEncoder(), count, *keys, *payload);
        mConstants = device.Bytes("SortConstantsBuffer");
    }
    std::vector<std::byte> mConstants;
};

TEST_F(SortRecording, EightPassesEndInTheCallersBuffers) {
    RecordingDevice device;
    Sort(device, 409601);
    EXPECT_EQ(device.Find("dispatch FfxParallelSortCount 800 1 1 of 128").size(), 8U);
    EXPECT_EQ(device.Find("dispatch FfxParallelSortReduce 32 1 1 of 128").size(), 8U);
    EXPECT_EQ(device.Find("dispatch FfxParallelSortScan 1 1 1 of 128").size(), 8U);
    EXPECT_EQ(device.Find("dispatch FfxParallelSortScanAdd 32 1 1 of 128").size(), 8U);
    EXPECT_EQ(device.Find("dispatch FfxParallelSortScatter 800 1 1 of 128").size(), 8U);
    EXPECT_EQ(device.Find("dispatch").size(), 40U);
    EXPECT_EQ(mConstants.size(), 256U);
    EXPECT_EQ(device.Bytes("SortScratchBuffer").size(), 0U);  // went with the driver
    EXPECT_THAT(device.mCreated, Contains("buffer SortScratchBuffer 1638404"));
    EXPECT_THAT(device.mCreated, Contains("buffer PayloadScratchBuffer 1638404"));
    EXPECT_THAT(device.mCreated, Contains(fmt::format("buffer ScratchBuffer {}", 801 * 16 * 4)));
    EXPECT_THAT(device.mCreated, Contains(fmt::format("buffer ReducedScratchBuffer {}", 2 * 16 * 4)));

    // Nothing reads what the dispatch before it wrote without a barrier between them.
    const auto next = [&](std::size_t from) {
        return static_cast<std::size_t>(
            std::find_if(device.mLog.begin() + static_cast<std::ptrdiff_t>(from), device.mLog.end(),
                         [](const std::string& line) { return line.starts_with("dispatch"); }) -
            device.mLog.begin());
    };
    for (std::size_t at = next(0); at + 1 < device.mLog.size(); at = next(at + 1))
        EXPECT_TRUE(device.mLog[at + 1].starts_with("uavbarrier")) << device.mLog[at];
}

TEST_F(SortRecording, NothingIsRecordedWithoutKeys) {
    RecordingDevice device;
    Sort(device, 0);
    EXPECT_TRUE(device.Find("dispatch").empty());
}

TEST_F(SortRecording, TheFormSuitsTheDevice) {
    for (const char* name : {"FfxParallelSortScatter.Wave", "FfxParallelSortScatter.Serial",
                             "FfxParallelSortCount.Serial", "FfxParallelSortReduce.Wave"})
        Render::SetEmbeddedShaderData(name, {});
    struct Row {
        std::uint32_t mLanes;
        bool mCostlyBarriers;
        const char *mScatter, *mCount, *mReduce;
    };
    const Row rows[] = {
        {0, false, "", "", ""},
        {8, false, "", "", ""},
        {48, false, "", "", ""},
        {16, false, ".Wave", "", ".Wave"},
        {64, true, ".Wave", ".Serial", ".Wave"},
        {8, true, ".Serial", ".Serial", ""},
    };
    for (const Row& row : rows) {
        RecordingDevice device(row.mLanes, row.mCostlyBarriers);
        Sort(device, 1);
        const auto expect = [&](const char* program, const char* form) {
            EXPECT_EQ(device.Find(fmt::format("dispatch {}{} ", program, form)).size(), 8U)
                << program << form << " with " << row.mLanes << " lanes";
        };
        expect("FfxParallelSortScatter", row.mScatter);
        expect("FfxParallelSortCount", row.mCount);
        expect("FfxParallelSortReduce", row.mReduce);
        expect("FfxParallelSortScan", "");
    }
}
