#include "PluginBase/ComputeCache/Hasher.h"

#include <bit>
#include <string>

#include <fmt/format.h>
#include <gtest/gtest.h>

namespace zeb {
namespace {

std::string ToHex(const CacheKey& key) {
    std::string text;
    for (const unsigned char byte : std::bit_cast<std::array<unsigned char, 16>>(key))
        text += fmt::format("{:02x}", byte);
    return text;
}

struct Vector {
    std::string mInput;
    std::string mDigest;
};

// The test suite of RFC 1321, and lengths around the block's edges whose digests come from md5sum.
const Vector kVectors[] = {
    {"", "d41d8cd98f00b204e9800998ecf8427e"},
    {"a", "0cc175b9c0f1b6a831c399e269772661"},
    {"abc", "900150983cd24fb0d6963f7d28e17f72"},
    {"message digest", "f96b697d7cb7938d525a2f31aaf161d0"},
    {"abcdefghijklmnopqrstuvwxyz", "c3fcd3d76192e4007dfb496cca67e13b"},
    {"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789", "d174ab98d277d9f5a5611c2c9f419d9f"},
    {"12345678901234567890123456789012345678901234567890123456789012345678901234567890",
     "57edf4a22be3c955ac49da2e2107b67a"},
    {std::string(55, 'x'), "04364420e25c512fd958a70738aa8f72"},
    {std::string(56, 'x'), "668a72d5ba17f08e62dabcafad6db14b"},
    {std::string(57, 'x'), "693037871c4a9d3d8685018905cb530a"},
    {std::string(63, 'x'), "7dc2ca208106a2f703567bdff99d8981"},
    {std::string(64, 'x'), "c1bb4f81d892b2d57947682aeb252456"},
    {std::string(65, 'x'), "1bc932052302d074bdec39795fe00cf6"},
    {std::string(119, 'x'), "ab347a5f68c8a443cfcddc633f12c24f"},
    {std::string(120, 'x'), "fb98667f98096de92620b64f46e1c5b5"},
    {std::string(128, 'x'), "d69cb61a6ee87200676eb0d4b90edbcb"},
};

TEST(Hasher, GivesThePublishedDigestsWhateverThePieces) {
    Hasher hasher;
    for (const Vector& vector : kVectors) {
        for (const std::size_t piece : {std::size_t{7}, std::size_t{1000}}) {
            const auto state = hasher.CreateState();
            for (std::size_t at = 0; at < vector.mInput.size(); at += piece) {
                state->Mix(vector.mInput.data() + at, std::min(piece, vector.mInput.size() - at));
                state->Finish();  // must not disturb the running state
            }
            EXPECT_EQ(ToHex(state->Finish()), vector.mDigest) << vector.mInput;
            EXPECT_EQ(ToHex(state->Finish()), vector.mDigest);
        }
    }
}

}  // namespace
}  // namespace zeb
