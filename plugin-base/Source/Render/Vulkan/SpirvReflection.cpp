#include "SpirvReflection.h"

#include <algorithm>
#include <cstring>
#include <unordered_map>
#include <unordered_set>

#include <fmt/format.h>

namespace zeb::render {
namespace {

// Numbers of the SPIR-V specification, sections 3.3 to 3.52.
constexpr std::uint32_t kMagic = 0x07230203;
constexpr std::size_t kHeaderWords = 5;

enum Op : std::uint32_t {
    kOpEntryPoint = 15,
    kOpCapability = 17,
    kOpTypeImage = 25,
    kOpTypeSampler = 26,
    kOpTypeSampledImage = 27,
    kOpTypeArray = 28,
    kOpTypeRuntimeArray = 29,
    kOpTypeStruct = 30,
    kOpTypePointer = 32,
    kOpFunction = 54,
    kOpFunctionEnd = 56,
    kOpFunctionCall = 57,
    kOpVariable = 59,
    kOpImageTexelPointer = 60,
    kOpLoad = 61,
    kOpStore = 62,
    kOpCopyMemory = 63,
    kOpAccessChain = 65,
    kOpInBoundsAccessChain = 66,
    kOpArrayLength = 68,
    kOpDecorate = 71,
    kOpMemberDecorate = 72,
    kOpCopyObject = 83,
};
enum Decoration : std::uint32_t {
    kBufferBlock = 3,
    kArrayStride = 6,
    kNonWritable = 24,
    kLocation = 30,
    kBinding = 33,
    kDescriptorSet = 34,
};
enum StorageClass : std::uint32_t {
    kUniformConstant = 0,
    kInput = 1,
    kUniform = 2,
    kPushConstant = 9,
    kStorageBuffer = 12,
};
constexpr std::uint32_t kCapabilityGroupNonUniform = 61;
constexpr std::uint32_t kDimensionBuffer = 5;

struct Type {
    std::uint32_t mOp = 0;
    std::vector<std::uint32_t> mOperands;  ///< after the result
};

struct Variable {
    std::uint32_t mId = 0;
    std::uint32_t mPointerType = 0;
    std::uint32_t mStorageClass = 0;
};

class Module {
public:
    Module(const void* code, std::size_t size, const std::string& program) : mProgram(program), mWords(size / 4) {
        if (code == nullptr || size % 4 != 0 || mWords.size() < kHeaderWords) Fail("its code is no SPIR-V module");
        std::memcpy(mWords.data(), code, size);
        if (mWords[0] != kMagic) Fail("its code is no SPIR-V module");
        for (std::size_t at = kHeaderWords; at < mWords.size();) {
            const std::uint32_t count = mWords[at] >> 16;
            if (count == 0 || count > mWords.size() - at) Fail("its code is damaged");
            Read(mWords[at] & 0xffffU, mWords.data() + at + 1, count - 1);
            at += count;
        }
    }

    StageReflection Reflect() {
        for (const Variable& variable : mVariables) {
            if (variable.mStorageClass == kInput) {
                if (const auto* location = Find(variable.mId, kLocation)) mResult.mInputLocations.push_back(*location);
            } else if (mUsed.count(variable.mId) != 0) {
                if (variable.mStorageClass == kPushConstant)
                    mResult.mUsesPushConstants = true;
                else if (Find(variable.mId, kBinding) != nullptr)
                    mResult.mBindings.push_back(Describe(variable));
            }
        }
        std::sort(mResult.mBindings.begin(), mResult.mBindings.end(),
                  [](const ShaderBinding& a, const ShaderBinding& b) { return a.mBinding < b.mBinding; });
        return std::move(mResult);
    }

private:
    using Key = std::uint64_t;
    static Key ToKey(std::uint32_t id, std::uint32_t decoration) { return (Key{id} << 32) | decoration; }

    [[noreturn]] void Fail(const std::string& what) const {
        ZEB_RENDER_THROW("Failed to read the program \"{}\": {}", mProgram, what);
    }

    void Need(std::uint32_t count, std::uint32_t needed) const {
        if (count < needed) Fail("its code is damaged");
    }

    const std::uint32_t* Find(std::uint32_t id, std::uint32_t decoration) const {
        const auto found = mDecorations.find(ToKey(id, decoration));
        return found == mDecorations.end() ? nullptr : &found->second;
    }

    void Read(std::uint32_t op, const std::uint32_t* words, std::uint32_t count) {
        switch (op) {
            case kOpCapability:
                Need(count, 1);
                if (words[0] == kCapabilityGroupNonUniform) mResult.mUsesWaves = true;
                break;
            case kOpEntryPoint: ReadEntryPoint(words, count); break;
            case kOpTypeImage:
            case kOpTypeSampler:
            case kOpTypeSampledImage:
            case kOpTypeArray:
            case kOpTypeRuntimeArray:
            case kOpTypeStruct:
            case kOpTypePointer:
                Need(count, 1);
                mTypes[words[0]] = {op, {words + 1, words + count}};
                break;
            case kOpVariable:
                Need(count, 3);
                if (!mInFunction) mVariables.push_back({words[1], words[0], words[2]});
                break;
            case kOpDecorate:
                Need(count, 2);
                mDecorations[ToKey(words[0], words[1])] = count > 2 ? words[2] : 0;
                break;
            case kOpMemberDecorate:
                Need(count, 3);
                if (words[2] == kNonWritable) mDecorations[ToKey(words[0], kNonWritable)] = 0;
                break;
            default: ReadUse(op, words, count); break;
        }
    }

