#include "PluginBase/PluginState.h"

#include <cstring>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include "PluginBase/Exception.h"
#include "PluginBase/Parameters/ParameterDefaultValueGetter.h"
#include "PluginBase/Parameters/ParameterPacker.h"
#include "TestPlugin.h"

using ::testing::HasSubstr;
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
    zeb::PluginState Make(std::vector<PluginStatePart> parts) { return mPlugin.MakeState(mGetter, std::move(parts)); }

    TestPlugin mPlugin;
    EmptyManager mManager;
    zeb::ParameterDefaultValueGetter mGetter{mManager};
};

TEST_F(PluginStateTest, AFreshBlockIsTheHeaderInZeros) {
    const zeb::PluginState state;
    EXPECT_EQ(state.GetBytes(), std::vector<std::byte>(144));
}

TEST_F(PluginStateTest, TheHeadersFieldsStandAtTheirOffsets) {
    mPlugin.mCamera.mWorldToCamera = glm::mat4(1.0F);
    mPlugin.mCamera.mWorldToCamera[3] = glm::vec4(-320.0F, -180.0F, 640.0F, 1.0F);  // the translation row
    mPlugin.mCamera.mFocalLength = 800.0F;
    mPlugin.mCamera.mType = zeb::CameraType::Orthographic;
    const zeb::PluginState state = Make({PluginStatePart::Camera});
    EXPECT_EQ(Load<std::uint32_t>(state, 0), 1U);
    EXPECT_EQ(Load<float>(state, 4), 1.0F);
    EXPECT_EQ(Load<float>(state, 4 + 12 * 4), -320.0F);
    EXPECT_EQ(Load<float>(state, 4 + 14 * 4), 640.0F);
    EXPECT_EQ(Load<float>(state, 68), 800.0F);
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
    EXPECT_EQ(Load<std::uint64_t>(state, 80), 0U);
    EXPECT_EQ(Load<std::uint64_t>(state, 88), 0U);
    EXPECT_EQ(Load<std::uint64_t>(state, 96), 144U);
    EXPECT_EQ(Load<std::uint64_t>(state, 104), 4U);
    EXPECT_EQ(Load<std::uint64_t>(state, 112), 148U);
    EXPECT_EQ(Load<std::uint64_t>(state, 120), draw.size());
    EXPECT_EQ(Load<std::uint64_t>(state, 128), state.GetBytes().size());  // empty, at the block's end
    EXPECT_EQ(Load<std::uint64_t>(state, 136), 0U);
    EXPECT_EQ(GetText(state, PluginStatePart::PreDraw), "null");
    EXPECT_EQ(GetText(state, PluginStatePart::Draw), draw);
    EXPECT_EQ(state.GetPart(PluginStatePart::Draw).mType, 3U);

    mPlugin.mBinary = {std::byte{7}, std::byte{8}};
    const zeb::PluginState binary = Make({PluginStatePart::DrawBinary});
    EXPECT_EQ(Load<std::uint64_t>(binary, 128), 144U);
    EXPECT_EQ(Load<std::uint64_t>(binary, 136), 2U);
}

TEST_F(PluginStateTest, TheJsonFormHasTheHeadersOrder) {
    mPlugin.mCamera.mWorldToCamera = glm::mat4(1.0F);
    mPlugin.mCamera.mWorldToCamera[3] = glm::vec4(-320.0F, -180.0F, 640.0F, 1.0F);
    mPlugin.mCamera.mFocalLength = 800.0F;
    mPlugin.mCamera.mType = zeb::CameraType::Perspective;
    mPlugin.mBinary = {std::byte{7}, std::byte{200}};
    const zeb::PluginState state =
        Make({PluginStatePart::Camera, PluginStatePart::PreDraw, PluginStatePart::Draw, PluginStatePart::DrawBinary});
    // The packed structures were not asked for, and a binary value is written as its bytes.
    EXPECT_EQ(state.ToJson(zeb::ParameterPacker(mManager, nlohmann::json::object())).dump(),
              "{\"NeedCamera\":true,"
              "\"Camera\":[[1.0,0.0,0.0,0.0],[0.0,1.0,0.0,0.0],[0.0,0.0,1.0,0.0],[-320.0,-180.0,640.0,1.0]],"
              "\"FocalLength\":800.0,\"CameraType\":1,\"PackedParameters\":[],\"PreDraw\":null,"
              "\"Draw\":{\"Model1\":\"/\u00e4.ply\",\"Model2\":\"\"},"
              "\"DrawBinary\":{\"bytes\":[7,200],\"subtype\":null}}");
}

TEST_F(PluginStateTest, UnknownPartsAreRefused) {
    const auto getError = [](const auto& call) {
        try {
            call();
        } catch (const zeb::Exception& exception) {
            EXPECT_EQ(exception.code, 512);
            return std::string(exception.what());
        }
        return std::string();
    };
    EXPECT_THAT(getError([&] { Make({static_cast<PluginStatePart>(5)}); }),
                HasSubstr("\"Unexpected plugin state part type 5\""));
    for (const std::uint32_t part : {0U, 5U}) {
        EXPECT_THAT(getError([&] { zeb::PluginState().GetOffsetSize(static_cast<PluginStatePart>(part)); }),
                    HasSubstr("\"Unexpected plugin state part type of " + std::to_string(part) + "\""));
    }
}
