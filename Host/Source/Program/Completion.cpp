#include <algorithm>

#include "NimbrelHost/Program/ProgramOptions.h"
#include "OptionTexts.h"

namespace nimbrel::host {
namespace {

std::string Join(const std::vector<std::string>& words, const char* between) {
    std::string text;
    for (const std::string& word : words) text += (text.empty() ? "" : between) + word;
    return text;
}

std::string FunctionName(const CLI::App& app) {
    std::string name = "_" + app.get_name();
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
}

/// The names of all options that take a value of one kind, as a pattern of `case`.
std::string Pattern(const CLI::App& app, ValueKind kind) {
    std::vector<std::string> all;
    for (const CLI::Option* option : app.get_options()) {
        if (option->get_positional() || !TakesValue(*option) || KindOfValue(*option) != kind) continue;
        const std::vector<std::string> names = OptionNames(*option);
        all.insert(all.end(), names.begin(), names.end());
    }
    return Join(all, " | ");
}

std::string Reply(const std::vector<std::string>& words) {
    return "mapfile -t COMPREPLY < <(compgen -W '" + Join(words, " ") + "' -- \"$current\")";
}

/// Where nothing else is known files are offered, as without completion.
std::string BashCompletion(const CLI::App& app) {
    std::vector<std::string> names;
    std::string cases;
    for (const CLI::Option* option : app.get_options()) {
        const std::vector<std::string> own = OptionNames(*option);
        names.insert(names.end(), own.begin(), own.end());
        if (!own.empty() && KindOfValue(*option) == ValueKind::Choices)
            cases += "    " + Join(own, " | ") + ") " + Reply(Choices(*option)) + "; return ;;\n";
    }
    const std::string files = Pattern(app, ValueKind::File), others = Pattern(app, ValueKind::Other);
    if (!files.empty()) cases += "    " + files + ") compopt -o default; return ;;\n";
    if (!others.empty()) cases += "    " + others + ") return ;;\n";
    const std::string function = FunctionName(app);
    return "# bash completion for " + app.get_name() + "\n" + function +
           "() {\n"
           "    local current=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]}\n"
           "    COMPREPLY=()\n"
           "    case $before in\n" +
           cases +
           "    esac\n"
           "    if [[ $current == -* ]]; then\n"
           "        " +
           Reply(names) +
           "\n"
           "    else\n"
           "        compopt -o default\n"
           "    fi\n"
           "}\n"
           "complete -F " +
           function + " " + app.get_name();
}

/// Text between brackets and quotes, where some characters need a backslash and a quote ends the word.
std::string ZshText(const std::string& text) {
    std::string escaped;
    for (const char c : text) {
        if (c == '\'')
            escaped += "'\\''";
        else if (c == '[' || c == ']' || c == ':' || c == '\\')
            escaped += std::string("\\") + c;
        else
            escaped += c;
    }
    return escaped;
}

std::string ZshValue(const CLI::Option& option) {
    if (!TakesValue(option)) return "";
    const std::string value = ":" + ZshText(ValueName(option)) + ":";
    switch (KindOfValue(option)) {
        case ValueKind::Choices: return value + "(" + Join(Choices(option), " ") + ")";
        case ValueKind::File: return value + "_files";
        case ValueKind::Other: break;
    }
    return value + " ";
}

std::string ZshCompletion(const CLI::App& app) {
    std::string text = "#compdef " + app.get_name() + "\n_arguments -s -S";
    for (const CLI::Option* option : app.get_options()) {
        if (option->get_positional()) {
            text += " \\\n  '*" + ZshValue(*option) + "'";
            continue;
        }
        const char* const repeated = option->get_expected_max() > 1 ? "*" : "";
        for (const std::string& name : OptionNames(*option)) {
            text += " \\\n  '" + (repeated + name) + "[" + ZshText(OneLine(option->get_description())) + "]" +
                    ZshValue(*option) + "'";
        }
    }
    return text;
}

}  // namespace

std::string Completion(const CLI::App& app, const std::string& shell) {
    if (shell == "bash") return BashCompletion(app);
    if (shell == "zsh") return ZshCompletion(app);
    throw CLI::ValidationError("--completion", "expected bash or zsh, but it is \"" + shell + "\"");
}

}  // namespace nimbrel::host
