#include "SampleFiles.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <map>

#include <fmt/format.h>
#include <webp/encode.h>
#include <zip.h>
#include <zlib.h>
#include <zstd.h>

namespace nimbrel::convert::test {
namespace {

template <class T>
void Add(std::string& file, T value) {
    file.append(reinterpret_cast<const char*>(&value), sizeof(T));
}

std::uint8_t ToByte(double value) { return static_cast<std::uint8_t>(std::clamp(std::lround(value), 0L, 255L)); }

double Sigmoid(double value) { return 1 / (1 + std::exp(-value)); }

/// One splat by names instead of places.
struct Splat {
    Splat(const RowLayout& layout, const std::vector<float>& row)
        : mPosition(row.data()),
          mDc(row.data() + RowLayout::kDc),
          mRest(row.data() + RowLayout::kRest),
          mOpacity(Sigmoid(row[layout.Opacity()])),
          mScale(row.data() + layout.Scale()),
          mRotation(row.data() + layout.Rotation()),
          mCoefficients(layout.Coefficients()) {}

    double Color(int c) const { return 0.5 + 0.28209479177387814 * mDc[c]; }
    float Rest(std::size_t k, std::size_t c) const { return mRest[c * mCoefficients + k]; }

    const float *mPosition, *mDc, *mRest;
    double mOpacity;
    const float *mScale, *mRotation;
    std::size_t mCoefficients;
};

std::vector<Splat> GetSplats(const Sample& sample) {
    std::vector<Splat> splats;
    for (const std::vector<float>& row : sample.mRows) splats.emplace_back(sample.mLayout, row);
    return splats;
}

/// The largest component's place, and the other three in order with the sign that makes the largest positive.
struct SmallThree {
    explicit SmallThree(std::array<double, 4> q) {
        for (std::size_t i = 1; i < 4; ++i) {
            if (std::abs(q[i]) > std::abs(q[mLargest])) mLargest = i;
        }
        for (std::size_t i = 0, to = 0; i < 4; ++i) {
            if (i != mLargest) mThree[to++] = q[mLargest] < 0 ? -q[i] : q[i];
        }
    }
    std::size_t mLargest = 0;
    double mThree[3];
};

std::array<double, 4> Rotation(const Splat& splat) {
    return {splat.mRotation[0], splat.mRotation[1], splat.mRotation[2], splat.mRotation[3]};
}

std::vector<std::string> GetNames(const RowLayout& layout) {
    std::vector<std::string> names{"x", "y", "z", "f_dc_0", "f_dc_1", "f_dc_2"};
    for (std::size_t i = 0; i < 3 * layout.Coefficients(); ++i) names.push_back(fmt::format("f_rest_{}", i));
    for (const char* name : {"opacity", "scale_0", "scale_1", "scale_2", "rot_0", "rot_1", "rot_2", "rot_3"}) {
        names.emplace_back(name);
    }
    return names;
}

std::uint32_t Pack111011(const double (&share)[3]) {
    const auto part = [](double value, double most) { return static_cast<std::uint32_t>(std::lround(value * most)); };
    return (part(share[0], 2047) << 21) | (part(share[1], 1023) << 11) | part(share[2], 2047);
}

std::uint16_t ToHalf(float value) {
    std::uint32_t bits;
    std::memcpy(&bits, &value, 4);
    const auto exponent = static_cast<int>((bits >> 23) & 255) - 112;
    if (exponent <= 0) return static_cast<std::uint16_t>((bits >> 16) & 0x8000);
    return static_cast<std::uint16_t>(((bits >> 16) & 0x8000) | (static_cast<std::uint32_t>(exponent) << 10) |
                                      ((bits >> 13) & 1023));
}

/// Values spread evenly over a range, and the byte of the one next to a value.
struct Codebook {
    void Take(double value) {
        mLow = std::min(mLow, value);
        mHigh = std::max(mHigh, value);
    }
    std::uint8_t Find(double value) const { return mHigh > mLow ? ToByte((value - mLow) / (mHigh - mLow) * 255) : 0; }
    std::string ToJson() const {
        std::string text = "[";
        for (int i = 0; i < 256; ++i) text += fmt::format("{}{}", i ? "," : "", mLow + (mHigh - mLow) * i / 255);
        return text + "]";
    }
    double mLow = 1e9, mHigh = -1e9;
};

struct Picture {
    Picture(int width, int height) : mWidth(width), mHeight(height), mTexels(4U * width * height, 255) {}
    std::uint8_t* At(std::size_t texel) { return mTexels.data() + 4 * texel; }
    std::string Encode() const {
        std::uint8_t* bytes = nullptr;
        const std::size_t size = WebPEncodeLosslessRGBA(mTexels.data(), mWidth, mHeight, 4 * mWidth, &bytes);
        std::string file(reinterpret_cast<char*>(bytes), size);
        WebPFree(bytes);
        return file;
    }
    int mWidth, mHeight;
    std::vector<std::uint8_t> mTexels;
};

}  // namespace

Sample MakeSmallSample(std::size_t count, int degree) {
    Sample sample{{degree}, Rows(count, std::vector<float>(RowLayout{degree}.Size()))};
    for (std::size_t i = 0; i < count; ++i) {
        for (std::size_t k = 0; k < sample.mRows[i].size(); ++k) {
            sample.mRows[i][k] =
                static_cast<float>(std::sin(1.7 * static_cast<double>(i) + 0.9 * static_cast<double>(k)));
        }
    }
    return sample;
}

Sample ReadPlain(const std::string& ply) {
    Sample sample;
    const std::size_t body = ply.find("end_header\n"), element = ply.find("element vertex ");
    if (body == std::string::npos || element == std::string::npos) return sample;
    const std::size_t count = std::stoul(ply.substr(element + 15));
    for (int degree = 0; degree < 4; ++degree) {
        if (ply.find(fmt::format("property float f_rest_{}\n", 3 * RowLayout{degree}.Coefficients() - 1)) <= body) {
            sample.mLayout.mDegree = degree;
        }
    }
    for (std::size_t i = 0; i < count; ++i) {
        std::vector<float>& row = sample.mRows.emplace_back(sample.mLayout.Size());
        std::memcpy(row.data(), ply.data() + body + 11 + 4 * i * row.size(), 4 * row.size());
        float* const q = row.data() + sample.mLayout.Rotation();
        const float length = std::sqrt(q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3]);
        for (int a = 0; a < 4; ++a) q[a] /= length;
    }
    return sample;
}

