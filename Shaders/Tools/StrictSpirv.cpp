// Decorates every floating-point instruction of a SPIR-V module with NoContraction, so that no optimiser and no driver
// fuses or reorders arithmetic: programs that share a function get the same bits from it, and so does the processor. It
// is what the strict mode of the Direct3D compilers does. Comes before any optimiser.
// Usage: nimbrel-strict-spirv INPUT OUTPUT
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <vector>

namespace {

using Words = std::vector<std::uint32_t>;

constexpr std::uint32_t kMagic = 0x07230203;
constexpr std::size_t kHeaderWords = 5;
constexpr std::uint32_t kOpDecorate = 71;
constexpr std::uint32_t kNoContraction = 42;

/// OpTypeVoid and what follows it up to OpTypeForwardPointer: the first of them ends the annotations.
bool IsType(std::uint32_t op) { return op >= 19 && op <= 39; }

/// Floating-point arithmetic that can be decorated: negate, add, subtract, multiply, divide, remainders and the
/// products of vectors and matrices. All have the result's id in their third word.
bool IsFloatArithmetic(std::uint32_t op) {
    constexpr std::uint32_t kOps[] = {127, 129, 131, 133, 136, 140, 141, 142, 143, 144, 145, 146, 147, 148};
    return std::find(std::begin(kOps), std::end(kOps), op) != std::end(kOps);
}

/// False if the words are no well-formed module.
bool MakeStrict(const Words& module, Words& result) {
    if (module.size() < kHeaderWords || module[0] != kMagic) return false;
    std::size_t firstType = 0;
    Words decorations;
    for (std::size_t at = kHeaderWords; at < module.size();) {
        const std::uint32_t op = module[at] & 0xFFFFU;
        const std::uint32_t length = module[at] >> 16;
        if (length == 0 || at + length > module.size()) return false;
        if (firstType == 0 && IsType(op)) firstType = at;
        if (IsFloatArithmetic(op)) {
            if (length < 3) return false;
            decorations.insert(decorations.end(), {(3U << 16) | kOpDecorate, module[at + 2], kNoContraction});
        }
        at += length;
    }
    if (firstType == 0) return false;
    result.assign(module.begin(), module.begin() + static_cast<std::ptrdiff_t>(firstType));
    result.insert(result.end(), decorations.begin(), decorations.end());
    result.insert(result.end(), module.begin() + static_cast<std::ptrdiff_t>(firstType), module.end());
    return true;
}

Words ReadWords(const char* path) {
    std::ifstream input(path, std::ios::binary);
    const std::vector<char> bytes((std::istreambuf_iterator<char>(input)), std::istreambuf_iterator<char>());
    Words words(bytes.size() / sizeof(std::uint32_t));
    std::copy_n(bytes.data(), words.size() * sizeof(std::uint32_t), reinterpret_cast<char*>(words.data()));
    return words;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: nimbrel-strict-spirv INPUT OUTPUT\n");
        return 2;
    }
    Words strict;
    if (!MakeStrict(ReadWords(argv[1]), strict)) {
        std::fprintf(stderr, "nimbrel-strict-spirv: %s is no SPIR-V module\n", argv[1]);
        return 1;
    }
    std::ofstream output(argv[2], std::ios::binary);
    output.write(reinterpret_cast<const char*>(strict.data()),
                 static_cast<std::streamsize>(strict.size() * sizeof(std::uint32_t)));
    output.close();
    if (!output) {
        std::fprintf(stderr, "nimbrel-strict-spirv: cannot write %s\n", argv[2]);
        return 1;
    }
    return 0;
}
