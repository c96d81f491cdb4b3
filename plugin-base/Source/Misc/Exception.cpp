#include "PluginBase/Exception.h"

#include <array>

#include <fmt/format.h>

namespace zeb {
namespace {

struct CodeName {
    std::int32_t mCode;
    const char* mName;
};

constexpr std::array kCodeNames = {
    CodeName{0, "PF_Err_NONE"},
    CodeName{4, "PF_Err_OUT_OF_MEMORY"},
    CodeName{512, "PF_Err_INTERNAL_STRUCT_DAMAGED"},
    CodeName{513, "PF_Err_INVALID_INDEX"},
    CodeName{514, "PF_Err_UNRECOGNIZED_PARAM_TYPE"},
    CodeName{515, "PF_Err_INVALID_CALLBACK"},
    CodeName{516, "PF_Err_BAD_CALLBACK_PARAM"},
    CodeName{517, "PF_Interrupt_CANCEL"},
    CodeName{518, "PF_Err_CANNOT_PARSE_KEYFRAME_TEXT"},
};

std::string_view FileName(std::string_view path) {
    const std::size_t separator = path.find_last_of("/\\");
    return separator == std::string_view::npos ? path : path.substr(separator + 1);
}

}  // namespace

std::string GetErrorCodeName(std::int32_t code) {
    for (const CodeName& entry : kCodeNames) {
        if (entry.mCode == code) return entry.mName;
    }
    return std::to_string(code);
}

Exception::Exception(std::string_view file, int line, std::string_view function, std::int32_t errorCode,
                     std::string_view message)
    : std::runtime_error(fmt::format("{}({}): Throw in function {}() with message \"{}\" and code {}", FileName(file),
                                     line, function, message, GetErrorCodeName(errorCode))),
      code(errorCode) {}

}  // namespace zeb
