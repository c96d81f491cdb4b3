#include "NimbrelHost/Support/WholeFile.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <random>
#include <system_error>
#include <utility>

#include "NimbrelHost/Support/Errors.h"
#include "NimbrelHost/Support/Text.h"

#ifdef _WIN32
#include <windows.h>
// After windows.h
#include <fcntl.h>
#include <io.h>
#else
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace nimbrel::host {
namespace {

constexpr std::string_view kPartEnd = ".part";
// Names have at most 255 bytes; a part's has a dot before and a dot, 16 digits and the ending behind the file's.
constexpr std::size_t kMaxStem = 255 - 1 - 1 - 16 - kPartEnd.size();

/// What a part's name keeps of its file's.
std::string GetStem(const std::string& name) {
    std::size_t size = std::min(name.size(), kMaxStem);
    // Not within a character.
    while (size > 0 && size < name.size() && (static_cast<unsigned char>(name[size]) & 0xC0) == 0x80) --size;
    return name.substr(0, size);
}

std::filesystem::path MakePartName(const std::filesystem::path& file) {
    std::random_device random;
    return file.parent_path() / TextPath(fmt::format(".{}.{:08x}{:08x}{}", GetStem(PathText(file.filename())), random(),
                                                     random(), kPartEnd));
}

#ifdef _WIN32

// Nobody else can open or remove it as long as it is open.
std::FILE* CreatePart(const std::filesystem::path& part, int& error) {
    const HANDLE handle =
        CreateFileW(part.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (handle == INVALID_HANDLE_VALUE) {
        error = GetLastError() == ERROR_FILE_EXISTS ? EEXIST : GetLastError() == ERROR_ACCESS_DENIED ? EACCES : ENOENT;
        return nullptr;
    }
    const int number = _open_osfhandle(reinterpret_cast<std::intptr_t>(handle), _O_BINARY);
    return _fdopen(number, "wb");
}

bool Synchronise(std::FILE* stream) { return _commit(_fileno(stream)) == 0; }
std::int64_t Tell(std::FILE* stream) { return _ftelli64(stream); }
bool Seek(std::FILE* stream, std::int64_t place) { return _fseeki64(stream, place, SEEK_SET) == 0; }
void RemoveUnlessUsed(const std::filesystem::path& part) {
    std::error_code ignored;
    std::filesystem::remove(part, ignored);
}

#else

// The lock tells others that somebody writes here; it ends with the process, however that ends. Who came in between and
// took the file for left behind has removed it.
std::FILE* CreatePart(const std::filesystem::path& part, int& error) {
    const int number = open(part.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666);
    error = errno;
    if (number < 0) return nullptr;
    struct stat status {};
    if (flock(number, LOCK_EX) == 0 && fstat(number, &status) == 0 && status.st_nlink == 0) {
        close(number);
        error = EEXIST;
        return nullptr;
    }
    std::FILE* const stream = fdopen(number, "wb");
    error = errno;
    if (stream == nullptr) close(number);
    return stream;
}

// What cannot be synchronised, such as some file systems of containers, is written all the same.
bool Synchronise(std::FILE* stream) { return fsync(fileno(stream)) == 0 || errno == EINVAL || errno == ENOTSUP; }
std::int64_t Tell(std::FILE* stream) { return ftello(stream); }
bool Seek(std::FILE* stream, std::int64_t place) { return fseeko(stream, place, SEEK_SET) == 0; }

void RemoveUnlessUsed(const std::filesystem::path& part) {
    const int number = open(part.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK);
    if (number < 0) return;
    if (flock(number, LOCK_EX | LOCK_NB) == 0) unlink(part.c_str());
    close(number);
}

#endif

}  // namespace

std::string DescribeError(int error) { return std::generic_category().message(error); }

WholeFile::WholeFile(std::filesystem::path file) : mFile(std::move(file)) {
    int error = EEXIST;
    for (int attempt = 0; mStream == nullptr && error == EEXIST && attempt < 10; ++attempt) {
        mPart = MakePartName(mFile);
        mStream = CreatePart(mPart, error);
    }
    if (mStream == nullptr) Fail(error);
    mUnfinished.emplace(mPart);
}

WholeFile::~WholeFile() {
    if (mPart.empty()) return;
    if (mStream != nullptr) std::fclose(mStream);
    std::error_code ignored;
    std::filesystem::remove(mPart, ignored);
}

void WholeFile::Fail(int error) const {
    throw OutputError(fmt::format("{}: cannot be written: {}", PathText(mFile), DescribeError(error)));
}

void WholeFile::Write(const void* data, std::size_t size) {
    if (std::fwrite(data, 1, size, mStream) != size) Fail(errno);
}

std::uint64_t WholeFile::GetPosition() const { return static_cast<std::uint64_t>(Tell(mStream)); }

void WholeFile::SetPosition(std::uint64_t position) {
    if (!Seek(mStream, static_cast<std::int64_t>(position))) Fail(errno);
}

void WholeFile::Commit() {
    if (std::fflush(mStream) != 0 || !Synchronise(mStream)) Fail(errno);
#ifdef _WIN32
    // An open file has no other name there.
    if (std::fclose(std::exchange(mStream, nullptr)) != 0) Fail(errno);
#endif
    // Under the lock, so that nobody takes it for left behind.
    std::error_code error;
    std::filesystem::rename(mPart, mFile, error);
    if (error) throw OutputError(fmt::format("{}: cannot be written: {}", PathText(mFile), error.message()));
    mUnfinished.reset();
    mPart.clear();
    if (mStream != nullptr) std::fclose(std::exchange(mStream, nullptr));
}

void RemoveStaleParts(const std::filesystem::path& folder, const std::set<std::string>& names) {
    std::set<std::string> stems;
    for (const std::string& name : names) stems.insert(GetStem(name));
    std::error_code error;
    std::filesystem::directory_iterator entry(folder.empty() ? "." : folder, error);
    for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
        const std::string name = PathText(entry->path().filename());
        if (!name.starts_with('.') || !name.ends_with(kPartEnd)) continue;
        const std::size_t dot = name.rfind('.', name.size() - kPartEnd.size() - 1);
        if (dot == std::string::npos || dot < 1 || !stems.contains(name.substr(1, dot - 1))) continue;
        if (std::error_code ignored; entry->is_regular_file(ignored)) RemoveUnlessUsed(entry->path());
    }
}

void WriteStandardOutput(std::string_view text) {
    const bool good = std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0;
    if (!good) throw OutputError(fmt::format("standard output: cannot be written: {}", DescribeError(errno)));
}

bool IsStandardOutput([[maybe_unused]] const std::filesystem::path& file) {
    if (file == "-") return true;
#ifndef _WIN32
    struct stat own {
    }, other{};
    return fstat(STDOUT_FILENO, &own) == 0 && stat(file.c_str(), &other) == 0 && own.st_dev == other.st_dev &&
           own.st_ino == other.st_ino;
#else
    return false;
#endif
}

}  // namespace nimbrel::host
