#include "NimbrelHost/Parameters/Catalogue.h"

#include <algorithm>
#include <cctype>
#include <limits>
#include <nlohmann/json.hpp>
#include <numeric>

#include "NimbrelHost/Support/JsonView.h"
#include "NimbrelHost/Support/Text.h"

namespace nimbrel::host {
namespace {

/// Number of single-character edits between two words, upper and lower case being one.
std::size_t EditDistance(std::string_view a, std::string_view b) {
    const auto lower = [](char c) { return std::tolower(static_cast<unsigned char>(c)); };
    std::vector<std::size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < a.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i + 1;
        for (std::size_t j = 0; j < b.size(); ++j) {
            const std::size_t substitution = diagonal + (lower(a[i]) == lower(b[j]) ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({substitution, row[j] + 1, row[j + 1] + 1});
        }
    }
    return row.back();
}

}  // namespace

Catalogue Catalogue::Read(const std::filesystem::path& file) {
    const Json document = ReadJsonFile(file);
    const JsonView root(document, PathText(file));
    if (!document.is_object() || !root.Has("parameters")) root.Fail("a catalogue with \"parameters\"");
    const JsonView parameters = root.Member("parameters");
    const std::size_t count = parameters.RequireArray("the list of parameters");
    Catalogue catalogue;
    for (std::size_t i = 0; i < count; ++i) {
        const JsonView entry = parameters.Element(i);
        if (!entry.Value().is_object() || !entry.Has("uniqueID") || !entry.Has("fullId")) {
            entry.Fail("an entry with \"uniqueID\" and \"fullId\"");
        }
        const int uniqueId = entry.Member("uniqueID").IntegerBetween(0, std::numeric_limits<int>::max());
        catalogue.mIds[uniqueId] = entry.Member("fullId").String();
    }
    return catalogue;
}

const std::string& Catalogue::GetId(std::int32_t uniqueId) const {
    static const std::string none;
    const auto found = mIds.find(uniqueId);
    return found == mIds.end() ? none : found->second;
}

// A quarter of the letters may be wrong; more would suggest what nobody meant.
std::string FindSimilar(std::string_view word, const std::vector<std::string>& candidates) {
    std::string best;
    std::size_t bestDistance = word.size() / 4 + 2;
    if (word.size() > 200) return best;
    for (const std::string& candidate : candidates) {
        const std::size_t distance = EditDistance(word, candidate);
        if (distance < bestDistance) {
            bestDistance = distance;
            best = candidate;
        }
    }
    return best;
}

}  // namespace nimbrel::host
