#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

/// The framework's failures: one family of exceptions, each with the code that the host is answered.
///
/// An exception's text carries its origin (file, line, qualified function), because what a user can
/// report is what the host's message box shows. Exceptions are plain values: copyable, no references
/// into the stack.
namespace zeb {

/// Code of every failure that is not a host result (`PF_Err_INTERNAL_STRUCT_DAMAGED`).
inline constexpr std::int32_t kInternalError = 512;

/// Name of a host error code ("PF_Err_OUT_OF_MEMORY"), or its decimal number if it has none.
std::string GetErrorCodeName(std::int32_t code);

class Exception : public std::runtime_error {
public:
    /// `file` may be a whole path; only what stands behind its last slash or backslash is shown.
    Exception(std::string_view file, int line, std::string_view function, std::int32_t code, std::string_view message);

    std::int32_t code;
};

/// Failures of the render layer and of its devices.
class RenderException : public Exception {
public:
    using Exception::Exception;
};

namespace render {
using zeb::RenderException;
}

namespace detail {

/// The qualified name inside a compiler's function signature: "zeb::A::B" of "void zeb::A::B(int) const".
constexpr std::string_view QualifiedName(std::string_view signature) {
    // The parameter list opens at the first parenthesis outside template arguments; operators and
    // lambdas are not treated apart, since a little noise there does no harm.
    std::size_t end = signature.size();
    int depth = 0;
    for (std::size_t i = 0; i < signature.size(); ++i) {
        const char c = signature[i];
        if (c == '<')
            ++depth;
        else if (c == '>')
            --depth;
        else if (c == '(' && depth == 0 && signature.substr(i, 11) != "(anonymous ") {
            end = i;
            break;
        }
    }
    std::size_t begin = 0;
    depth = 0;
    for (std::size_t i = 0; i < end; ++i) {
        const char c = signature[i];
        if (c == '<' || c == '(' || c == '{')
            ++depth;
        else if (c == '>' || c == ')' || c == '}')
            --depth;
        else if (depth == 0 && (c == ' ' || c == '*' || c == '&'))
            begin = i + 1;
    }
    return signature.substr(begin, end - begin);
}

}  // namespace detail
}  // namespace zeb

#if defined(_MSC_VER) && !defined(__clang__)
#define ZEB_FUNCTION_NAME ::std::string_view(__FUNCTION__)
#else
#define ZEB_FUNCTION_NAME ::zeb::detail::QualifiedName(__PRETTY_FUNCTION__)
#endif

/// Throws an exception of class `type` (constructed as zeb::Exception is) from here.
#define ZEB_THROW_AS(type, errorCode, message) throw type(__FILE__, __LINE__, ZEB_FUNCTION_NAME, (errorCode), (message))

/// Throws zeb::Exception from here with a host error code and a message.
#define ZEB_THROW(errorCode, message) ZEB_THROW_AS(::zeb::Exception, errorCode, message)

/// Evaluates a host call; a result other than zero is thrown as the code, with the call's own source
/// text in the message.
#define ZEB_CHECK(call)                                                               \
    do {                                                                              \
        if (const auto zebResult = (call); zebResult != 0)                            \
            ZEB_THROW(static_cast<std::int32_t>(zebResult), "Failed to call " #call); \
    } while (false)
