#pragma once

#include <cstddef>
#include <string>

/// What a test wants to know of a compiled stage, read from its code.
namespace nimbrel::test {

struct StageInfo {
    bool mUsesWaves = false;
    int mMostOfABuiltIn = 0;           ///< SPIR-V allows one input of a kind, and newer tools refuse more
    std::size_t mArithmeticCount = 0;  ///< floating-point instructions
    std::size_t mStrictCount = 0;      ///< of them, those that must not be contracted
    std::size_t mFusableCount = 0;     ///< a product and a sum in one, which a device may round once or twice
    bool mIsSigned = false;            ///< Direct3D: the container carries the digest of its content
    std::string mValidator;            ///< DXIL: the version of the validator that it is made for, "1.0"
};

/// Throws std::runtime_error if the code is none of the build's.
StageInfo InspectStage(const void* code, std::size_t size);

}  // namespace nimbrel::test
