#include "Commands/Boundary.h"

#include <fmt/format.h>

namespace nimbrel::host {
namespace {

std::atomic<Host*> gHost{nullptr};

}  // namespace

OpenDoor::OpenDoor(Host& host) {
    Host* none = nullptr;
    if (!gHost.compare_exchange_strong(none, &host)) throw std::logic_error("a process has one effect host at a time");
}

OpenDoor::~OpenDoor() { gHost = nullptr; }

namespace boundary {

Host& FindHost() {
    Host* const host = gHost;
    if (host == nullptr) throw std::logic_error("no effect host is active");
    return *host;
}

A_Err AnswerException(const FailureCodes& codes, const char* function) noexcept {
    try {
        throw;
    } catch (const std::bad_alloc&) {
        return codes.mNoMemory;
    } catch (const std::exception& exception) {
        if (!codes.mIsReported) return codes.mOther;
        try {
            FindHost().GetDiagnostics().Report(fmt::format("drawing: {} expects {}", function, exception.what()));
        } catch (...) {
            return codes.mOther;  // without a host there is nobody to tell
        }
        return codes.mOther;
    } catch (...) {
        return codes.mOther;
    }
}

}  // namespace boundary
}  // namespace nimbrel::host
