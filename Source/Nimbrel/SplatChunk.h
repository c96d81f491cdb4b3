#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include <glm/vec3.hpp>
#include <glm/vec4.hpp>

#include "GaussianSplatAsset.h"
#include "PLYFileReader.h"

/// Where the values of a splat stand in a record of our own making: the file's record with room behind it
/// for values that a file's odd property types leave without space. They read as 0 there, and no write
/// reaches a neighbour.
struct RecordLayout {
    explicit RecordLayout(const PLYFileData& file);

    std::size_t mFileStride;
    std::size_t mRecordSize;
    std::size_t mPosition, mColor, mSH, mOpacity, mScale, mRotation;
    int mCoefficientCount;  ///< Spherical harmonics per channel: 0, 3, 8 or 15.
    bool mPlainPosition;    ///< The position can be read in the file's record as it stands.
};

/// Copies record `index` of the file to `record` and turns its spherical harmonics from planes of red,
/// green and blue into (r, g, b) per coefficient.
void LoadRecord(const PLYFileData& file, const RecordLayout& layout, std::size_t index, std::uint8_t* record);

/// Up to 256 splats on their way from the file to the asset. Values are worked on in place, in the order of
/// the steps, so that properties that share bytes (a file may lack `opacity`) give one defined result.
///
/// Reads the file's data; owns its records. One thread.
class SplatChunk {
public:
    /// `file` must outlive the chunk.
    explicit SplatChunk(const PLYFileData& file);

    static std::size_t GetMemorySize(const PLYFileData& file);

    /// Loads the splats with the given numbers in the file and transforms them: rotation to its smallest
    /// three, scale to the eighth root of the length, colour to 0..1 by the constant harmonic, opacity to
    /// the square root form.
    void Load(std::span<const std::uint32_t> indices);

    /// Brings every value into the chunk's range. A component that is constant over the chunk becomes NaN.
    /// Without `normaliseSH` the spherical harmonics keep their values; their range is given all the same.
    GaussianSplatAsset::ChunkInfo Normalise(bool normaliseSH);

    std::size_t GetCount() const { return mCount; }
    int GetCoefficientCount() const { return mLayout.mCoefficientCount; }
    glm::vec3 GetPosition(std::size_t i) const;
    glm::vec3 GetScale(std::size_t i) const;
    glm::vec4 GetColor(std::size_t i) const;  ///< w is the opacity.
    glm::vec4 GetRotation(std::size_t i) const;
    /// Writes 3 * GetCoefficientCount() floats.
    void GetSH(std::size_t i, float* out) const;

private:
    struct Ranges;

    std::uint8_t* Record(std::size_t i) { return mRecords.data() + i * mLayout.mRecordSize; }
    const std::uint8_t* Record(std::size_t i) const { return mRecords.data() + i * mLayout.mRecordSize; }
    void Transform(std::uint8_t* record) const;
    Ranges CalcRanges() const;

    const PLYFileData& mFile;
    RecordLayout mLayout;
    std::vector<std::uint8_t> mRecords;
    std::size_t mCount = 0;
};
