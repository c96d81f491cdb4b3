#include "Programs.h"

#include <sys/wait.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <map>

#include "Shot.h"

namespace nimbrel::convert::test {

std::string ReadFile(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

void WriteFile(const std::filesystem::path& file, const std::string& bytes) {
    std::ofstream(file, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

Outcome RunShell(const std::string& command) {
    const std::filesystem::path text = endtoend::GetScratchFolder() / "printed.txt";
    ::setenv("CONVERT", NIMBREL_CONVERT_FILE, 1);
    ::setenv("RENDER", NIMBREL_RENDER_FILE, 1);
    const int status = std::system(("exec >" + text.string() + " 2>&1; " + command).c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, ReadFile(text)};
}

Workplace::Workplace() : mFolder(endtoend::GetScratchFolder() / "convert") {
    std::filesystem::remove_all(mFolder);
    std::filesystem::create_directories(mFolder);
    ::setenv("XDG_CACHE_HOME", (mFolder / "cache").c_str(), 1);
}

std::filesystem::path Workplace::Write(const std::string& name, const std::string& bytes) const {
    std::filesystem::create_directories((mFolder / name).parent_path());
    WriteFile(mFolder / name, bytes);
    return mFolder / name;
}

const Sample& GetKnot(int count, int degree) {
    static std::map<std::pair<int, int>, Sample> samples;
    const auto [found, isNew] = samples.try_emplace({count, degree});
    Sample& sample = found->second;
    if (!isNew) return sample;
    sample = ReadPlain(ReadFile(endtoend::GetModelFile(count, degree)));
    for (std::vector<float>& row : sample.mRows) {
        for (std::size_t i = 0; i < 3; ++i) row[RowLayout::kDc + i] = std::clamp(row[RowLayout::kDc + i], -1.7f, 1.7f);
        for (std::size_t i = RowLayout::kRest; i < sample.mLayout.Opacity(); ++i)
            row[i] = std::clamp(row[i] * 0.125f, -0.98f, 0.98f);
    }
    return sample;
}

std::filesystem::path GetKnotFile(int count, int degree) {
    const std::filesystem::path file =
        endtoend::GetScratchFolder() / ("tame" + std::to_string(count) + "-" + std::to_string(degree) + ".ply");
    if (std::filesystem::exists(file)) return file;
    const Sample& sample = GetKnot(count, degree);
    std::string bytes = MakePlyHeader(count, degree, {});
    for (const std::vector<float>& row : sample.mRows) {
        bytes.append(reinterpret_cast<const char*>(row.data()), row.size() * sizeof(float));
    }
    WriteFile(file, bytes);
    return file;
}

}  // namespace nimbrel::convert::test
