#pragma once

#include <filesystem>
#include <string>

#include "SampleFiles.h"

namespace nimbrel::convert::test {

std::string ReadFile(const std::filesystem::path& file);
void WriteFile(const std::filesystem::path& file, const std::string& bytes);

/// How a program ended, and what it printed.
struct Outcome {
    int mCode = -1;
    std::string mText;
};
/// A command of the shell, which finds the programs under $CONVERT and $RENDER.
Outcome RunShell(const std::string& command);

/// An empty folder of the test's, and the user's cache in it.
class Workplace {
public:
    Workplace();
    std::filesystem::path operator/(const std::string& name) const { return mFolder / name; }
    std::filesystem::path Write(const std::string& name, const std::string& bytes) const;
    std::filesystem::path GetCache() const { return mFolder / "cache" / "nimbrel" / "models"; }

private:
    std::filesystem::path mFolder;
};

/// A procedural model of the program's own maker, with colours and harmonics within the range of every format.
const Sample& GetKnot(int count, int degree);
std::filesystem::path GetKnotFile(int count, int degree);

}  // namespace nimbrel::convert::test
