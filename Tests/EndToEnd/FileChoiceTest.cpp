// How the file of a slot comes into the project, and what the user is told of it.
#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <mutex>

#include "HostInterface/HostInterface.h"
#include "NimbrelHost/Output/RenderJob.h"
#include "NimbrelHost/Support/Errors.h"
#include "NimbrelHost/Support/Interrupt.h"
#include "NimbrelVersion.h"
#include "Studio.h"

namespace nimbrel::endtoend {
namespace {

using host::Layer;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Pair;
using ::testing::SizeIs;

Studio::Options OnCpu(std::function<void(int, int)> progress = {}) {
    return {NIMBREL_CLIPBOARD_EFFECT, "cpu", std::move(progress)};
}

/// A composition with a camera, so that the effect's layer is not the topmost.
host::Json MakeScene(const Shot& shot) {
    host::Json document = MakeSceneDocument(shot);
    document["camera"] = host::Json::object();
    return document;
}

class FileByPath : public ::testing::Test {
protected:
    ~FileByPath() override { std::filesystem::remove(NIMBREL_TEST_CLIPBOARD); }

    /// Sets a slot's path as the effect sets it, by pasting.
    Layer* SetPath(int slot, const std::filesystem::path& file) {
        const host::Json text = {{{"id", mStudio.Get("Model1_model").mUniqueId}, {"value", file.string()}}};
        std::ofstream(NIMBREL_TEST_CLIPBOARD, std::ios::binary) << text.dump();
        const std::string id = "Model" + std::to_string(slot) + "_";
        mStudio.Press(id + "modelSettings_paste");
        return GetProject().FindLayerById(static_cast<int>(mStudio.GetNumber(id + "model")));
    }
    host::Project& GetProject() { return mStudio.mHost->GetProject(); }
    std::pair<std::size_t, std::size_t> CountObjects() {
        return {GetProject().GetItems().size(), GetProject().GetLayers().size()};
    }
    void ExpectHiddenBelowTheEffect(const Layer* layer) {
        ASSERT_NE(layer, nullptr);
        EXPECT_EQ(GetProject().GetIndex(layer), GetProject().GetIndex(GetProject().GetEffectLayer()) + 1);
        EXPECT_EQ(layer->mFlags & AEGP_LayerFlag_VIDEO_ACTIVE, 0);
    }

