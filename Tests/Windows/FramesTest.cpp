// Every shot of the end-to-end tests, drawn by Direct3D and by Vulkan, and some by the CPU device of both systems.
#include <gtest/gtest.h>

#include "Lines.h"
#include "NimbrelHost/Commands/Host.h"
#include "NimbrelHost/Suites/AddSuites.h"
#include "RenderedShot.h"
#include "Shots.h"
#include "WindowsRender.h"

namespace nimbrel::endtoend {
namespace {

std::vector<Shot> MakeSplatShots() {
    std::vector<Shot> shots = MakeFrameShots();
    for (Shot& shot : MakeEffectShots()) shots.push_back(std::move(shot));
    return shots;
}

class WindowsFrames : public testing::TestWithParam<Shot> {};
class WindowsLines : public testing::TestWithParam<Shot> {};

TEST_P(WindowsFrames, AreThoseOfVulkan) {
    Shot shot = GetParam();
    const host::Frame vulkan = RenderWithEffect(shot, "vulkan");
    ASSERT_GT(MeanAlpha(vulkan), 0.02);
    EXPECT_GE(ComparePsnr(RenderOnWindows(shot), vulkan), 80.0);
    shot.mBitsPerChannel = 8;
    EXPECT_LE(DifferingPixels(RenderOnWindows(shot), RenderWithEffect(shot, "vulkan"), 1.0), 0.001);
}

TEST(WindowsSort, IsThatOfVulkan) {
    const std::vector<Shot> shots = MakeSplatShots();
    const std::vector<SortedSplats> sorted = SortOnWindows(shots);
    ASSERT_EQ(sorted.size(), shots.size());
    for (std::size_t i = 0; i < shots.size(); ++i) {
        SCOPED_TRACE(shots[i].mName);
        const CapturedFrame vulkan = RenderInProcess(shots[i], "vulkan");
        EXPECT_GT(sorted[i].mKeys.size(), 1000U);
        EXPECT_EQ(sorted[i].mKeys, vulkan.mKeys);
        EXPECT_EQ(sorted[i].mOrder, vulkan.mOrder);
    }
}

/// To a step of a byte: the libraries' exponentials differ in their last bits.
TEST(WindowsThumbnail, IsThatOfTheNativeImporter) {
    const std::filesystem::path model = GetModelFile(4000, 3);
    host::HostOptions options;
    options.mImporters = {NIMBREL_IMPORTER_FILE};
    host::Host host(options, host::Composition{}, std::nullopt, host::Catalogue{}, host::AddSuites);
    const auto footage = host.GetImporters().Import(model);
    const host::Frame native = host.GetImporters().Draw(*footage->mSource, {{1, 1}, {1, 1}});
    const host::Frame windows = DrawThumbnailOnWindows(model);
    ASSERT_EQ(windows.mPixels.size(), native.mPixels.size());
    EXPECT_GT(MeanAlpha(native), 0.9);
    EXPECT_LE(DifferingPixels(windows, native, 1.0), 0.0);
}

TEST(WindowsCpuDevice, DrawsThePictureOfLinux) {
    for (const Shot& shot : {MakeSplatShots().front(), MakeSplatShots().back(), MakeGizmoShots().back()}) {
        SCOPED_TRACE(shot.mName);
        const host::Frame native = RenderWithEffect(shot, "cpu");
        ASSERT_GT(MeanAlpha(native), 0.02);
        EXPECT_GE(ComparePsnr(RenderOnWindows(shot, "cpu"), native), 120.0);
    }
}

TEST_P(WindowsLines, LieWhereVulkansDo) {
    const Shot& shot = GetParam();
    const Shot plain = WithoutGizmos(shot);
    const GizmoFrames vulkan = {RenderWithEffect(shot, "vulkan"), RenderWithEffect(plain, "vulkan")};
    EXPECT_GE(CompareLines({RenderOnWindows(shot), RenderOnWindows(plain)}, vulkan), 80.0);
}

std::string GetName(const testing::TestParamInfo<Shot>& shot) { return shot.param.mName; }

INSTANTIATE_TEST_SUITE_P(Shots, WindowsFrames, testing::ValuesIn(MakeSplatShots()), GetName);
INSTANTIATE_TEST_SUITE_P(Shots, WindowsLines, testing::ValuesIn(MakeGizmoShots()), GetName);

}  // namespace
}  // namespace nimbrel::endtoend
