#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "NimbrelHost/Support/Errors.h"

namespace nimbrel::host {

/// A folder of its own for a test, gone with it.
class TestFolder {
public:
    TestFolder() {
        const auto* const test = ::testing::UnitTest::GetInstance()->current_test_info();
        mPath = std::filesystem::temp_directory_path() /
                (std::string("nimbrel-") + test->test_suite_name() + "-" + test->name() + "-" +
                 std::to_string(::testing::UnitTest::GetInstance()->random_seed() + static_cast<int>(::time(nullptr))));
        std::filesystem::remove_all(mPath);
        std::filesystem::create_directories(mPath);
    }
    ~TestFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(mPath, ignored);
    }

    std::filesystem::path operator/(const std::string& name) const { return mPath / name; }

    std::filesystem::path Write(const std::string& name, const std::string& text) const {
        std::ofstream(mPath / name, std::ios::binary) << text;
        return mPath / name;
    }

private:
    std::filesystem::path mPath;
};

/// A PLY file of float positions.
inline std::string MakePly(const std::vector<float>& positions) {
    std::string ply = "ply\nformat binary_little_endian 1.0\nelement vertex " + std::to_string(positions.size() / 3) +
                      "\nproperty uchar tag\nproperty float x\nproperty float y\nproperty float z\nend_header\n";
    for (std::size_t i = 0; i < positions.size(); i += 3) {
        ply.push_back(7);
        ply.append(reinterpret_cast<const char*>(&positions[i]), 12);
    }
    return ply;
}

/// The text of the UsageError that `action` throws; empty if it throws none.
template <class Action>
std::string UsageMessage(Action action) {
    try {
        action();
    } catch (const UsageError& error) {
        return error.what();
    }
    return {};
}

}  // namespace nimbrel::host
