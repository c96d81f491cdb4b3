#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include <glm/vec4.hpp>
#include <nlohmann/json_fwd.hpp>

#include "PluginBase/Misc/Hash.h"
#include "PluginBase/Parameters/ParameterDefaultValueGetter.h"
#include "PluginBase/Parameters/Values/ParameterAccess.h"
#include "PluginBase/Parameters/Values/ParameterDescription.h"

namespace zeb {

class ParameterPacker;
class TextFileLoader;

/// What the manager must know of its surroundings.
struct ParametersManagerOptions {
    /// Source of the scripts that the packer runs. Must outlive the manager.
    const TextFileLoader* mTextFileLoader = nullptr;
    /// Gradients get their colours from the host's picker; then no colour handlers are registered.
    bool mUsesInteractColorPicker = true;
    /// The host's picker: takes a title and a colour (red, green, blue, alpha) and gives the user's, or the same colour
    /// when the user cancels. Called on the interface thread inside a command.
    std::function<glm::vec4(const std::string& title, const glm::vec4& color)> mColorPickerDialog;
    /// Completes the settings of a custom type for the host (handle factory, handler); may be empty.
    std::function<void(ParameterCustomSettings&)> mCompleteCustomSettings;
};

/// Reads the catalogue once and answers every question about parameters from then on.
///
/// Init runs on the host's main thread before any render; afterwards the table is read-only and may be
/// read from any thread. Throws zeb::Exception or nlohmann's type_error on a bad catalogue.
class ParametersManagerBase {
public:
    using ChangeHandler =
        std::function<void(const ParameterCurrentValueGetter&, ParameterValueSetter&, std::int32_t index)>;
    using UpdateUIHandler = std::function<void(const ParameterCurrentValueGetter&, ParameterProperties&)>;

    explicit ParametersManagerBase(ParametersManagerOptions options);
    virtual ~ParametersManagerBase();
    ParametersManagerBase(const ParametersManagerBase&) = delete;
    ParametersManagerBase& operator=(const ParametersManagerBase&) = delete;

    virtual void Init();
    /// Defines every parameter that has a host index, in the order of the host indices.
    virtual void DefineParameters(ParameterDefiner& definer) const;
    virtual void UpdateUI(const ParameterCurrentValueGetter& getter, ParameterProperties& properties) const;
    virtual void OnParameterChanged(const ParameterCurrentValueGetter& getter, ParameterValueSetter& setter,
                                    std::int32_t index);
    /// The catalogue's JSON text.
    virtual std::string_view GetDescriptionText() const = 0;

    const ParameterDescription& GetDescriptionByNumId(std::uint32_t numId) const;
    /// Catalogue index of a numeric id, or -1.
    std::int32_t FindIndexByNumId(std::uint32_t numId) const;
    /// Catalogue index of a host index, or -1.
    std::int32_t FindIndexByParameterIndex(std::int32_t parameterIndex) const;
    /// A table of initial properties after UpdateUI has run on it with the defaults.
    UniquePtr<ParameterInitialProperties> MakeInitialProperties() const;

    /// Array of { "id": uniqueID, "value": ... } of one group, or of all with index -1.
    nlohmann::json SaveValues(const ParameterCurrentValueGetter& getter, std::int32_t groupIndex) const;
    /// Writes the values of such an array; ids that the table lacks are passed over.
    void LoadValues(ParameterValueSetter& setter, const nlohmann::json& values) const;
    /// Sets every parameter of the group at `groupIndex` to its catalogue default.
    void ResetValues(ParameterValueSetter& setter, std::int32_t groupIndex) const;

    const ParameterDefaultValueGetter& GetDefaultValueGetter() const { return *mDefaultValueGetter; }
    const ParameterPacker& GetPacker() const { return *mPacker; }
    const std::vector<ParameterDescription>& GetTable() const { return mTable; }
    const ParametersManagerOptions& GetOptions() const { return mOptions; }

    /// Makes an interact that stands beside the parameters' own, as an overlay.
    using InteractFactory = std::function<UniquePtr<InteractBase>()>;
    void AddInteractFactory(InteractFactory factory) { mInteractFactories.push_back(std::move(factory)); }
    const std::vector<InteractFactory>& GetInteractFactories() const { return mInteractFactories; }

private:
    /// What a custom type adds to the reading of an entry; each may be empty.
    struct CustomType {
        std::function<ParameterInteractInfo(const ParameterDescription&, const nlohmann::json&)> mMakeInteractInfo;
        std::function<UniquePtr<ParameterSettings>(const ParameterDescription&, const nlohmann::json&)> mMakeSettings;
        std::function<void(const ParameterDescription&, const nlohmann::json&)> mAfterLoad;
        /// Throws what a value of the type throws that cannot take the text.
        std::function<void(std::string_view)> mCheckText;
    };

    /// Each value as the text has it, one after the other.
    void WriteValues(ParameterValueSetter& setter, const nlohmann::json& values) const;
    void ReadEntry(const nlohmann::json& entry, std::int32_t index);
    void ReadSettings(const nlohmann::json& entry, ParameterDescription& description);
    void ReadCustom(const nlohmann::json& entry, ParameterDescription& description);
    void AssignParameterIndices();
    void RegisterParameterChangedHandler(const ParameterDescription& description, const nlohmann::json& entry);

    ParametersManagerOptions mOptions;
    std::vector<ParameterDescription> mTable;
    std::unordered_map<std::uint32_t, std::int32_t, IntegerHash> mIndexByUniqueId;
    std::unordered_map<std::string, std::int32_t, StringHash, std::equal_to<>> mIndexByUniqueIdText;
    std::unordered_map<std::int32_t, std::int32_t, IntegerHash> mIndexByParameterIndex;
    std::unordered_map<std::string, CustomType, StringHash, std::equal_to<>> mCustomTypes;
    UniquePtr<ParameterDefaultValueGetter> mDefaultValueGetter;
    UniquePtr<ParameterPacker> mPacker;
    std::vector<UpdateUIHandler> mUpdateUIHandlers;
    std::unordered_map<std::int32_t, ChangeHandler, IntegerHash> mChangeHandlers;
    std::vector<InteractFactory> mInteractFactories;
};

}  // namespace zeb
