#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

#include "NimbrelHost/Commands/Module.h"
#include "NimbrelHost/Commands/World.h"

namespace nimbrel::host {

class Importers;

/// The texts that a project panel shows of a source.
struct SourceTexts {
    std::string mName, mType, mSubType;
};

/// The host's record of one opened source: zero at first, filled by the module that reads it. The interface's handle of
/// it is its address. Each function is one call of the module, on any thread, and answers the module's code; several
/// records of one file may be in use at once, one record by one thread.
class InSpec {
public:
    InSpec(Importers& importers, const ImportModule& module, std::filesystem::path file);
    /// Tells the module, once, whatever came before.
    ~InSpec();
    InSpec(const InSpec&) = delete;
    InSpec& operator=(const InSpec&) = delete;

    /// Reads the file's header. What the module reported is in GetReport.
    A_Err Init();
    /// The options of this record to those of another, as when a render thread gets its copy of the project. The flat
    /// form is the host's and is freed.
    A_Err CopyOptionsTo(InSpec& other);
    A_Err GetTexts(SourceTexts& texts);
    A_Err Draw(const AEIO_DrawSparseFramePB& request, World& world);
    /// The host's own answer where the module leaves it to the host: as described, sizes rounded up.
    A_Err GetDimensions(const AEIO_RationalScale& scale, int& width, int& height);
    A_Err GetActiveExtent(A_LRect& extent);
    A_Err GetDuration(A_Time& duration);
    A_Err FindNextFrame(bool& found);
    A_Err Synchronise(bool& changed);
    A_Err CloseFiles();
    A_Err CountUserData(std::uint32_t& count);

    /// Whether a host can make footage of what the module told; if not, what is missing.
    std::string FindMissing() const;

    const ImportModule& GetModule() const { return mModule; }
    const std::filesystem::path& GetFile() const { return mFile; }
    void SetFile(std::filesystem::path file) { mFile = std::move(file); }
    const std::string& GetReport() const { return mReport; }
    AEIO_InSpecH GetHandle() { return reinterpret_cast<AEIO_InSpecH>(this); }

    // What the module told.
    void* mOptions = nullptr;
    A_short mDepth = 0;
    int mWidth = 0;
    int mHeight = 0;
    A_Fixed mFrameRate = 0;
    AEIO_FileSize mSize = 0;
    AEIO_AlphaLabel mAlpha{};
    FIEL_Label mInterlace{};
    A_Time mDuration{};
    A_Ratio mPixelAspect{};

private:
    template <class Function, class... Arguments>
    A_Err Call(bool maySet, Function function, Arguments... arguments);

    Importers& mImporters;
    const ImportModule& mModule;
    std::filesystem::path mFile;
    std::string mReport;
};

}  // namespace nimbrel::host
