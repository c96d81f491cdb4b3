#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "HostInterface/HostInterface.h"

/// The least of a host: the records of one command, suites that a test enters, handles and parameters that
/// are counted. One object at a time.
namespace test {

class FakeHost {
public:
    FakeHost();
    ~FakeHost();
    FakeHost(const FakeHost&) = delete;
    FakeHost& operator=(const FakeHost&) = delete;

    static FakeHost& Get();

    void AddSuite(const char* name, A_long version, const void* suite) { mSuites[{name, version}] = suite; }
    std::string GetMessage() const { return mOutData.return_msg; }

    PF_InData mInData{};
    PF_OutData mOutData{};
    std::map<std::pair<std::string, A_long>, const void*> mSuites;
    int mAcquisitions = 0;       ///< all, ever
    int mHeldSuites = 0;         ///< acquired and not released
    int mReleaseError = 0;       ///< what ReleaseSuite answers
    int mHandles = 0;            ///< alive
    int mLocks = 0;              ///< locked and not unlocked
    bool mOutOfHandles = false;  ///< no further handle is given
    std::vector<PF_ParamDef> mParams;
    std::vector<PF_ParamDef*> mParamPointers;
    void UseParams(std::vector<PF_ParamDef> params);
    PF_ParamDef** GetParams() { return mParamPointers.data(); }
    int mCheckedOut = 0;
    int mFailingParam = -1;  ///< index whose checkout fails with 513
    A_long mCheckoutTime[3] = {};
    std::vector<PF_ParamDef> mAdded;
    PF_Err mAddError = 0;
    std::vector<PF_CustomUIInfo> mRegisteredUI;

    // AEGP registration of utility suite 3.
    A_Err mRegisterError = 0;
    std::string mRegisteredName;

private:
    SPBasicSuite mBasic{};
    PF_UtilCallbacks mUtils{};
    PF_HandleSuite1 mHandleSuite{};
    AEGP_UtilitySuite3 mUtilitySuite{};
};

/// Bytes in a handle of the fake host.
std::size_t GetHandleSize(PF_Handle handle);

}  // namespace test
