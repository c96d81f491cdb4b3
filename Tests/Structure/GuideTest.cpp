// The guide against the catalogue: it has each control that a user meets, in the panel's order, with where it starts
// and a text, and each picture that it shows.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include <fmt/format.h>

namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;

const fs::path kDocs = fs::path(NIMBREL_SOURCE_DIR) / "Docs";

std::string ReadText(const fs::path& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// Of the first slot the number is left out.
std::string ShownName(const Json& control) {
    const std::string name = control.at("fullName");
    return name.starts_with("1 ") ? name.substr(2) : name;
}

bool IsSkipped(const Json& control, const char* key, const char* name) {
    return control.contains(key) && std::ranges::find(control[key], Json(name)) != control[key].end();
}

Json Default(const Json& control, const char* key = "default") {
    return control.contains(key) ? control[key].at("value") : Json(0);
}

/// A ramp by its ends, a gradient by its first colour.
std::string DescribeCurve(const Json& keys) {
    const Json first = keys.front().at(1), last = keys.back().at(1);
    if (first.is_object()) return first == last && first.at("color") == Json({1.0, 1.0, 1.0}) ? "white" : "coloured";
    return first > last ? "falling" : "rising";
}

/// What stands under "Starts at".
std::string DescribeDefault(const Json& control) {
    const std::string kind = control.at("control");
    if (kind == "Checkbox") return Default(control) == true ? "on" : "off";
    if (kind == "Popup")
        return control.at("enum").at("value").at(Default(control).get<std::size_t>()).get<std::string>();
    if (kind == "Angle") return fmt::format("{}°", Default(control).get<double>());
    if (kind == "Point3") {
        // Shares of the composition.
        const auto isMiddle = Default(control, "defaultX") == 0.5 && Default(control, "defaultY") == 0.5;
        return isMiddle ? "the middle" : "0, 0, 0";
    }
    if (kind == "Custom") return DescribeCurve(control.at("default").at("keys"));
    if (kind == "FloatSlider" || kind == "IntSlider") {
        const bool isPercent = IsSkipped(control, "flags", "DisplayPercent");
        return fmt::format("{}{}", Default(control).get<double>(), isPercent ? " %" : "");
    }
    return "-";
}

/// "Name: start" of each control that a user meets, of one slot and of what is no slot's.
std::vector<std::string> ListControls() {
    std::vector<std::string> controls;
    const Json catalogue = Json::parse(ReadText(NIMBREL_CATALOGUE_FILE));
    for (const Json& control : catalogue.at("parameters")) {
        const std::string kind = control.at("control"), id = control.at("fullId");
        const bool isOtherSlot = std::regex_search(id, std::regex("^Model[2-5]"));
        if (isOtherSlot || kind == "GroupBegin" || kind == "GroupEnd") continue;
        if (IsSkipped(control, "skipAPI", "AE") || IsSkipped(control, "skipConfigs", "Release")) continue;
        controls.push_back(ShownName(control) + ": " + DescribeDefault(control));
    }
    return controls;
}

TEST(Guide, HasEachControlInOrderWithItsStartAndText) {
    std::istringstream lines(ReadText(kDocs / "Guide.md"));
    const std::regex row(R"(^\| (\*\*.*\*\*) \| (.+) \| (.+) \|$)"), name(R"(\*\*([^*]+)\*\*)");
    std::vector<std::string> told;
    for (std::string line; std::getline(lines, line);) {
        std::smatch cells;
        if (!std::regex_match(line, cells, row)) continue;
        EXPECT_GE(cells.str(3).size(), 12U) << line;
        const std::string names = cells[1];
        for (auto it = std::sregex_iterator(names.begin(), names.end(), name); it != std::sregex_iterator(); ++it)
            told.push_back(it->str(1) + ": " + cells.str(2));
    }
    // As one text, of which a difference is shown.
    EXPECT_EQ(fmt::format("{}", fmt::join(told, "\n")), fmt::format("{}", fmt::join(ListControls(), "\n")));
}

TEST(Guide, ExplainsEachSignOfTheImporter) {
    const std::string guide = ReadText(kDocs / "Guide.md");
    const std::string source = ReadText(fs::path(NIMBREL_SOURCE_DIR) / "Import/PlyInspection.cpp");
    const std::regex sign(R"re(\{"([A-Z][A-Z -]+)",)re");
    int count = 0;
    for (auto it = std::sregex_iterator(source.begin(), source.end(), sign); it != std::sregex_iterator();
         ++it, ++count)
        EXPECT_NE(guide.find(it->str(1)), std::string::npos) << it->str(1);
    EXPECT_GT(count, 5);
}

/// The sources' text with literals joined that stand on several lines.
std::string ReadSources() {
    std::string text;
    for (const char* folder : {"Source", "plugin-base/Source", "Import", "Host"}) {
        for (const auto& entry : fs::recursive_directory_iterator(fs::path(NIMBREL_SOURCE_DIR) / folder)) {
            if (entry.path().extension() == ".cpp") text += ReadText(entry.path());
        }
    }
    text = std::regex_replace(text, std::regex("\"\\s*\n\\s*\""), "");
    return std::regex_replace(text, std::regex(R"(\\")"), "\"");
}

TEST(Guide, QuotesMessagesThatAreShown) {
    const std::string guide = ReadText(kDocs / "Guide.md"), sources = ReadSources();
    std::istringstream lines(guide.substr(guide.find("### In the effect")));
    const std::regex quoted("`([^`]+)`"), gap("\"?…\"?");  // the marks come with the text
    int count = 0;
    for (std::string line; std::getline(lines, line);) {
        const std::string cell = line.starts_with("| ") ? line.substr(0, line.find(" | ", 2)) : "";
        for (auto it = std::sregex_iterator(cell.begin(), cell.end(), quoted); it != std::sregex_iterator(); ++it) {
            const std::string message = it->str(1);
            std::sregex_token_iterator part(message.begin(), message.end(), gap, -1), end;
            for (; part != end; ++part) {
                if (part->length() < 10 || part->str().find("[json.") != std::string::npos) continue;
                EXPECT_NE(sources.find(part->str()), std::string::npos) << message << ": " << part->str();
                ++count;
            }
        }
    }
    EXPECT_GT(count, 20);
}

TEST(Guide, HasItsPicturesAndNoMore) {
    const std::string guide = ReadText(kDocs / "Guide.md");
    const std::regex picture(R"(\]\((images/guide/[^)]+)\))");
    std::set<std::string> shown, there;
    for (auto it = std::sregex_iterator(guide.begin(), guide.end(), picture); it != std::sregex_iterator(); ++it)
        shown.insert(it->str(1));
    for (const auto& entry : fs::directory_iterator(kDocs / "images/guide")) {
        there.insert("images/guide/" + entry.path().filename().string());
        EXPECT_LT(fs::file_size(entry), 150'000U) << entry.path();
    }
    EXPECT_EQ(shown, there);
}

}  // namespace
