#pragma once

#include <cstring>

#include "HostInterface/HostInterface.h"

// What the parts of the test effect share.
namespace test_effect {

template <class Suite>
class Acquired {
public:
    Acquired(PF_InData* in, const char* name, int version) : mBasic(in->pica_basicP), mName(name), mVersion(version) {
        mBasic->AcquireSuite(name, version, &mSuite);
    }
    ~Acquired() {
        if (mSuite != nullptr) mBasic->ReleaseSuite(mName, mVersion);
    }
    const Suite* operator->() const { return static_cast<const Suite*>(mSuite); }
    explicit operator bool() const { return mSuite != nullptr; }

private:
    SPBasicSuite* mBasic;
    const char* mName;
    int mVersion;
    const void* mSuite = nullptr;
};

// A curve is one number in a handle.
inline PF_Handle NewCurve(PF_InData* in, double value) {
    Acquired<PF_HandleSuite1> handles(in, kPFHandleSuite, kPFHandleSuiteVersion1);
    const PF_Handle handle = handles->host_new_handle(sizeof(double));
    std::memcpy(*handle, &value, sizeof(value));
    return handle;
}

inline double GetCurve(PF_Handle handle) {
    double value = 0;
    std::memcpy(&value, *handle, sizeof(value));
    return value;
}

inline void SetCurve(PF_Handle handle, double value) { std::memcpy(*handle, &value, sizeof(value)); }

/// The events of the control that shows the curve: see TestEffectControl.cpp.
PF_Err HandleEvent(PF_InData* in, PF_OutData* out, PF_ParamDef** params, PF_EventExtra* event);

}  // namespace test_effect