    Studio mStudio{MakeScene(MakeProjectShot()), "paths", OnCpu()};
};

TEST_F(FileByPath, IsImportedOnlyWhenNothingShowsIt) {
    const auto [items, layers] = CountObjects();
    // A layer of the composition shows it: the scene's own model.
    EXPECT_EQ(SetPath(2, GetModelFile(4000, 1)), SetPath(1, GetModelFile(4000, 1)));
    EXPECT_THAT(CountObjects(), Pair(items, layers));

    // Nothing shows it.
    const std::filesystem::path fresh = GetModelFile(500, 0);
    Layer* const imported = SetPath(3, fresh);
    EXPECT_THAT(CountObjects(), Pair(items + 2, layers + 1)) << "the footage and its folder";
    ExpectHiddenBelowTheEffect(imported);
    EXPECT_EQ(imported->mSource->mFootage->mPath, fresh);
    ASSERT_NE(imported->mSource->mParent, nullptr);
    EXPECT_EQ(imported->mSource->mParent->mName, "Nimbrel Models");
    EXPECT_EQ(imported->mSource->mParent->mParent, GetProject().GetRoot());

    // Again, and in another slot.
    EXPECT_EQ(SetPath(3, fresh), imported);
    EXPECT_EQ(SetPath(4, fresh), imported);
    // The next file goes into the same folder.
    const Layer* const second = SetPath(5, GetModelFile(700, 0));
    EXPECT_EQ(second->mSource->mParent, imported->mSource->mParent);
    EXPECT_THAT(CountObjects(), Pair(items + 3, layers + 2));

    // The project has it, but no layer does.
    auto footage = std::make_unique<host::Footage>();
    footage->mPath = GetModelFile(600, 0);
    host::Item* const item = GetProject().AddFootage(std::move(footage), GetProject().GetRoot());
    const Layer* const layer = SetPath(5, GetModelFile(600, 0));
    ExpectHiddenBelowTheEffect(layer);
    EXPECT_EQ(layer->mSource, item);
    EXPECT_THAT(CountObjects(), Pair(items + 4, layers + 3));
    EXPECT_GT(MeanAlpha(mStudio.Render()), 0.01);
    EXPECT_EQ(SetPath(5, {}), nullptr) << "no file";
}

TEST_F(FileByPath, ThatLeadsNowhereFailsAndIsTakenBack) {
    const host::Json before = mStudio.Describe();
    try {
        SetPath(1, "/no/such/model.ply");
        FAIL();
    } catch (const host::EffectError& error) {
        EXPECT_THAT(error.what(), HasSubstr("AEGP_NewFootage("));
        EXPECT_EQ(error.GetCode(), A_Err_PARAMETER);
    }
    mStudio.mHost->Undo();
    EXPECT_EQ(mStudio.Describe(), before);
}

TEST(FileOfAScene, IsOneItemForAllSlots) {
    Shot shot = MakeProjectShot();
    shot.mModels.resize(3, shot.mModels[0]);
    Studio studio(MakeScene(shot), "scene", OnCpu());
    EXPECT_EQ(studio.GetNumber("Model1_model"), studio.GetNumber("Model3_model"));
    EXPECT_THAT(studio.mHost->GetProject().GetLayers(), SizeIs(3)) << "camera, effect, model";
}

TEST(About, NamesTheEffectAndItsVersion) {
    Studio studio(MakeScene(Shot{}), "about", OnCpu());
    studio.mHost->ShowAbout();
    EXPECT_THAT(studio.mMessages, ElementsAre("Nimbrel, v" NIMBREL_VERSION
                                              "\n3D Gaussian splat models, drawn through the composition's camera."));
}

/// As hosts save, read, duplicate and delete effects; frames of several threads get no sequence data at all.
TEST(SequenceData, LivesThroughTheHostsOrders) {
    Studio studio(MakeScene(MakeProjectShot()), "sequence", OnCpu());
    host::Host& host = *studio.mHost;
    const std::string flat("\1TEMP\0\0\0\x08\0\0\0\0\x86\x08\0", 16);  // 8 and version 558592
    const std::string live(1, '\0');
    const auto read = [&](PF_Handle handle) {
        return std::string(static_cast<const char*>(*handle), host.GetHandles().GetSize(handle));
    };
    const host::Frame before = studio.Render();
    const std::vector<std::size_t> held = studio.CountHeld();
    EXPECT_EQ(read(host.GetSequenceData()), live);
    EXPECT_THAT(host.SaveSequence(false), SizeIs(16));
    EXPECT_EQ(host.SaveSequence(true), flat);
    EXPECT_EQ(read(host.GetSequenceData()), live);
    PF_Handle const copy = host.RestoreSequence(flat);
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(read(copy), live);
    EXPECT_NE(copy, host.GetSequenceData());
    host.TakeDownSequence(copy);
    EXPECT_EQ(host.RestoreSequence({}), nullptr);
    EXPECT_EQ(studio.CountHeld(), held);

    std::mutex mutex;
    std::vector<std::vector<std::uint8_t>> frames;
    host::RenderFrames(host, {0, 0, 0, 0}, 4, [&](int, const host::Frame& frame) {
        const std::scoped_lock lock(mutex);
        frames.push_back(frame.mPixels);
    });
    EXPECT_THAT(frames, ::testing::AllOf(SizeIs(4), Each(before.mPixels)));
    EXPECT_EQ(studio.CountHeld(), held);
}

/// A model file's header that claims a terabyte of splats.
void WriteHugeModel(const std::filesystem::path& model, const std::filesystem::path& file) {
    std::ifstream good(model, std::ios::binary);
    std::ofstream huge(file, std::ios::binary);
    for (std::string line; std::getline(good, line) && line != "end_header";)
        huge << (line.starts_with("element vertex") ? "element vertex 33554432" : line) << '\n';
    for (int i = 0; i < 4000; ++i) huge << "property double note" << i << '\n';
    huge << "end_header\n";
}

TEST(ModelLoading, WithoutMemoryFailsInWordsAndIsTriedAgain) {
    Studio studio(MakeScene(MakeProjectShot()), "memory", OnCpu());
    const std::filesystem::path file = GetScratchFolder() / "huge.ply";
    WriteHugeModel(GetModelFile(500, 0), file);
    const auto told = [](const auto& act) -> std::string {
        try {
            act();
        } catch (const host::EffectError& error) {
            EXPECT_EQ(error.GetCode(), PF_Err_OUT_OF_MEMORY) << "of which the program makes an exit code of its own";
            return error.what();
        }
        return "";
    };
    const std::string words = "There is not enough memory to load";
    EXPECT_THAT(told([&] { studio.Choose("Model1_model", file.string()); }),
                HasSubstr(words + " model \"" + file.string()));
    EXPECT_THAT(told([&] { studio.Render(); }), HasSubstr(file.string() + "\": " + words));
    EXPECT_THAT(told([&] { studio.Press("Model1_info"); }), HasSubstr(words));
    std::filesystem::remove(file);
    std::filesystem::copy_file(GetModelFile(500, 0), file);
    EXPECT_EQ(told([&] { studio.Choose("Model1_model", file.string()); }), "");
    EXPECT_GT(MeanAlpha(studio.Render()), 0.01);
    EXPECT_THAT(studio.mHost->GetDiagnostics().Take(), ElementsAre(HasSubstr("is cut short")));
}

TEST(ModelLoading, ShowsItsProgressAndStopsWhenTheUserWantsTo) {
    std::vector<std::pair<int, int>> progress;
    bool stops = false;
    Shot shot = MakeProjectShot();
    shot.mModels.resize(3, shot.mModels[0]);
    shot.mModels[1].mFile = GetModelFile(500, 0);
    Studio studio(MakeScene(shot), "progress", OnCpu([&](int current, int total) {
                      progress.push_back({current, total});
                      if (stops && current == 2) host::RequestInterrupt();
                  }));
    stops = true;
    EXPECT_THROW(studio.Render(), host::Interrupted);
    host::ClearInterrupt();
    stops = false;
    // The first file stays cached; a last step ends what was begun.
    studio.Render();
    studio.Render();
    EXPECT_THAT(progress, ElementsAre(Pair(1, 4), Pair(2, 4), Pair(1, 3), Pair(2, 3), Pair(3, 3)));
}

}  // namespace
}  // namespace nimbrel::endtoend
