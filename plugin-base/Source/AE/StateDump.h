#pragma once

namespace zeb {

struct DrawInfo;
struct ImageInfo;
class ParameterPacker;
class PluginState;

/// Writes a frame's inputs as JSON into the file that the build fixed, replacing it; for developers.
/// Throws std::ios_base::failure when it cannot.
void WriteStateDump(const DrawInfo& drawInfo, const ImageInfo& image, const PluginState& state,
                    const ParameterPacker& packer);

}  // namespace zeb
