#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

/// What a test wants to know of a compiled stage, read from its SPIR-V.
namespace nimbrel::test {

struct BlockMember {
    std::string mName;
    std::uint32_t mOffset = 0;
    bool mIsColumnMajorMatrix = false;  ///< a matrix whose memory holds the source's columns, 16 bytes apart
};

struct Resource {
    std::string mName;
    std::string mRegister;              ///< "t1", "b6": the kind by the binding's range, the number within it
    std::vector<BlockMember> mMembers;  ///< of a constant block, or of a buffer's element if that is a record
    std::uint32_t mSize = 0;            ///< of a constant block, bytes
    std::uint32_t mStride = 0;          ///< of a buffer's elements, bytes
    bool mIsBuffer = false;
    bool mIsTexture = false;
    bool mIsSampler = false;
};

struct StageInfo {
    std::string mEntry;
    std::uint32_t mModel = 0;  ///< 0 vertex, 4 pixel, 5 compute
    std::uint32_t mGroupSize[3] = {};
    std::map<std::string, Resource> mResources;  ///< used by some instruction; by register
    bool mUsesWaves = false;
    int mMostOfABuiltIn = 0;  ///< SPIR-V allows one input of a kind, and newer tools refuse more
    bool mHasPushConstants = false;
    std::size_t mArithmeticCount = 0;  ///< floating-point instructions
    std::size_t mStrictCount = 0;      ///< of them, those that must not be contracted
    std::size_t mFusableCount = 0;     ///< a product and a sum in one, which a device may round once or twice
    bool mIsSigned = false;            ///< Direct3D: the container carries the digest of its content
    std::string mValidator;            ///< DXIL: the version of the validator that it is made for, "1.0"
};

/// Throws std::runtime_error if the code is no SPIR-V module.
StageInfo InspectStage(const void* code, std::size_t size);

}  // namespace nimbrel::test
