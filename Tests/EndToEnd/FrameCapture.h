#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "Nimbrel/GaussianSplatRenderer.h"
#include "Nimbrel/ShaderConstants.h"

/// One frame drawn by the renderer alone, so that tests reach the inside of it, on this machine or another.
namespace nimbrel::endtoend {

/// What a renderer draws a frame from, as a document that goes through a file as CBOR: "width", "height", "bits" of a
/// channel (8 or 32), "orthographic"; "camera" and "projection", 16 numbers in columns; "parameters", packed, as
/// bytes; "models", each a "file", perhaps a "quality", and its "instances" with "slot", "local", "model" and "third"
/// matrix.
using FrameCapture = nlohmann::ordered_json;

struct CapturedFrame {
    std::vector<std::uint32_t> mKeys;          ///< depths of all splats, sorted
    std::vector<std::uint32_t> mOrder;         ///< places in mRecords, near ones first
    std::vector<gpu::SplatViewData> mRecords;  ///< in the frame's order
    std::vector<std::byte> mTexels;            ///< of the target
};

/// `device` as for --gpu. Throws when there is none, and on a document that lacks something.
CapturedFrame DrawCapture(const FrameCapture& capture, const std::string& device,
                          const RendererPrograms& programs = {});

}  // namespace nimbrel::endtoend