std::string WritePly(const Sample& sample, PlyKind kind) {
    const std::vector<std::string> names = GetNames(sample.mLayout);
    std::map<std::string, std::size_t> places;
    for (std::size_t i = 0; i < names.size(); ++i) places[names[i]] = i;
    places["outline"] = 0;
    constexpr const char* formats[] = {"ascii", "binary_big_endian", "binary_little_endian"};
    std::string file = fmt::format("ply\nformat {} 1.0\ncomment antialiased 1\n", formats[static_cast<int>(kind)]);
    file += "element camera 1\nproperty uchar kind\nproperty short lens\n";
    file += fmt::format("element vertex {}\n", sample.mRows.size());
    const char* const type = kind == PlyKind::Doubles ? "double" : "float";
    for (const auto& [name, place] : places) file += fmt::format("property {} {}\n", type, name);
    for (int i = 0; i < 7; ++i) file += fmt::format("element more{} 1\nproperty list uchar int values\n", i);
    file += "end_header\n";
    const auto add = [&](auto value) {
        if (kind == PlyKind::Ascii) {
            file += fmt::format("{} ", value);
        } else {
            std::string bytes;
            Add(bytes, value);
            if (kind == PlyKind::BigEndian) std::reverse(bytes.begin(), bytes.end());
            file += bytes;
        }
    };
    add(std::uint8_t{7}), add(std::int16_t{300});
    for (const std::vector<float>& row : sample.mRows) {
        for (const auto& [name, place] : places) {
            const float value = row[place];
            kind == PlyKind::Doubles ? add(static_cast<double>(value)) : add(value);
        }
        if (kind == PlyKind::Ascii) file += "\n";
    }
    for (int i = 0; i < 7; ++i) add(std::uint8_t{2}), add(std::int32_t{i}), add(std::int32_t{-i});
    return file;
}

