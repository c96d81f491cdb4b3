#include "FakeHost.h"

#include <cstdlib>
#include <cstring>

namespace test {
namespace {

FakeHost* sHost = nullptr;

struct Block {
    void* mMemory = nullptr;  // first, so that a handle points to its memory's address
    std::size_t mSize = 0;
    int mLocks = 0;
};

Block* ToBlock(PF_Handle handle) { return reinterpret_cast<Block*>(handle); }

SPErr AcquireSuite(const A_char* name, A_long version, const void** suite) {
    const auto found = sHost->mSuites.find({name, version});
    if (found == sHost->mSuites.end()) return 0x53214664;
    *suite = found->second;
    ++sHost->mAcquisitions;
    ++sHost->mHeldSuites;
    return 0;
}

SPErr ReleaseSuite(const A_char*, A_long) {
    --sHost->mHeldSuites;
    return sHost->mReleaseError;
}

PF_Handle NewHandle(A_u_longlong size) {
    if (sHost->mOutOfHandles) return nullptr;
    auto* block = new Block;
    block->mMemory = std::malloc(size);
    std::memset(block->mMemory, 0xCD, size);
    block->mSize = size;
    ++sHost->mHandles;
    return reinterpret_cast<PF_Handle>(block);
}

void* LockBlock(PF_Handle handle) {
    ++ToBlock(handle)->mLocks;
    ++sHost->mLocks;
    return ToBlock(handle)->mMemory;
}

void UnlockBlock(PF_Handle handle) {
    --ToBlock(handle)->mLocks;
    --sHost->mLocks;
}

void DisposeHandle(PF_Handle handle) {
    sHost->mLocks -= ToBlock(handle)->mLocks;
    std::free(ToBlock(handle)->mMemory);
    delete ToBlock(handle);
    --sHost->mHandles;
}

PF_Err CheckoutParam(PF_ProgPtr, PF_ParamIndex index, A_long time, A_long step, A_u_long scale, PF_ParamDef* def) {
    if (index == sHost->mFailingParam || index < 0 || static_cast<std::size_t>(index) >= sHost->mParams.size())
        return PF_Err_INVALID_INDEX;
    *def = sHost->mParams[static_cast<std::size_t>(index)];
    sHost->mCheckoutTime[0] = time;
    sHost->mCheckoutTime[1] = step;
    sHost->mCheckoutTime[2] = static_cast<A_long>(scale);
    ++sHost->mCheckedOut;
    return 0;
}

PF_Err CheckinParam(PF_ProgPtr, PF_ParamDef*) {
    --sHost->mCheckedOut;
    return 0;
}

PF_Err AddParam(PF_ProgPtr, PF_ParamIndex index, PF_ParamDef* def) {
    if (index != -1) return PF_Err_INVALID_INDEX;
    if (sHost->mAddError != 0) return sHost->mAddError;
    sHost->mAdded.push_back(*def);
    return 0;
}

PF_Err RegisterUI(PF_ProgPtr, PF_CustomUIInfo* info) {
    sHost->mRegisteredUI.push_back(*info);
    return 0;
}

A_char* CopyText(A_char* to, const A_char* from) { return std::strcpy(to, from); }

A_Err RegisterWithAEGP(AEGP_GlobalRefcon, const A_char* name, A_long* id) {
    if (sHost->mRegisterError != 0) return sHost->mRegisterError;
    sHost->mRegisteredName = name;
    *id = 77;
    return 0;
}

}  // namespace

FakeHost::FakeHost() {
    sHost = this;
    mBasic.AcquireSuite = AcquireSuite;
    mBasic.ReleaseSuite = ReleaseSuite;
    mHandleSuite.host_new_handle = NewHandle;
    mHandleSuite.host_lock_handle = LockBlock;
    mHandleSuite.host_unlock_handle = UnlockBlock;
    mHandleSuite.host_dispose_handle = DisposeHandle;
    mUtilitySuite.AEGP_RegisterWithAEGP = RegisterWithAEGP;
    mUtils.ansi.strcpy = CopyText;
    AddSuite(kPFHandleSuite, kPFHandleSuiteVersion1, &mHandleSuite);
    AddSuite(kAEGPUtilitySuite, kAEGPUtilitySuiteVersion3, &mUtilitySuite);

    mInData.pica_basicP = &mBasic;
    mInData.utils = &mUtils;
    mInData.effect_ref = reinterpret_cast<PF_ProgPtr>(0x10);
    mInData.appl_id = 0x46585443;
    mInData.width = 400;
    mInData.height = 200;
    mInData.downsample_x = {1, 1};
    mInData.downsample_y = {1, 1};
    mInData.current_time = 30;
    mInData.time_step = 10;
    mInData.time_scale = 300;
    mInData.inter.checkout_param = CheckoutParam;
    mInData.inter.checkin_param = CheckinParam;
    mInData.inter.add_param = AddParam;
    mInData.inter.register_ui = RegisterUI;
}

FakeHost::~FakeHost() { sHost = nullptr; }

FakeHost& FakeHost::Get() { return *sHost; }

void FakeHost::UseParams(std::vector<PF_ParamDef> params) {
    mParams = std::move(params);
    mParamPointers.clear();
    for (PF_ParamDef& def : mParams) mParamPointers.push_back(&def);
    mInData.num_params = static_cast<A_long>(mParams.size());
}

std::size_t GetHandleSize(PF_Handle handle) { return ToBlock(handle)->mSize; }

}  // namespace test
