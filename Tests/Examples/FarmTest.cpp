// The job templates of Examples/Farm without the render managers that they are for: the Open Job Description template
// by the published rules of its schema and then run as a worker would, the Flamenco job type compiled by a manager's
// stand-in.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include <fmt/format.h>

#include "ModelMaker.h"
#include "NimbrelHost/Project/ScriptEngine.h"

namespace nimbrel {
namespace {

namespace fs = std::filesystem;
using host::Json;
using Values = std::map<std::string, std::string>;

std::string ReadText(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

class Farm : public ::testing::Test {
protected:
    Farm() {
        fs::remove_all(mFolder);
        fs::create_directories(mFolder / "models");
        maker::ModelOptions options;
        options.mCount = 500;
        std::ofstream model(mFolder / "models/a.ply", std::ios::binary);
        maker::WriteModel(options, model);
        std::ofstream(mFolder / "shot.json") << R"({"composition": {"width": 64, "height": 36, "duration": 0.125},
            "parameters": {"Model1_model": "/studio/models/a.ply", "Model1_align_scale": 3}})";
        std::ofstream(mFolder / "rules.json")
            << R"({"version": "pathmapping-1.0", "path_mapping_rules": [{"source_path_format": "POSIX",
            "source_path": "/studio", "destination_path": ")"
            << mFolder.string() << "\"}]}";
    }
    ~Farm() override { fs::remove_all(mFolder); }

    /// As a worker runs a task's words, with the programs in its path.
    int Run(const std::vector<std::string>& words) const {
        std::string command = "PATH='" NIMBREL_PROGRAM_FOLDER "':$PATH";
        for (const std::string& word : words) command += fmt::format(" '{}'", word);
        return std::system((command + " >'" + (mFolder / "log").string() + "' 2>&1").c_str());
    }

    void ExpectFramesAndSheet() const {
        for (const char* name : {"out/f.0000.png", "out/f.0001.png", "out/f.0002.png", "out/sheet.png"})
            EXPECT_TRUE(fs::exists(mFolder / name)) << name << ": " << ReadText(mFolder / "log");
    }

