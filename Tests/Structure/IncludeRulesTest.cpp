// Who may know whom, as rules over the tree's own include lines. A new folder that breaks a layer shows
// up here before it shows up as a tangle.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <regex>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

struct Rule {
    const char* mFiles;      ///< regular expression over paths relative to the tree
    const char* mForbidden;  ///< regular expression over what an include line names
    const char* mWhy;
};

const Rule kRules[] = {
    {"^HostInterface/", "PluginBase/|Nimbrel/|NimbrelHost|vulkan|volk|d3d12|nlohmann|fmt/|glm/",
     "the host's interface knows nobody"},
    {"^plugin-base/(Include/PluginBase|Source)/(Misc|Parameters|Script|ComputeCache/[^A]|Render/"
     "[^VDC]|RenderUtils|Frame|UI)",
     "HostInterface|PluginBase/AE/|vulkan|volk|d3d12|dxgi|windows\\.h",
     "the framework knows no host and no graphics API"},
    {"^plugin-base/Include/PluginBase/[A-Za-z]+\\.h$", "HostInterface|PluginBase/AE/|vulkan|volk|d3d12",
     "the framework knows no host and no graphics API"},
    {"^plugin-base/(Include/PluginBase|Source)/AE/", "vulkan|volk|d3d12|\"Nimbrel/|NimbrelHost",
     "the host's side of the framework draws nothing"},
    {"^plugin-base/Source/Render/(Vulkan|CPU|DX12)/", "HostInterface|PluginBase/AE/|NimbrelHost",
     "a back end knows no host"},
    {"^plugin-base/(?!Source/Render/Vulkan/)", "vulkan|volk", "Vulkan is named by its back end alone"},
    {"^plugin-base/(?!Source/Render/DX12/)", "d3d12|dxgi", "Direct3D is named by its back end alone"},
    {"^Source/Nimbrel/(PLYFileReader|GaussianSplatAsset|GaussianSplatAssetCreator|HalfFloat)\\.",
     "HostInterface|PluginBase/(AE|Render|RenderUtils)/|vulkan|volk|NimbrelHost", "assets know no GPU and no host"},
    {"^Source/", "vulkan|volk|d3d12|dxgi|NimbrelHost", "the effect names no graphics API and no host program"},
    {"^Import/",
     "NimbrelHost|PluginBase/(AE|Render|RenderUtils|Parameters|Script|ComputeCache|UI)/"
     "|Plugin\\.h|vulkan|volk|d3d12|tbb",
     "the importer knows the model reader and the splat kernels alone"},
    {"^(Host|Source|plugin-base)/", "\"Import|Import/", "nobody knows the importer but through the host's interface"},
    {"^Host/(?!Tools/nimbrel-(make-model|contact-sheet))", "PluginBase/|\"Nimbrel/|\"Plugin\\.h|vulkan|volk|d3d12",
     "the host reaches the effect through the host's interface alone"},
};

std::vector<std::string> SourceFiles(const fs::path& root) {
    std::vector<std::string> files;
    for (const char* folder : {"HostInterface", "Import", "plugin-base", "Source", "Host"}) {
        for (const auto& entry : fs::recursive_directory_iterator(root / folder)) {
            const std::string extension = entry.path().extension().string();
            if (extension == ".h" || extension == ".cpp") {
                files.push_back(fs::relative(entry.path(), root).generic_string());
            }
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

TEST(IncludeRules, NoFileKnowsWhatItsLayerMustNot) {
    const fs::path root = NIMBREL_SOURCE_DIR;
    const std::regex includeLine(R"(^\s*#\s*include\s*([<"][^>"]+[>"]))");
    std::vector<std::size_t> matches(std::size(kRules));
    for (const std::string& file : SourceFiles(root)) {
        std::ifstream stream(root / file);
        std::string line;
        for (std::size_t r = 0; r < std::size(kRules); ++r) {
            matches[r] += std::regex_search(file, std::regex(kRules[r].mFiles)) ? 1 : 0;
        }
        for (int number = 1; std::getline(stream, line); ++number) {
            std::smatch match;
            if (!std::regex_search(line, match, includeLine)) continue;
            const std::string included = match[1];
            for (const Rule& rule : kRules) {
                if (!std::regex_search(file, std::regex(rule.mFiles))) continue;
                EXPECT_FALSE(std::regex_search(included, std::regex(rule.mForbidden)))
                    << file << ":" << number << " includes " << included << ", but " << rule.mWhy;
            }
        }
    }
    // A rule that matches no file guards nothing: a folder was renamed without it.
    for (std::size_t r = 0; r < std::size(kRules); ++r) EXPECT_GT(matches[r], 0U) << kRules[r].mFiles;
}

}  // namespace
