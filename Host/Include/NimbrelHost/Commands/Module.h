#pragma once

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "HostInterface/HostInterface.h"

namespace nimbrel::host {

class InSpec;

/// A text in a field that it may fill to the end.
template <std::size_t Size>
std::string ReadField(const A_char (&field)[Size]) {
    return {field, std::find(field, field + Size, '\0')};
}

/// A module that an importer registered: copies of its records, and who calls it.
struct ImportModule {
    AEGP_PluginID mPluginId = 0;
    AEGP_IORefcon mRefcon = nullptr;
    AEIO_ModuleInfo mInfo{};
    AEIO_FunctionBlock4 mFunctions{};
    const SPBasicSuite* mBasicSuite = nullptr;

    std::string GetName() const { return ReadField(mInfo.name); }
    /// Whether a file's extension is one of the module's; capitals don't matter.
    bool TakesExtension(const std::filesystem::path& file) const;
};

/// One call of a module's function on this thread: the first argument that all of them get, what the module reports in
/// it, and what it may do. Calls don't nest.
class ModuleCall {
public:
    /// `maySet`: whether the module may describe the source to the host in this call.
    ModuleCall(const ImportModule& module, bool maySet);
    ~ModuleCall();
    ModuleCall(const ModuleCall&) = delete;
    ModuleCall& operator=(const ModuleCall&) = delete;

    AEIO_BasicData* Basic() { return &mBasic; }
    bool MaySet() const { return mMaySet; }
    /// What the module had to tell the user, one a line.
    const std::string& GetReport() const { return mReport; }

    /// The thread's running call, or null.
    static ModuleCall* Current();

private:
    static void Report(A_Err error, const A_char* text);

    AEIO_BasicData mBasic{};
    bool mMaySet;
    std::string mReport;
};

}  // namespace nimbrel::host
