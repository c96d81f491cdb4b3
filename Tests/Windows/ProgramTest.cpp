// The programs with names that no code page of this system holds.
#include <gtest/gtest.h>

#include <process.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "NimbrelHost/Commands/EffectLibrary.h"
#include "NimbrelHost/Support/Errors.h"

namespace {

namespace fs = std::filesystem;

/// Quotes around each argument, which holds none itself.
intptr_t Spawn(const fs::path& program, const std::vector<std::wstring>& arguments) {
    std::vector<std::wstring> quoted = {L"\"" + program.wstring() + L"\""};
    for (const std::wstring& argument : arguments) quoted.push_back(L"\"" + argument + L"\"");
    std::vector<const wchar_t*> pointers;
    for (const std::wstring& argument : quoted) pointers.push_back(argument.c_str());
    pointers.push_back(nullptr);
    return _wspawnv(_P_WAIT, program.c_str(), pointers.data());
}

struct Programs : testing::Test {
    Programs() { fs::create_directories(mFolder); }
    ~Programs() override {
        std::error_code stillLoaded;
        fs::remove_all(mFolder, stillLoaded);
    }
    const fs::path mFolder = fs::temp_directory_path() / L"Größe 模型 \u03C8";
};

TEST_F(Programs, TakeNamesInAllScripts) {
    const fs::path model = mFolder / L"статуя.ply";
    ASSERT_EQ(Spawn(NIMBREL_MAKE_MODEL_FILE, {L"-o", model.wstring(), L"--count", L"100"}), 0);
    EXPECT_GT(fs::file_size(model), 100U * 17 * 4);
    const fs::path scene = mFolder / L"scène.json";
    ASSERT_EQ(Spawn(NIMBREL_RENDER_FILE, {L"--model", model.wstring(), L"--save-scene", scene.wstring()}), 0);
    EXPECT_GT(fs::file_size(scene), 0U);
    EXPECT_EQ(Spawn(NIMBREL_RENDER_FILE, {(mFolder / L"χ.json").wstring()}), 2) << "a scene that is missing";
}

TEST_F(Programs, LoadAnEffectFromSuchAPlace) {
    const fs::path effect = mFolder / L"эффект.aex";
    fs::remove(effect);
    EXPECT_THROW(nimbrel::host::EffectLibrary::Load(effect, nullptr), nimbrel::host::UsageError);
    fs::copy_file(NIMBREL_EFFECT_FILE, effect, fs::copy_options::overwrite_existing);
    EXPECT_EQ(nimbrel::host::EffectLibrary::Load(effect, nullptr).mMatchName, "velmaris Nimbrel");
    const fs::path broken = mFolder / L"эффект2.aex";
    fs::copy_file(NIMBREL_EFFECT_FILE, broken);
    fs::resize_file(broken, 1000);
    EXPECT_THROW(nimbrel::host::EffectLibrary::Load(broken, nullptr), nimbrel::host::UsageError);
}

// Direct3D against the processor's cores, effects and wires included. The software driver rounds in 8 bits as no GPU
// does.
TEST_F(Programs, DrawAlikeOnBothDevices) {
    const fs::path report = mFolder / L"отчёт.txt";
    Spawn(NIMBREL_RENDER_FILE, {L"--self-test", L"--gpu", L"dx12", L"--self-test-report", report.wstring()});
    std::ifstream stream(report);
    int good = 0;
    for (std::string line; std::getline(stream, line);) {
        good += line.ends_with("  good") ? 1 : 0;
        EXPECT_TRUE(!line.ends_with("DIFFERS") || line.starts_with("Plain, 8 bits")) << line;
    }
    EXPECT_GE(good, 10);
}

}  // namespace
