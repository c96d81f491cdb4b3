#include <fmt/format.h>

#include <cstdio>
#include <exception>
#include <filesystem>
#include <new>

#include "CommandLine.h"
#include "NimbrelHost/Support/Arguments.h"
#include "NimbrelHost/Support/Errors.h"
#include "NimbrelHost/Support/Interrupt.h"
#include "NimbrelHost/Support/Text.h"
#include "NimbrelHost/Support/WholeFile.h"
#include "Session.h"

namespace {

using namespace nimbrel::host;

constexpr int kEffectIsShortOfMemory = 4;  // of the host's error codes

/// The exit code of the failure that is being handled, and its text.
int DescribeFailure(std::string& text) {
    try {
        throw;
    } catch (const UsageError& error) {
        text = fmt::format("nimbrel-render: {}", error.what());
        return kExitUsage;
    } catch (const Interrupted&) {
        text = "nimbrel-render: interrupted";
        return GetInterruptCode();
    } catch (const EffectError& error) {
        text = error.what();
        // What the effect did not expect has one code for all, and the exception's name in its text.
        const bool isMemory =
            error.GetCode() == kEffectIsShortOfMemory || text.find("std::bad_alloc") != std::string::npos;
        return isMemory ? kExitMemory : kExitFailed;
    } catch (const std::bad_alloc&) {
        text = "nimbrel-render: the machine is short of memory";
        return kExitMemory;
    } catch (const std::filesystem::filesystem_error& error) {
        const std::string where = error.path1().empty() ? "the current folder" : Quote(PathText(error.path1()));
        text = fmt::format("nimbrel-render: {}: {}", where, error.code().message());
        return kExitFailed;
    } catch (const std::exception& error) {
        text = fmt::format("nimbrel-render: {}", error.what());
        return kExitFailed;
    }
}

}  // namespace

int main(int argc, char** argv) {
    CatchInterrupts("nimbrel-render: interrupted\n");
    std::string text;
    LogMode mode = LogMode::Lines;
    try {
        const Arguments arguments(argc, argv);
        const std::optional<CommandLine> line = ParseCommandLine(arguments.GetCount(), arguments.Get());
        if (line) mode = line->mLog;
        int code = kExitDone;
        if (line) {
            RunLog log(mode);
            code = RunSession(*line, log);
        }
        // What was printed counts only when it has arrived.
        WriteStandardOutput("");
        return code;
    } catch (...) {
        const int code = DescribeFailure(text);
        RunLog(mode).Fail(text, code);
        return code;
    }
}
