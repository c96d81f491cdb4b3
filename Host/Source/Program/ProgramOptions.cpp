#include "NimbrelHost/Program/ProgramOptions.h"

#include "NimbrelVersion.h"

namespace nimbrel::host {

void AddProgramOptions(CLI::App& app) {
    app.set_version_flag("--version", app.get_name() + " " NIMBREL_VERSION, "Print the version and exit");
    const CLI::App* const program = &app;
    app.add_flag_callback(
        "--man", [program] { throw CLI::CallForVersion(ManualPage(*program), 0); }, "Print the manual page and exit");
    app.add_option_function<std::string>(
           "--completion",
           [program](const std::string& shell) { throw CLI::CallForVersion(Completion(*program, shell), 0); },
           "Print what makes a shell complete this program's options, and exit")
        ->type_name("bash|zsh")
        ->trigger_on_parse();
    app.get_option("--man")->trigger_on_parse();
}

}  // namespace nimbrel::host
