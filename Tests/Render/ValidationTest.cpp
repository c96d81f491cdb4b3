// That the validation layer sees what it is asked to look for: elsewhere its silence is what tests hold.
#include <gmock/gmock.h>

#include "DeviceFixture.h"
#include "Vulkan/Buffer.h"
#include "Vulkan/CommandList.h"

namespace zeb::render {
namespace {

struct ValidationTest : DeviceFixture {};

TEST_F(ValidationTest, APlantedHazardIsReported) {
    const auto buffer = MakeBuffer(64);
    Run([&](CommandList& list) {
        const auto& own = dynamic_cast<CommandListVulkan&>(list);
        const VkBuffer native = dynamic_cast<BufferVulkan&>(*buffer).GetResource()->mBuffer;
        // Twice the same bytes, and no barrier between.
        for (const std::uint32_t value : {1U, 2U})
            own.Api().vkCmdFillBuffer(own.GetCommandBuffer(), native, 0, 64, value);
    });
    EXPECT_THAT(TakeMessages(), testing::Contains(testing::HasSubstr("WRITE_AFTER_WRITE")));
}

}  // namespace
}  // namespace zeb::render
