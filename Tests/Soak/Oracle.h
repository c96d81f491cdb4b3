#pragma once

#include <cstdint>
#include <map>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "Studio.h"

namespace nimbrel::soak {

using Random = std::mt19937_64;

/// A whole number from `low` to `high`.
int Pick(Random& random, int low, int high);

/// A number that stands for all of a frame's bits.
std::size_t Digest(const host::Frame& frame);

/// A scene of its own: another effect, size, depth, models, something that moves.
struct Variant {
    std::string mName;
    host::Json mDocument;
};

/// The scenes that effects are turned into, and the frames that each gives in a host of its own where nothing fails.
class Oracle {
public:
    explicit Oracle(std::uint64_t seed);

    static constexpr int kFrames = 4;  ///< of each scene

    /// A few scenes that see through one camera, which an effect in one composition can become one after the other.
    std::vector<const Variant*> Choose(Random& random, int count) const;
    /// The digest of the right bits. Renders them the first time, and then no other host may be there.
    std::size_t GetDigest(const Variant& variant, int frame, const std::string& device);

private:
    void Complete(const std::string& device);

    std::vector<Variant> mVariants;
    bool mIsComplete = false;
    std::map<std::tuple<const Variant*, int, std::string>, std::size_t> mDigests;
};

/// Turns composition and parameters of a running effect into those of a scene.
void Become(endtoend::Studio& studio, const Variant& variant);

}  // namespace nimbrel::soak