std::string WriteCompressedPly(const Sample& sample) {
    const std::vector<Splat> splats = GetSplats(sample);
    const std::size_t chunks = (splats.size() + 255) / 256, rest = 3 * sample.mLayout.Coefficients();
    std::string file = fmt::format("ply\nformat binary_little_endian 1.0\nelement chunk {}\n", chunks);
    for (const char* group : {"_", "_scale_"}) {
        for (const char* end : {"min", "max"}) {
            for (const char* axis : {"x", "y", "z"}) file += fmt::format("property float {}{}{}\n", end, group, axis);
        }
    }
    file += fmt::format("element vertex {}\n", splats.size());
    for (const char* name : {"position", "rotation", "scale", "color"})
        file += fmt::format("property uint packed_{}\n", name);
    if (rest > 0) file += fmt::format("element sh {}\n", splats.size());
    for (std::size_t i = 0; i < rest; ++i) file += fmt::format("property uchar f_rest_{}\n", i);
    file += "end_header\n";
    std::string vertices, harmonics;
    for (std::size_t chunk = 0; chunk < chunks; ++chunk) {
        const std::size_t first = 256 * chunk, last = std::min(first + 256, splats.size());
        // Position and scale, lowest and highest.
        float range[2][2][3];
        for (int a = 0; a < 3; ++a) {
            for (int g = 0; g < 2; ++g) range[g][0][a] = 1e9f, range[g][1][a] = -1e9f;
            for (std::size_t i = first; i < last; ++i) {
                const float values[2] = {splats[i].mPosition[a], splats[i].mScale[a]};
                for (int g = 0; g < 2; ++g) {
                    range[g][0][a] = std::min(range[g][0][a], values[g]);
                    range[g][1][a] = std::max(range[g][1][a], values[g]);
                }
            }
        }
        file.append(reinterpret_cast<const char*>(range), sizeof(range));
        for (std::size_t i = first; i < last; ++i) {
            double shares[2][3];
            for (int g = 0; g < 2; ++g) {
                const float* const values = g == 0 ? splats[i].mPosition : splats[i].mScale;
                for (int a = 0; a < 3; ++a) {
                    const float width = range[g][1][a] - range[g][0][a];
                    shares[g][a] = width > 0 ? (values[a] - range[g][0][a]) / width : 0;
                }
            }
            const SmallThree q(Rotation(splats[i]));
            auto rotation = static_cast<std::uint32_t>(q.mLargest);
            for (const double part : q.mThree) {
                rotation =
                    (rotation << 10) | static_cast<std::uint32_t>(std::lround((part / std::sqrt(2.0) + 0.5) * 1023));
            }
            std::uint32_t color = 0;
            for (int c = 0; c < 3; ++c) color = (color << 8) | ToByte(splats[i].Color(c) * 255);
            Add(vertices, Pack111011(shares[0]));
            Add(vertices, rotation);
            Add(vertices, Pack111011(shares[1]));
            Add(vertices, (color << 8) | ToByte(splats[i].mOpacity * 255));
            for (std::size_t k = 0; k < rest; ++k) {
                Add(harmonics, ToByte(std::floor((splats[i].mRest[k] / 8 + 0.5) * 256)));
            }
        }
    }
    return file + vertices + harmonics;
}

std::string WriteSplat(const Sample& sample) {
    std::string file;
    for (const Splat& splat : GetSplats(sample)) {
        for (int a = 0; a < 3; ++a) Add(file, splat.mPosition[a]);
        for (int a = 0; a < 3; ++a) Add(file, std::exp(splat.mScale[a]));
        for (int c = 0; c < 3; ++c) Add(file, ToByte(splat.Color(c) * 255));
        Add(file, ToByte(splat.mOpacity * 255));
        for (int a = 0; a < 4; ++a) Add(file, ToByte(splat.mRotation[a] * 128 + 128));
    }
    return file;
}

