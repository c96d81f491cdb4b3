#include "SpirvModule.h"

#include <algorithm>
#include <cstring>
#include <set>
#include <stdexcept>

// Numbers of instructions, decorations and storage classes are those of SPIR-V 1.3 (Khronos).
namespace nimbrel::test {
namespace {

constexpr std::uint32_t kOpName = 5, kOpMemberName = 6, kOpEntryPoint = 15, kOpExecutionMode = 16, kOpCapability = 17;
constexpr std::uint32_t kOpTypeInt = 21, kOpTypeVector = 23, kOpTypeMatrix = 24, kOpTypeImage = 25;
constexpr std::uint32_t kOpTypeSampler = 26, kOpTypeArray = 28, kOpTypeStruct = 30;
constexpr std::uint32_t kOpTypePointer = 32, kOpConstant = 43, kOpFunction = 54, kOpVariable = 59;
constexpr std::uint32_t kOpDecorate = 71, kOpMemberDecorate = 72;
constexpr std::uint32_t kRowMajor = 4, kArrayStride = 6, kMatrixStride = 7, kBinding = 33, kOffset = 35;
constexpr std::uint32_t kNoContraction = 42, kBufferBlock = 3, kLocalSize = 17, kGroupNonUniform = 61;
constexpr std::uint32_t kPushConstant = 9, kBuiltIn = 11;
constexpr std::uint32_t kOpExtInst = 12, kFma = 50;  // the only set of extended instructions is GLSL.std.450

struct Instruction {
    std::uint32_t mOp;
    std::vector<std::uint32_t> mWords;  ///< behind the first
};

std::string ReadString(const Instruction& instruction, std::size_t first) {
    std::string text;
    for (std::size_t i = first; i < instruction.mWords.size(); ++i) {
        for (std::uint32_t shift = 0; shift < 32; shift += 8) {
            const char c = static_cast<char>((instruction.mWords[i] >> shift) & 0xFFU);
            if (c == 0) return text;
            text.push_back(c);
        }
    }
    return text;
}

std::vector<Instruction> Split(const void* code, std::size_t size) {
    std::vector<std::uint32_t> words(size / 4);
    if (words.size() < 5 || size % 4 != 0) throw std::runtime_error("no SPIR-V module");
    std::memcpy(words.data(), code, size);
    if (words[0] != 0x07230203) throw std::runtime_error("no SPIR-V module");
    std::vector<Instruction> instructions;
    for (std::size_t at = 5; at < words.size();) {
        const std::size_t length = words[at] >> 16;
        if (length == 0 || at + length > words.size()) throw std::runtime_error("damaged SPIR-V module");
        const auto first = words.begin() + static_cast<std::ptrdiff_t>(at);
        instructions.push_back({words[at] & 0xFFFFU, {first + 1, first + static_cast<std::ptrdiff_t>(length)}});
        at += length;
    }
    return instructions;
}

bool IsFloatArithmetic(std::uint32_t op) {
    return op == 127 || op == 129 || op == 131 || op == 133 || op == 136 || (op >= 140 && op <= 148);
}

class Inspector {
public:
    explicit Inspector(std::vector<Instruction> instructions) : mInstructions(std::move(instructions)) {
        for (const Instruction& i : mInstructions) ReadDeclaration(i);
        bool inBody = false;
        for (const Instruction& i : mInstructions) {
            inBody = inBody || i.mOp == kOpFunction;
            if (inBody) ReadBody(i);
        }
        for (const auto& [id, words] : mVariables) Describe(id, words);
    }

    StageInfo mInfo;

private:
    using Words = std::vector<std::uint32_t>;
    using MemberKey = std::pair<std::uint32_t, std::uint32_t>;

    void ReadDeclaration(const Instruction& i) {
        const Words& w = i.mWords;
        switch (i.mOp) {
            case kOpName: mNames[w[0]] = ReadString(i, 1); break;
            case kOpMemberName: mMemberNames[{w[0], w[1]}] = ReadString(i, 2); break;
            case kOpEntryPoint:
                mInfo.mModel = w[0];
                mInfo.mEntry = ReadString(i, 2);
                break;
            case kOpExecutionMode:
                if (w[1] == kLocalSize) std::copy_n(w.begin() + 2, 3, mInfo.mGroupSize);
                break;
            case kOpCapability: mInfo.mUsesWaves = mInfo.mUsesWaves || w[0] == kGroupNonUniform; break;
            case kOpConstant: mConstants[w[1]] = w[2]; break;
            case kOpDecorate:
                mDecorations[w[0]][w[1]] = w.size() > 2 ? w[2] : 0;
                if (w[1] == kBuiltIn) mInfo.mMostOfABuiltIn = std::max(mInfo.mMostOfABuiltIn, ++mBuiltIns[w[2]]);
                break;
            case kOpMemberDecorate: mMemberDecorations[{w[0], w[1]}][w[2]] = w.size() > 3 ? w[3] : 0; break;
            case kOpVariable: mVariables[w[1]] = w; break;
            default:
                if (i.mOp >= kOpTypeInt && i.mOp <= kOpTypePointer) mTypes[w[0]] = i;
                break;
        }
    }

