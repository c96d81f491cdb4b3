#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <glm/vec4.hpp>

#include "NimbrelHost/Commands/Host.h"
#include "NimbrelHost/Pictures/Picture.h"
#include "Shot.h"

namespace nimbrel::endtoend {

/// A host with the effect and a user before it, who hears what the effect has to say. One at a time.
class Studio {
public:
    struct Options {
        std::string mEffect = NIMBREL_EFFECT_FILE;
        std::string mDevice;
        std::function<void(int current, int total)> mProgress;
        bool mServeComputeCache = true;
        std::uint64_t mCacheLimit = 0;
        std::string mImporter = NIMBREL_IMPORTER_FILE;  ///< empty: none
    };

    explicit Studio(const Shot& shot) : Studio(shot, Options()) {}
    Studio(const Shot& shot, const Options& options) : Studio(MakeSceneDocument(shot), shot.mName, options) {}
    Studio(const host::Json& document, const std::string& name) : Studio(document, name, Options()) {}
    Studio(const host::Json& document, const std::string& name, const Options& options);
    ~Studio() { Finish(); }
    Studio(const Studio&) = delete;
    Studio& operator=(const Studio&) = delete;

    /// Takes the effect down. What it leaked or did wrong, and any word of the validation layer, fails the test.
    void Finish();

    host::Parameter& Get(const std::string& id);
    /// The first number of a parameter at time 0, without its expression.
    double GetNumber(const std::string& id);
    void Press(const std::string& id);
    /// As a scene does, and as a user does.
    void Set(const std::string& id, const host::Json& value);
    void Choose(const std::string& id, const host::Json& value);
    host::Layer* FindLayer(const std::string& name);
    host::Json Save();
    host::Frame Render(int frame = 0);
    /// Turns composition and parameters into those of another shot, as a user would. Settings that `shot` does not have
    /// stay as they are, but for the models of slots that it leaves empty.
    void Switch(const Shot& shot);

    /// Everything that a user's step may change: parameters with values and expressions, items, layers.
    host::Json Describe();
    /// What the effect holds of the host: handles, memory, streams, references, footage.
    std::vector<std::size_t> CountHeld();

    std::vector<std::string> mMessages;
    std::vector<std::pair<std::string, std::string>> mDialogs;  ///< title and text
    std::optional<glm::vec4> mPick;                             ///< what the user picks as a colour; nothing: cancels
    std::function<void()> mOnPick;                              ///< what happens before
    std::vector<std::pair<std::string, glm::vec4>> mPicks;      ///< title and colour that picking began with
    std::unique_ptr<host::Host> mHost;
};

/// A small frame with one model, turned and scaled.
Shot MakeProjectShot();

}  // namespace nimbrel::endtoend
