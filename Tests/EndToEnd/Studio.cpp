#include "Studio.h"

#include <gtest/gtest.h>

#include "NimbrelHost/Output/RenderJob.h"
#include "NimbrelHost/Parameters/Catalogue.h"
#include "NimbrelHost/Suites/AddSuites.h"
#include "NimbrelHost/User/Settings.h"

namespace nimbrel::endtoend {
namespace {

host::Setting MakeSetting(const std::string& id, const host::Json& value) {
    return {id, value, "test", id, GetScratchFolder(), {}};
}

}  // namespace

Studio::Studio(const host::Json& document, const std::string& name, const Options& options) {
    const host::Scene scene = host::ParseScene(document, name, GetScratchFolder());
    host::HostOptions hostOptions;
    hostOptions.mPlugin = options.mEffect;
    if (!options.mImporter.empty()) hostOptions.mImporters = {options.mImporter};
    hostOptions.mDevice = options.mDevice;
#ifdef _WIN32
    // As where there is no GPU. Frames of Direct3D, whose debug layer may not be there, are WindowsFramesTest's.
    if (hostOptions.mDevice.empty()) hostOptions.mDevice = "cpu";
#endif
    hostOptions.mProgress = options.mProgress;
    hostOptions.mValidate = true;
    hostOptions.mServeComputeCache = hostOptions.mServeHash = options.mServeComputeCache;
    hostOptions.mCacheLimit = options.mCacheLimit;
    hostOptions.mStrict = true;
    hostOptions.mShowMessage = [this](const std::string& text) { mMessages.push_back(text); };
    hostOptions.mShowDialog = [this](const std::string& title, const std::string& text) {
        mDialogs.push_back({title, text});
    };
    hostOptions.mPickColor = [this](const std::string& title, const glm::vec4& color) {
        mPicks.emplace_back(title, color);
        if (mOnPick) mOnPick();
        return mPick;
    };
    mHost = std::make_unique<host::Host>(hostOptions, scene.mComposition, scene.mCamera,
                                         host::Catalogue::Read(NIMBREL_CATALOGUE_FILE), host::AddSuites);
    mHost->Start();
    mHost->GetProject().AddNulls(scene.mNulls);
    for (const host::Setting& setting : scene.mSettings) host::ApplySetting(*mHost, setting);
}

void Studio::Finish() {
    if (!mHost) return;
    mHost->Stop();
    for (const std::string& text : mHost->GetDiagnostics().Get()) ADD_FAILURE() << "host: " << text;
    for (const std::string& text : mHost->GetDevices().GetValidationMessages()) ADD_FAILURE() << "validation: " << text;
    mHost.reset();
}

host::Parameter& Studio::Get(const std::string& id) { return mHost->GetParameters().Find(id, "test"); }
double Studio::GetNumber(const std::string& id) { return host::EvaluateNumbers(Get(id), 0).x; }
void Studio::Press(const std::string& id) { host::PressButton(*mHost, id, "test"); }
void Studio::Set(const std::string& id, const host::Json& value) { host::ApplySetting(*mHost, MakeSetting(id, value)); }
void Studio::Choose(const std::string& id, const host::Json& value) {
    host::ChooseSetting(*mHost, MakeSetting(id, value));
}
host::Layer* Studio::FindLayer(const std::string& name) { return mHost->GetProject().FindLayerByName(name); }
host::Json Studio::Save() { return host::WriteScene(*mHost, GetScratchFolder()); }

host::Frame Studio::Render(int frame) {
    host::FrameTimes times;
    return host::RenderFrame(*mHost, frame, times);
}

void Studio::Switch(const Shot& shot) {
    constexpr std::size_t kSlotCount = 5;
    host::Json document = MakeSceneDocument(shot);
    for (std::size_t slot = shot.mModels.size() + 1; slot <= kSlotCount; ++slot)
        document["parameters"]["Model" + std::to_string(slot) + "_model"] = "";
    const host::Scene scene = host::ParseScene(document, shot.mName, GetScratchFolder());
    mHost->GetProject().SetComposition(scene.mComposition);
    for (const host::Setting& setting : scene.mSettings) host::ApplySetting(*mHost, setting);
}

host::Json Studio::Describe() {
    const host::Project& project = mHost->GetProject();
    host::Json state = {{"scene", Save()}, {"parameters", host::ListParameters(*mHost)}};
    for (const auto& parameter : mHost->GetParameters().GetAll()) {
        const host::Expression& expression = parameter->mExpression;
        if (expression.mEnabled || !expression.mText.empty())
            state["expressions"][parameter->GetKey()] = {expression.mText, expression.mEnabled};
    }
    for (const auto& item : project.GetItems()) {
        state["items"].push_back({item->mId, item->mName, item->mParent == nullptr ? 0 : item->mParent->mId,
                                  item->mFootage ? item->mFootage->mPath.string() : ""});
    }
    for (const auto& layer : project.GetLayers()) {
        state["layers"].push_back({layer->mId, layer->mName, layer->mFlags,
                                   layer->mSource == nullptr ? 0 : layer->mSource->mId,
                                   layer->mParent == nullptr ? 0 : layer->mParent->mId});
    }
    return state;
}

std::vector<std::size_t> Studio::CountHeld() {
    return {mHost->GetHandles().CountLive(),     mHost->GetHandles().CountLocked(),    mHost->GetMemory().CountLive(),
            mHost->GetStreams().Count(),         mHost->GetEffectReferences().Count(), mHost->GetLooseFootage().Count(),
            mHost->GetSuites().ListHeld().size()};
}

host::Frame RenderWithEffect(const Shot& shot, const std::string& device) {
    Studio::Options options;
    options.mDevice = device;
    return Studio(shot, options).Render();
}

Shot MakeProjectShot() {
    Shot shot;
    shot.mName = "project";
    shot.mWidth = 160;
    shot.mHeight = 90;
    ShotModel model;
    model.mFile = GetModelFile(4000, 1);
    model.mAlignScale = 6;
    model.mAlignRotation = {10, 20, 30};
    model.mPosition = {85, 40, 20};
    model.mScale = 90;
    model.mRotation = {25, -40, 15};
    shot.mModels.push_back(model);
    return shot;
}

}  // namespace nimbrel::endtoend
