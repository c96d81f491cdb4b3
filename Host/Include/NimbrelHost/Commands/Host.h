#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>

#include "NimbrelHost/Commands/ComputeCache.h"
#include "NimbrelHost/Commands/DeviceReport.h"
#include "NimbrelHost/Commands/EffectLibrary.h"
#include "NimbrelHost/Commands/Importers.h"
#include "NimbrelHost/Commands/SuiteFaults.h"
#include "NimbrelHost/Commands/SuiteRegistry.h"
#include "NimbrelHost/Commands/World.h"
#include "NimbrelHost/Drawing/CustomUI.h"
#include "NimbrelHost/Parameters/Catalogue.h"
#include "NimbrelHost/Parameters/Parameter.h"
#include "NimbrelHost/Project/Project.h"
#include "NimbrelHost/Project/UndoHistory.h"
#include "NimbrelHost/Scene/Camera.h"
#include "NimbrelHost/Scene/Composition.h"
#include "NimbrelHost/Scene/LayerClock.h"
#include "NimbrelHost/Support/HandleStore.h"
#include "NimbrelHost/Support/LiveObjects.h"

namespace nimbrel::convert {
class ModelCache;
}

namespace nimbrel::host {

struct HostOptions {
    std::filesystem::path mPlugin;  ///< the effect library
    /// The importers' libraries, entered before the effect comes up. Without one no file becomes footage.
    std::vector<std::filesystem::path> mImporters;
    std::string mDevice;             ///< as for --gpu; empty: the effect chooses
    bool mValidate = false;          ///< ask for the graphics API's validation layer
    std::optional<int> mLastFrame;   ///< frames behind this one show it; none: each shows its own time
    int mProcessorLimit = 0;         ///< processors that a device drawing on them may use; 0 for all
    bool mServeComputeCache = true;  ///< without it the effect keeps its values itself
    bool mServeHash = true;
    std::uint64_t mCacheLimit = 0;  ///< bytes; 0 for none
    /// Do what a real host does now and then: repeated and abandoned pre-renders, empty requests, frames in parts with
    /// other origins, worlds full of garbage, flattened and restored sequence data.
    bool mStrict = false;
    /// Shows a message of the effect that is no failure. Any thread, one at a time.
    std::function<void(const std::string&)> mShowMessage;
    /// Shows the dialog of a script of the effect. Main thread. Without it no scripts can run.
    std::function<void(const std::string& title, const std::string& text)> mShowDialog;
    /// Picks a colour for the effect (title and colour so far; red, green, blue, alpha), or nothing to cancel. Main
    /// thread. Without it every pick is cancelled.
    std::function<std::optional<glm::vec4>(const std::string& title, const glm::vec4& color)> mPickColor;
    /// Says what the host did of its own, such as converting a model. Main thread.
    std::function<void(const std::string&)> mShowNote;
    /// Hears of progress within a frame, such as loading models. Any thread, one at a time.
    std::function<void(int current, int total)> mProgress;
};

/// A reference to an effect that the effect asked for and must give back.
struct EffectReference {};

/// A property of a layer or of the effect, by reference.
struct StreamReference {
    Layer* mLayer = nullptr;  ///< of a layer's stream
    int mStream = -1;
    Parameter* mParameter = nullptr;  ///< of an effect's stream
};

class OpenDoor;

/// Enters the function tables that a host with these options serves.
using AddSuitesFunction = void (*)(SuiteRegistry& suites, const HostOptions& options);

/// The host: loads one effect, applies it to a layer, keeps what its suites serve, and drives its commands.
///
/// The effect's calls carry no context, so there is one host per process at a time. All functions are for the main
/// thread, except what suites and render threads read: the stores, the project and the parameters.
class Host {
public:
    /// Throws std::logic_error while the process has another host.
    Host(HostOptions options, const Composition& composition, const std::optional<Camera>& camera, Catalogue catalogue,
         AddSuitesFunction addSuites);
    ~Host();
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

    /// Loads the library and brings the effect up, as when a user applies it: global setup, parameters, sequence.
    /// Throws EffectError, UsageError.
    void Start();
    /// Only as far as the effect's devices are known.
    void StartGlobal();
    /// Takes the effect down and reports what it leaked. Called by the destructor too, which swallows failures.
    void Stop();

    // Sequence data, as when projects are saved and read and effects are copied. Any thread, but SaveSequence. Throw
    // EffectError.
    /// The flat bytes, made as a copy or, the older way, in place of the live data, which is then made anew from them.
    std::string SaveSequence(bool inPlace);
    /// Live data from flat bytes, to be taken down by the caller; from none the effect may make none.
    PF_Handle RestoreSequence(const std::string& flat);
    void TakeDownSequence(PF_Handle live);

