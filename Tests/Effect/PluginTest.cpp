#include "Plugin.h"

#include <filesystem>
#include <fstream>
#include <map>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include "FakeHost.h"
#include "ModelMaker.h"
#include "PluginBase/AE/ThreadContextAE.h"
#include "PluginBase/Exception.h"
#include "RecordingDevice.h"
#include "TestBlob.h"

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

namespace {

/// The effect with its progress written down.
class ToldPlugin final : public Plugin {
public:
    void ProgressUpdate(std::int32_t current, std::int32_t total) override {
        mProgress.push_back(fmt::format("{}/{}", current, total));
    }
    std::vector<std::string> mProgress;
};

/// A file in the temporary folder, removed at the end.
struct TemporaryFile {
    TemporaryFile(const std::string& name, const std::vector<std::uint8_t>& bytes)
        : mPath(std::filesystem::temp_directory_path() / name) {
        std::ofstream(mPath, std::ios::binary)
            .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    }
    ~TemporaryFile() { std::filesystem::remove(mPath); }
    std::string GetText() const { return mPath.string(); }
    std::filesystem::path mPath;
};

std::vector<std::uint8_t> MakeBox(std::int64_t count) {
    nimbrel::maker::ModelOptions options;
    options.mShape = nimbrel::maker::Shape::Box;
    options.mCount = count;
    return nimbrel::maker::MakeModel(options);
}

std::string GetError(const std::function<void()>& call) {
    try {
        call();
    } catch (const std::exception& exception) {
        return exception.what();
    }
    return "none";
}

}  // namespace

/// A plug-in without its start: what needs neither cache nor device.
TEST(PluginFlags, AreTheStatedWords) {
    const ToldPlugin plugin;
    EXPECT_EQ(static_cast<std::uint32_t>(plugin.GetOutFlags()), 0x2008450U);
    EXPECT_EQ(static_cast<std::uint32_t>(plugin.GetOutFlags2()), 0x8801402U);
    EXPECT_EQ(plugin.GetImportFolderName(u"any"), u"Nimbrel Models");
    const int formats[] = {13, 6, 1, 5, 1};
    for (std::uint32_t i = 0; i < 5; ++i) {
        const auto format = static_cast<zeb::ChannelFormat>(i);
        EXPECT_EQ(static_cast<int>(plugin.GetPluginRenderFormat(zeb::PixelChannels::ARGB, format)), formats[i]);
    }
}

TEST(PluginSequence, FailuresQuoteTheCall) {
    test::FakeHost host;
    const zeb::ThreadContextScope scope(&host.mInData, &host.mOutData, nullptr);
    ToldPlugin plugin;
    plugin.SequenceResetup();  // nothing to set up again
    plugin.SequenceSetdown();
    EXPECT_EQ(host.mHandles, 0);
    const auto expect = [](const std::function<void()>& call, const std::string& name, std::int32_t code) {
        try {
            call();
            ADD_FAILURE() << name;
        } catch (const zeb::Exception& exception) {
            EXPECT_EQ(exception.code, code);
            EXPECT_THAT(exception.what(),
                        HasSubstr("\"Failed to call ::" + name + "(zeb::InData(), zeb::OutData())\""));
        }
    };
    expect([&] { plugin.SequenceFlatten(); }, "SequenceFlatten", 512);
    expect([&] { plugin.GetFlattenedSequenceData(); }, "GetFlattenedSequenceData", 512);
    host.mOutOfHandles = true;
    expect([&] { plugin.SequenceSetup(); }, "SequenceSetup", 4);
    void* empty = nullptr;  // a handle whose memory was purged
    host.mInData.sequence_data = &empty;
    EXPECT_NO_THROW(plugin.SequenceFlatten());
    EXPECT_NO_THROW(plugin.GetFlattenedSequenceData());
}

/// The started effect, inside one command.
class PluginTest : public ::testing::Test {
protected:
    PluginTest() {
        mPlugin.Init();
        for (int slot = 1; slot <= 5; ++slot) mBlob.Set(fmt::format("ModelConstants{}", slot), 64, 1);
    }
    ~PluginTest() override { mPlugin.Deinit(); }

