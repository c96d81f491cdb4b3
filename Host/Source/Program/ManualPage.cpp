#include <algorithm>
#include <sstream>

#include "NimbrelHost/Program/ProgramOptions.h"
#include "NimbrelVersion.h"
#include "OptionTexts.h"

namespace nimbrel::host {
namespace {

/// Plain text as the formatter's source: its own characters escaped, no line taken for a request.
std::string Escape(const std::string& text) {
    std::string escaped;
    for (const char c : text) {
        if (c == '\\')
            escaped += "\\e";
        else if (c == '-')
            escaped += "\\-";
        else
            escaped += c;
    }
    const bool isRequest = !escaped.empty() && (escaped[0] == '.' || escaped[0] == '\'');
    return isRequest ? "\\&" + escaped : escaped;
}

std::string Upper(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; });
    return text;
}

/// "nimbrel-render draws models ..." without the name, up to its end.
std::string ShortDescription(const CLI::App& app) {
    std::string text = OneLine(app.get_description());
    if (text.starts_with(app.get_name() + " ")) text.erase(0, app.get_name().size() + 1);
    return text.substr(0, text.find(". ")).substr(0, text.find_last_not_of(". \n") + 1);
}

/// Paragraphs; what begins with blanks keeps its lines.
std::string Paragraphs(const std::string& text) {
    std::string source;
    std::istringstream lines(text);
    bool isVerbatim = false;
    for (std::string line; std::getline(lines, line);) {
        const bool isNext = line.starts_with("  ");
        if (isNext != isVerbatim) source += isNext ? ".nf\n" : ".fi\n";
        isVerbatim = isNext;
        source += line.empty() ? ".PP\n" : Escape(line) + "\n";
    }
    return source + (isVerbatim ? ".fi\n" : "");
}

std::string OptionEntry(const CLI::Option& option) {
    std::string entry = ".TP\n";
    bool isFirst = true;
    for (const std::string& name : OptionNames(option)) {
        entry += (isFirst ? "\\fB" : ", \\fB") + Escape(name) + "\\fR";
        isFirst = false;
    }
    if (TakesValue(option)) entry += (isFirst ? "\\fI" : " \\fI") + Escape(ValueName(option)) + "\\fR";
    entry += "\n" + Escape(OneLine(option.get_description()));
    if (!option.get_default_str().empty()) entry += " (default: " + Escape(option.get_default_str()) + ")";
    return entry + "\n";
}

}  // namespace

std::string ManualPage(const CLI::App& app) {
    const std::string name = Escape(app.get_name());
    std::string page = ".TH " + Upper(name) + " 1 \"\" \"Nimbrel " NIMBREL_VERSION "\" \"Nimbrel\"\n";
    page += ".SH NAME\n" + name + " \\- " + Escape(ShortDescription(app)) + "\n";
    page += ".SH SYNOPSIS\n\\fB" + name + "\\fR";
    for (const CLI::Option* option : app.get_options()) {
        if (option->get_positional()) page += " [\\fI" + Escape(ValueName(*option)) + "\\fR]";
    }
    page += " [\\fIoptions\\fR]\n.SH DESCRIPTION\n" + Paragraphs(app.get_description()) + ".SH OPTIONS\n";
    for (const std::string& group : app.get_groups()) {
        std::string entries;
        for (const CLI::Option* option : app.get_options()) {
            if (option->get_group() == group && !group.empty()) entries += OptionEntry(*option);
        }
        if (!entries.empty()) page += ".SS " + Escape(group) + "\n" + entries;
    }
    if (!app.get_footer().empty()) page += ".SH NOTES\n" + Paragraphs(app.get_footer());
    page.pop_back();
    return page;
}

}  // namespace nimbrel::host
