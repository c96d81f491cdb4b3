// Who may know whom, as one table over the tree's own include lines: a file lies in one room, and a room knows the
// rooms that it names, all of them further up in the table, so that there are no circles.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <optional>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

struct Room {
    std::string mName;
    /// Regular expression over a path without its extension. Public headers and sources are one place:
    /// "plugin-base/Render/Device", "Host/Scene/Camera".
    std::string mFiles;
    std::string mKnows;  ///< rooms, and libraries of kLibraries, separated by blanks
};

const std::vector<Room> kRooms = {
    {"interface", "HostInterface/.*", "sdk"},
    // The framework: no host but in `ae`, no graphics interface but in the back ends.
    {"misc", "plugin-base/(Misc/.*|Exception|ImageInfo)", "system"},
    {"values", "plugin-base/Parameters/(Values|Custom)/.*", "misc"},
    {"script-heap", "plugin-base/Script/Heap/.*", "duktape system"},
    {"script", "plugin-base/Script/.*", "misc values script-heap duktape"},
    {"ui", "plugin-base/UI/.*", "misc values"},
    {"parameters", "plugin-base/Parameters/[^/]*", "misc values script ui"},
    {"render", "plugin-base/Render/[^/]*", "misc freetype"},
    {"renderutils", "plugin-base/RenderUtils/.*", "misc render"},
    {"vulkan", "plugin-base/Render/Vulkan/.*", "misc render vulkan-api"},
    {"direct3d", "plugin-base/Render/DX12/.*", "misc render direct3d-api system"},
    {"cpu", "plugin-base/Render/CPU/.*", "misc render threads"},
    {"cache", "plugin-base/ComputeCache/[^/]*", "misc"},
    {"frame", "plugin-base/(Frame/.*|PluginBaseCommon|PluginState|DrawInfo)",
     "misc values ui parameters render renderutils"},
    {"ae", "plugin-base/(AE|ComputeCache/AE)/.*", "interface misc values ui parameters cache frame"},
    // The effect. Assets know neither GPU nor host, the renderer knows no host.
    {"catalogue", "Source/Catalogue/.*", "misc"},
    {"assets",
     "Source/Nimbrel/(AvailableMemory|GaussianSplatAsset|GaussianSplatAssetCreator|HalfFloat|MortonOrder|"
     "PLYFileReader|PLYHeader|Splat(Chunk|Packing))",
     "misc system"},
    {"renderer", "Source/(Nimbrel/(?!CacheableAsset)[^/]*|RenderHelper/.*|Render|ModelMatrices)",
     "assets misc parameters render renderutils frame"},
    {"splat-cpu", "Source/Nimbrel/CPU/.*", "assets renderer render cpu threads"},
    {"effect", "Source/([^/]*|Nimbrel/CacheableAsset|Resource/.*)",
     "interface misc values parameters cache frame ae catalogue assets renderer splat-cpu system shaders"},
    // How models are framed, wherever it is done.
    {"model-box", "Convert/.*/ModelBox", ""},
    // The importer: the model reader and the splat kernels alone; nobody knows it but through the host's interface.
    {"importer", "Import/.*", "interface misc assets splat-cpu cpu model-box"},
    // Files of other tools: knows neither effect nor framework nor host.
    {"convert", "Convert/.*", "codecs"},
    // The headless host reaches the effect through the host's interface alone. Suites serve what the commands keep; a
    // user acts through commands.
    {"host-support", "Host/Support/.*", "system"},
    {"pictures", "Host/Pictures/.*", "host-support picture-files"},
    {"scene", "Host/Scene/.*", "host-support model-box"},
    {"host-parameters", "Host/Parameters/.*", "interface host-support scene"},
    {"project", "Host/Project/.*", "interface host-support scene host-parameters script-heap duktape"},
    {"drawing", "Host/Drawing/.*", "interface host-support"},
    {"commands", "Host/Commands/.*",
     "interface convert host-support pictures scene host-parameters project drawing system"},
    {"suites", "Host/Suites/.*", "interface host-support host-parameters project drawing commands"},
    {"user", "Host/User/.*", "convert host-support scene drawing commands"},
    {"panel", "Host/Panel/.*", "interface host-support pictures drawing commands user cairo"},
    {"output", "Host/Output/.*", "host-support pictures commands system"},
    // What the options of every program have in common.
    {"program-options", "Host/Program/.*", "command-line"},
    {"model-maker", "Host/Tools/nimbrel-make-model/.*", "convert host-support program-options command-line"},
    {"convert-program", "Host/Tools/nimbrel-convert/.*", "convert host-support program-options command-line"},
    {"render-program", "Host/Tools/nimbrel-render/.*",
     "convert host-support pictures scene commands suites user panel output program-options "
     "model-maker system command-line"},
    {"contact-sheet", "Host/Tools/nimbrel-contact-sheet/.*", "misc picture-files program-options command-line"},
};

