#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <unordered_map>

namespace nimbrel::host {

/// The names of parameters: the host's interface gives a parameter a number and a shown name, the catalogue file adds
/// the symbolic id.
class Catalogue {
public:
    Catalogue() = default;

    /// Reads `uniqueID`, `fullId` and, of custom values, `valueType` of each of "parameters". Throws UsageError.
    static Catalogue Read(const std::filesystem::path& file);

    /// Empty for a number that the catalogue does not hold.
    const std::string& GetId(std::int32_t uniqueId) const;
    /// What a custom value is, "Ramp" or "Gradient"; empty for others.
    const std::string& GetValueType(std::int32_t uniqueId) const;

private:
    struct Entry {
        std::string mId;
        std::string mValueType;
    };

    std::unordered_map<std::int32_t, Entry> mEntries;
};

}  // namespace nimbrel::host