std::string WriteKsplat(const Sample& sample, int level) {
    constexpr std::uint32_t kBucket = 256;
    constexpr float kBlock = 16;  // wide enough for the samples: one centre serves all
    const std::vector<Splat> splats = GetSplats(sample);
    const auto count = static_cast<std::uint32_t>(splats.size());
    const std::uint32_t full = count / kBucket, part = count % kBucket ? 1 : 0;
    const int degree = std::min(sample.mLayout.mDegree, 2);
    std::string file(4096, '\0'), section(1024, '\0');
    const auto set = [](std::string& header, std::size_t place, auto value) {
        std::memcpy(header.data() + place, &value, sizeof(value));
    };
    file[1] = 1;
    for (const std::size_t place : {4, 8}) set(file, place, std::uint32_t{1});
    for (const std::size_t place : {12, 16}) set(file, place, count);
    set(file, 20, static_cast<std::uint16_t>(level));
    set(file, 36, -2.0f), set(file, 40, 2.0f);
    set(section, 0, count), set(section, 4, count), set(section, 8, kBucket), set(section, 12, full + part);
    set(section, 16, kBlock), set(section, 20, std::uint16_t{12}), set(section, 24, std::uint32_t{32767});
    set(section, 32, full), set(section, 36, part), set(section, 40, static_cast<std::uint16_t>(degree));
    file += section;
    if (part != 0) Add(file, count % kBucket);
    for (std::uint32_t i = 0; i < 3 * (full + part); ++i) Add(file, 0.25f);
    const auto add = [&](float value) { level == 0 ? Add(file, value) : Add(file, ToHalf(value)); };
    for (const Splat& splat : splats) {
        for (int a = 0; a < 3; ++a) {
            if (level == 0) {
                Add(file, splat.mPosition[a]);
            } else {
                Add(file, static_cast<std::uint16_t>(std::lround((splat.mPosition[a] - 0.25f) / (kBlock / 2) * 32767) +
                                                     32767));
            }
        }
        for (int a = 0; a < 3; ++a) add(std::exp(splat.mScale[a]));
        for (int a = 0; a < 4; ++a) add(splat.mRotation[a]);
        for (int c = 0; c < 3; ++c) Add(file, ToByte(splat.Color(c) * 255));
        Add(file, ToByte(splat.mOpacity * 255));
        for (int band = 1; band <= degree; ++band) {
            for (std::size_t c = 0; c < 3; ++c) {
                for (int k = band * band - 1; k < (band + 1) * (band + 1) - 1; ++k) {
                    const float value = splat.Rest(static_cast<std::size_t>(k), c);
                    level == 2 ? Add(file, ToByte((value + 2) / 4 * 255)) : add(value);
                }
            }
        }
    }
    return file;
}

