// Waits that fail: what the work may still use is kept. Functions of the device's table are replaced.
#include <gmock/gmock.h>

#include "DeviceFixture.h"
#include "PluginBase/Render/Failures.h"
#include "Vulkan/Device.h"

namespace zeb::render {
namespace {

VkResult gWait = VK_SUCCESS;

VKAPI_ATTR VkResult VKAPI_CALL FailToWait(VkDevice, std::uint32_t, const VkFence*, VkBool32, std::uint64_t) {
    return gWait;
}
VKAPI_ATTR VkResult VKAPI_CALL TellUnfinished(VkDevice, VkFence) { return VK_NOT_READY; }

class VulkanFaultTest : public DeviceFixture {
protected:
    VulkanFaultTest()
        : mContext(*dynamic_cast<DeviceVulkan&>(GetDevice()).GetContext()),
          mApi(const_cast<VolkDeviceTable&>(mContext.Api())),
          mOriginal(mApi) {}
    ~VulkanFaultTest() override { mApi = mOriginal; }

    /// A list with a buffer that nobody else has, executed, whose wait fails.
    void ExecuteAndFail(CommandQueue& queue, VkResult result) {
        auto source = MakeUpload(std::vector<std::uint32_t>(100, 7));
        auto list = queue.CreateCommandList("Unfinished");
        const auto encoder = list->CreateCopyCommandEncoder();
        encoder->CopyBuffer(*mTarget, 0, *source, 0, 400);
        encoder->End();
        const auto event = queue.Execute(std::move(list));
        gWait = result;
        mApi.vkWaitForFences = FailToWait;
        mApi.vkGetFenceStatus = TellUnfinished;
        if (result == VK_ERROR_DEVICE_LOST)
            EXPECT_THROW(event->Wait(), DeviceLostException);
        else
            EXPECT_THROW(event->Wait(), OutOfMemoryException);
        // In truth the work ends, and the driver shall find its memory.
        mOriginal.vkDeviceWaitIdle(mContext.Get());
    }

    DeviceContext& mContext;
    VolkDeviceTable& mApi;
    const VolkDeviceTable mOriginal;
    UniquePtr<Buffer> mTarget = MakeBuffer(400);
};

TEST_F(VulkanFaultTest, AListWhoseWaitFailedIsKeptUntilItsWorkIsDone) {
    auto queue = GetDevice().CreateCommandQueue("Faulty");
    queue->Execute(queue->CreateCommandList("First"))->Wait();
    const std::uint32_t blocks = mContext.GetLiveBlockCount();
    ExecuteAndFail(*queue, VK_ERROR_OUT_OF_HOST_MEMORY);
    EXPECT_EQ(mContext.GetLiveBlockCount(), blocks + 1) << "its buffer is still there";
    auto next = queue->CreateCommandList("Next");
    EXPECT_EQ(mContext.GetLiveBlockCount(), blocks + 1) << "the work is not done yet";
    mApi = mOriginal;
    queue->CreateCommandList("After");
    EXPECT_EQ(mContext.GetLiveBlockCount(), blocks);
    next.reset();

    // It ends with its queue as well.
    ExecuteAndFail(*queue, VK_ERROR_OUT_OF_HOST_MEMORY);
    mApi = mOriginal;
    queue.reset();
    EXPECT_EQ(mContext.GetLiveBlockCount(), blocks);
    EXPECT_EQ(TakeMessages().size(), 2U) << "each event's own wait failed too";
}

TEST_F(VulkanFaultTest, WhatALostDeviceWorkedOnIsLetGo) {
    const auto queue = GetDevice().CreateCommandQueue("Lost");
    const std::uint32_t blocks = mContext.GetLiveBlockCount();
    ExecuteAndFail(*queue, VK_ERROR_DEVICE_LOST);
    EXPECT_EQ(mContext.GetLiveBlockCount(), blocks);
    EXPECT_TRUE(TakeMessages().empty());
}

}  // namespace
}  // namespace zeb::render
