#include "OptionTexts.h"

#include <algorithm>
#include <sstream>

namespace nimbrel::host {

std::vector<std::string> OptionNames(const CLI::Option& option) {
    std::vector<std::string> names;
    for (const std::string& name : option.get_snames()) names.push_back("-" + name);
    for (const std::string& name : option.get_lnames()) names.push_back("--" + name);
    return names;
}

bool TakesValue(const CLI::Option& option) { return option.get_items_expected_max() > 0; }

std::string ValueName(const CLI::Option& option) {
    const std::string name = option.get_type_name();
    // Checks say what they accept behind a colon.
    return name.substr(0, name.find(':'));
}

std::vector<std::string> Choices(const CLI::Option& option) {
    std::vector<std::string> choices;
    std::istringstream words(ValueName(option));
    for (std::string word; std::getline(words, word, '|');) {
        const auto isPlain = [](char c) { return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-'; };
        if (!word.empty() && std::all_of(word.begin(), word.end(), isPlain)) choices.push_back(word);
    }
    return choices;
}

ValueKind KindOfValue(const CLI::Option& option) {
    if (!Choices(option).empty()) return ValueKind::Choices;
    const std::string name = ValueName(option);
    for (const char* file : {"FILE", "FOLDER", "PATTERN", ".json", ".ply"}) {
        if (name.find(file) != std::string::npos) return ValueKind::File;
    }
    return ValueKind::Other;
}

std::string OneLine(const std::string& text) {
    std::string line = text;
    std::replace(line.begin(), line.end(), '\n', ' ');
    return line;
}

}  // namespace nimbrel::host
