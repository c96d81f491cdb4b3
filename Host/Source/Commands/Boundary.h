#pragma once

#include <new>
#include <stdexcept>
#include <string>
#include <type_traits>

#include "NimbrelHost/Commands/Host.h"

/// The one door between the effect's calls and the host. C functions carry no context, so this is where a call finds
/// the process's host, and where exceptions end: none may cross into the effect.
namespace nimbrel::host {

/// Lets calls in to one host for this object's life. Throws std::logic_error while another host has the door.
class OpenDoor {
public:
    explicit OpenDoor(Host& host);
    ~OpenDoor();
    OpenDoor(const OpenDoor&) = delete;
    OpenDoor& operator=(const OpenDoor&) = delete;
};

/// What a group of functions answers for failures, in its own codes of the host interface.
struct FailureCodes {
    A_Err mNoMemory;
    A_Err mOther;
    /// Whether what went wrong is reported as what the function expects.
    bool mIsReported = false;
};

inline constexpr FailureCodes kSuiteCodes{A_Err_ALLOC, A_Err_GENERIC};
inline constexpr FailureCodes kCommandCodes{PF_Err_OUT_OF_MEMORY, PF_Err_INTERNAL_STRUCT_DAMAGED};
inline constexpr FailureCodes kDrawingCodes{static_cast<SPErr>(kSPOutOfMemoryError),
                                            static_cast<SPErr>(kSPBadParameterError), true};

namespace boundary {

/// Throws std::logic_error where no host has the door.
Host& FindHost();
/// For a catch block: the code of the exception that is being handled.
A_Err AnswerException(const FailureCodes& codes, const char* function) noexcept;

}  // namespace boundary

/// Runs the body of a C function with the host: `body` gives the function's result or, for success, nothing. A failure
/// is answered with its code, by functions that return none with null, 0 or nothing. Any thread.
template <class Result, class Body>
Result Answer(const FailureCodes& codes, const char* function, Body body) noexcept {
    try {
        using Given = decltype(body(std::declval<Host&>()));
        if constexpr (std::is_void_v<Given>) {
            body(boundary::FindHost());
            if constexpr (!std::is_void_v<Result>) return Result{};
        } else {
            return static_cast<Result>(body(boundary::FindHost()));
        }
    } catch (...) {
        [[maybe_unused]] const A_Err code = boundary::AnswerException(codes, function);
        if constexpr (std::is_same_v<Result, A_Err>) {
            return code;
        } else if constexpr (!std::is_void_v<Result>) {
            return Result{};
        }
    }
}

}  // namespace nimbrel::host