    void Draw(const nlohmann::json& state) {
        zeb::render::TextureDescription description;
        description.mFormat = zeb::render::Format::RGBA8Unorm;
        description.mWidth = description.mHeight = 64;
        description.mUsage = zeb::render::kTextureUsageShaderRead | zeb::render::kTextureUsageRenderTarget;
        const auto target = mDevice.CreateTexture("Target", description, 0, zeb::render::TextureState::RenderTarget);
        zeb::DrawInfo drawInfo;
        drawInfo.mPackedParameters = &mBlob.Pack();
        drawInfo.mDrawState = &state;
        drawInfo.mFullWidth = drawInfo.mOutputWidth = 64;
        drawInfo.mFullHeight = drawInfo.mOutputHeight = 64;
        drawInfo.mFocalLength = 64.0F;
        mDevice.mLog.clear();
        mPlugin.mProgress.clear();
        zeb::UniquePtr<zeb::render::CommandList> result;
        mPlugin.Draw(result, mDevice, drawInfo, *target);
        EXPECT_NE(result, nullptr);
    }

    static nlohmann::json MakeState(const std::map<int, std::string>& paths) {
        nlohmann::json state;
        for (int slot = 1; slot <= 5; ++slot)
            state[fmt::format("Model{}", slot)] = paths.contains(slot) ? paths.at(slot) : "";
        return state;
    }

    test::FakeHost mHost;
    zeb::ThreadContextScope mScope{&mHost.mInData, &mHost.mOutData, nullptr};
    zeb::render::RecordingDevice mDevice;
    TestBlob mBlob = TestBlob::MakeEffect();
    ToldPlugin mPlugin;
};

TEST_F(PluginTest, SlotsOfOneFileMakeOneGroupInSlotOrder) {
    const TemporaryFile box("nimbrel-plugin-box.ply", MakeBox(700));
    const TemporaryFile other("nimbrel-plugin-other.ply", MakeBox(100));
    const TemporaryFile hidden("nimbrel-plugin-hidden.ply", {'n', 'o', ' ', 'm', 'o', 'd', 'e', 'l'});
    mBlob.Set("ModelConstants3", 64, 0);
    const auto state = MakeState({{1, box.GetText()}, {2, other.GetText()}, {3, hidden.GetText()}, {5, box.GetText()}});
    Draw(state);
    // Slots 1 and 5, then 2: 700 twice and 100. The hidden slot is neither loaded nor counted.
    EXPECT_THAT(mDevice.Find("draw"), ElementsAre("draw RenderGaussianSplats_13 6x1500"));
    EXPECT_EQ(mDevice.Find("copy ColorData2").size(), 2U);
    EXPECT_THAT(mDevice.Find("dispatch CSCalcViewData"), ElementsAre("dispatch CSCalcViewData.NoEffects 3 1 1 of 256",
                                                                     "dispatch CSCalcViewData.NoEffects 3 1 1 of 256",
                                                                     "dispatch CSCalcViewData.NoEffects 1 1 1 of 256"));
    EXPECT_THAT(mPlugin.mProgress, ElementsAre("1/4", "2/4", "3/4", "4/4"));
    Draw(state);
    EXPECT_THAT(mPlugin.mProgress, IsEmpty());

    zeb::UniquePtr<zeb::render::CommandList> nothing;
    zeb::DrawInfo blind;
    blind.mCamera = glm::mat4(0.0F);  // cannot be inverted: sees nothing, and loads nothing for it
    const zeb::render::TextureDescription small{{}, zeb::render::Format::RGBA8Unorm, 1, 1};
    mPlugin.Draw(nothing, mDevice, blind, *mDevice.CreateTexture("Target", small, 0, {}));
    EXPECT_EQ(nothing, nullptr);

    Draw(MakeState({}));
    EXPECT_THAT(mDevice.Find("draw"), IsEmpty());
    EXPECT_THAT(mDevice.Find("pass"), ElementsAre("pass Target clear"));
}

TEST_F(PluginTest, AModelThatCannotBeReadFailsTheFrame) {
    const TemporaryFile box("nimbrel-plugin-good.ply", MakeBox(10));
    const auto state = MakeState({{1, box.GetText()}, {2, "no/such.ply"}});
    for (int time = 0; time < 2; ++time)  // the second from the cache
        EXPECT_THAT(GetError([&] { Draw(state); }), HasSubstr("\"\"no/such.ply\": "));
    EXPECT_THAT(GetError([&] { Draw(nlohmann::json::array()); }), HasSubstr("cannot use operator[] with a string"));
    EXPECT_THAT(GetError([&] { Draw({{"Model1", 7}}); }), HasSubstr("type must be string, but is number"));
    EXPECT_THAT(GetError([&] { Draw(nlohmann::json::object()); }), HasSubstr("Model1"));
}
