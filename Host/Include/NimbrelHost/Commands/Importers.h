#pragma once

#include <atomic>
#include <deque>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_set>
#include <vector>

#include "NimbrelHost/Commands/InSpec.h"
#include "NimbrelHost/Pictures/Picture.h"
#include "NimbrelHost/Project/Project.h"
#include "NimbrelHost/Support/Errors.h"

namespace nimbrel::host {

class Host;

/// A file that no importer takes, or that its importer refuses. The code is the importer's, or the host's for none.
class ImportError : public UsageError {
public:
    ImportError(const std::string& text, A_Err code) : UsageError(text), mCode(code) {}
    A_Err GetCode() const { return mCode; }

private:
    A_Err mCode;
};

/// The importers of a host, the modules they registered, and the sources opened by these. A file becomes footage here
/// and nowhere else. Loading and importing are for the main thread, the rest for any.
class Importers {
public:
    explicit Importers(Host& host) : mHost(host) {}
    ~Importers();
    Importers(const Importers&) = delete;
    Importers& operator=(const Importers&) = delete;

    /// Loads an importer's file and enters it, as a host does when it starts. The library stays loaded. Throws
    /// UsageError for a file that is missing or no importer.
    void Load(const std::filesystem::path& file);

    /// What "AEGP_RegisterIO" does, as strict as a host may be: only while an importer is entered, and complete.
    A_Err Register(AEGP_PluginID plugin, AEGP_IORefcon refcon, const AEIO_ModuleInfo* info,
                   const AEIO_FunctionBlock4* functions);

    /// Footage of a file, or with `asSequence` of all its numbered neighbours, by the first module that takes it.
    /// Throws ImportError.
    std::unique_ptr<Footage> Import(const std::filesystem::path& file, bool asSequence = false);

    /// The picture of a source at a scale, from a world with padded rows. Throws ImportError.
    Frame Draw(InSpec& source, const AEIO_RationalScale& scale);

    /// The record if the pointer is one, else null.
    InSpec* Find(const void* source) const;
    std::size_t CountSources() const;
    const std::deque<ImportModule>& GetModules() const { return mModules; }

    // For records of sources.
    void Enter(InSpec* source);
    void Leave(InSpec* source);
    void FreeMemory(AEGP_MemHandle handle);

private:
    void ImportBy(const ImportModule& module, const std::filesystem::path& file, Footage& footage);

    Host& mHost;
    std::deque<ImportModule> mModules;  ///< records keep their places
    std::optional<AEGP_PluginID> mEntering;
    AEGP_PluginID mNextPlugin = 1000;
    mutable std::mutex mMutex;
    std::unordered_set<const void*> mSources;
};

/// A file's neighbours with the same name but for the number at its end, by number; the file alone without a number.
std::vector<std::filesystem::path> FindNumberedNeighbours(const std::filesystem::path& file);

}  // namespace nimbrel::host
