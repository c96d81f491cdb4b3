// The effect in its host: many frames in a row, two threads at once, a model whose name no code page holds.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <memory>

#include "ModelMaker.h"
#include "NimbrelHost/Output/RenderJob.h"
#include "NimbrelHost/Suites/AddSuites.h"
#include "NimbrelHost/User/Settings.h"
#include "ProcessUsage.h"

namespace nimbrel::test {
namespace {

namespace fs = std::filesystem;

constexpr int kFrames = 24;

class EffectRun : public testing::Test {
protected:
    void SetUp() override {
        fs::create_directories(mFolder);
        {
            maker::ModelOptions model;
            model.mCount = 500;
            model.mDegree = 1;
            std::ofstream stream(mFolder / L"статуя.ply", std::ios::binary);
            maker::WriteModel(model, stream);
        }
        const host::Json turn = {{"keyframes", {{0, 0}, {1, 360}}}};
        const host::Json document = {
            {"composition", {{"width", 96}, {"height", 64}, {"frameRate", kFrames}, {"bitsPerChannel", 32}}},
            {"parameters", {{"Model1_model", "статуя.ply"}, {"Model1_transform_yRotation", turn}}}};
        const host::Scene scene = host::ParseScene(document, "test", mFolder);
        host::HostOptions options;
        options.mPlugin = NIMBREL_EFFECT_FILE;
        options.mImporters = {NIMBREL_IMPORTER_FILE};
        mHost = std::make_unique<host::Host>(options, scene.mComposition, scene.mCamera,
                                             host::Catalogue::Read(NIMBREL_CATALOGUE_FILE), host::AddSuites);
        mHost->Start();
        for (const host::Setting& setting : scene.mSettings) host::ApplySetting(*mHost, setting);
        host::FitModels(*mHost);
        for (int i = 0; i < kFrames; ++i) mFrames.push_back(Render(i));
        ASSERT_NE(mFrames[0].mPixels, mFrames[kFrames / 4].mPixels);
    }
    void TearDown() override {
        mHost->Stop();
        for (const std::string& text : mHost->GetDiagnostics().Get()) ADD_FAILURE() << "host: " << text;
        mHost.reset();
        fs::remove_all(mFolder);
    }
    host::Frame Render(int frame) {
        host::FrameTimes times;
        return host::RenderFrame(*mHost, frame, times);
    }

    const fs::path mFolder = fs::temp_directory_path() / L"Größe ナ";
    std::unique_ptr<host::Host> mHost;
    std::vector<host::Frame> mFrames;
};

TEST_F(EffectRun, AThousandFramesLeaveNothingBehind) {
    ProcessUsage before;
    for (int i = 0; i < 1000; ++i) {
        if (i == 200) before = MeasureProcess();
        ASSERT_EQ(Render(i % kFrames).mPixels, mFrames[static_cast<std::size_t>(i % kFrames)].mPixels) << i;
    }
    const ProcessUsage after = MeasureProcess();
    EXPECT_LE(after.mHandles, before.mHandles + 4);
    EXPECT_GT(before.mHeapBytes, 1U << 20);
    EXPECT_LE(after.mHeapBytes, before.mHeapBytes + (64U << 10)) << "before: " << before.mHeapBytes;
}

TEST_F(EffectRun, TwoThreadsDrawTheFramesOfOne) {
    ASSERT_TRUE(mHost->SupportsThreads());
    std::vector<int> numbers;
    for (int i = 0; i < 4 * kFrames; ++i) numbers.push_back(i % kFrames);
    host::RenderFrames(*mHost, numbers, 2, [&](int frame, const host::Frame& picture) {
        EXPECT_EQ(picture.mPixels, mFrames[static_cast<std::size_t>(frame)].mPixels) << frame;
    });
}

}  // namespace
}  // namespace nimbrel::test
