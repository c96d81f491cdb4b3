// Expands the catalogue's source, in which a model slot stands once, into the text that the program
// carries and the script that declares the constant structures.
// Usage: nimbrel-expand-catalogue Catalogue.json OUTPUT.json OUTPUT.js
//
// The source holds: `kinds`, sets of keys that a parameter takes over by `kind`; `slotParameters` and
// `slotPacks`, written for every slot with "{n}" replaced by its number; `globalParameters` and
// `globalPacks`, written once. Parameters refer to each other by id, never by index, and each slot's
// numeric ids are stated, since saved projects hold them.
#include <cstdio>
#include <exception>
#include <fstream>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace {

using Json = nlohmann::ordered_json;

std::string ReplaceNumber(std::string text, int slot) {
    const std::size_t place = text.find("{n}");
    return place == std::string::npos ? text : text.replace(place, 3, std::to_string(slot));
}

/// The catalogue keeps most values in an object of their own.
Json Boxed(const Json& value) { return Json{{"value", value}}; }

/// The expanded catalogue. Indices are given out before parameters are written, since a parameter can refer
/// to one that stands behind it.
class Catalogue {
public:
    explicit Catalogue(const Json& source) : mSource(source) {
        const int slots = source.at("slotCount");
        for (int slot = 1; slot <= slots; ++slot) {
            for (const Json& entry : source.at("slotParameters")) AddIndex(FullId(entry, slot));
        }
        for (const Json& entry : source.at("globalParameters")) AddIndex(FullId(entry, 0));
        for (int slot = 1; slot <= slots; ++slot) {
            for (const Json& entry : source.at("slotParameters")) AddParameter(entry, slot);
        }
        for (const Json& entry : source.at("globalParameters")) AddParameter(entry, 0);
        for (const Json& pack : source.at("globalPacks")) AddPack(pack, 0);
        // All slots of one structure stand together.
        for (const Json& pack : source.at("slotPacks")) {
            for (int slot = 1; slot <= slots; ++slot) AddPack(pack, slot);
        }
    }

    /// One entry a line.
    std::string GetText() const {
        return fmt::format("{{\"parameters\":{},\n\"packs\":{},\n\"packJSFilenames\":{}}}\n", Lines(mParameters),
                           Lines(mPacks), mSource.at("packJSFilenames").dump());
    }

    std::string GetScript() const {
        std::string script = "// The constant structures as objects, and names for the numbers that scripts use.\n";
        script += "var ParamInd = {\n";
        for (const std::string& id : mIds) script += fmt::format("    {}: {},\n", id, mIndices.at(id));
        script += "};\n";
        for (const auto& [name, choices] : mSource.at("enums").items()) {
            script += fmt::format("var {} = {{\n", name);
            for (std::size_t i = 0; i < choices.size(); ++i)
                script += fmt::format("    {}: {},\n", choices[i].get<std::string>(), i);
            script += "};\n";
        }
        for (const Json& pack : mPacks) {
            script += fmt::format("var {} = {{\n", pack.at("name").get<std::string>());
            for (const Json& member : pack.at("members"))
                script += fmt::format("    {}: {},\n", member.at("name").get<std::string>(), InitialValue(member));
            script += "};\n";
        }
        return script;
    }

private:
    /// Symbolic name of an entry in a slot (from 1), or of a global one (0).
    static std::string FullId(const Json& entry, int slot) {
        const std::string id = entry.at("id");
        if (slot == 0) return id;
        return id.empty() ? fmt::format("Model{}", slot) : fmt::format("Model{}_{}", slot, id);
    }

    void AddIndex(const std::string& id) {
        if (!mIndices.emplace(id, static_cast<int>(mIds.size())).second)
            throw std::runtime_error(fmt::format("parameter {} stands twice", id));
        mIds.push_back(id);
    }

    /// Catalogue index of a parameter that is named from within a slot (0: from the global part).
    int FindIndex(const std::string& id, int slot) const {
        const auto found = mIndices.find(slot == 0 ? id : fmt::format("Model{}_{}", slot, id));
        if (found == mIndices.end()) throw std::runtime_error(fmt::format("there is no parameter {}", id));
        return found->second;
    }

    /// The entry with the keys of its kind; its own keys come first.
    Json Resolve(const Json& entry) const {
        Json resolved = entry;
        if (!entry.contains("kind")) return resolved;
        const Json& kind = mSource.at("kinds").at(entry.at("kind").get<std::string>());
        for (const auto& [key, value] : kind.items()) {
            if (!resolved.contains(key)) resolved[key] = value;
        }
        return resolved;
    }

    /// Vectors have a key for each component, custom values a name for their JSON, others one boxed value.
    void AddDefault(const Json& value, const std::string& control, Json& out) const {
        static const std::map<std::string, std::vector<const char*>> components = {
            {"Color", {"defaultRed", "defaultGreen", "defaultBlue"}}, {"Point3", {"defaultX", "defaultY", "defaultZ"}}};
        const auto found = components.find(control);
        if (found != components.end()) {
            for (std::size_t i = 0; i < 3; ++i) out[found->second[i]] = Boxed(value.at(i));
        } else if (control == "Custom") {
            out["default"] = mSource.at("customDefaults").at(value.get<std::string>());
        } else {
            out["default"] = Boxed(value);
        }
    }