std::string WriteSpz(const Sample& sample, int version) {
    constexpr int kFractionBits = 12;
    // Half a turn about x: y and z point the other way, so functions that are odd in one of them change their sign.
    constexpr double turned[] = {-1, -1, 1, -1, 1, 1, -1, 1, -1, 1, -1, -1, 1, -1, 1};
    std::string parts[6];
    for (const Splat& splat : GetSplats(sample)) {
        for (int a = 0; a < 3; ++a) {
            const double place = splat.mPosition[a] * (a == 0 ? 1 : -1);
            const auto fixed = static_cast<std::int32_t>(std::lround(place * (1 << kFractionBits)));
            if (version == 1) {
                Add(parts[0], ToHalf(static_cast<float>(place)));
            } else {
                parts[0].append(reinterpret_cast<const char*>(&fixed), 3);
            }
            Add(parts[2], ToByte((splat.mDc[a] * 0.15 + 0.5) * 255));
            Add(parts[3], ToByte((splat.mScale[a] + 10) * 16));
        }
        Add(parts[1], ToByte(splat.mOpacity * 255));
        const auto q = Rotation(splat);
        const std::array<double, 4> xyzw = {q[1], -q[2], -q[3], q[0]};
        if (version < 3) {
            for (int a = 0; a < 3; ++a) Add(parts[4], ToByte((xyzw[a] * (q[0] < 0 ? -1 : 1) + 1) * 127.5));
        } else {
            const SmallThree three(xyzw);
            auto bits = static_cast<std::uint32_t>(three.mLargest);
            for (const double part : three.mThree) {
                const auto size = static_cast<std::uint32_t>(std::lround(std::abs(part) * std::sqrt(2.0) * 511));
                bits = (bits << 10) | (part < 0 ? 512U : 0U) | size;
            }
            Add(parts[4], bits);
        }
        for (std::size_t k = 0; k < sample.mLayout.Coefficients(); ++k) {
            for (std::size_t c = 0; c < 3; ++c) Add(parts[5], ToByte(splat.Rest(k, c) * turned[k] * 128 + 128));
        }
    }
    std::string file;
    for (const std::uint32_t word :
         {0x5053474eU, static_cast<std::uint32_t>(version), static_cast<std::uint32_t>(sample.mRows.size())}) {
        Add(file, word);
    }
    for (const int byte : {sample.mLayout.mDegree, kFractionBits, 1, version == 4 ? 6 : 0}) {
        Add(file, static_cast<std::uint8_t>(byte));
    }
    if (version < 4) {
        for (const std::string& part : parts) file += part;
        return Gzip(file);
    }
    // A record of eight bytes that nobody knows before the table.
    for (const std::uint32_t word : {44U, 0U, 0U, 0U, 0x12340001U, 4U, 0U}) Add(file, word);
    std::string frames;
    for (const std::string& part : parts) {
        std::string packed(ZSTD_compressBound(part.size()), '\0');
        packed.resize(ZSTD_compress(packed.data(), packed.size(), part.data(), part.size(), 1));
        Add(file, std::uint64_t{packed.size()});
        Add(file, std::uint64_t{part.size()});
        frames += packed;
    }
    return file + frames;
}

