#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include "NimbrelHost/Commands/Host.h"
#include "NimbrelHost/Suites/AddSuites.h"
#include "PlyBuilder.h"

namespace nimbrel::host {

/// A host with the importer and no effect, and a folder of files. What the importer leaves behind fails the test.
class ImporterTest : public ::testing::Test {
protected:
    ImporterTest()
        : mFolder(std::filesystem::path(::testing::TempDir()) /
                  ::testing::UnitTest::GetInstance()->current_test_info()->name()) {
        std::filesystem::remove_all(mFolder);
        std::filesystem::create_directories(mFolder);
        HostOptions options;
        options.mImporters = {NIMBREL_IMPORTER_FILE};
        options.mStrict = true;
        mHost = std::make_unique<Host>(options, Composition{}, std::nullopt, Catalogue{}, AddSuites);
    }

    ~ImporterTest() override {
        EXPECT_EQ(mHost->GetImporters().CountSources(), 0U);
        EXPECT_EQ(mHost->GetMemory().CountLive(), 0U);
        for (const std::string& text : mHost->GetDiagnostics().Get()) ADD_FAILURE() << "host: " << text;
        std::filesystem::remove_all(mFolder);
    }

    std::filesystem::path Write(const std::string& name, const std::string& bytes) const {
        std::ofstream(mFolder / name, std::ios::binary) << bytes;
        return mFolder / name;
    }

    Importers& GetImporters() { return mHost->GetImporters(); }

    SourceTexts GetTexts(const std::filesystem::path& file) {
        SourceTexts texts;
        EXPECT_EQ(GetImporters().Import(file)->mSource->GetTexts(texts), A_Err_NONE);
        return texts;
    }

    /// A ball of splats, red to the right and green below.
    static std::string MakeBall(int count, int degree = 0) {
        std::vector<PlySplat> splats;
        for (int i = 0; i < count; ++i) {
            const float z = 1.0f - 2.0f * (static_cast<float>(i) + 0.5f) / static_cast<float>(count);
            const float radius = std::sqrt(1.0f - z * z), angle = 2.4f * static_cast<float>(i);
            const float x = radius * std::cos(angle), y = radius * std::sin(angle);
            splats.push_back({.mPosition = {2.0f + x, -3.0f + y, 5.0f + z},
                              .mDc = {1.7f * x, 1.7f * y, 0.0f},
                              .mOpacity = 3.0f,
                              .mScale = {-2.5f, -2.5f, -2.5f}});
        }
        return MakeFile(splats, degree);
    }

    std::filesystem::path mFolder;
    std::unique_ptr<Host> mHost;
};

}  // namespace nimbrel::host
