#include <exception>
#include <thread>

#include "NimbrelHost/Commands/Command.h"
#include "NimbrelHost/Commands/Host.h"

// The life of the effect's sequence data: live while the effect is applied, flat on disk and in copies.

namespace nimbrel::host {

void Host::SetUpSequence() {
    Command command(*this, PF_Cmd_SEQUENCE_SETUP);
    command.Run();
    mSequenceData = command.Out().sequence_data;
    mSequenceIsUp = true;
}

PF_Handle Host::RestoreSequence(const std::string& flat) {
    PF_Handle const handle = flat.empty() ? nullptr : mHandles.New(flat.size());
    if (handle != nullptr) flat.copy(static_cast<char*>(*handle), flat.size());
    return ResumeSequence(handle);
}

// What comes in stays the host's, unless the effect goes on with that very handle.
PF_Handle Host::ResumeSequence(PF_Handle flat) {
    PF_Handle live = nullptr;
    try {
        Command command(*this, PF_Cmd_SEQUENCE_RESETUP);
        command.In().sequence_data = flat;
        command.Out().sequence_data = flat;
        command.Run();
        live = command.Out().sequence_data;
    } catch (...) {
        if (flat != nullptr) mHandles.Dispose(flat);
        throw;
    }
    if (flat != nullptr && live != flat) mHandles.Dispose(flat);
    return live;
}

void Host::TakeDownSequence(PF_Handle live) {
    Command command(*this, PF_Cmd_SEQUENCE_SETDOWN);
    command.In().sequence_data = live;
    command.Out().sequence_data = live;
    command.Run();
}

std::string Host::SaveSequence(bool inPlace) {
    PF_Handle flat = nullptr;
    {
        Command command(*this, inPlace ? PF_Cmd_SEQUENCE_FLATTEN : PF_Cmd_GET_FLATTENED_SEQUENCE_DATA);
        if (!inPlace) command.Out().sequence_data = nullptr;
        command.Run();
        flat = command.Out().sequence_data;
    }
    if (flat == nullptr) return {};
    std::string bytes(static_cast<const char*>(*flat), static_cast<std::size_t>(mHandles.GetSize(flat)));
    if (inPlace) {
        // The live data is gone, and the effect goes on from the flat.
        mSequenceData = nullptr;
        mSequenceData = ResumeSequence(flat);
    } else {
        mHandles.Dispose(flat);
    }
    return bytes;
}

// An effect is duplicated and the copy deleted, the project is saved in both ways, read again, and rendered by a thread
// that has data of its own; and an effect may have no data at all.
void Host::ExerciseSequence() {
    const bool isFlattened = (mOutFlags & PF_OutFlag_SEQUENCE_DATA_NEEDS_FLATTENING) != 0;
    const bool givesCopy = (mOutFlags2 & PF_OutFlag2_SUPPORTS_GET_FLATTENED_SEQUENCE_DATA) != 0;
    std::string flat;
    if (isFlattened) flat = SaveSequence(true);
    if (givesCopy) flat = SaveSequence(false);
    if (flat.empty()) return;
    TakeDownSequence(RestoreSequence(flat));
    PF_Handle const old = mSequenceData;
    mSequenceData = RestoreSequence(flat);
    TakeDownSequence(old);
    if (PF_Handle const none = RestoreSequence({})) TakeDownSequence(none);
    std::exception_ptr failure;
    std::thread render([&] {
        try {
            TakeDownSequence(RestoreSequence(flat));
        } catch (...) {
            failure = std::current_exception();
        }
    });
    render.join();
    if (failure) std::rethrow_exception(failure);
}

}  // namespace nimbrel::host
