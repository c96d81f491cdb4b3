// The device is lost while several threads draw on it: a layer below the effect takes it away.
#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

#include "NimbrelHost/Output/RenderJob.h"
#include "Studio.h"

namespace nimbrel::endtoend {
namespace {

class DeviceLoss : public testing::Test {
protected:
    static void SetUpTestSuite() {
        setenv("VK_ADD_LAYER_PATH", NIMBREL_TEST_LAYERS, 1);
        setenv("VK_LOADER_LAYERS_ENABLE", "VK_LAYER_NIMBREL_device_loss", 1);
        setenv("VK_INSTANCE_LAYERS", "VK_LAYER_NIMBREL_device_loss", 1);
        void* const layer = dlopen(NIMBREL_TEST_LAYERS "/libNimbrelDeviceLoss.so", RTLD_NOW);
        ASSERT_NE(layer, nullptr) << dlerror();
        sLoseAfter = reinterpret_cast<void (*)(int)>(dlsym(layer, "NimbrelLoseDeviceAfter"));
        sCountDevices = reinterpret_cast<int (*)()>(dlsym(layer, "NimbrelCountDevices"));
    }

    /// The message of a run of frames on three threads; empty when all were drawn.
    static std::string RenderFrames(Studio& studio) {
        try {
            host::RenderFrames(*studio.mHost, {0, 1, 2, 3, 4, 5, 6, 7}, 3, [](int, const host::Frame&) {});
        } catch (const std::exception& failure) {
            return failure.what();
        }
        return {};
    }

    static void (*sLoseAfter)(int);
    static int (*sCountDevices)();
};

void (*DeviceLoss::sLoseAfter)(int) = nullptr;
int (*DeviceLoss::sCountDevices)() = nullptr;

TEST_F(DeviceLoss, FramesFailAndTheNextOnesAreDrawnOnANewDevice) {
    const std::filesystem::path model = std::filesystem::path(GetScratchFolder()) / "LostDevice.ply";
    std::filesystem::copy_file(GetModelFile(4000, 2), model, std::filesystem::copy_options::overwrite_existing);
    Shot shot;
    shot.mName = "lost";
    shot.mWidth = 160;
    shot.mHeight = 90;
    shot.mModels.resize(1);
    shot.mModels[0].mFile = model;
    shot.mModels[0].mAlignScale = 3.2;
    shot.mModels[0].mPosition = {80, 45, 0};
    Studio::Options options;
    options.mDevice = "vulkan";
    {
        Studio studio(shot, options);
        const host::Frame expected = studio.Render();
        ASSERT_GT(MeanAlpha(expected), 0.01);
        ASSERT_EQ(sCountDevices(), 1) << "the layer must be there";
        // Models stay cached: they are not read again.
        std::filesystem::remove(model);
        for (int i = 0; i < 2; ++i) {
            sLoseAfter(4 + i);
            EXPECT_THAT(RenderFrames(studio), testing::HasSubstr("Device lost VK_ERROR_DEVICE_LOST")) << i;
            // A frame that began after the loss waited for those on the lost device and had a new one.
            EXPECT_LE(sCountDevices(), 1) << "all that belongs to the lost device is let go";
            EXPECT_EQ(studio.Render().mPixels, expected.mPixels) << i;
            EXPECT_EQ(sCountDevices(), 1);
            EXPECT_EQ(RenderFrames(studio), "");
        }
    }
    EXPECT_EQ(sCountDevices(), 0);
}

}  // namespace
}  // namespace nimbrel::endtoend
