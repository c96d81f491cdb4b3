#include "NimbrelHost/Support/JsonView.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <fstream>
#include <iterator>

#include "NimbrelHost/Support/Errors.h"
#include "NimbrelHost/Support/Similar.h"
#include "NimbrelHost/Support/Text.h"
#include "NimbrelHost/Support/WholeFile.h"

namespace nimbrel::host {
namespace {

constexpr int kMaxDepth = 64;

/// Short form of what stands in the document, for messages.
std::string Describe(const Json& value) {
    switch (value.type()) {
        case Json::value_t::object: return "an object";
        case Json::value_t::array: return fmt::format("an array of {}", value.size());
        case Json::value_t::string: return Quote(value.get_ref<const std::string&>());
        // A command line may say "nan" or "inf", for which JSON has no number.
        case Json::value_t::number_float:
            if (const double number = value.get<double>(); !std::isfinite(number)) return fmt::format("{}", number);
            [[fallthrough]];
        default: return value.dump();
    }
}

}  // namespace

Json ParseJson(std::string_view text, const std::string& origin) {
    // Checked while parsing: a document nested too deep is never built.
    const auto limitDepth = [&](int depth, Json::parse_event_t, Json&) {
        if (depth > kMaxDepth) {
            throw UsageError(fmt::format("{}: expected at most {} levels of nesting", origin, kMaxDepth));
        }
        return true;
    };
    try {
        return Json::parse(text.begin(), text.end(), limitDepth);
    } catch (const Json::exception& exception) {
        // The library begins its texts with its own name and number in brackets.
        std::string what = exception.what();
        if (const std::size_t end = what.find("] "); what.starts_with('[') && end != std::string::npos) {
            what.erase(0, end + 2);
        }
        throw UsageError(fmt::format("{}: expected valid JSON: {}", origin, Unquoted(what)));
    }
}

// Folders open as streams on some systems, so it must be a file.
Json ReadJsonFile(const std::filesystem::path& file) {
    std::error_code ignored;
    const std::filesystem::file_status status = std::filesystem::status(file, ignored);
    std::ifstream stream;
    int reason = std::filesystem::is_directory(status) ? EISDIR : std::filesystem::exists(status) ? EINVAL : ENOENT;
    if (std::filesystem::is_regular_file(status)) {
        stream.open(file, std::ios::binary);
        reason = errno;
    }
    if (!stream.is_open())
        throw UsageError(
            fmt::format("{}: expected a readable file: {}", Unquoted(PathText(file)), DescribeError(reason)));
    const std::string text{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    return ParseJson(text, PathText(file));
}

JsonView::JsonView(const Json& value, std::string file, std::string key)
    : mValue(value), mFile(std::move(file)), mKey(std::move(key)) {}

void JsonView::Fail(std::string_view expected) const {
    const std::string where = Unquoted(mFile) + (mKey.empty() ? "" : ": " + Unquoted(mKey));
    throw UsageError(fmt::format("{}: expected {}, but it is {}", where, expected, Describe(mValue)));
}

void JsonView::RequireObject(std::initializer_list<std::string_view> keys) const {
    if (!mValue.is_object()) Fail("an object");
    for (const auto& [key, value] : mValue.items()) {
        if (std::find(keys.begin(), keys.end(), key) != keys.end()) continue;
        // The list of what would have been right comes with the complaint.
        std::string known;
        for (const std::string_view name : keys) known += fmt::format("{}\"{}\"", known.empty() ? "" : ", ", name);
        throw UsageError(fmt::format("{}: {}: unknown key, expected one of {}{}", Unquoted(mFile),
                                     Unquoted(mKey.empty() ? key : fmt::format("{}.{}", mKey, key)), known,
                                     SuggestSimilar(key, {keys.begin(), keys.end()})));
    }
}

bool JsonView::Has(std::string_view key) const { return mValue.contains(std::string(key)); }

JsonView JsonView::Member(std::string_view key) const {
    return {mValue.at(std::string(key)), mFile, mKey.empty() ? std::string(key) : fmt::format("{}.{}", mKey, key)};
}

std::size_t JsonView::RequireArray(std::string_view expected) const {
    if (!mValue.is_array()) Fail(expected);
    return mValue.size();
}

JsonView JsonView::Element(std::size_t index) const {
    return {mValue.at(index), mFile, fmt::format("{}[{}]", mKey, index)};
}

double JsonView::Number(std::string_view expected) const {
    if (!mValue.is_number()) Fail(expected);
    const double number = mValue.get<double>();
    if (!std::isfinite(number)) Fail(expected);
    return number;
}

double JsonView::NumberBetween(double low, double high) const {
    const std::string expected = fmt::format("a number from {} to {}", low, high);
    const double number = Number(expected);
    if (number < low || number > high) Fail(expected);
    return number;
}

int JsonView::IntegerBetween(int low, int high) const {
    const std::string expected = fmt::format("a whole number from {} to {}", low, high);
    // 5.0 is a whole number, too.
    const double number = Number(expected);
    if (number != std::floor(number) || number < low || number > high) Fail(expected);
    return static_cast<int>(number);
}

std::string JsonView::String(std::string_view expected) const {
    if (!mValue.is_string()) Fail(expected);
    return mValue.get<std::string>();
}

glm::dvec3 JsonView::Vector3(std::string_view expected) const {
    if (RequireArray(expected) != 3) Fail(expected);
    glm::dvec3 vector{};
    for (int i = 0; i < 3; ++i) vector[i] = Element(static_cast<std::size_t>(i)).Number();
    return vector;
}

}  // namespace nimbrel::host
