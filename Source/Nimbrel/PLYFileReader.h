#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "PluginBase/Exception.h"

struct PLYHeader;

/// The body of a binary PLY file of Gaussian splats, uninterpreted, and where its values stand.
/// Offsets are bytes inside one splat's record.
struct PLYFileData {
    std::int32_t splatCount = 0;  ///< Low 32 bits of the header's count: may be negative in a broken file.
    std::uint32_t stride = 0;     ///< Bytes per splat.
    std::uint32_t shLevel = 0;    ///< Degree of the spherical harmonics, 0 to 3.
    std::uint32_t posOffset = 0;
    std::uint32_t dcOffset = 0;  ///< f_dc_0; the f_rest values are taken from right behind f_dc_2.
    std::uint32_t opacityOffset = 0;
    std::uint32_t scaleOffset = 0;
    std::uint32_t rotOffset = 0;
    std::vector<std::uint8_t> data;  ///< splatCount * stride bytes as in the file, zeros where it ends early.
};

/// Reads PLY files (G. Turk, "The PLY Polygon File Format", 1994) that hold splats as 3D Gaussian Splatting
/// trainers write them: one element "vertex", little-endian, opacity as a logit, scale as a logarithm.
///
/// The header is checked for the names and order of the properties; no value of the body is looked at.
/// No state between calls; any thread.
class PLYFileReader {
public:
    /// A file that is not a splat model.
    class LoadModelException : public zeb::Exception {
    public:
        LoadModelException(std::string_view file, int line, std::string_view function, std::int32_t errorCode,
                           std::string_view plainMessage);

        /// The message without the origin that what() carries.
        std::string message;
    };

    /// Reads the file's header and, with `loadData`, its body.
    /// Throws LoadModelException for a file that cannot be opened or is no splat model, std::runtime_error
    /// for a property before any element, and std::bad_alloc for a body that memory cannot hold.
    static PLYFileData ReadFile(const std::u16string& path, bool loadData);

    /// What ReadFile makes of a header: everything but the body. The check is of the properties' names and their order
    /// alone. Throws LoadModelException.
    static PLYFileData GetLayout(const PLYHeader& header);
};
