// The effect's sequence data: a handle that the host wants and nobody reads.
#include <cstring>

#include "Plugin.h"
#include "PluginBase/AE/AllocatorAE.h"
#include "PluginBase/AE/ThreadContextAE.h"
#include "PluginBase/Exception.h"

namespace {

constexpr std::size_t kLiveSize = 1;
constexpr std::uint32_t kFlattenedPayloadSize = 8;

/// What a project file holds for the sequence.
struct FlattenedSequence {
    std::uint8_t mIsFlat = 1;
    char mMark[4] = {'T', 'E', 'M', 'P'};
    std::uint8_t mPadding[3] = {};
    std::uint32_t mPayloadSize = kFlattenedPayloadSize;
    std::uint32_t mVersion = zeb::MakeVersionWord(false);
};
static_assert(sizeof(FlattenedSequence) == 16);

/// Fills a handle of its own size with `data`; null when the host gives none.
PF_Handle MakeHandle(const void* data, std::size_t size) {
    PF_Handle handle = zeb::TryAllocateExactHandle(size);
    if (handle == nullptr || data == nullptr) return handle;
    try {
        std::memcpy(zeb::LockHandle(handle), data, size);
    } catch (...) {
        zeb::FreeHandle(handle);
        throw;
    }
    zeb::UnlockHandle(handle);
    return handle;
}

bool HasMemory(PF_Handle handle) { return handle != nullptr && *handle != nullptr; }

PF_Err SequenceSetup(PF_InData*, PF_OutData* out_data) {
    const std::uint8_t live[kLiveSize] = {0};
    PF_Handle handle = MakeHandle(live, sizeof(live));
    if (handle == nullptr) return PF_Err_OUT_OF_MEMORY;
    out_data->sequence_data = handle;
    return PF_Err_NONE;
}

PF_Err SequenceSetdown(PF_InData* in_data, PF_OutData*) {
    if (in_data->sequence_data != nullptr) zeb::FreeHandle(in_data->sequence_data);
    return PF_Err_NONE;
}

PF_Err SequenceResetup(PF_InData* in_data, PF_OutData* out_data) {
    // The flattened handle stays the host's.
    return HasMemory(in_data->sequence_data) ? SequenceSetup(in_data, out_data) : PF_Err_NONE;
}

PF_Err SequenceFlatten(PF_InData* in_data, PF_OutData* out_data) {
    if (in_data->sequence_data == nullptr) return PF_Err_INTERNAL_STRUCT_DAMAGED;
    if (!HasMemory(in_data->sequence_data)) return PF_Err_NONE;
    const FlattenedSequence flattened;
    PF_Handle handle = MakeHandle(&flattened, sizeof(flattened));
    if (handle == nullptr) return PF_Err_INTERNAL_STRUCT_DAMAGED;
    zeb::FreeHandle(in_data->sequence_data);
    out_data->sequence_data = handle;
    return PF_Err_NONE;
}

PF_Err GetFlattenedSequenceData(PF_InData* in_data, PF_OutData* out_data) {
    if (in_data->sequence_data == nullptr) return PF_Err_INTERNAL_STRUCT_DAMAGED;
    if (!HasMemory(in_data->sequence_data)) return PF_Err_NONE;
    PF_Handle handle = MakeHandle(nullptr, sizeof(FlattenedSequence));
    if (handle == nullptr) return PF_Err_INTERNAL_STRUCT_DAMAGED;
    out_data->sequence_data = handle;
    return PF_Err_NONE;
}

}  // namespace

void Plugin::SequenceSetup() { ZEB_CHECK(::SequenceSetup(zeb::InData(), zeb::OutData())); }
void Plugin::SequenceSetdown() { ZEB_CHECK(::SequenceSetdown(zeb::InData(), zeb::OutData())); }
void Plugin::SequenceResetup() { ZEB_CHECK(::SequenceResetup(zeb::InData(), zeb::OutData())); }
void Plugin::SequenceFlatten() { ZEB_CHECK(::SequenceFlatten(zeb::InData(), zeb::OutData())); }
void Plugin::GetFlattenedSequenceData() { ZEB_CHECK(::GetFlattenedSequenceData(zeb::InData(), zeb::OutData())); }
