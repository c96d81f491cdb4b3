#pragma once

#include "HostInterface/HostInterface.h"

namespace zeb::AEFX {

/// The host's world suite while it is acquired.
class WorldSuiteAE {
public:
    /// Acquires the suite through the command's basic suite.
    WorldSuiteAE();
    /// A failure to release becomes the command's message.
    ~WorldSuiteAE();
    WorldSuiteAE(const WorldSuiteAE&) = delete;
    WorldSuiteAE& operator=(const WorldSuiteAE&) = delete;

    PF_PixelFormat GetPixelFormat(const PF_EffectWorld* worldP) const;

private:
    SPBasicSuite* mBasic = nullptr;
    const PF_WorldSuite2* mWorldSuite = nullptr;
};

}  // namespace zeb::AEFX
