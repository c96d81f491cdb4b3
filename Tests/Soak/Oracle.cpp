#include "Oracle.h"

#include <functional>
#include <string_view>

#include <nlohmann/json.hpp>

#include "NimbrelHost/User/Settings.h"
#include "Shots.h"

namespace nimbrel::soak {
namespace {

using endtoend::Shot;
using endtoend::Studio;
using host::Json;

constexpr int kModelSlots = 5;

/// Something that is another at each frame, so that frames of several threads differ.
void AddMotion(Random& random, Json& parameters) {
    parameters["Model1_transform_yRotation"] = {
        {"keyframes", {{0, Pick(random, -90, 90)}, {0.2, Pick(random, -90, 90)}}}};
    if (Pick(random, 0, 2) == 0) {
        parameters["Model1_transform_scale"] = {{"value", 90},
                                                {"expression", "value + Math.random() * 10 + Math.sin(time * 9) * 20"}};
    }
}

Studio::Options OnDevice(const std::string& device) {
    Studio::Options options;
    options.mDevice = device;
    return options;
}

Variant MakeVariant(Random& random, Shot shot, int number) {
    constexpr int depths[] = {8, 16, 32};
    shot.mBitsPerChannel = depths[Pick(random, 0, 2)];
    shot.mDownsample = Pick(random, 1, 6) == 1 ? 2 : 1;
    if (Pick(random, 0, 1) == 0) {
        shot.mWidth = Pick(random, 1, 400);
        shot.mHeight = Pick(random, 1, 240);
    }
    Variant variant{shot.mName + "#" + std::to_string(number), endtoend::MakeSceneDocument(shot)};
    Json& parameters = variant.mDocument["parameters"];
    for (int slot = 1; slot <= kModelSlots; ++slot) {
        const std::string id = "Model" + std::to_string(slot) + "_model";
        if (!parameters.contains(id)) parameters[id] = "";
    }
    AddMotion(random, parameters);
    return variant;
}

}  // namespace

std::size_t Digest(const host::Frame& frame) {
    return std::hash<std::string_view>()({reinterpret_cast<const char*>(frame.mPixels.data()), frame.mPixels.size()});
}

int Pick(Random& random, int low, int high) {
    // The library's distributions differ from one to another; a seed means the same everywhere.
    return low + static_cast<int>(random() % static_cast<std::uint64_t>(high - low + 1));
}

Oracle::Oracle(std::uint64_t seed) {
    Random random(seed);
    std::vector<Shot> shots;
    for (std::vector<Shot> (*make)() :
         {endtoend::MakeEffectShots, endtoend::MakeEffectShots, endtoend::MakeFrameShots, endtoend::MakeGizmoShots}) {
        for (Shot& shot : make()) shots.push_back(std::move(shot));
    }
    for (const Shot& shot : shots) mVariants.push_back(MakeVariant(random, shot, static_cast<int>(mVariants.size())));
}

std::vector<const Variant*> Oracle::Choose(Random& random, int count) const {
    const auto pick = [&] {
        return &mVariants[static_cast<std::size_t>(Pick(random, 0, static_cast<int>(mVariants.size()) - 1))];
    };
    std::vector<const Variant*> chosen{pick()};
    const auto camera = [](const Variant& variant) { return variant.mDocument.value("camera", Json()); };
    while (static_cast<int>(chosen.size()) < count) {
        const Variant* const next = pick();
        if (camera(*next) == camera(*chosen[0])) chosen.push_back(next);
    }
    return chosen;
}

/// Every scene sets everything, so that none shows what another left. Points begin where the composition's size has
/// them, which is another in each.
void Oracle::Complete(const std::string& device) {
    Studio studio(mVariants[0].mDocument, "defaults", OnDevice(device));
    for (const Json& parameter : host::ListParameters(*studio.mHost)) {
        if (!parameter.contains("default") || !parameter.at("id").is_string()) continue;
        const std::string id = parameter.at("id");
        for (Variant& variant : mVariants) {
            Json& parameters = variant.mDocument["parameters"];
            if (!parameters.contains(id)) parameters[id] = parameter.at("default");
        }
    }
    mIsComplete = true;
}

std::size_t Oracle::GetDigest(const Variant& variant, int frame, const std::string& device) {
    if (!mIsComplete) Complete(device);
    const auto found = mDigests.find({&variant, frame, device});
    if (found != mDigests.end()) return found->second;
    Studio studio(variant.mDocument, variant.mName, OnDevice(device));
    for (int i = 0; i < kFrames; ++i) mDigests[{&variant, i, device}] = Digest(studio.Render(i));
    return mDigests.at({&variant, frame, device});
}

void Become(Studio& studio, const Variant& variant) {
    const host::Scene scene = host::ParseScene(variant.mDocument, variant.mName, endtoend::GetScratchFolder());
    studio.mHost->GetProject().SetComposition(scene.mComposition);
    for (const host::Setting& setting : scene.mSettings) host::ApplySetting(*studio.mHost, setting);
}

}  // namespace nimbrel::soak
