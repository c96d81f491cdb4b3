#include <algorithm>
#include <cctype>
#include <utility>

#include "NimbrelHost/Commands/Importers.h"
#include "NimbrelHost/Support/Text.h"

namespace nimbrel::host {
namespace {

/// A name without its number, and the number's digits; none are empty.
std::pair<std::string, std::string> SplitNumber(const std::string& stem) {
    std::size_t begin = stem.size();
    while (begin > 0 && std::isdigit(static_cast<unsigned char>(stem[begin - 1])) != 0) --begin;
    return {stem.substr(0, begin), stem.substr(begin)};
}

/// As numbers, however many digits they have.
bool IsLess(std::string a, std::string b) {
    const auto strip = [](std::string& digits) {
        digits.erase(0, std::min(digits.find_first_not_of('0'), digits.size()));
    };
    strip(a);
    strip(b);
    return std::pair(a.size(), a) < std::pair(b.size(), b);
}

}  // namespace

std::vector<std::filesystem::path> FindNumberedNeighbours(const std::filesystem::path& file) {
    const auto [name, digits] = SplitNumber(PathText(file.stem()));
    if (digits.empty()) return {file};
    std::vector<std::pair<std::string, std::filesystem::path>> found;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(file.parent_path(), error)) {
        if (entry.path().extension() != file.extension()) continue;
        auto [neighbour, number] = SplitNumber(PathText(entry.path().stem()));
        if (neighbour == name && !number.empty()) found.emplace_back(std::move(number), entry.path());
    }
    std::sort(found.begin(), found.end(), [](const auto& a, const auto& b) { return IsLess(a.first, b.first); });
    std::vector<std::filesystem::path> files;
    for (auto& [number, path] : found) files.push_back(std::move(path));
    if (files.empty()) files.push_back(file);
    return files;
}

}  // namespace nimbrel::host
