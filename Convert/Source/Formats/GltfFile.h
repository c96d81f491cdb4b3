#pragma once

#include <nlohmann/json.hpp>

#include "../Format.h"

namespace nimbrel::convert {

/// Values of one attribute, an array of numbers for each splat.
struct GltfAccessor {
    std::shared_ptr<ByteSource> mSource;
    std::uint64_t mStart = 0;
    std::uint64_t mStride = 0;
    std::uint64_t mCount = 0;
    std::size_t mWidth = 1;        ///< numbers for each splat
    std::uint32_t mComponent = 0;  ///< glTF's component type
    bool mIsNormalised = false;

    /// Numbers of `count` records from `first` on, in `to` one record after the other, `targetStride` floats apart.
    void Read(std::uint64_t first, std::size_t count, float* to, std::size_t targetStride, Bytes& scratch) const;
};

/// A glTF document with its buffers, in one file (GLB) or several. Every look-up checks what it finds and throws
/// FormatError.
class GltfFile {
public:
    explicit GltfFile(const Input& input);

    const nlohmann::json& GetDocument() const { return mDocument; }
    /// An element of one of the document's arrays; an empty object where there is none.
    const nlohmann::json& Get(const char* array, std::uint64_t index) const;
    GltfAccessor GetAccessor(std::uint64_t index, std::size_t width);
    /// Files beside the document that hold buffers.
    std::vector<std::filesystem::path> ListBufferFiles() const;

private:
    std::shared_ptr<ByteSource> GetBuffer(std::uint64_t index);

    Input mInput;
    nlohmann::json mDocument;
    std::shared_ptr<ByteSource> mBinary;  ///< the chunk within a GLB file
    std::map<std::uint64_t, std::shared_ptr<ByteSource>> mBuffers;
};

/// A number of a JSON object that counts something; `missing` where it is not there. Throws FormatError for others.
std::uint64_t GetIndex(const nlohmann::json& json, const char* key, std::uint64_t missing);

}  // namespace nimbrel::convert