    /// A pair of limits, null for none.
    static void AddRange(const Json& range, const std::string& name, Json& out) {
        if (!range.at(0).is_null()) out[name + "Min"] = Boxed(range.at(0));
        if (!range.at(1).is_null()) out[name + "Max"] = Boxed(range.at(1));
    }

    void AddParameter(const Json& source, int slot) {
        const Json entry = Resolve(source);
        const std::string id = FullId(entry, slot);
        const std::string name = ReplaceNumber(entry.at("name"), slot);
        const std::string control = entry.at("control");
        Json out;
        out["control"] = control;
        out["uniqueID"] =
            slot == 0 ? entry.at("uniqueID") : entry.at("uniqueIDs").at(static_cast<std::size_t>(slot - 1));
        out["fullName"] = name;
        out["hint"] = name;
        out["scriptName"] = id;
        out["fullId"] = id;
        for (const char* key : {"flags", "skipAPI", "skipConfigs", "valueType"}) {
            if (entry.contains(key)) out[key] = entry.at(key);
        }
        for (const char* key : {"label", "precision", "absolutePosition"}) {
            if (entry.contains(key)) out[key] = Boxed(entry.at(key));
        }
        if (entry.contains("enum")) out["enum"] = Boxed(mSource.at("enums").at(entry.at("enum").get<std::string>()));
        if (entry.contains("valid")) AddRange(entry.at("valid"), "valid", out);
        if (entry.contains("display")) AddRange(entry.at("display"), "display", out);
        if (entry.contains("default")) AddDefault(entry.at("default"), control, out);
        if (entry.contains("showControl")) out["showControlIndex"] = FindIndex(entry.at("showControl"), slot);
        if (entry.contains("color")) out["colorIndex"] = FindIndex(entry.at("color"), slot);
        mParameters.push_back(std::move(out));
    }

    void AddPack(const Json& source, int slot) {
        Json out;
        out["name"] = ReplaceNumber(source.at("name"), slot);
        out["sizeInBytes"] = source.at("sizeInBytes");
        if (source.contains("scriptFunction")) out["scriptFunction"] = ReplaceNumber(source.at("scriptFunction"), slot);
        Json members = Json::array();
        for (const Json& entry : source.at("members")) {
            Json member;
            for (const char* key : {"name", "offset", "type"}) member[key] = entry.at(key);
            if (entry.contains("source")) member["sourceParameter"] = FindIndex(entry.at("source"), slot);
            if (entry.contains("arraySize")) member["arraySize"] = entry.at("arraySize");
            members.push_back(std::move(member));
        }
        out["members"] = std::move(members);
        mPacks.push_back(std::move(out));
    }

    /// What the script object holds before the first frame: it gives the member its class.
    static std::string InitialValue(const Json& member) {
        const std::string type = member.at("type");
        if (member.contains("arraySize")) {
            const int size = member.at("arraySize");
            return type == "Vec4" ? fmt::format("new Float32Array(4 * {})", size)
                                  : fmt::format("new Float32Array({})", size);
        }
        static const std::map<std::string, const char*> values = {{"Bool", "false"},
                                                                  {"Int32", "0"},
                                                                  {"Float32", "0.0"},
                                                                  {"Vec3", "new vec3(0.0, 0.0, 0.0)"},
                                                                  {"Vec4", "new vec4(0.0, 0.0, 0.0, 0.0)"}};
        return values.at(type);
    }

    static std::string Lines(const std::vector<Json>& entries) {
        std::string text = "[";
        for (std::size_t i = 0; i < entries.size(); ++i) text += (i == 0 ? "\n" : ",\n") + entries[i].dump();
        return text + "\n]";
    }

    const Json& mSource;
    std::map<std::string, int> mIndices;
    std::vector<std::string> mIds;
    std::vector<Json> mParameters;
    std::vector<Json> mPacks;
};

void Write(const char* path, const std::string& text) {
    std::ofstream output(path, std::ios::binary);
    output << text;
    output.close();
    if (!output) throw std::runtime_error(fmt::format("cannot write {}", path));
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4) {
        std::fprintf(stderr, "usage: nimbrel-expand-catalogue Catalogue.json OUTPUT.json OUTPUT.js\n");
        return 2;
    }
    try {
        std::ifstream input(argv[1]);
        if (!input) throw std::runtime_error(fmt::format("cannot read {}", argv[1]));
        const Json source = Json::parse(input);
        const Catalogue catalogue(source);
        Write(argv[2], catalogue.GetText());
        Write(argv[3], catalogue.GetScript());
    } catch (const std::exception& error) {
        std::fprintf(stderr, "nimbrel-expand-catalogue: %s\n", error.what());
        return 1;
    }
    return 0;
}
