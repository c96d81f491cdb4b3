#include "NimbrelHost/Support/Similar.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <numeric>

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

std::string SuggestSimilar(std::string_view word, const std::vector<std::string>& candidates) {
    const std::string similar = FindSimilar(word, candidates);
    return similar.empty() ? similar : fmt::format(" (did you mean \"{}\"?)", similar);
}

}  // namespace nimbrel::host