    const fs::path mFolder = fs::path(::testing::TempDir()) / "nimbrel-farm";
    const fs::path mTemplates = fs::path(NIMBREL_EXAMPLES_FOLDER) / "Farm";
};

void ExpectKeys(const Json& object, const std::string& where, const std::set<std::string>& required,
                const std::set<std::string>& optional) {
    ASSERT_TRUE(object.is_object()) << where;
    for (const std::string& key : required) EXPECT_TRUE(object.contains(key)) << where << " lacks " << key;
    for (const auto& [key, value] : object.items())
        EXPECT_TRUE(required.contains(key) || optional.contains(key)) << where << " has " << key;
}

/// What stands in double braces, anywhere in a value.
std::set<std::string> FindReferences(const Json& value) {
    std::set<std::string> found;
    const std::string text = value.dump();
    static const std::regex braces(R"(\{\{\s*([A-Za-z0-9_.]+)\s*\}\})");
    for (std::sregex_iterator it(text.begin(), text.end(), braces), end; it != end; ++it) found.insert(it->str(1));
    return found;
}

void ExpectReferences(const Json& value, const std::string& where, const std::set<std::string>& known) {
    for (const std::string& name : FindReferences(value)) EXPECT_TRUE(known.contains(name)) << where << ": " << name;
}

bool IsIdentifier(const std::string& text) { return std::regex_match(text, std::regex("[A-Za-z_][A-Za-z0-9_]{0,63}")); }

void CheckParameter(const Json& parameter, std::set<std::string>& known) {
    const std::string name = parameter.at("name"), type = parameter.at("type");
    EXPECT_TRUE(IsIdentifier(name)) << name;
    EXPECT_TRUE(known.insert("Param." + name).second) << name << " twice";
    std::set<std::string> optional = {"description", "default", "allowedValues", "userInterface"};
    if (type == "PATH") optional.insert({"objectType", "dataFlow", "minLength", "maxLength"});
    if (type == "STRING") optional.insert({"minLength", "maxLength"});
    if (type == "INT") optional.insert({"minValue", "maxValue"});
    EXPECT_TRUE(type == "PATH" || type == "STRING" || type == "INT") << type;
    ExpectKeys(parameter, name, {"name", "type"}, optional);
    if (type == "INT") {
        EXPECT_GE(parameter.at("default").get<int>(), parameter.at("minValue").get<int>());
    }
    if (type == "PATH") {
        EXPECT_TRUE((std::set<std::string>{"FILE", "DIRECTORY"}).contains(parameter.at("objectType")));
        EXPECT_TRUE((std::set<std::string>{"NONE", "IN", "OUT", "INOUT"}).contains(parameter.at("dataFlow")));
    }
}

void CheckAction(const Json& action, const std::string& where, const std::set<std::string>& known) {
    ExpectKeys(action, where, {"command"}, {"args", "timeout", "cancelation"});
    EXPECT_GT(action.value("timeout", 1), 0);
    ExpectReferences(action, where, known);
    if (!action.contains("cancelation")) return;
    const Json& cancelation = action.at("cancelation");
    ExpectKeys(cancelation, where, {"mode"}, {"notifyPeriodInSeconds"});
    EXPECT_EQ(cancelation.at("mode"), "NOTIFY_THEN_TERMINATE");
    EXPECT_TRUE(cancelation.value("notifyPeriodInSeconds", 1) >= 1 &&
                cancelation.value("notifyPeriodInSeconds", 1) <= 600);
}

void CheckStep(const Json& step, std::set<std::string> known, std::set<std::string>& steps) {
    const std::string name = step.at("name");
    ExpectKeys(step, name, {"name", "script"},
               {"description", "dependencies", "parameterSpace", "hostRequirements", "stepEnvironments"});
    for (const Json& dependency : step.value("dependencies", Json::array())) {
        ExpectKeys(dependency, name, {"dependsOn"}, {});
        EXPECT_TRUE(steps.contains(dependency.at("dependsOn"))) << "an earlier step, so that there is no circle";
    }
    EXPECT_TRUE(steps.insert(name).second && name.size() <= 64) << name;
    if (step.contains("parameterSpace")) {
        ExpectKeys(step["parameterSpace"], name, {"taskParameterDefinitions"}, {"combination"});
        for (const Json& parameter : step["parameterSpace"]["taskParameterDefinitions"]) {
            ExpectKeys(parameter, name, {"name", "type", "range", "chunks"}, {});
            EXPECT_EQ(parameter.at("type"), "CHUNK[INT]");
            ExpectKeys(parameter["chunks"], name, {"defaultTaskCount", "rangeConstraint"}, {"targetRuntimeSeconds"});
            EXPECT_TRUE((std::set<std::string>{"CONTIGUOUS", "NONCONTIGUOUS"})
                            .contains(parameter["chunks"]["rangeConstraint"]));
            ExpectReferences(parameter, name, known);
            known.insert("Task.Param." + parameter.at("name").get<std::string>());
        }
    }
    for (const char* session :
         {"Session.WorkingDirectory", "Session.PathMappingRulesFile", "Session.HasPathMappingRules"})
        known.insert(session);
    ExpectKeys(step["script"], name, {"actions"}, {"embeddedFiles"});
    ExpectKeys(step["script"]["actions"], name, {"onRun"}, {});
    for (const Json& file : step["script"].value("embeddedFiles", Json::array())) {
        ExpectKeys(file, name, {"name", "type", "data"}, {"filename", "runnable"});
        EXPECT_EQ(file.at("type"), "TEXT");
        EXPECT_TRUE(std::regex_match(file.value("filename", "x"), std::regex("[^/\\\\]{1,64}")));
        known.insert("Task.File." + file.at("name").get<std::string>());
        ExpectReferences(file, name, known);
    }
    CheckAction(step["script"]["actions"]["onRun"], name, known);
}

TEST_F(Farm, OpenJobDescriptionKeepsToItsSchema) {
    const Json job = Json::parse(ReadText(mTemplates / "openjd.template.json"));
    ExpectKeys(job, "template", {"specificationVersion", "name", "steps"},
               {"$schema", "extensions", "description", "parameterDefinitions", "jobEnvironments"});
    EXPECT_EQ(job.at("specificationVersion"), "jobtemplate-2023-09");
    EXPECT_EQ(job.at("extensions"), Json({"TASK_CHUNKING"}));
    EXPECT_LE(job.at("name").get<std::string>().size(), 128U);
    EXPECT_LE(job.at("description").get<std::string>().size(), 2048U);
    EXPECT_LE(job.at("parameterDefinitions").size(), 50U);
    std::set<std::string> known, steps;
    for (const Json& parameter : job.at("parameterDefinitions")) CheckParameter(parameter, known);
    ExpectReferences(job.at("name"), "name", known);
    for (const Json& step : job.at("steps")) CheckStep(step, known, steps);
}

std::string Resolve(std::string text, const Values& values) {
    for (const auto& [name, value] : values) {
        const std::string braces = "{{" + name + "}}";
        for (std::size_t at = 0; (at = text.find(braces, at)) != std::string::npos; at += value.size())
            text.replace(at, braces.size(), value);
    }
    return text;
}

TEST_F(Farm, OpenJobDescriptionRendersAsAWorkerRunsIt) {
    const Json job = Json::parse(ReadText(mTemplates / "openjd.template.json"));
    Values values = {{"Session.PathMappingRulesFile", (mFolder / "rules.json").string()}};
    for (const Json& parameter : job.at("parameterDefinitions")) {
        const Json value = parameter.value("default", Json(""));
        values["Param." + parameter.at("name").get<std::string>()] =
            value.is_string() ? value.get<std::string>() : value.dump();
    }
    values["Param.Scene"] = (mFolder / "shot.json").string();
    values["Param.Output"] = (mFolder / "out").string();
    values["Param.Pattern"] = "f.####.png";
    for (const Json& step : job.at("steps")) {
        for (const Json& file : step["script"].value("embeddedFiles", Json::array())) {
            const fs::path place = mFolder / file.at("filename").get<std::string>();
            std::ofstream(place) << Resolve(file.at("data"), values);
            values["Task.File." + file.at("name").get<std::string>()] = place.string();
        }
        const Json& action = step["script"]["actions"]["onRun"];
        const bool hasChunks = step.contains("parameterSpace");
        for (const char* chunk : {"0,2", "1"}) {
            values["Task.Param.Frame"] = chunk;
            std::vector<std::string> words{action.at("command")};
            for (const Json& word : action.at("args")) words.push_back(Resolve(word, values));
            EXPECT_EQ(Run(words), 0) << ReadText(mFolder / "log");
            if (!hasChunks) break;
            EXPECT_NE(ReadText(mFolder / "log").find("openjd_progress: 100.00"), std::string::npos);
        }
    }
    ExpectFramesAndSheet();
}

/// What stands in a variable after a script.
Json Evaluate(const std::string& script, const std::string& variable) {
    return Json::parse(host::RunDialogScript(script + "\nJSON.stringify(" + variable + ");").mResult);
}

TEST_F(Farm, FlamencoMakesTasksThatRender) {
    const std::string manager = R"(
        var tasks = [];
        function frameChunker(frames, size) { return ["0-1", "2"]; }
        var author = {
            Task: function (name, type) {
                var task = {name: name, type: type, commands: [], dependencies: []};
                task.addCommand = function (command) { task.commands.push(command); };
                task.addDependency = function (other) { task.dependencies.push(other.name); };
                return task;
            },
            Command: function (name, parameters) { return {name: name, parameters: parameters}; }
        };
        var job = {settings: data, addTask: function (task) { tasks.push(task); }};
    )";
    const std::string type = ReadText(mTemplates / "flamenco_nimbrel.js");
    std::ofstream(mFolder / "rendered.json")
        << std::regex_replace(ReadText(mFolder / "shot.json"), std::regex("/studio/"), "");
    const Json settings = {{"scene", (mFolder / "rendered.json").string()},
                           {"output", (mFolder / "out/f.####.png").string()},
                           {"frames", "0-2"},
                           {"chunk_size", 2},
                           {"cores", 1}};
    const Json tasks = Evaluate("var data = " + settings.dump() + ";" + manager + type + "compileJob(job);", "tasks");
    ASSERT_EQ(tasks.size(), 3U);
    EXPECT_EQ(tasks[2]["dependencies"], Json({"render-0-1", "render-2"}));
    for (const Json& task : tasks) {
        const Json& command = task["commands"][0];
        EXPECT_EQ(command["name"], "exec");
        std::vector<std::string> words{command["parameters"]["exe"]};
        for (const Json& word : command["parameters"]["args"]) words.push_back(word);
        EXPECT_EQ(Run(words), 0) << ReadText(mFolder / "log");
    }
    ExpectFramesAndSheet();
    const Json declared = Evaluate(type, "JOB_TYPE.settings");
    for (const auto& [key, value] : settings.items())
        EXPECT_NE(declared.dump().find('"' + key + '"'), std::string::npos) << key;
}

}  // namespace
}  // namespace nimbrel
