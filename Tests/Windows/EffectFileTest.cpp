// What a host on Windows, and the system's loader, see of the files as they are built.
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <utility>
#include <vector>

#include "NimbrelHost/Commands/Command.h"
#include "NimbrelHost/Suites/AddSuites.h"
#include "NimbrelVersion.h"

#include "Image.h"  // behind what the system's macros would change

namespace nimbrel::test {
namespace {

using Property = std::pair<std::string, std::string>;

std::uint32_t ReadNumber(const std::string& bytes, std::size_t at) {
    std::uint32_t value = 0;
    if (at + 4 <= bytes.size()) std::memcpy(&value, bytes.data() + at, 4);
    return value;
}

/// Key and data of each property, after a head of ten bytes.
std::vector<Property> ReadProperties(const std::string& bytes) {
    std::vector<Property> properties;
    for (std::size_t at = 10; at + 16 <= bytes.size();) {
        EXPECT_EQ(bytes.substr(at, 4), "MIB8");
        const std::string key = bytes.substr(at + 4, 4);
        const std::uint32_t length = ReadNumber(bytes, at + 12);
        EXPECT_EQ(length % 4, 0U) << key;
        properties.emplace_back(std::string(key.rbegin(), key.rend()), bytes.substr(at + 16, length));
        at += 16 + length;
    }
    return properties;
}

std::string Word(std::uint32_t value) {
    std::string bytes(4, '\0');
    std::memcpy(bytes.data(), &value, 4);
    return bytes;
}

std::string Counted(const std::string& text) {
    std::string bytes = static_cast<char>(text.size()) + text;
    bytes.resize((bytes.size() + 3) / 4 * 4);
    return bytes;
}

struct Registration {
    std::string mName, mMatchName, mCategory, mEntryPoint;
    std::uint32_t mKind = 0, mInterface = 0, mReserved = 0;
};

A_Err Take(void* token, const A_u_char* name, const A_u_char* matchName, const A_u_char* category,
           const A_u_char* entryPoint, A_long kind, A_long major, A_long minor, A_long reserved) {
    const auto text = [](const A_u_char* from) { return std::string(reinterpret_cast<const char*>(from)); };
    *static_cast<Registration*>(token) = {
        text(name),
        text(matchName),
        text(category),
        text(entryPoint) + std::string(2, '\0'),
        static_cast<std::uint32_t>(kind),
        static_cast<std::uint32_t>(major) | static_cast<std::uint32_t>(minor) << 16,
        static_cast<std::uint32_t>(reserved),
    };
    return A_Err_NONE;
}

template <typename Function>
Function Find(HMODULE module, const char* name) {
    return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(module, name)));
}

TEST(EffectFile, ExportsTheTwoFunctionsOfAnEffectAndNoMore) {
    const std::set<std::string> expected = {"EffectMain", "PluginDataEntryFunction"};
    EXPECT_EQ(Image(NIMBREL_EFFECT_FILE).GetExports(), expected);
}

TEST(ImporterFile, ExportsAndDeclaresItsEntryPoint) {
    const Image image(NIMBREL_IMPORTER_FILE);
    EXPECT_EQ(image.GetExports(), std::set<std::string>{"EntryPointFunc"});
    const std::string resource = image.GetResource(L"PiPL", 16000);
    EXPECT_EQ(resource.substr(0, 10), std::string("\1\0\0\0\0\0\5\0\0\0", 10));
    const std::vector<Property> expected = {
        {"kind", "xgEA"},
        {"name", Counted("Nimbrel Import")},
        {"catg", Counted("velmaris")},
        {"vers", Word(0x00010000)},
        {"8664", std::string("EntryPointFunc\0\0", 16)},
    };
    EXPECT_EQ(ReadProperties(resource), expected);
}

TEST(EffectFile, NeedsOnlyTheSystemsLibraries) {
    const std::set<std::string> system = {"advapi32.dll", "kernel32.dll", "msvcrt.dll", "ole32.dll",
                                          "shell32.dll",  "user32.dll",   "d3d12.dll",  "dxgi.dll"};
    for (const char* file :
         {NIMBREL_EFFECT_FILE, NIMBREL_IMPORTER_FILE, NIMBREL_RENDER_FILE, NIMBREL_MAKE_MODEL_FILE}) {
        const std::set<std::string> imports = Image(file).GetImports();
        EXPECT_EQ(imports.count("kernel32.dll"), 1U) << file;
        for (const std::string& name : imports)
            EXPECT_TRUE(system.count(name) == 1 || name.rfind("api-ms-win-", 0) == 0) << file << " needs " << name;
    }
}