std::vector<NamedFile> WriteSog(const Sample& sample, int version) {
    const std::vector<Splat> splats = GetSplats(sample);
    const std::size_t coefficients = sample.mLayout.Coefficients();
    constexpr std::size_t kLastSet = 65535;
    const auto logarithm = [](double v) { return std::copysign(std::log1p(std::abs(v)), v); };
    Codebook means[3], scales[3], colors[4], harmonics;
    for (const Splat& splat : splats) {
        for (int a = 0; a < 3; ++a) {
            means[a].Take(logarithm(splat.mPosition[a]));
            // One table for all axes in version 2.
            scales[version == 1 ? a : 0].Take(splat.mScale[a]);
            colors[version == 1 ? a : 0].Take(splat.mDc[a]);
        }
        colors[3].Take(std::log(splat.mOpacity / (1 - splat.mOpacity)));
        for (std::size_t k = 0; k < 3 * coefficients; ++k) harmonics.Take(splat.mRest[k]);
    }
    const int width = 4 * static_cast<int>(std::ceil(std::sqrt(splats.size()) / 4));
    const int height = static_cast<int>((splats.size() + width - 1) / width);
    Picture low(width, height), high(width, height), scale(width, height), rotation(width, height),
        color(width, height), labels(width, height),
        sets(static_cast<int>(64 * std::max<std::size_t>(coefficients, 1)),
             static_cast<int>((std::min(splats.size(), kLastSet + 1) + 63) / 64));
    for (std::size_t i = 0; i < splats.size(); ++i) {
        for (int a = 0; a < 3; ++a) {
            const double share = (logarithm(splats[i].mPosition[a]) - means[a].mLow) / (means[a].mHigh - means[a].mLow);
            const auto bits = static_cast<unsigned>(std::lround(share * 65535));
            low.At(i)[a] = static_cast<std::uint8_t>(bits & 255);
            high.At(i)[a] = static_cast<std::uint8_t>(bits >> 8);
            scale.At(i)[a] = scales[version == 1 ? a : 0].Find(splats[i].mScale[a]);
            color.At(i)[a] = colors[version == 1 ? a : 0].Find(splats[i].mDc[a]);
        }
        const double logit = std::log(splats[i].mOpacity / (1 - splats[i].mOpacity));
        color.At(i)[3] =
            std::max<std::uint8_t>(1, version == 1 ? colors[3].Find(logit) : ToByte(splats[i].mOpacity * 255));
        const SmallThree q(Rotation(splats[i]));
        for (int a = 0; a < 3; ++a) rotation.At(i)[a] = ToByte((q.mThree[a] / std::sqrt(2.0) + 0.5) * 255);
        rotation.At(i)[3] = static_cast<std::uint8_t>(252 + q.mLargest);
        labels.At(i)[0] = static_cast<std::uint8_t>(i & 255);
        labels.At(i)[1] = static_cast<std::uint8_t>((i >> 8) & 255);
        // A set for each splat, as long as 16 bits can name it.
        for (std::size_t k = 0; k < coefficients && i <= kLastSet; ++k) {
            for (std::size_t c = 0; c < 3; ++c) sets.At(i * coefficients + k)[c] = harmonics.Find(splats[i].Rest(k, c));
        }
    }
    const auto range = [](const Codebook* books, int count) {
        std::string lows, highs;
        for (int i = 0; i < count; ++i) {
            lows += fmt::format("{}{}", i ? "," : "", books[i].mLow);
            highs += fmt::format("{}{}", i ? "," : "", books[i].mHigh);
        }
        return fmt::format(R"("mins":[{}],"maxs":[{}])", lows, highs);
    };
    const auto part = [&](const char* name, const std::string& values, const char* files) {
        return fmt::format(R"("{}":{{{}{}"files":[{}]}})", name, values, values.empty() ? "" : ",", files);
    };
    const bool isFirst = version == 1;
    std::string meta = "{" + (isFirst ? std::string() : fmt::format(R"("version":2,"count":{},)", splats.size()));
    meta += part("means", fmt::format(R"("shape":[{},3],)", splats.size()) + range(means, 3),
                 R"("means_l.webp","means_u.webp")");
    meta += "," + part("scales", isFirst ? range(scales, 3) : "\"codebook\":" + scales[0].ToJson(), R"("scales.webp")");
    meta += "," + part("quats", "", R"("quats.webp")");
    meta += "," + part("sh0", isFirst ? range(colors, 4) : "\"codebook\":" + colors[0].ToJson(), R"("sh0.webp")");
    if (coefficients > 0) {
        const std::string values = isFirst ? fmt::format(R"("mins":{},"maxs":{})", harmonics.mLow, harmonics.mHigh)
                                           : "\"codebook\":" + harmonics.ToJson();
        meta += "," + part("shN", values, R"("shN_centroids.webp","shN_labels.webp")");
    }
    return {{"meta.json", meta + "}"},
            {"means_l.webp", low.Encode()},
            {"means_u.webp", high.Encode()},
            {"scales.webp", scale.Encode()},
            {"quats.webp", rotation.Encode()},
            {"sh0.webp", color.Encode()},
            {"shN_centroids.webp", sets.Encode()},
            {"shN_labels.webp", labels.Encode()}};
}

std::string WriteZip(const std::vector<NamedFile>& files) {
    zip_source_t* const target = zip_source_buffer_create(nullptr, 0, 0, nullptr);
    zip_source_keep(target);
    zip_t* const zip = zip_open_from_source(target, ZIP_TRUNCATE, nullptr);
    for (const NamedFile& file : files) {
        zip_file_add(zip, file.mName.c_str(), zip_source_buffer(zip, file.mBytes.data(), file.mBytes.size(), 0), 0);
    }
    zip_close(zip);
    zip_stat_t stat;
    zip_source_stat(target, &stat);
    std::string bytes(stat.size, '\0');
    zip_source_open(target);
    zip_source_read(target, bytes.data(), bytes.size());
    zip_source_close(target);
    zip_source_free(target);
    return bytes;
}