    void ReadEntryPoint(const std::uint32_t* words, std::uint32_t count) {
        Need(count, 3);
        if (!mResult.mEntryPoint.empty()) Fail("it has more than one entry point");
        constexpr VkShaderStageFlagBits kStages[] = {VK_SHADER_STAGE_VERTEX_BIT,
                                                     VK_SHADER_STAGE_TESSELLATION_CONTROL_BIT,
                                                     VK_SHADER_STAGE_TESSELLATION_EVALUATION_BIT,
                                                     VK_SHADER_STAGE_GEOMETRY_BIT,
                                                     VK_SHADER_STAGE_FRAGMENT_BIT,
                                                     VK_SHADER_STAGE_COMPUTE_BIT};
        if (words[0] >= std::size(kStages)) Fail("its kind of stage is unknown");
        mResult.mStage = kStages[words[0]];
        // The name's bytes stand in the words, low byte first, with a zero at the end.
        for (std::uint32_t i = 2; i < count; ++i) {
            for (std::uint32_t shift = 0; shift < 32; shift += 8) {
                const auto c = static_cast<char>((words[i] >> shift) & 0xffU);
                if (c == 0) return;
                mResult.mEntryPoint.push_back(c);
            }
        }
    }

    // Notes the ids that function bodies refer to, so that a declared but idle resource needs no binding.
    void ReadUse(std::uint32_t op, const std::uint32_t* words, std::uint32_t count) {
        const auto use = [&](std::uint32_t from, std::uint32_t to) {
            for (std::uint32_t i = from; i < std::min(to, count); ++i) mUsed.insert(words[i]);
        };
        switch (op) {
            case kOpFunction: mInFunction = true; break;
            case kOpFunctionEnd: mInFunction = false; break;
            case kOpStore:
            case kOpCopyMemory: use(0, 2); break;
            case kOpLoad:
            case kOpAccessChain:
            case kOpInBoundsAccessChain:
            case kOpArrayLength:
            case kOpImageTexelPointer:
            case kOpCopyObject: use(2, 3); break;
            case kOpFunctionCall: use(3, count); break;
            default: break;
        }
    }

    const Type& GetType(std::uint32_t id, std::size_t operands) const {
        const auto found = mTypes.find(id);
        if (found == mTypes.end() || found->second.mOperands.size() < operands) Fail("a resource has no type");
        return found->second;
    }

    ShaderBinding Describe(const Variable& variable) const {
        ShaderBinding binding;
        binding.mBinding = *Find(variable.mId, kBinding);
        if (const auto* set = Find(variable.mId, kDescriptorSet); set != nullptr && *set != 0)
            Fail(fmt::format("binding {} lies in set {}, only set 0 exists", binding.mBinding, *set));
        const std::uint32_t typeId = GetType(variable.mPointerType, 2).mOperands[1];
        const Type& type = GetType(typeId, 0);
        if (type.mOp == kOpTypeSampler) {
            binding.mType = VK_DESCRIPTOR_TYPE_SAMPLER;
        } else if (type.mOp == kOpTypeImage) {
            DescribeImage(type, binding);
        } else if (type.mOp == kOpTypeStruct) {
            DescribeBlock(variable, typeId, type, binding);
        } else {
            Fail(fmt::format("binding {} is of a kind that is not supported", binding.mBinding));
        }
        return binding;
    }

    // Operands: sampled type, dimension, depth, arrayed, multisampled, sampled (1 sampled, 2 storage), format.
    void DescribeImage(const Type& type, ShaderBinding& binding) const {
        if (type.mOperands.size() < 6) Fail("its code is damaged");
        if (type.mOperands[1] == kDimensionBuffer)
            Fail(fmt::format("binding {} is a texel buffer, which is not supported", binding.mBinding));
        binding.mIsWritten = type.mOperands[5] == 2;
        binding.mType = binding.mIsWritten ? VK_DESCRIPTOR_TYPE_STORAGE_IMAGE : VK_DESCRIPTOR_TYPE_SAMPLED_IMAGE;
    }

    void DescribeBlock(const Variable& variable, std::uint32_t typeId, const Type& type, ShaderBinding& binding) const {
        const bool isStorage = variable.mStorageClass == kStorageBuffer || Find(typeId, kBufferBlock) != nullptr;
        if (!isStorage) {
            binding.mType = VK_DESCRIPTOR_TYPE_UNIFORM_BUFFER;
            return;
        }
        binding.mType = VK_DESCRIPTOR_TYPE_STORAGE_BUFFER;
        binding.mIsWritten = Find(typeId, kNonWritable) == nullptr && Find(variable.mId, kNonWritable) == nullptr;
        if (type.mOperands.empty()) return;
        const std::uint32_t last = type.mOperands.back();
        if (const auto* stride = Find(last, kArrayStride)) binding.mArrayStride = *stride;
    }

    const std::string& mProgram;
    std::vector<std::uint32_t> mWords;
    StageReflection mResult;
    bool mInFunction = false;
    std::unordered_map<std::uint32_t, Type> mTypes;
    std::unordered_map<Key, std::uint32_t> mDecorations;
    std::vector<Variable> mVariables;
    std::unordered_set<std::uint32_t> mUsed;
};

}  // namespace

StageReflection ReflectStage(const void* code, std::size_t size, const std::string& program) {
    return Module(code, size, program).Reflect();
}

}  // namespace zeb::render
