#include <fmt/format.h>

#include <csignal>
#include <cstdio>
#include <exception>

#include "CommandLine.h"
#include "NimbrelHost/Errors.h"
#include "NimbrelHost/Interrupt.h"
#include "Session.h"

namespace {

/// The first signal asks the effect to stop at its next report of progress, the second ends the process.
void HandleSignal(int number) {
    nimbrel::host::RequestInterrupt();
    std::signal(number, SIG_DFL);
}

}  // namespace

int main(int argc, char** argv) {
    using namespace nimbrel::host;
    std::signal(SIGINT, HandleSignal);
    std::signal(SIGTERM, HandleSignal);
    try {
        const std::optional<CommandLine> line = ParseCommandLine(argc, argv);
        return line ? RunSession(*line) : kExitDone;
    } catch (const UsageError& error) {
        fmt::print(stderr, "nimbrel-render: {}\n", error.what());
        return kExitUsage;
    } catch (const Interrupted&) {
        fmt::print(stderr, "nimbrel-render: interrupted\n");
        return kExitInterrupted;
    } catch (const EffectError& error) {
        fmt::print(stderr, "{}\n", error.what());
        return kExitFailed;
    } catch (const std::exception& error) {
        fmt::print(stderr, "nimbrel-render: {}\n", error.what());
        return kExitFailed;
    }
}