std::string WriteGlb(const Sample& sample, const std::string& node) {
    const std::vector<Splat> splats = GetSplats(sample);
    // Half a turn about z: x and y point the other way.
    constexpr float turned[] = {-1, 1, -1, 1, -1, 1, -1, 1, -1, 1, -1, 1, -1, 1, -1};
    std::string binary, views, accessors, attributes;
    int number = 0;
    const auto attribute = [&](const std::string& name, const char* type, auto&& write) {
        const std::size_t start = binary.size();
        for (const Splat& splat : splats) write(splat);
        const char* const comma = number ? "," : "";
        views +=
            fmt::format(R"({}{{"buffer":0,"byteOffset":{},"byteLength":{}}})", comma, start, binary.size() - start);
        accessors += fmt::format(R"({}{{"bufferView":{},"componentType":5126,"count":{},"type":"{}"}})", comma, number,
                                 splats.size(), type);
        attributes += fmt::format(R"({}"{}":{})", comma, name, number++);
    };
    const auto all = [&](std::initializer_list<double> values) {
        for (const double value : values) Add(binary, static_cast<float>(value));
    };
    const std::string prefix = "KHR_gaussian_splatting:";
    attribute("POSITION", "VEC3", [&](const Splat& s) { all({-s.mPosition[0], -s.mPosition[1], s.mPosition[2]}); });
    // (0, 0, 0, 1) times the rotation.
    attribute(prefix + "ROTATION", "VEC4", [&](const Splat& s) {
        all({-s.mRotation[2], s.mRotation[1], s.mRotation[0], -s.mRotation[3]});
    });
    attribute(prefix + "SCALE", "VEC3", [&](const Splat& s) {
        for (int a = 0; a < 3; ++a) all({std::exp(s.mScale[a])});
    });
    attribute(prefix + "OPACITY", "SCALAR", [&](const Splat& s) { all({s.mOpacity}); });
    attribute(prefix + "SH_DEGREE_0_COEF_0", "VEC3", [&](const Splat& s) { all({s.mDc[0], s.mDc[1], s.mDc[2]}); });
    for (int band = 1; band <= sample.mLayout.mDegree; ++band) {
        for (int i = 0; i < 2 * band + 1; ++i) {
            const auto k = static_cast<std::size_t>(band * band - 1 + i);
            attribute(fmt::format("{}SH_DEGREE_{}_COEF_{}", prefix, band, i), "VEC3", [&](const Splat& s) {
                for (std::size_t c = 0; c < 3; ++c) all({s.Rest(k, c) * turned[k]});
            });
        }
    }
    std::string json = fmt::format(
        R"({{"asset":{{"version":"2.0"}},"extensionsUsed":["KHR_gaussian_splatting"],"scenes":[{{"nodes":[0]}}],)"
        R"("nodes":[{{"mesh":0{}{}}}],"buffers":[{{"byteLength":{}}}],"bufferViews":[{}],"accessors":[{}],)"
        R"("meshes":[{{"primitives":[{{"mode":0,"attributes":{{{}}},"extensions":{{"KHR_gaussian_splatting":)"
        R"({{"kernel":"ellipse","colorSpace":"srgb_rec709_display"}}}}}}]}}]}})",
        node.empty() ? "" : ",", node, binary.size(), views, accessors, attributes);
    json.resize((json.size() + 3) / 4 * 4, ' ');
    std::string file = "glTF";
    for (const std::size_t word : {std::size_t{2}, 28 + json.size() + binary.size(), json.size()}) {
        Add(file, static_cast<std::uint32_t>(word));
    }
    file += "JSON" + json;
    Add(file, static_cast<std::uint32_t>(binary.size()));
    return file + std::string("BIN\0", 4) + binary;
}

std::string Gzip(const std::string& bytes) {
    z_stream stream{};
    constexpr int kGzip = 16;
    deflateInit2(&stream, 6, Z_DEFLATED, MAX_WBITS + kGzip, 8, Z_DEFAULT_STRATEGY);
    std::string packed(deflateBound(&stream, bytes.size()), '\0');
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes.data()));
    stream.avail_in = static_cast<uInt>(bytes.size());
    stream.next_out = reinterpret_cast<Bytef*>(packed.data());
    stream.avail_out = static_cast<uInt>(packed.size());
    deflate(&stream, Z_FINISH);
    packed.resize(stream.total_out);
    deflateEnd(&stream);
    return packed;
}

}  // namespace nimbrel::convert::test