    void ReadBody(const Instruction& i) {
        mUsed.insert(i.mWords.begin(), i.mWords.end());
        if (i.mOp == kOpExtInst && i.mWords.at(3) == kFma) ++mInfo.mFusableCount;
        if (!IsFloatArithmetic(i.mOp)) return;
        ++mInfo.mArithmeticCount;
        mInfo.mStrictCount += mDecorations[i.mWords[1]].count(kNoContraction);
    }

    /// Bytes that a value of the type takes up to its last one.
    std::uint32_t SizeOf(std::uint32_t type, const std::map<std::uint32_t, std::uint32_t>& decorations) {
        const Instruction& t = mTypes.at(type);
        switch (t.mOp) {
            case kOpTypeVector: return t.mWords[2] * SizeOf(t.mWords[1], {});
            case kOpTypeMatrix: return t.mWords[2] * decorations.at(kMatrixStride);
            case kOpTypeArray: return mConstants.at(t.mWords[2]) * mDecorations[type].at(kArrayStride);
            default: return t.mWords[1] / 8;
        }
    }

    void ReadMembers(std::uint32_t structId, Resource& resource) {
        const Words& members = mTypes.at(structId).mWords;
        for (std::uint32_t m = 0; m + 1 < members.size(); ++m) {
            const auto& decorations = mMemberDecorations[{structId, m}];
            const std::uint32_t offset = decorations.at(kOffset);
            // The compiler transposes the source's matrices, so that row-major means by the source's columns.
            const bool matrix = decorations.count(kRowMajor) != 0 && decorations.at(kMatrixStride) == 16;
            resource.mMembers.push_back({mMemberNames[{structId, m}], offset, matrix});
            resource.mSize = offset + SizeOf(members[m + 1], decorations);
        }
    }

    void DescribeBuffer(std::uint32_t structId, Resource& resource) {
        resource.mIsBuffer = true;
        const std::uint32_t array = mTypes.at(structId).mWords.at(1);
        resource.mStride = mDecorations[array].at(kArrayStride);
        const std::uint32_t element = mTypes.at(array).mWords.at(1);
        if (mTypes.at(element).mOp == kOpTypeStruct) ReadMembers(element, resource);
    }

    void Describe(std::uint32_t id, const Words& variable) {
        if (mUsed.count(id) == 0) return;
        if (variable[2] == kPushConstant) mInfo.mHasPushConstants = true;
        if (mDecorations[id].count(kBinding) == 0) return;
        const std::uint32_t binding = mDecorations[id][kBinding];
        Resource resource;
        resource.mName = mNames[id];
        resource.mRegister = "btus"[binding / 32] + std::to_string(binding % 32);
        const std::uint32_t type = mTypes.at(variable[0]).mWords[2];
        const std::uint32_t op = mTypes.at(type).mOp;
        if (op == kOpTypeImage) {
            resource.mIsTexture = true;
        } else if (op == kOpTypeSampler) {
            resource.mIsSampler = true;
        } else if (mDecorations[type].count(kBufferBlock) != 0) {
            DescribeBuffer(type, resource);
        } else {
            resource.mName = mNames[type];
            ReadMembers(type, resource);
        }
        mInfo.mResources[resource.mRegister] = resource;
    }

    std::vector<Instruction> mInstructions;
    std::map<std::uint32_t, std::string> mNames;
    std::map<MemberKey, std::string> mMemberNames;
    std::map<std::uint32_t, std::uint32_t> mConstants;
    std::map<std::uint32_t, std::map<std::uint32_t, std::uint32_t>> mDecorations;
    std::map<std::uint32_t, int> mBuiltIns;
    std::map<MemberKey, std::map<std::uint32_t, std::uint32_t>> mMemberDecorations;
    std::map<std::uint32_t, Instruction> mTypes;
    std::map<std::uint32_t, Words> mVariables;
    std::set<std::uint32_t> mUsed;
};

}  // namespace

StageInfo InspectStage(const void* code, std::size_t size) { return Inspector(Split(code, size)).mInfo; }

}  // namespace nimbrel::test
