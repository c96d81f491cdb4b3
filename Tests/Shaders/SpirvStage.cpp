#include <algorithm>
#include <cstdint>
#include <cstring>
#include <map>
#include <set>
#include <stdexcept>
#include <vector>

#include "StageInfo.h"

// Numbers of instructions and decorations are those of SPIR-V 1.3 (Khronos).
namespace nimbrel::test {
namespace {

constexpr std::uint32_t kOpExtInst = 12, kFma = 50;  // the only set of extended instructions is GLSL.std.450
constexpr std::uint32_t kOpCapability = 17, kGroupNonUniform = 61;
constexpr std::uint32_t kOpDecorate = 71, kBuiltIn = 11, kNoContraction = 42;

bool IsFloatArithmetic(std::uint32_t op) {
    return op == 127 || op == 129 || op == 131 || op == 133 || op == 136 || (op >= 140 && op <= 148);
}

}  // namespace

StageInfo InspectStage(const void* code, std::size_t size) {
    std::vector<std::uint32_t> words(size / 4);
    if (words.size() < 5 || size % 4 != 0) throw std::runtime_error("no SPIR-V module");
    std::memcpy(words.data(), code, size);
    if (words[0] != 0x07230203) throw std::runtime_error("no SPIR-V module");
    StageInfo info;
    std::set<std::uint32_t> strict;  // results; decorations stand before the code
    std::map<std::uint32_t, int> builtIns;
    for (std::size_t at = 5; at < words.size();) {
        const std::uint32_t op = words[at] & 0xFFFFU;
        const std::size_t length = words[at] >> 16;
        if (length == 0 || at + length > words.size()) throw std::runtime_error("damaged SPIR-V module");
        const std::uint32_t* const operands = &words[at] + 1;
        if (op == kOpCapability) info.mUsesWaves = info.mUsesWaves || operands[0] == kGroupNonUniform;
        if (op == kOpDecorate && operands[1] == kNoContraction) strict.insert(operands[0]);
        if (op == kOpDecorate && operands[1] == kBuiltIn)
            info.mMostOfABuiltIn = std::max(info.mMostOfABuiltIn, ++builtIns[operands[2]]);
        if (op == kOpExtInst && operands[3] == kFma) ++info.mFusableCount;
        if (IsFloatArithmetic(op)) {
            ++info.mArithmeticCount;
            info.mStrictCount += strict.count(operands[1]);
        }
        at += length;
    }
    return info;
}

}  // namespace nimbrel::test
