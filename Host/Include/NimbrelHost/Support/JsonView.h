#pragma once

#include <filesystem>
#include <glm/vec3.hpp>
#include <initializer_list>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>

namespace nimbrel::host {

/// Keeps the order of keys, so that what is written reads like what a person would write. Whoever looks into one
/// includes <nlohmann/json.hpp>, a large header, which this one does without.
using Json = nlohmann::ordered_json;

/// Parses a JSON text. `origin` names it in messages. Texts nested deeper than 64 levels are refused, since values
/// are walked recursively. Throws UsageError with the place of the fault.
Json ParseJson(std::string_view text, const std::string& origin);

/// Reads and parses a JSON file. Throws UsageError.
Json ReadJsonFile(const std::filesystem::path& file);

/// A value inside a JSON document together with where it stands, so that each complaint names file and key:
/// "shot.json: composition.width: expected a whole number from 1 to 30000, but it is \"wide\"".
/// Borrows the document.
class JsonView {
public:
    JsonView(const Json& value, std::string file, std::string key = {});

    const Json& Value() const { return mValue; }
    const std::string& File() const { return mFile; }
    const std::string& Key() const { return mKey; }

    /// Throws UsageError: file, key, what was expected, what is there.
    [[noreturn]] void Fail(std::string_view expected) const;

    /// Fails on a value that is no object, and on a key that is not in the list, which it names.
    void RequireObject(std::initializer_list<std::string_view> keys) const;
    bool Has(std::string_view key) const;
    JsonView Member(std::string_view key) const;
    std::size_t RequireArray(std::string_view expected) const;
    JsonView Element(std::size_t index) const;

    /// Finite numbers only.
    double Number(std::string_view expected = "a number") const;
    double NumberBetween(double low, double high) const;
    int IntegerBetween(int low, int high) const;
    std::string String(std::string_view expected = "a text") const;
    glm::dvec3 Vector3(std::string_view expected = "three numbers [x, y, z]") const;

private:
    const Json& mValue;
    std::string mFile;
    std::string mKey;
};

}  // namespace nimbrel::host
