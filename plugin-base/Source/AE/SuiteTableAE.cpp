#include "PluginBase/AE/SuiteTableAE.h"

#include <cstdio>

#include <fmt/format.h>

#include "PluginBase/AE/ThreadContextAE.h"
#include "PluginBase/Exception.h"

namespace zeb {
namespace {

struct SuiteName {
    const char* mName;
    A_long mVersion;
};

constexpr SuiteName kSuiteNames[] = {
#define ZEB_AE_NAME(accessor, type, name, version) {name, version},
    ZEB_AE_SUITES(ZEB_AE_NAME)
#undef ZEB_AE_NAME
};

}  // namespace

void ReportReleaseFailure(const char* name) noexcept {
    char text[256];
    std::snprintf(text, sizeof(text), "Failed to release suite %s", name);
    ReportCleanupFailure(text);
}

SuiteTableAE::~SuiteTableAE() {
    for (std::size_t i = 0; i < mSuites.size(); ++i) {
        if (mSuites[i] == nullptr) continue;
        if (mBasic->ReleaseSuite(kSuiteNames[i].mName, kSuiteNames[i].mVersion) != 0)
            ReportReleaseFailure(kSuiteNames[i].mName);
    }
}

const void* SuiteTableAE::Get(Index index, const char* name, A_long version) {
    const void*& suite = mSuites[static_cast<std::size_t>(index)];
    if (suite != nullptr) return suite;
    const SPErr error = mBasic == nullptr ? kInternalError : mBasic->AcquireSuite(name, version, &suite);
    // A host may report success without a suite, or leave a pointer behind a failure.
    if (error != 0) suite = nullptr;
    if (suite == nullptr)
        ZEB_THROW(error != 0 ? error : kInternalError, fmt::format("Failed to acquire suite {}", name));
    return suite;
}

}  // namespace zeb
