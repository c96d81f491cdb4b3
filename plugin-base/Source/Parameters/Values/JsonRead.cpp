#include "JsonRead.h"

#include <cmath>
#include <limits>

#include <fmt/format.h>

#include "PluginBase/Exception.h"

namespace zeb::json {
namespace {

const Json kNull;

[[noreturn]] void ThrowTooDeep() {
    ZEB_THROW(kInternalError, fmt::format("A JSON value is nested deeper than {} levels.", kMaxDepth));
}

void CheckDepth(const Json& value, int depth) {
    if (!value.is_structured()) return;
    if (depth > kMaxDepth) ThrowTooDeep();
    for (const Json& child : value) CheckDepth(child, depth + 1);
}

/// A number truncated to an integer of `T`'s range.
template <class T>
T ReadInteger(const Json& value) {
    // A double holds every 32-bit integer exactly, so the comparison is safe where a cast would not be.
    const double number = std::trunc(ReadDouble(value));
    if (!(number >= static_cast<double>(std::numeric_limits<T>::min()) &&
          number <= static_cast<double>(std::numeric_limits<T>::max())))
        ZEB_THROW(kInternalError, fmt::format("The number {} is out of the range of an integer.", number));
    return static_cast<T>(number);
}

}  // namespace

Json Parse(std::string_view text) {
    // Parsing itself does not recurse; the callback stops a text before it becomes a value that must not be dumped.
    return Json::parse(text, [](int depth, Json::parse_event_t, Json&) {
        if (depth > kMaxDepth) ThrowTooDeep();
        return true;
    });
}

void CheckDepth(const Json& value) { CheckDepth(value, 1); }

const Json& Field(const Json& object, const char* key) {
    if (!object.is_object()) return object.at(key);  // throws the type_error of a value without keys
    const auto found = object.find(key);
    return found == object.end() ? kNull : *found;
}

const Json& Array(const Json& value, int size) {
    if (!value.is_array()) (void)value.get<std::vector<Json>>();  // throws "type must be array, but is ..."
    if (size >= 0 && value.size() != static_cast<std::size_t>(size))
        ZEB_THROW(kInternalError, fmt::format("An array of {} elements has {}.", size, value.size()));
    return value;
}

// The library converts booleans to most number types, but not to its own ones: hence double here.
double ReadDouble(const Json& value) { return value.get<double>(); }

float ReadFloat(const Json& value) {
    const double number = ReadDouble(value);
    if (!(std::fabs(number) <= static_cast<double>(std::numeric_limits<float>::max())))
        ZEB_THROW(kInternalError, fmt::format("The number {} is out of the range of a float.", number));
    return static_cast<float>(number);
}

std::int32_t ReadInt32(const Json& value) { return ReadInteger<std::int32_t>(value); }
std::uint32_t ReadUint32(const Json& value) { return ReadInteger<std::uint32_t>(value); }
bool ReadBool(const Json& value) { return value.get<bool>(); }
std::string ReadString(const Json& value) { return value.get<std::string>(); }

}  // namespace zeb::json
