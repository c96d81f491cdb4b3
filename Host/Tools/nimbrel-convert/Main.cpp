#include <cstdio>
#include <exception>
#include <new>
#include <string>

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include "NimbrelConvert/Convert.h"
#include "NimbrelConvert/Errors.h"
#include "NimbrelConvert/Report.h"
#include "NimbrelHost/Program/ProgramOptions.h"
#include "NimbrelHost/Support/Arguments.h"
#include "NimbrelHost/Support/Errors.h"
#include "NimbrelHost/Support/Interrupt.h"
#include "NimbrelHost/Support/Text.h"

namespace {

using namespace nimbrel::convert;

enum ExitCode { kDone = 0, kFailed = 1, kUsage = 2, kShortOfMemory = 33 };

void ThrowIfInterrupted() {
    if (nimbrel::host::IsInterrupted()) throw nimbrel::host::Interrupted();
}

struct CommandLine {
    std::string mIn, mOut;
    bool mInfo = false, mJson = false, mQuiet = false;
    ReadOptions mRead;
};

std::filesystem::path TextPath(const std::string& text) { return std::u8string(text.begin(), text.end()); }

std::string MakeFooter() {
    std::string text = "Formats, known by what a file holds:\n";
    for (const FormatName& format : ListFormats()) {
        text += fmt::format("  {:<16}{}\n", format.mName, format.mExtensions);
    }
    return text +
           "\nExit codes: 0 done; 1 the file cannot be read, or the other not written; 2 the command line is wrong; 33 "
           "the\n"
           "machine is short of memory; 130 or 143 interrupted.\n\nExamples:\n"
           "  nimbrel-convert room.spz room.ply\n"
           "  nimbrel-convert --info room.sog\n";
}

int ParseArguments(CLI::App& app, int count, const char* const* arguments, CommandLine& line) {
    app.footer(MakeFooter());
    app.add_option("in", line.mIn, "the model: a file of any format, or the folder of an unbundled SOG model")
        ->type_name("FILE")
        ->required();
    app.add_option("out", line.mOut, "the PLY file to write")->type_name("FILE.ply");
    app.add_flag("--info", line.mInfo, "say what the file is and what its splats are like, and write nothing");
    app.add_flag("--json", line.mJson, "with --info: as JSON");
    app.add_flag("--keep-axes", line.mRead.mKeepAxes,
                 "leave SPZ models as they stand, for files whose writer did not turn them upright");
    app.add_flag("--quiet", line.mQuiet, "say nothing but errors");
    nimbrel::host::AddProgramOptions(app);
    try {
        app.parse(count, arguments);
        if (line.mInfo != line.mOut.empty()) throw CLI::ValidationError("expected two files, or --info and one");
        if (line.mJson && !line.mInfo) throw CLI::ValidationError("--json: expected --info with it");
        if (!line.mInfo && TextPath(line.mOut).extension() != ".ply") {
            throw CLI::ValidationError(
                fmt::format("expected an output that ends in .ply, but it is {}", nimbrel::host::Quote(line.mOut)));
        }
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0) return app.exit(error);
        fmt::print(stderr, "nimbrel-convert: {} (see --help)\n", error.what());
        return kUsage;
    }
    return -1;
}

int Run(const CommandLine& line) {
    if (line.mInfo) {
        const Report report = InspectModel(TextPath(line.mIn), line.mRead);
        fmt::print("{}{}", line.mJson ? WriteJson(report) : WriteText(report), line.mJson ? "\n" : "");
        return kDone;
    }
    const ModelFacts facts = ConvertModel(TextPath(line.mIn), TextPath(line.mOut), {line.mRead, ThrowIfInterrupted});
    if (line.mQuiet) return kDone;
    fmt::print("{}: {} splats of degree {}, from {}\n", nimbrel::host::Quote(line.mOut), facts.mCount, facts.mDegree,
               facts.mFormat);
    for (const std::string& note : facts.mNotes) fmt::print("{}\n", note);
    return kDone;
}

}  // namespace

int main(int argc, char** argv) {
    const nimbrel::host::Arguments arguments(argc, argv);
    CLI::App app("nimbrel-convert makes a plain binary PLY file of what other tools write.\n", "nimbrel-convert");
    CommandLine line;
    const int code = ParseArguments(app, arguments.GetCount(), arguments.Get(), line);
    if (code >= 0) return code;
    nimbrel::host::CatchInterrupts("nimbrel-convert: interrupted\n");
    try {
        return Run(line);
    } catch (const nimbrel::host::Interrupted&) {
        fmt::print(stderr, "nimbrel-convert: interrupted\n");
        return nimbrel::host::GetInterruptCode();
    } catch (const std::bad_alloc&) {
        fmt::print(stderr, "nimbrel-convert: the machine is short of memory for {}\n", nimbrel::host::Quote(line.mIn));
        return kShortOfMemory;
    } catch (const std::exception& error) {
        fmt::print(stderr, "nimbrel-convert: {}\n", nimbrel::host::MakePrintable(error.what()));
        return kFailed;
    }
}
