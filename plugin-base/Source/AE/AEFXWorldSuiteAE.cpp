#include "PluginBase/AE/AEFXWorldSuiteAE.h"

#include "CheckAE.h"
#include "PluginBase/AE/ThreadContextAE.h"

namespace zeb::AEFX {

WorldSuiteAE::WorldSuiteAE() : mBasic(AEGPSuites().GetBasicSuite()) {
    const void* suite = nullptr;
    if (mBasic == nullptr) ZEB_THROW(kInternalError, "Failed to load the AEFX world suite.");
    ZEB_CHECK_TEXT(mBasic->AcquireSuite(kPFWorldSuite, kPFWorldSuiteVersion2, &suite),
                   "Failed to load the AEFX world suite.");
    if (suite == nullptr) ZEB_THROW(kInternalError, "Failed to load the AEFX world suite.");
    mWorldSuite = static_cast<const PF_WorldSuite2*>(suite);
}

WorldSuiteAE::~WorldSuiteAE() {
    if (mBasic->ReleaseSuite(kPFWorldSuite, kPFWorldSuiteVersion2) != 0)
        ReportCleanupFailure("Failed to release the AEFX world suite.");
}

PF_PixelFormat WorldSuiteAE::GetPixelFormat(const PF_EffectWorld* worldP) const {
    PF_PixelFormat format = PF_PixelFormat_INVALID;
    ZEB_CHECK(mWorldSuite->PF_GetPixelFormat(worldP, &format));
    return format;
}

}  // namespace zeb::AEFX
