#pragma once

#include "HostInterface/HostInterface.h"
#include "PluginBase/AE/SuiteTableAE.h"

namespace zeb {

/// Acquires a suite of the command's host. Throws zeb::Exception naming a suite that the host lacks.
const void* AcquireSuite(SPBasicSuite* basic, const char* name, A_long version);

/// A suite from acquisition to release. The name must outlive it.
template <class T>
class AcquiredSuiteAE {
public:
    AcquiredSuiteAE(SPBasicSuite* basic, const char* name, A_long version)
        : mBasic(basic), mName(name), mVersion(version) {
        mSuite = static_cast<const T*>(AcquireSuite(basic, name, version));
    }
    ~AcquiredSuiteAE() {
        if (mBasic->ReleaseSuite(mName, mVersion) != 0) ReportReleaseFailure(mName);
    }
    AcquiredSuiteAE(const AcquiredSuiteAE&) = delete;
    AcquiredSuiteAE& operator=(const AcquiredSuiteAE&) = delete;

    const T* Get() const { return mSuite; }
    const T* operator->() const { return mSuite; }

private:
    SPBasicSuite* mBasic;
    const char* mName;
    A_long mVersion;
    const T* mSuite = nullptr;
};

}  // namespace zeb
