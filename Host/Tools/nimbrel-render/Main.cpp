#include <fmt/format.h>

#include <cstdio>
#include <exception>

#include "CommandLine.h"
#include "NimbrelHost/Support/Arguments.h"
#include "NimbrelHost/Support/Errors.h"
#include "NimbrelHost/Support/Interrupt.h"
#include "Session.h"

int main(int argc, char** argv) {
    using namespace nimbrel::host;
    CatchInterrupts();
    const Arguments arguments(argc, argv);
    try {
        const std::optional<CommandLine> line = ParseCommandLine(arguments.GetCount(), arguments.Get());
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