    /// Has the effect tell of itself, as a message. Throws EffectError.
    void ShowAbout();
    /// Lets the effect bring names and visibility of its controls up to date.
    void UpdateParameterControls();
    /// Tells the effect that the user pressed a button or chose another value at a frame, takes over the values that
    /// it set in answer, and updates its controls. Throws EffectError.
    void ChangeParameter(const Parameter& parameter, int frame = 0);
    /// Takes back the last thing that the user did, or does it again, and updates the effect's controls. False if there
    /// is nothing to take back. Throws EffectError.
    bool Undo();
    bool Redo();
    /// The value's numbers at a time of the effect's layer, in seconds, as the effect and the user see them: with the
    /// expression, if one is on. One that fails counts as off, and is reported. Any thread.
    glm::dvec3 EvaluateParameter(const Parameter& parameter, double seconds);

    const HostOptions& GetOptions() const { return mOptions; }
    const EffectLibrary& GetEffect() const { return mEffect; }
    /// The clock of the layer that carries the effect, by which commands, checkouts and values count.
    LayerClock GetLayerClock() const { return {mTimeBase, mProject.GetComposition().mLayer}; }
    Diagnostics& GetDiagnostics() { return mDiagnostics; }
    HandleStore& GetHandles() { return mHandles; }
    HandleStore& GetMemory() { return mMemory; }
    SuiteRegistry& GetSuites() { return mSuites; }
    SuiteFaults& GetFaults() { return mFaults; }
    ComputeCache& GetCache() { return mCache; }
    DeviceReport& GetDevices() { return mDevices; }
    Importers& GetImporters() { return mImporters; }
    /// Makes plain PLY files of models of other formats.
    convert::ModelCache& GetModels() { return *mModels; }
    Project& GetProject() { return mProject; }
    ParameterTable& GetParameters() { return mParameters; }
    CustomUI& GetCustomUI() { return mCustomUI; }
    UndoHistory& GetUndo() { return mUndo; }
    LiveObjects<StreamReference>& GetStreams() { return mStreams; }
    LiveObjects<EffectReference>& GetEffectReferences() { return mEffectReferences; }
    LiveObjects<Footage>& GetLooseFootage() { return mLooseFootage; }
    World* AddWorld(const World::Layout& layout) { return mWorlds.Add(std::make_unique<World>(layout)); }
    bool RemoveWorld(const World* world) { return mWorlds.Take(world) != nullptr; }
    SPBasicSuite* GetBasicSuite() { return &mBasicSuite; }
    PF_Handle GetGlobalData() const { return mGlobalData; }
    PF_Handle GetSequenceData() const { return mSequenceData; }
    bool SupportsThreads() const;

    /// Defines one parameter; only within the command that sets parameters up.
    void AddParameter(const PF_ParamDef& definition);
    void ShowMessage(const std::string& text);
    void ShowDialog(const std::string& title, const std::string& text);
    void ReportProgress(int current, int total);

private:
    void SetUpGlobal();
    void SetUpParameters();
    void SetUpSequence();
    PF_Handle ResumeSequence(PF_Handle flat);
    void ExerciseSequence();
    void ReportLeaks();
    /// Of a custom value; a failure is reported.
    void Dispose(const Parameter& parameter, PF_Handle value);

    std::unique_ptr<OpenDoor> mDoor;  ///< how the effect's calls find this host
    HostOptions mOptions;
    Catalogue mCatalogue;
    TimeBase mTimeBase;
    Diagnostics mDiagnostics;
    HandleStore mHandles{"handle", mDiagnostics};
    HandleStore mMemory{"memory handle", mDiagnostics};
    SuiteRegistry mSuites;
    SuiteFaults mFaults;
    ComputeCache mCache;
    DeviceReport mDevices;
    Importers mImporters{*this};  ///< outlives the footage that is read through it
    std::unique_ptr<convert::ModelCache> mModels;
    Project mProject;
    ParameterTable mParameters;
    CustomUI mCustomUI{mHandles, mDiagnostics};
    UndoHistory mUndo{mProject, [this](const Parameter& parameter, PF_Handle value) { Dispose(parameter, value); }};
    LiveObjects<StreamReference> mStreams;
    LiveObjects<EffectReference> mEffectReferences;
    LiveObjects<Footage> mLooseFootage;  ///< made by the effect and not in the project yet
    LiveObjects<World> mWorlds;          ///< made by the effect
    SPBasicSuite mBasicSuite{};
    EffectLibrary mEffect;
    std::mutex mShowMutex;
    std::mutex mExpressionMutex;
    std::set<std::string> mFailedExpressions;  ///< those reported
    PF_Handle mGlobalData = nullptr;
    PF_Handle mSequenceData = nullptr;
    PF_OutFlags mOutFlags = 0;
    PF_OutFlags2 mOutFlags2 = 0;
    bool mGlobalIsUp = false;
    bool mSequenceIsUp = false;
};

}  // namespace nimbrel::host
