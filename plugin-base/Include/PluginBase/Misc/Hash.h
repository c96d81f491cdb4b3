#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace zeb {

/// 64-bit FNV-1a (Fowler, Noll, Vo) over bytes.
constexpr std::uint64_t kFnvOffsetBasis = 0xcbf29ce484222325ULL;
constexpr std::uint64_t kFnvPrime = 0x100000001b3ULL;

constexpr std::uint64_t HashFnv1a(std::string_view bytes, std::uint64_t seed = kFnvOffsetBasis) {
    std::uint64_t hash = seed;
    for (const char c : bytes) {
        hash ^= static_cast<unsigned char>(c);
        hash *= kFnvPrime;
    }
    return hash;
}

/// Hash functor for unordered maps with narrow string keys.
struct StringHash {
    using is_transparent = void;
    std::size_t operator()(std::string_view text) const { return static_cast<std::size_t>(HashFnv1a(text)); }
};

/// Hash functor for unordered maps with integer keys: FNV-1a over the value's bytes, low byte first.
struct IntegerHash {
    template <class T>
    std::size_t operator()(T value) const {
        std::uint64_t hash = kFnvOffsetBasis;
        auto rest = static_cast<std::uint64_t>(value);
        for (std::size_t i = 0; i < sizeof(T); ++i, rest >>= 8) {
            hash ^= rest & 0xffU;
            hash *= kFnvPrime;
        }
        return static_cast<std::size_t>(hash);
    }
};

}  // namespace zeb
