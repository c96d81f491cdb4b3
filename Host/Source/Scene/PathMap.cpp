#include "NimbrelHost/Scene/PathMap.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>

#include "NimbrelHost/Support/Errors.h"
#include "NimbrelHost/Support/Text.h"

namespace nimbrel::host {
namespace {

bool IsSlash(char c, bool isWindows) { return c == '/' || (isWindows && c == '\\'); }

char Fold(char c, bool isWindows) {
    if (!isWindows) return c;
    return c == '\\' ? '/' : c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool LooksLikeWindows(std::string_view path) {
    const bool hasDrive = path.size() >= 2 && path[1] == ':' && ((path[0] | 0x20) >= 'a') && ((path[0] | 0x20) <= 'z');
    return hasDrive || path.starts_with("\\\\");
}

}  // namespace

void PathMap::Add(const std::string& text) {
    const std::size_t equals = text.find('=');
    if (equals == std::string::npos && text.ends_with(".json")) {
        return Read(ReadJsonFile(TextPath(text)), text);
    }
    if (equals == std::string::npos || equals == 0 || equals + 1 == text.size()) {
        throw UsageError(
            fmt::format("--map-path: expected FROM=TO or a .json file of rules, but it is {}", Quote(text)));
    }
    const std::string from = text.substr(0, equals);
    Add({from, text.substr(equals + 1), LooksLikeWindows(from)});
}

void PathMap::Read(const Json& document, const std::string& file) {
    const JsonView root(document, file);
    root.RequireObject({"version", "path_mapping_rules"});
    constexpr std::string_view expected = "an array of rules";
    // Without any rule the file holds an empty object.
    if (!root.Has("path_mapping_rules")) return;
    const JsonView rules = root.Member("path_mapping_rules");
    for (std::size_t i = 0; i < rules.RequireArray(expected); ++i) {
        const JsonView rule = rules.Element(i);
        rule.RequireObject({"source_path_format", "source_path", "destination_path"});
        for (const char* key : {"source_path_format", "source_path", "destination_path"}) {
            if (!rule.Has(key)) rule.Fail(fmt::format("a rule with \"{}\"", key));
        }
        const std::string format = rule.Member("source_path_format").String();
        if (format != "POSIX" && format != "WINDOWS" && format != "URI")
            rule.Member("source_path_format").Fail("\"POSIX\", \"WINDOWS\" or \"URI\"");
        const std::string from = rule.Member("source_path").String();
        if (from.empty()) rule.Member("source_path").Fail("a path");
        Add({from, rule.Member("destination_path").String(), format == "WINDOWS"});
    }
}

void PathMap::Add(Rule rule) {
    // "/" keeps its slash: all else would fit it.
    while (rule.mFrom.size() > 1 && IsSlash(rule.mFrom.back(), rule.mIsWindows)) rule.mFrom.pop_back();
    while (rule.mTo.size() > 1 && IsSlash(rule.mTo.back(), LooksLikeWindows(rule.mTo))) rule.mTo.pop_back();
    mRules.push_back(std::move(rule));
    std::stable_sort(mRules.begin(), mRules.end(),
                     [](const Rule& a, const Rule& b) { return a.mFrom.size() > b.mFrom.size(); });
}

std::string PathMap::Apply(std::string_view path) const {
    for (const Rule& rule : mRules) {
        const auto equal = [&](char a, char b) { return Fold(a, rule.mIsWindows) == Fold(b, rule.mIsWindows); };
        if (path.size() < rule.mFrom.size() || !std::equal(rule.mFrom.begin(), rule.mFrom.end(), path.begin(), equal)) {
            continue;
        }
        std::string rest(path.substr(rule.mFrom.size()));
        const bool endsFolder = IsSlash(rule.mFrom.back(), rule.mIsWindows);
        if (!rest.empty() && !endsFolder && !IsSlash(rest[0], rule.mIsWindows)) continue;
        if (rule.mIsWindows && !LooksLikeWindows(rule.mTo)) std::replace(rest.begin(), rest.end(), '\\', '/');
        if (rule.mTo == "/" && rest.starts_with('/')) return rest;
        const bool isJoined = !endsFolder || rest.empty() || rule.mTo.ends_with('/');
        return fmt::format("{}{}{}", rule.mTo, isJoined ? "" : "/", rest);
    }
    return std::string(path);
}

}  // namespace nimbrel::host