struct Library {
    std::string mName;
    std::string mIncluded;  ///< regular expression over what stands between the brackets
};

/// What lies outside of the tree and is not for everybody.
const std::vector<Library> kLibraries = {
    {"everybody", "[a-z_]+|stdint\\.h|(fmt|glm|nlohmann)/.*|utf8\\.h|NimbrelVersion\\.h"},
    {"system", "(windows|shellapi|psapi|process|io|unistd|dlfcn|fcntl|sys/.*)\\.h"},
    {"sdk", "AE.*\\.h|SPBasic\\.h|adobesdk/.*"},
    {"vulkan-api", "volk\\.h|vulkan/.*"},
    {"direct3d-api", "d3d12.*|dxgi.*"},
    {"threads", "(hwy|tbb|oneapi)/.*"},
    {"freetype", "ft2build\\.h"},
    {"duktape", "duktape\\.h"},
    {"picture-files", "png\\.h|Imf.*"},
    {"cairo", "cairo\\.h"},
    {"codecs", "(zip|zlib|libdeflate|zstd|xxhash)\\.h|webp/.*"},
    {"command-line", "CLI/.*"},
    {"shaders", "Shaders/RegisterShaders\\.h"},
};

/// Where include lines of the tree look, behind the file's own folder.
const std::vector<fs::path> kRoots = {"plugin-base/Include",
                                      "plugin-base/Source",
                                      "plugin-base/Source/Render",
                                      "plugin-base/Source/Script/Heap",
                                      "Source",
                                      "Source/Nimbrel",
                                      "Convert/Include",
                                      "Convert/Source",
                                      "Host/Include",
                                      "Host/Source",
                                      "HostInterface",
                                      ""};

bool Matches(const std::string& text, const std::string& pattern) {
    return std::regex_match(text, std::regex(pattern));
}

bool Names(const std::string& list, const std::string& name) {
    return (' ' + list + ' ').find(' ' + name + ' ') != std::string::npos;
}

class Tree {
public:
    Tree() {
        for (const char* folder : {"HostInterface", "plugin-base", "Source", "Import", "Convert", "Host"}) {
            for (const auto& entry : fs::recursive_directory_iterator(mRoot / folder)) {
                const std::string extension = entry.path().extension().string();
                if (extension != ".h" && extension != ".cpp") continue;
                mFiles.insert(entry.path().lexically_relative(mRoot).generic_string());
            }
        }
    }

    /// The place in the table of a file's room, the first that fits; none is a failure.
    static std::optional<std::size_t> FindRoom(const std::string& file) {
        const std::string folded =
            std::regex_replace(fs::path(file).replace_extension().generic_string(),
                               std::regex("^(plugin-base|Host)/(Include/(PluginBase|NimbrelHost)|Source)/"), "$1/");
        for (std::size_t i = 0; i < kRooms.size(); ++i) {
            if (Matches(folded, kRooms[i].mFiles)) return i;
        }
        ADD_FAILURE() << file << " lies in no room: enter its folder in kRooms";
        return std::nullopt;
    }

    /// What an include line breaks; empty where it is allowed.
    std::string Judge(const std::string& file, const std::string& included) const {
        const std::optional<std::size_t> own = FindRoom(file);
        if (!own) return "no room";
        const Room& room = kRooms[*own];
        if (const std::optional<std::string> target = Resolve(file, included)) {
            const std::optional<std::size_t> other = FindRoom(*target);
            if (other) mUsed.insert(room.mName + ">" + kRooms[*other].mName);
            if (other == own || (other && Names(room.mKnows, kRooms[*other].mName))) return "";
            return room.mName + " does not know " + (other ? kRooms[*other].mName : *target);
        }
        for (const Library& library : kLibraries) {
            if (!Matches(included, library.mIncluded)) continue;
            mUsed.insert(room.mName + ">" + library.mName);
            const bool allowed = library.mName == "everybody" || Names(room.mKnows, library.mName);
            return allowed ? "" : room.mName + " does not know the library " + library.mName;
        }
        return "an unknown library: enter it in kLibraries";
    }

    /// Whether a file that was judged makes use of what its room may.
    bool IsUsed(const Room& room, const std::string& known) const { return mUsed.contains(room.mName + ">" + known); }

