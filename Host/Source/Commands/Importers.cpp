#include "NimbrelHost/Commands/Importers.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>

#include "Commands/Boundary.h"
#include "Commands/ImporterEntry.h"
#include "NimbrelHost/Commands/Host.h"
#include "NimbrelHost/Support/Text.h"

namespace nimbrel::host {
namespace {

/// The version of the interface as importers hear it: 100 and the host's number.
constexpr A_long kDriverMajor = 122;

/// Importers keep their suites for good, so these are not counted as held.
SPErr AcquireForGood(const A_char* name, A_long version, const void** suite) {
    if (suite == nullptr) return static_cast<SPErr>(kSPBadParameterError);
    *suite = nullptr;
    constexpr FailureCodes codes{static_cast<SPErr>(kSPSuiteNotFoundError), static_cast<SPErr>(kSPSuiteNotFoundError)};
    return Answer<SPErr>(codes, "", [&](Host& host) {
        *suite = host.GetSuites().Find(name, version);
        return static_cast<SPErr>(*suite == nullptr ? kSPSuiteNotFoundError : kSPNoError);
    });
}

SPErr ReleaseNothing(const A_char*, A_long) { return static_cast<SPErr>(kSPNoError); }

bool HasEverySlot(const AEIO_FunctionBlock4& block) {
    void* slots[sizeof(block) / sizeof(void*)];
    std::memcpy(slots, &block, sizeof(block));
    return std::none_of(std::begin(slots), std::end(slots), [](void* slot) { return slot == nullptr; });
}

bool IsComplete(const AEIO_ModuleInfo& info) {
    constexpr AEIO_ModuleFlags needed = AEIO_MFlag_INPUT | AEIO_MFlag_FILE;
    const bool isStill = (info.flags & AEIO_MFlag_STILL) != 0;
    const bool isVideo = (info.flags & AEIO_MFlag_VIDEO) != 0;
    const int kinds = info.num_filetypes + info.num_extensions + info.num_clips;
    constexpr AEIO_ModuleSignature taken[] = {0, AEGP_FootageSignature_NONE, AEGP_FootageSignature_SOLID};
    return (info.flags & needed) == needed && isStill != isVideo && kinds >= 1 && kinds <= 16 &&
           std::find(std::begin(taken), std::end(taken), info.sig) == std::end(taken);
}

[[noreturn]] void Refuse(const std::filesystem::path& file, const ImportModule& module, A_Err code,
                         const std::string& report) {
    throw ImportError(fmt::format("{}: expected a file that \"{}\" can import: {}", PathText(file), module.GetName(),
                                  report.empty() ? fmt::format("it answers {}", code) : report),
                      code);
}

}  // namespace

Importers::~Importers() = default;

void Importers::Load(const std::filesystem::path& file) {
    static SPBasicSuite basicSuite = [this] {
        SPBasicSuite suite = *mHost.GetBasicSuite();
        suite.AcquireSuite = AcquireForGood;
        suite.ReleaseSuite = ReleaseNothing;
        return suite;
    }();
    const ImporterEntry enter = FindImporterEntry(file);
    AEGP_GlobalRefcon refcon = nullptr;
    mEntering = mNextPlugin++;
    const A_Err error = enter(&basicSuite, kDriverMajor, 0, *mEntering, &refcon);
    mEntering.reset();
    if (error != A_Err_NONE)
        mHost.GetDiagnostics().Report(fmt::format("{}: the importer answers {} at start", PathText(file), error));
    for (ImportModule& module : mModules) module.mBasicSuite = &basicSuite;
}

A_Err Importers::Register(AEGP_PluginID plugin, AEGP_IORefcon refcon, const AEIO_ModuleInfo* info,
                          const AEIO_FunctionBlock4* functions) {
    if (!mEntering || info == nullptr || functions == nullptr) return A_Err_PARAMETER;
    const bool isKnown = std::any_of(mModules.begin(), mModules.end(),
                                     [&](const ImportModule& module) { return module.mInfo.sig == info->sig; });
    if (plugin != *mEntering || isKnown || !IsComplete(*info) || !HasEverySlot(*functions)) return A_Err_PARAMETER;
    mModules.push_back({plugin, refcon, *info, *functions, nullptr});
    return A_Err_NONE;
}

std::unique_ptr<Footage> Importers::Import(const std::filesystem::path& file, bool asSequence) {
    std::error_code ignored;
    if (!std::filesystem::is_regular_file(file, ignored)) {
        throw ImportError(fmt::format("{}: expected a file, but there is none", PathText(file)), A_Err_PARAMETER);
    }
    auto footage = std::make_unique<Footage>();
    footage->mFiles = asSequence ? FindNumberedNeighbours(file) : std::vector<std::filesystem::path>{file};
    footage->mPath = footage->mFiles.front();
    const std::u16string path = ToUtf16(PathText(footage->mPath));
    for (const ImportModule& module : mModules) {
        if (!module.TakesExtension(file)) continue;
        A_Boolean importable = 0;
        {
            ModuleCall call(module, false);
            const A_Err error = module.mFunctions.AEIO_VerifyFileImportable(
                call.Basic(), module.mInfo.sig, reinterpret_cast<const A_UTF16Char*>(path.c_str()), &importable);
            if (error != A_Err_NONE) Refuse(file, module, error, call.GetReport());
        }
        if (importable == 0) continue;
        ImportBy(module, footage->mPath, *footage);
        return footage;
    }
    const std::string extension = PathText(file.extension());
    throw ImportError(
        fmt::format("{}: expected a file of a type that can be imported, but no importer takes {} (see --importer)",
                    PathText(file),
                    extension.empty() ? "a file without extension" : fmt::format("this \"{}\" file", extension)),
        AEIO_Err_UNSUPPORTED_FILETYPE);
}

// In the order in which a host asks. Only one with a user before it shows texts and picture; one that tests does too.
void Importers::ImportBy(const ImportModule& module, const std::filesystem::path& file, Footage& footage) {
    auto source = std::make_shared<InSpec>(*this, module, file);
    if (const A_Err error = source->Init()) Refuse(file, module, error, source->GetReport());
    if (const std::string missing = source->FindMissing(); !missing.empty())
        Refuse(file, module, A_Err_PARAMETER, fmt::format("it told the host no {}", missing));
    footage.mSource = source;
    if (!mHost.GetOptions().mStrict) return;
    SourceTexts texts;
    std::uint32_t userData = 0;
    A_Err error = source->GetTexts(texts);
    if (error == A_Err_NONE) error = source->CountUserData(userData);
    if (error != A_Err_NONE) Refuse(file, module, error, source->GetReport());
    Draw(*source, {{1, 3}, {1, 3}});
}

// Pixels and padding hold a pattern at first: what is left of it was not drawn, what is gone behind a row was overrun.
Frame Importers::Draw(InSpec& source, const AEIO_RationalScale& scale) {
    World::Layout layout;
    if (const A_Err error = source.GetDimensions(scale, layout.mWidth, layout.mHeight))
        Refuse(source.GetFile(), source.GetModule(), error, source.GetReport());
    layout.mInitialByte = 0xA5;
    World world(layout);
    AEIO_DrawSparseFramePB request{};
    request.qual = AEIO_Qual_HIGH;
    request.rs = scale;
    request.tr = request.duration = {0, 1};
    if (const A_Err error = source.Draw(request, world))
        Refuse(source.GetFile(), source.GetModule(), error, source.GetReport());
    if (!world.IsPaddingUntouched()) mHost.GetDiagnostics().Report("an importer wrote behind the rows of a world");
    Frame frame(layout.mWidth, layout.mHeight, 8);
    world.CopyInto(frame);
    if (source.mAlpha.alpha == AEIO_Alpha_NONE) {
        for (std::size_t i = 0; i < frame.mPixels.size(); i += 4) frame.mPixels[i] = 255;
    }
    return frame;
}

InSpec* Importers::Find(const void* source) const {
    const std::scoped_lock lock(mMutex);
    return mSources.contains(source) ? static_cast<InSpec*>(const_cast<void*>(source)) : nullptr;
}

std::size_t Importers::CountSources() const {
    const std::scoped_lock lock(mMutex);
    return mSources.size();
}

void Importers::Enter(InSpec* source) {
    const std::scoped_lock lock(mMutex);
    mSources.insert(source);
}

void Importers::Leave(InSpec* source) {
    const std::scoped_lock lock(mMutex);
    mSources.erase(source);
}

void Importers::FreeMemory(AEGP_MemHandle handle) { mHost.GetMemory().Dispose(reinterpret_cast<void**>(handle)); }

}  // namespace nimbrel::host
