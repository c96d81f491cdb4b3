#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

/// Reading JSON that may be anything. A wrong type is nlohmann's type_error ("type must be number, but is
/// boolean"; a missing key counts as null), a broken text its parse_error; a number that its target type
/// cannot hold is a zeb::Exception.
namespace zeb::json {

using Json = nlohmann::json;

/// Deepest nesting of a text that is accepted: dumping and comparing recurse, so depth costs stack.
inline constexpr int kMaxDepth = 64;

Json Parse(std::string_view text);

/// Throws for a value nested deeper than kMaxDepth.
void CheckDepth(const Json& value);

/// The value of a key; null if it is missing.
const Json& Field(const Json& object, const char* key);

/// `value` itself, which must be an array; with a `size` other than -1, of that many elements.
const Json& Array(const Json& value, int size = -1);

double ReadDouble(const Json& value);
float ReadFloat(const Json& value);
/// Any number; a fraction is cut off.
std::int32_t ReadInt32(const Json& value);
std::uint32_t ReadUint32(const Json& value);
bool ReadBool(const Json& value);
std::string ReadString(const Json& value);

}  // namespace zeb::json
