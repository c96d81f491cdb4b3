#pragma once

#include <memory>
#include <string>
#include <vector>

#include "NimbrelHost/Commands/Host.h"
#include "NimbrelHost/Output/RenderJob.h"
#include "NimbrelHost/Suites/AddSuites.h"
#include "NimbrelHost/User/Settings.h"
#include "TestSupport.h"

namespace nimbrel::host {

/// The host with the test effect in it, and a small composition.
class Effect {
public:
    explicit Effect(HostOptions options = {}) {
        options.mPlugin = TEST_EFFECT;
        options.mShowMessage = [this](const std::string& text) { mMessages.push_back(text); };
        Composition composition;
        composition.mWidth = 8;
        composition.mHeight = 6;
        const auto catalogue = Catalogue::Read(mFolder.Write("c.json", R"({"parameters": []})"));
        mHost = std::make_unique<Host>(options, composition, std::nullopt, catalogue, AddSuites);
        mHost->Start();
    }

    Parameter& Get(const std::string& id) { return mHost->GetParameters().Find(id, "test"); }
    void Set(const std::string& id, const std::string& json) {
        ApplySetting(*mHost, {id, ParseJson(json, id), "s.json", "parameters." + id, mFolder / "", {}});
    }
    void SetFault(int fault) { Set("Fault", std::to_string(fault)); }
    void Render() {
        FrameTimes times;
        RenderFrame(*mHost, 0, times);
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