    const std::set<std::string>& GetFiles() const { return mFiles; }
    const fs::path& GetRoot() const { return mRoot; }

private:
    std::optional<std::string> Resolve(const std::string& file, const std::string& included) const {
        std::vector<fs::path> roots = {fs::path(file).parent_path()};
        roots.insert(roots.end(), kRoots.begin(), kRoots.end());
        for (const fs::path& root : roots) {
            const std::string target = (root / included).lexically_normal().generic_string();
            if (mFiles.contains(target)) return target;
        }
        return std::nullopt;
    }

    fs::path mRoot = NIMBREL_SOURCE_DIR;
    std::set<std::string> mFiles;
    mutable std::set<std::string> mUsed;  ///< "room>known"
};

TEST(IncludeRules, NoFileKnowsWhatItsRoomMustNot) {
    const Tree tree;
    const std::regex includeLine(R"(^\s*#\s*include\s*[<"]([^>"]+)[>"])");
    std::set<std::size_t> used;
    for (const std::string& file : tree.GetFiles()) {
        if (const auto room = Tree::FindRoom(file)) used.insert(*room);
        std::ifstream stream(tree.GetRoot() / file);
        std::string line;
        for (int number = 1; std::getline(stream, line); ++number) {
            std::smatch match;
            if (!std::regex_search(line, match, includeLine)) continue;
            EXPECT_EQ(tree.Judge(file, match[1]), "") << file << ":" << number << " includes " << match[1];
        }
    }
    for (const Room& room : kRooms) {
        std::istringstream words(room.mKnows);
        for (std::string known; words >> known;)
            EXPECT_TRUE(tree.IsUsed(room, known)) << room.mName << " need not know " << known;
    }
    EXPECT_EQ(used.size(), kRooms.size()) << "a room without files guards nothing: a folder was renamed without it";
}

TEST(IncludeRules, RoomsKnowOnlyRoomsAboveThem) {
    for (std::size_t i = 0; i < kRooms.size(); ++i) {
        for (std::size_t j = i; j < kRooms.size(); ++j) {
            EXPECT_FALSE(Names(kRooms[i].mKnows, kRooms[j].mName)) << kRooms[i].mName << " and " << kRooms[j].mName;
        }
    }
}

// What each folder must not name, told apart from the table: a new file there that does is found.
TEST(IncludeRules, AViolationPlantedInAnyFolderIsFound) {
    struct Plant {
        const char* mIncluded;
        const char* mAllowedIn;  ///< regular expression over folders
    };
    constexpr Plant plants[] = {
        {"volk.h", "plugin-base/Source/Render/Vulkan"},
        {"d3d12.h", "plugin-base/Source/Render/DX12"},
        {"windows.h",
         "plugin-base/(Include/PluginBase|Source)/Misc|plugin-base/Source/(Render/DX12|Script/Heap)|Source(/"
         "Resource)?|Host/"
         "(Include|Source).*|"
         "Host/Tools/nimbrel-render"},
        {"HostInterface/HostInterface.h",
         "HostInterface.*|Import|plugin-base/.*/AE.*|Source|Source/Resource|Host/(Include|Source).*"},
        {"PluginBase/AE/PluginBaseAE.h", "plugin-base/.*/AE.*|Source|Source/Resource"},
        {"PluginBase/Render/Device.h",
         "plugin-base/(Include/PluginBase|Source)/(Render|RenderUtils|AE|Frame|ComputeCache/AE).*|Source(?!/"
         "Catalogue).*"},
        {"PluginBase/Parameters/ParametersManagerBase.h",
         "plugin-base/(Include/PluginBase|Source)/(Parameters|Frame|AE|ComputeCache/AE)(?!/(Custom|Values)).*|"
         "Source(?!/(Catalogue|Nimbrel/CPU)).*"},
        {"Plugin.h", "Source|Source/Resource"},
        {"NimbrelHost/Commands/Host.h", "Host/.*"},
    };
    const Tree tree;
    std::set<std::string> folders;
    for (const std::string& file : tree.GetFiles()) folders.insert(fs::path(file).parent_path().generic_string());
    // The framework's own headers beside its folders belong to two rooms, each file by name.
    folders.erase("plugin-base/Include/PluginBase");
    for (const std::string& folder : folders) {
        for (const Plant& plant : plants) {
            if (Matches(folder, plant.mAllowedIn)) continue;
            EXPECT_NE(tree.Judge(folder + "/New.cpp", plant.mIncluded), "") << folder << " with " << plant.mIncluded;
        }
    }
}

}  // namespace
