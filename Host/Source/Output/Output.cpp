#include "NimbrelHost/Output/Output.h"

#include <fmt/format.h>

#include <cerrno>
#include <charconv>
#include <fstream>

#include "NimbrelHost/Support/Errors.h"
#include "NimbrelHost/Support/Text.h"
#include "NimbrelHost/Support/WholeFile.h"

namespace nimbrel::host {
namespace {

bool TakeNumber(std::string_view& text, int& number) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc{}) return false;
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return true;
}

void WriteThrough(const std::filesystem::path& file, std::string_view text) {
    std::ofstream stream(file, std::ios::binary);
    stream << text << '\n';
    stream.close();
    if (!stream) throw OutputError(fmt::format("{}: cannot be written: {}", PathText(file), DescribeError(errno)));
}

}  // namespace

void ParseSize(std::string_view text, int& width, int& height) {
    std::string_view rest = text;
    bool good = TakeNumber(rest, width) && rest.starts_with('x');
    if (good) rest.remove_prefix(1);
    good = good && TakeNumber(rest, height) && rest.empty();
    if (!good || width < 1 || height < 1 || width > 30000 || height > 30000) {
        throw UsageError(
            fmt::format("--size: expected WIDTHxHEIGHT in pixels, each from 1 to 30000, but it is {}", Quote(text)));
    }
}

void WriteTextFile(const std::filesystem::path& file, std::string_view text) {
    if (IsStandardOutput(file)) return WriteStandardOutput(std::string(text) + '\n');
    // /dev/stdout is a link even where it ends at a file.
    std::error_code ignored;
    if (std::filesystem::is_other(std::filesystem::status(file, ignored)) ||
        std::filesystem::is_symlink(std::filesystem::symlink_status(file, ignored))) {
        return WriteThrough(file, text);
    }
    WholeFile whole(file);
    whole.Write(text.data(), text.size());
    whole.Write("\n", 1);
    whole.Commit();
}

void MakeFolders(std::string_view option, const std::filesystem::path& folder) {
    std::error_code error;
    if (folder.empty() || std::filesystem::is_directory(folder, error)) return;
    std::filesystem::path whole;
    for (const std::filesystem::path& part : folder) {
        whole /= part;
        if (std::error_code ignored;
            std::filesystem::exists(whole, ignored) && !std::filesystem::is_directory(whole, ignored)) {
            throw UsageError(fmt::format("{}: expected a folder, but {} is none", option, Quote(PathText(whole))));
        }
    }
    std::filesystem::create_directories(folder, error);
    if (error) throw OutputError(fmt::format("{}: cannot be made: {}", PathText(folder), error.message()));
}

}  // namespace nimbrel::host
