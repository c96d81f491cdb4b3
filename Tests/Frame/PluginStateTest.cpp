#include "PluginBase/PluginState.h"

#include <array>
#include <cstring>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include "PluginBase/Parameters/ParameterDefaultValueGetter.h"
#include "TestPlugin.h"

using zeb::PluginStatePart;

namespace {

template <class T>
T Load(const zeb::PluginState& state, std::size_t offset) {
    T value;
    std::memcpy(&value, state.GetBytes().data() + offset, sizeof(value));
    return value;
}

std::string GetText(const zeb::PluginState& state, PluginStatePart part) {
    const auto view = state.GetPart(part);
    return {reinterpret_cast<const char*>(view.mData), view.mSize};
}

}  // namespace

class PluginStateTest : public ::testing::Test {
protected:
    PluginStateTest() {
        mPlugin.mCamera.mWorldToCamera[3] = glm::vec4(-320.0F, -180.0F, 640.0F, 1.0F);  // the translation row
        mPlugin.mCamera.mFocalLength = 800.0F;
        mPlugin.mCamera.mType = zeb::CameraType::Orthographic;
    }
    zeb::PluginState Make(std::vector<PluginStatePart> parts) { return mPlugin.MakeState(mGetter, std::move(parts)); }

    TestPlugin mPlugin;
    EmptyManager mManager;
    zeb::ParameterDefaultValueGetter mGetter{mManager};
};

TEST_F(PluginStateTest, TheHeadersFieldsStandAtTheirOffsets) {
    const zeb::PluginState state = Make({PluginStatePart::Camera});
    EXPECT_EQ(Load<std::uint32_t>(state, 0), 1U);
    EXPECT_THAT((Load<std::array<float, 17>>(state, 4)),  // the matrix row by row, the focal length
                ::testing::ElementsAre(1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, -320, -180, 640, 1, 800));
    EXPECT_EQ(Load<std::uint32_t>(state, 72), 2U);
    EXPECT_EQ(state.GetBytes().size(), 144U);
    EXPECT_TRUE(state.NeedsCamera());
    EXPECT_EQ(state.GetCamera(), mPlugin.mCamera.mWorldToCamera);

    mPlugin.mNeedCamera = false;
    EXPECT_EQ(Make({PluginStatePart::Camera}).GetBytes(), std::vector<std::byte>(144));
}

TEST_F(PluginStateTest, PartsStandInAscendingOrderWithoutGaps) {
    const zeb::PluginState state = Make({PluginStatePart::DrawBinary, PluginStatePart::Draw, PluginStatePart::PreDraw});
    const std::string draw = "{\"Model1\":\"/\u00e4.ply\",\"Model2\":\"\"}";
    // Offset and size of the parts 1 to 4; the last is empty, at the block's end.
    EXPECT_THAT((Load<std::array<std::uint64_t, 8>>(state, 80)),
                ::testing::ElementsAre(0, 0, 144, 4, 148, draw.size(), state.GetBytes().size(), 0));
    EXPECT_EQ(GetText(state, PluginStatePart::PreDraw), "null");
    EXPECT_EQ(GetText(state, PluginStatePart::Draw), draw);
    EXPECT_EQ(state.GetPart(PluginStatePart::Draw).mType, 3U);

    mPlugin.mBinary = {std::byte{7}, std::byte{8}};
    const zeb::PluginState binary = Make({PluginStatePart::DrawBinary});
    EXPECT_THAT((Load<std::array<std::uint64_t, 2>>(binary, 128)), ::testing::ElementsAre(144, 2));
}