TEST(EffectFile, TellsTheSystemItsVersion) {
    std::string text;
    for (const char c : std::string("ProductVersion")) text += {c, '\0'};
    std::string number;
    for (const char c : std::string(NIMBREL_VERSION)) number += {c, '\0'};
    for (const char* file : {NIMBREL_EFFECT_FILE, NIMBREL_RENDER_FILE, NIMBREL_MAKE_MODEL_FILE}) {
        const std::string bytes = Image(file).GetResource(RT_VERSION, 1);
        // The fixed part has a signature, a version of its own, then the file's version, high words first.
        const std::size_t fixed = bytes.find("\xBD\x04\xEF\xFE");
        ASSERT_NE(fixed, std::string::npos) << file;
        EXPECT_EQ(ReadNumber(bytes, fixed + 8), NIMBREL_VERSION_MAJOR << 16 | NIMBREL_VERSION_MINOR) << file;
        const std::size_t name = bytes.find(text);
        ASSERT_NE(name, std::string::npos) << file;
        EXPECT_NE(bytes.find(number, name), std::string::npos) << file;
    }
}

/// A host compares them, and refuses an effect that tells it two things.
TEST(EffectFile, DeclaresWhatRegistrationAndGlobalSetupAnswer) {
    const HMODULE module = LoadLibraryW(std::filesystem::path(NIMBREL_EFFECT_FILE).c_str());
    ASSERT_NE(module, nullptr);
    Registration registered;
    const auto enter = Find<A_Err (*)(void*, PF_PluginDataCB, SPBasicSuite*, const char*, const char*)>(
        module, "PluginDataEntryFunction");
    ASSERT_EQ(enter(&registered, Take, nullptr, "host", "1"), A_Err_NONE);
    host::Host host({}, host::Composition{}, std::nullopt, host::Catalogue{}, host::AddSuites);
    const auto main =
        Find<PF_Err (*)(PF_Cmd, PF_InData*, PF_OutData*, PF_ParamDef**, PF_LayerDef*, void*)>(module, "EffectMain");
    host::Command command(host, PF_Cmd_GLOBAL_SETUP);
    ASSERT_EQ(main(PF_Cmd_GLOBAL_SETUP, &command.In(), &command.Out(), nullptr, nullptr, nullptr), PF_Err_NONE)
        << command.Out().return_msg;
    const PF_OutData answered = command.Out();
    command.In().global_data = answered.global_data;
    EXPECT_EQ(main(PF_Cmd_GLOBAL_SETDOWN, &command.In(), &command.Out(), nullptr, nullptr, nullptr), PF_Err_NONE);

    const std::string resource = Image(NIMBREL_EFFECT_FILE).GetResource(L"PiPL", 16000);
    ASSERT_EQ(resource.size(), 286U);
    EXPECT_EQ(resource.substr(0, 10), std::string("\1\0\0\0\0\0\14\0\0\0", 10));
    const std::vector<Property> expected = {
        {"kind", Word(registered.mKind)},
        {"name", Counted(registered.mName)},
        {"catg", Counted(registered.mCategory)},
        {"8664", registered.mEntryPoint},
        {"ePVR", Word(2)},
        {"eSVR", Word(registered.mInterface)},
        {"eVER", Word(answered.my_version)},
        {"eINF", Word(0)},
        {"eGLO", Word(static_cast<std::uint32_t>(answered.out_flags))},
        {"eGL2", Word(static_cast<std::uint32_t>(answered.out_flags2))},
        {"eMNA", Counted(registered.mMatchName)},
        {"aeFL", Word(registered.mReserved)},
    };
    EXPECT_EQ(ReadProperties(resource), expected);
    EXPECT_EQ(answered.my_version, 0x88600U);
    EXPECT_EQ(static_cast<std::uint32_t>(answered.out_flags), 0x2008450U);
    EXPECT_EQ(static_cast<std::uint32_t>(answered.out_flags2), 0x8801402U);
}

}  // namespace
}  // namespace nimbrel::test
