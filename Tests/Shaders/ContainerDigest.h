#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace nimbrel::test {

using ContainerDigest = std::array<std::uint8_t, 16>;

/// The digest that a container of Direct3D programs, DXIL or DXBC, must carry in bytes 4 to 19: MD5 (RFC 1321) over
/// what follows them, with another last block: the length in bits comes first in it, and a quarter of that, plus 1,
/// last. A runtime refuses a container whose digest is zero or another.
ContainerDigest CalcContainerDigest(const std::uint8_t* container, std::size_t size);

}  // namespace nimbrel::test
