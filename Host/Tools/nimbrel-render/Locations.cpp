#include "Locations.h"

#include "NimbrelHost/Support/Processors.h"
#include "NimbrelHost/Support/Text.h"

namespace nimbrel::host {
namespace {

/// A file beside the program or, installed, in its own folder beside the program's.
std::filesystem::path FindBeside(const std::filesystem::path& name, const char* folder) {
    std::filesystem::path beside = ProgramFolder() / name;
    std::error_code ignored;
    if (std::filesystem::exists(beside, ignored)) return beside;
    std::filesystem::path installed = ProgramFolder().parent_path() / folder / "nimbrel" / name;
    return std::filesystem::exists(installed, ignored) ? installed : beside;
}

std::filesystem::path FindPlugin(const CommandLine& line) {
    return line.mPlugin.empty() ? FindBeside(DefaultPluginName(), "lib") : TextPath(line.mPlugin);
}

/// The importer that was named, or the one beside the effect if it is there.
std::vector<std::filesystem::path> FindImporters(const CommandLine& line) {
    if (!line.mImporter.empty()) return {TextPath(line.mImporter)};
    const std::filesystem::path file = FindPlugin(line).parent_path() / DefaultImporterName();
    std::error_code ignored;
    if (!std::filesystem::exists(file, ignored)) return {};
    return {file};
}

}  // namespace

Catalogue ReadCatalogue(const CommandLine& line) {
    if (!line.mCatalogue.empty()) return Catalogue::Read(TextPath(line.mCatalogue));
    const std::filesystem::path name = "nimbrel-catalogue.json";
    for (const std::filesystem::path& file : {FindBeside(name, "share"), FindPlugin(line).parent_path() / name}) {
        if (std::error_code ignored; std::filesystem::exists(file, ignored)) return Catalogue::Read(file);
    }
    return {};
}

HostOptions MakeHostOptions(const CommandLine& line) {
    HostOptions options;
    options.mPlugin = FindPlugin(line);
    options.mImporters = FindImporters(line);
    options.mDevice = line.mGpu;
    options.mValidate = line.mValidate;
    options.mServeComputeCache = !line.mNoHostCache;
    options.mServeHash = !line.mNoHostCache;
    options.mCacheLimit = static_cast<std::uint64_t>(line.mCacheMegabytes) << 20;
    options.mStrict = line.mStrict;
    options.mProcessorLimit = ChooseProcessors(line.mCores);
    return options;
}

}  // namespace nimbrel::host
