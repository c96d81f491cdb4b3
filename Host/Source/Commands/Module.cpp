#include "NimbrelHost/Commands/Module.h"

#include <algorithm>
#include <cctype>

#include "NimbrelHost/Support/Text.h"

namespace nimbrel::host {
namespace {

thread_local ModuleCall* tCurrent = nullptr;

char ToLower(char c) { return static_cast<char>(std::tolower(static_cast<unsigned char>(c))); }

}  // namespace

bool ImportModule::TakesExtension(const std::filesystem::path& file) const {
    std::string extension = PathText(file.extension());
    if (extension.size() != 4) return false;
    std::transform(extension.begin(), extension.end(), extension.begin(), ToLower);
    for (int i = mInfo.num_filetypes; i < mInfo.num_filetypes + mInfo.num_extensions; ++i) {
        const AEIO_FileExt& ours = mInfo.read_kinds[i].ext;
        if (std::equal(ours.extension, ours.extension + 3, extension.begin() + 1,
                       [](char a, char b) { return ToLower(a) == b; })) {
            return true;
        }
    }
    return false;
}

ModuleCall::ModuleCall(const ImportModule& module, bool maySet) : mMaySet(maySet) {
    mBasic = {Report, module.mBasicSuite, module.mPluginId, module.mRefcon};
    tCurrent = this;
}

ModuleCall::~ModuleCall() { tCurrent = nullptr; }

ModuleCall* ModuleCall::Current() { return tCurrent; }

// The interface's report carries no context but its thread.
void ModuleCall::Report(A_Err, const A_char* text) {
    if (tCurrent == nullptr || text == nullptr) return;
    try {
        tCurrent->mReport += tCurrent->mReport.empty() ? text : std::string("\n") + text;
    } catch (...) {
        // A report that memory cannot hold is lost; the call's code is not.
    }
}

}  // namespace nimbrel::host
