// Draws captured frames by Direct3D and writes what they leave behind: DrawCaptures IN OUT. IN is
// a list of captures, OUT a list of objects with the "keys" and the "order" of each as bytes; both CBOR.
#include <cstdint>
#include <exception>
#include <fstream>
#include <iostream>
#include <iterator>
#include <vector>

#include "FrameCapture.h"

namespace {

using nimbrel::endtoend::FrameCapture;

FrameCapture ToBytes(const std::vector<std::uint32_t>& words) {
    const auto* const bytes = reinterpret_cast<const std::uint8_t*>(words.data());
    return FrameCapture::binary({bytes, bytes + 4 * words.size()});
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) return 2;
    try {
        std::ifstream input(argv[1], std::ios::binary);
        FrameCapture results = FrameCapture::array();
        for (const FrameCapture& capture : FrameCapture::from_cbor(input)) {
            const auto frame = nimbrel::endtoend::DrawCapture(capture, "dx12");
            results.push_back({{"keys", ToBytes(frame.mKeys)}, {"order", ToBytes(frame.mOrder)}});
        }
        std::ofstream output(argv[2], std::ios::binary);
        FrameCapture::to_cbor(results, output);
        output.close();
        return output ? 0 : 1;
    } catch (const std::exception& error) {
        std::cerr << error.what() << "\n";
        return 1;
    }
}
