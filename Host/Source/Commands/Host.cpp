#include "NimbrelHost/Commands/Host.h"

#include <fmt/format.h>

#include <cstdlib>
#include <cstring>

#include "Commands/Boundary.h"
#include "NimbrelConvert/ModelCache.h"
#include "NimbrelHost/Commands/Command.h"
#include "NimbrelHost/Commands/CustomData.h"
#include "NimbrelHost/Support/Errors.h"

namespace nimbrel::host {
namespace {

// A suite that isn't served is no fault: effects try newer ones first and do without.
SPErr AcquireSuite(const A_char* name, A_long version, const void** suite) {
    if (suite == nullptr) return static_cast<SPErr>(kSPBadParameterError);
    *suite = nullptr;
    constexpr FailureCodes codes{static_cast<SPErr>(kSPSuiteNotFoundError), static_cast<SPErr>(kSPSuiteNotFoundError)};
    return Answer<SPErr>(codes, "", [&](Host& host) -> SPErr {
        if (const auto fault = host.GetFaults().Enter(name == nullptr ? "" : name, "AcquireSuite")) return fault;
        *suite = host.GetSuites().Acquire(name, version);
        return static_cast<SPErr>(*suite == nullptr ? kSPSuiteNotFoundError : kSPNoError);
    });
}

SPErr ReleaseSuite(const A_char* name, A_long version) {
    constexpr FailureCodes codes{static_cast<SPErr>(kSPBadParameterError), static_cast<SPErr>(kSPBadParameterError)};
    return Answer<SPErr>(codes, "", [&](Host& host) -> SPErr {
        if (host.GetSuites().Release(name, version)) return static_cast<SPErr>(kSPNoError);
        host.GetDiagnostics().Report(
            fmt::format("suite released without being held: {} {}", name == nullptr ? "" : name, version));
        return codes.mOther;
    });
}

SPBoolean IsEqual(const A_char* a, const A_char* b) { return a == b || (a && b && std::strcmp(a, b) == 0) ? 1 : 0; }

SPErr AllocateBlock(A_u_longlong size, void** block) {
    *block = std::malloc(static_cast<std::size_t>(size));
    return static_cast<SPErr>(*block == nullptr ? kSPOutOfMemoryError : static_cast<A_u_long>(kSPNoError));
}

SPErr FreeBlock(void* block) {
    std::free(block);
    return static_cast<SPErr>(kSPNoError);
}

SPErr ReallocateBlock(void* block, A_u_longlong size, void** result) {
    *result = std::realloc(block, static_cast<std::size_t>(size));
    return static_cast<SPErr>(*result == nullptr ? kSPOutOfMemoryError : static_cast<A_u_long>(kSPNoError));
}

SPErr Undefined() { return static_cast<SPErr>(kSPBadParameterError); }

}  // namespace

Host::Host(HostOptions options, const Composition& composition, const std::optional<Camera>& camera,
           Catalogue catalogue, AddSuitesFunction addSuites)
    : mDoor(std::make_unique<OpenDoor>(*this)),
      mOptions(std::move(options)),
      mCatalogue(std::move(catalogue)),
      mTimeBase(MakeTimeBase(composition.mFrameRate)),
      mCache(mDiagnostics, mOptions.mCacheLimit),
      mModels(std::make_unique<convert::ModelCache>()),
      mProject(composition, camera) {
    // All tables stand before the library loads: its registration may ask for suites already.
    mBasicSuite = {AcquireSuite, ReleaseSuite, IsEqual, AllocateBlock, FreeBlock, ReallocateBlock, Undefined};
    addSuites(mSuites, mOptions);
    for (const std::filesystem::path& importer : mOptions.mImporters) mImporters.Load(importer);
}

Host::~Host() {
    try {
        Stop();
    } catch (const std::exception&) {
        // The effect has been told everything it can be told.
        // A failure to go down has nobody to hear of it any more.
    }
}

void Host::StartGlobal() {
    mEffect = EffectLibrary::Load(mOptions.mPlugin, &mBasicSuite);
    SetUpGlobal();
}

void Host::Start() {
    StartGlobal();
    SetUpParameters();
    SetUpSequence();
    if (mOptions.mStrict) ExerciseSequence();
}

// The flags of this command hold for the effect's whole life.
void Host::SetUpGlobal() {
    Command command(*this, PF_Cmd_GLOBAL_SETUP);
    command.Run();
    mGlobalData = command.Out().global_data;
    mOutFlags = command.Out().out_flags;
    mOutFlags2 = command.Out().out_flags2;
    // Before anything can fail: what came up is taken down again.
    mGlobalIsUp = true;
    if ((mOutFlags2 & PF_OutFlag2_SUPPORTS_SMART_RENDER) == 0) {
        throw EffectError(fmt::format("\"{}\" doesn't render in the two steps that this host drives", mEffect.mName));
    }
}

void Host::SetUpParameters() {
    Command command(*this, PF_Cmd_PARAMS_SETUP);
    command.Run();
    const int count = static_cast<int>(mParameters.Count()) + 1;
    if (command.Out().num_params != count) {
        mDiagnostics.Report(
            fmt::format("the effect announced {} parameters and defined {}", command.Out().num_params, count));
    }
    for (const auto& parameter : mParameters.GetAll()) {
        if (parameter->GetType() != PF_Param_ARBITRARY_DATA) continue;
        if (parameter->mDefault.mCustom == nullptr) parameter->mDefault.mCustom = NewCustom(*this, *parameter);
        // The value is a copy of the default, so that either can be disposed of alone.
        parameter->mValue.mKeys.front().mValue.mCustom = CopyCustom(*this, *parameter, parameter->mDefault.mCustom);
    }
}

void Host::Stop() {
    if (!mGlobalIsUp) return;
    // Values that only the effect can dispose of go while it still runs.
    mUndo.Clear();
    for (const auto& parameter : mParameters.GetAll()) ReleaseCustom(*this, *parameter);
    if (mSequenceIsUp) {
        mSequenceIsUp = false;
        TakeDownSequence(std::exchange(mSequenceData, nullptr));
    }
    mGlobalIsUp = false;
    Command(*this, PF_Cmd_GLOBAL_SETDOWN).Run();
    mGlobalData = nullptr;
    ReportLeaks();
}

// What is left now was never given back, and no later command can.
void Host::ReportLeaks() {
    const auto report = [&](std::size_t count, const char* what) {
        if (count > 0) mDiagnostics.Report(fmt::format("the effect left {} {} behind", count, what));
    };
    report(mHandles.CountLive(), "handles");
    report(mMemory.CountLive(), "memory handles");
    report(mStreams.Count(), "streams");
    report(mEffectReferences.Count(), "effect references");
    report(mLooseFootage.Count(), "footage objects");
    report(mWorlds.Count(), "worlds");
    report(mCustomUI.GetObjects().Count(), "pens, brushes, paths, images or fonts");
    report(mCache.CountClasses(), "compute cache classes");
    for (const std::string& suite : mSuites.ListHeld()) mDiagnostics.Report("the effect did not release " + suite);
}

void Host::Dispose(const Parameter& parameter, PF_Handle value) {
    try {
        DisposeCustom(*this, parameter, value);
    } catch (const std::exception& exception) {
        mDiagnostics.Report(exception.what());
    }
}

bool Host::SupportsThreads() const { return (mOutFlags2 & PF_OutFlag2_SUPPORTS_THREADED_RENDERING) != 0; }

void Host::AddParameter(const PF_ParamDef& definition) {
    Parameter& parameter = mParameters.Add(definition, mCatalogue, mProject.GetComposition());
    // The default's handle passes to the host with the definition.
    if (parameter.GetType() == PF_Param_ARBITRARY_DATA) parameter.mDefault.mCustom = definition.u.arb_d.dephault;
}

void Host::ShowMessage(const std::string& text) {
    const std::scoped_lock lock(mShowMutex);
    if (mOptions.mShowMessage) mOptions.mShowMessage(text);
}

void Host::ShowDialog(const std::string& title, const std::string& text) {
    const std::scoped_lock lock(mShowMutex);
    if (mOptions.mShowDialog) mOptions.mShowDialog(title, text);
}

void Host::ReportProgress(int current, int total) {
    const std::scoped_lock lock(mShowMutex);
    if (mOptions.mProgress) mOptions.mProgress(current, total);
}

}  // namespace nimbrel::host
