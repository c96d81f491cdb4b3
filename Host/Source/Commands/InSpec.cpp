#include "NimbrelHost/Commands/InSpec.h"

#include <cstring>
#include <utility>

#include "NimbrelHost/Commands/Importers.h"
#include "NimbrelHost/Support/Text.h"

namespace nimbrel::host {
namespace {

int ScaleUp(int size, const A_Ratio& ratio) {
    if (ratio.den == 0) return size;
    const std::int64_t product = std::int64_t{size} * ratio.num;
    return static_cast<int>((product + ratio.den - 1) / ratio.den);
}

}  // namespace

InSpec::InSpec(Importers& importers, const ImportModule& module, std::filesystem::path file)
    : mImporters(importers), mModule(module), mFile(std::move(file)) {
    mImporters.Enter(this);
}

InSpec::~InSpec() {
    Call(false, mModule.mFunctions.AEIO_DisposeInSpec);
    mImporters.Leave(this);
}

template <class Function, class... Arguments>
A_Err InSpec::Call(bool maySet, Function function, Arguments... arguments) {
    ModuleCall call(mModule, maySet);
    const A_Err error = function(call.Basic(), GetHandle(), arguments...);
    mReport = call.GetReport();
    return error;
}

A_Err InSpec::Init() {
    const std::u16string path = ToUtf16(PathText(mFile));
    ModuleCall call(mModule, true);
    const A_Err error = mModule.mFunctions.AEIO_InitInSpecFromFile(
        call.Basic(), reinterpret_cast<const A_UTF16Char*>(path.c_str()), GetHandle());
    mReport = call.GetReport();
    return error;
}

A_Err InSpec::CopyOptionsTo(InSpec& other) {
    AEIO_Handle flat = nullptr;
    if (const A_Err error = Call(false, mModule.mFunctions.AEIO_FlattenOptions, &flat)) return error;
    const A_Err error = other.Call(true, mModule.mFunctions.AEIO_InflateOptions, flat);
    if (flat != nullptr) mImporters.FreeMemory(flat);
    return error;
}

A_Err InSpec::GetTexts(SourceTexts& texts) {
    AEIO_Verbiage verbiage{};
    const A_Err error = Call(false, mModule.mFunctions.AEIO_GetInSpecInfo, &verbiage);
    texts = {ReadField(verbiage.name), ReadField(verbiage.type), ReadField(verbiage.sub_type)};
    return error;
}

A_Err InSpec::Draw(const AEIO_DrawSparseFramePB& request, World& world) {
    AEIO_DrawingFlags flags = AEIO_DFlags_NONE;
    return Call(false, mModule.mFunctions.AEIO_DrawSparseFrame, &request, world.GetRecord(), &flags);
}

A_Err InSpec::GetDimensions(const AEIO_RationalScale& scale, int& width, int& height) {
    A_long across = 0, down = 0;
    const A_Err error = Call(false, mModule.mFunctions.AEIO_GetDimensions, &scale, &across, &down);
    const bool isDefault = error == AEIO_Err_USE_DFLT_CALLBACK;
    width = isDefault ? ScaleUp(mWidth, scale.x) : across;
    height = isDefault ? ScaleUp(mHeight, scale.y) : down;
    return isDefault ? static_cast<A_Err>(A_Err_NONE) : error;
}

A_Err InSpec::GetActiveExtent(A_LRect& extent) {
    const A_Time time = {0, 1};
    const A_Err error = Call(false, mModule.mFunctions.AEIO_GetActiveExtent, &time, &extent);
    if (error != AEIO_Err_USE_DFLT_CALLBACK) return error;
    extent = {0, 0, mWidth, mHeight};
    return A_Err_NONE;
}

A_Err InSpec::GetDuration(A_Time& duration) {
    const A_Err error = Call(false, mModule.mFunctions.AEIO_GetDuration, &duration);
    if (error != AEIO_Err_USE_DFLT_CALLBACK) return error;
    duration = mDuration;
    return A_Err_NONE;
}

A_Err InSpec::FindNextFrame(bool& found) {
    const A_Time time = {0, 1};
    A_Boolean answer = 0;
    A_Time next{};
    const A_Err error = Call(false, mModule.mFunctions.AEIO_InqNextFrameTime, &time, AEIO_TimeDir{0}, &answer, &next);
    found = error == A_Err_NONE && answer != 0;
    return error == AEIO_Err_USE_DFLT_CALLBACK ? static_cast<A_Err>(A_Err_NONE) : error;
}

A_Err InSpec::Synchronise(bool& changed) {
    A_Boolean answer = 0;
    const A_Err error = Call(true, mModule.mFunctions.AEIO_SynchInSpec, &answer);
    changed = answer != 0;
    return error == AEIO_Err_USE_DFLT_CALLBACK ? static_cast<A_Err>(A_Err_NONE) : error;
}

A_Err InSpec::CloseFiles() { return Call(false, mModule.mFunctions.AEIO_CloseSourceFiles); }

A_Err InSpec::CountUserData(std::uint32_t& count) {
    A_u_long answer = 0;
    const A_Err error = Call(false, mModule.mFunctions.AEIO_CountUserData, A_u_long{0}, A_u_long{0}, &answer);
    count = answer;
    return error;
}

std::string InSpec::FindMissing() const {
    if (mWidth < 1 || mHeight < 1) return "dimensions";
    if (mDepth == 0) return "a depth";
    if (mDuration.scale == 0) return "a duration";
    return {};
}

}  // namespace nimbrel::host
