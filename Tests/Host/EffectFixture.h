#pragma once

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "NimbrelHost/Host.h"
#include "NimbrelHost/RenderJob.h"
#include "NimbrelHost/Settings.h"
#include "TestSupport.h"

namespace nimbrel::host {

inline constexpr const char* kCatalogue = R"({"parameters": [
    {"uniqueID": 10, "fullId": "Model1_align_scale"}, {"uniqueID": 12, "fullId": "Model1_showModel"},
    {"uniqueID": 15, "fullId": "Model1_align_anchorPoint"}, {"uniqueID": 16, "fullId": "Model1_model"}]})";

/// The host with the test effect in it.
class Effect {
public:
    explicit Effect(const Composition& composition = FloatComposition(), std::optional<Camera> camera = std::nullopt,
                    HostOptions options = {}) {
        options.mPlugin = TEST_EFFECT;
        options.mShowMessage = [this](const std::string& text) { mMessages.push_back(text); };
        mHost =
            std::make_unique<Host>(options, composition, camera, Catalogue::Read(mFolder.Write("c.json", kCatalogue)));
        mHost->Start();
    }

    /// Small, in floats, so that what the effect probes comes through as it is.
    static Composition FloatComposition() {
        Composition composition;
        composition.mWidth = 8;
        composition.mHeight = 6;
        composition.mBitsPerChannel = 32;
        return composition;
    }

    void Set(const std::string& id, const std::string& json) {
        ApplySetting(*mHost, {id, ParseJson(json, id), "s.json", "parameters." + id, mFolder / "", {}});
    }

    /// What the effect sees at a frame.
    double Probe(int probe, int frame = 0) {
        Set("Probe", std::to_string(probe));
        FrameTimes times;
        const Frame picture = RenderFrame(*mHost, frame, times);
        std::array<float, 4> pixel;
        std::memcpy(pixel.data(), picture.mPixels.data(), sizeof(pixel));
        EXPECT_EQ(pixel[0], 1);
        return static_cast<double>(pixel[3]);
    }

    /// Takes the effect down and gives what the host found wrong with it.
    std::vector<std::string> Finish() {
        mHost->Stop();
        return mHost->GetDiagnostics().Get();
    }

    TestFolder mFolder;
    std::vector<std::string> mMessages;
    std::unique_ptr<Host> mHost;
};

}  // namespace nimbrel::host
