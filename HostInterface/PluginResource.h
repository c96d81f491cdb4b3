#pragma once

#include <cstdint>
#include <cstdio>
#include <fstream>
#include <string>

/// The resource by which a host on Windows finds a plug-in in its file without calling it.
///
/// Little-endian: u16 1, u32 version 0, u32 number of properties; then each property: vendor and key, four characters
/// each in reverse, u32 0, u32 length, and the data, zero-filled to a multiple of four.
namespace nimbrel {

inline void AppendNumber(std::string& bytes, std::uint32_t value, int size) {
    for (int i = 0; i < size; ++i) bytes += static_cast<char>(value >> (8 * i) & 0xFFU);
}

inline std::string Number(std::uint32_t value) {
    std::string data;
    AppendNumber(data, value, 4);
    return data;
}

inline std::string Pair(std::uint32_t first, std::uint32_t second) { return Number(first | second << 16); }

inline std::string Counted(const std::string& text) { return static_cast<char>(text.size()) + text; }

inline std::string Reversed(const std::string& text) { return {text.rbegin(), text.rend()}; }

/// Properties in the order in which they are added.
class Resource {
public:
    void Add(const char* key, std::string data) {
        data.resize((data.size() + 3) / 4 * 4);
        mProperties += Reversed("8BIM") + Reversed(key) + Number(0);
        mProperties += Number(static_cast<std::uint32_t>(data.size())) + data;
        ++mCount;
    }

    std::string Build() const {
        std::string bytes;
        AppendNumber(bytes, 1, 2);
        return bytes + Number(0) + Number(mCount) + mProperties;
    }

private:
    std::string mProperties;
    std::uint32_t mCount = 0;
};

/// What a program does that writes a resource: its one argument is the file. Gives the exit code.
inline int WriteResource(int argc, char** argv, const std::string& bytes) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s OUTPUT\n", argv[0]);
        return 2;
    }
    std::ofstream output(argv[1], std::ios::binary);
    output.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    output.close();
    if (!output) {
        std::fprintf(stderr, "%s: cannot write %s\n", argv[0], argv[1]);
        return 1;
    }
    return 0;
}

}  // namespace nimbrel
