#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace nimbrel::host {

/// The names of parameters: the host's interface gives a parameter a number and a shown name, the catalogue file adds
/// the symbolic id.
class Catalogue {
public:
    Catalogue() = default;

    /// Reads `parameters[].uniqueID` and `parameters[].fullId`. Throws UsageError.
    static Catalogue Read(const std::filesystem::path& file);

    /// Empty for a number that the catalogue does not hold.
    const std::string& GetId(std::int32_t uniqueId) const;

private:
    std::unordered_map<std::int32_t, std::string> mIds;
};

/// The candidate closest to a mistyped word, or an empty text if none is close.
std::string FindSimilar(std::string_view word, const std::vector<std::string>& candidates);

}  // namespace nimbrel::host
