#include <cmath>
#include <future>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "../Format.h"
#include "../Package.h"
#include "../Quantities.h"
#include "../WebPImage.h"
#include "NimbrelConvert/Errors.h"

/// Layout: "meta.json" and WebP pictures without losses, in a folder or a zip archive; a splat is one texel of each
/// picture. Positions are 16 bits of a range of signed logarithms, low and high byte in two pictures; scales, colours
/// and harmonics are bytes into tables (version 2) or of a range (version 1); a rotation is three components and in
/// alpha 252 and the place of the fourth; harmonics are a number of two bytes, of a set of coefficients in a picture of
/// its own. Positions and rotations are as in the PLY file that the model was made from.
namespace nimbrel::convert {
namespace {

using Json = nlohmann::json;
using Table = std::array<float, 256>;

/// Numbers of a JSON array, `count` of them.
std::vector<float> GetNumbers(const Json& json, const char* key, std::size_t count) {
    const auto found = json.find(key);
    std::vector<float> numbers;
    if (found != json.end() && found->is_array()) {
        for (const Json& number : *found) numbers.push_back(number.is_number() ? number.get<float>() : NAN);
    }
    if (numbers.size() != count ||
        !std::all_of(numbers.begin(), numbers.end(), [](float n) { return std::isfinite(n); })) {
        throw FormatError(fmt::format("its meta.json has no \"{}\" of {} numbers", key, count));
    }
    return numbers;
}

const Json& GetObject(const Json& json, const char* key) {
    const auto found = json.find(key);
    if (found == json.end() || !found->is_object()) {
        throw FormatError(fmt::format("its meta.json has no object \"{}\"", key));
    }
    return *found;
}

std::vector<std::string> GetFiles(const Json& json, std::size_t count) {
    std::vector<std::string> files;
    const auto found = json.find("files");
    if (found != json.end() && found->is_array()) {
        for (const Json& file : *found) {
            if (file.is_string()) files.push_back(file.get<std::string>());
        }
    }
    if (files.size() != count) throw FormatError(fmt::format("its meta.json names no {} \"files\" of a part", count));
    return files;
}

Table MakeRangeTable(float low, float high) {
    return MakeByteTable([&](float v) { return low + (high - low) * (v / 255.0f); });
}

Table MakeCodebook(const Json& json) {
    const std::vector<float> numbers = GetNumbers(json, "codebook", 256);
    Table table{};
    std::copy(numbers.begin(), numbers.end(), table.begin());
    return table;
}

Json ParseMeta(const Bytes& bytes) {
    Json meta = Json::parse(bytes.begin(), bytes.end(), nullptr, false);
    if (!meta.is_object()) throw FormatError("its meta.json is no JSON object");
    return meta;
}

/// What meta.json says, for both versions alike.
struct SogModel {
    std::uint64_t mCount = 0;
    int mVersion = 0;
    bool mIsLogit = false;  ///< opacities are logits, not shares
    float mLow[3], mHigh[3];
    Table mScales[3], mColors[3], mOpacity, mHarmonics;
    std::vector<std::string> mMeansFiles, mScalesFiles, mRotationFiles, mColorFiles, mHarmonicFiles;
};

void ReadVersion1(const Json& meta, SogModel& model) {
    const Json& means = GetObject(meta, "means");
    const auto shape = means.find("shape");
    if (shape == means.end() || !shape->is_array() || shape->empty() || !(*shape)[0].is_number_unsigned()) {
        throw FormatError("its meta.json states no count of splats");
    }
    model.mCount = (*shape)[0].get<std::uint64_t>();
    model.mIsLogit = true;
    const Json &scales = GetObject(meta, "scales"), &colors = GetObject(meta, "sh0");
    const std::vector<float> scaleLow = GetNumbers(scales, "mins", 3), scaleHigh = GetNumbers(scales, "maxs", 3);
    const std::vector<float> colorLow = GetNumbers(colors, "mins", 4), colorHigh = GetNumbers(colors, "maxs", 4);
    for (std::size_t i = 0; i < 3; ++i) {
        model.mScales[i] = MakeRangeTable(scaleLow[i], scaleHigh[i]);
        model.mColors[i] = MakeRangeTable(colorLow[i], colorHigh[i]);
    }
    model.mOpacity = MakeRangeTable(colorLow[3], colorHigh[3]);
    if (!meta.contains("shN")) return;
    const Json& harmonics = GetObject(meta, "shN");
    const auto number = [&](const char* key) {
        if (!harmonics.contains(key) || !harmonics[key].is_number()) {
            throw FormatError(fmt::format("its meta.json has no number \"{}\" of harmonics", key));
        }
        return harmonics[key].get<float>();
    };
    model.mHarmonics = MakeRangeTable(number("mins"), number("maxs"));
}

void ReadVersion2(const Json& meta, SogModel& model) {
    if (!meta.contains("count") || !meta["count"].is_number_unsigned()) {
        throw FormatError("its meta.json states no count of splats");
    }
    model.mCount = meta["count"].get<std::uint64_t>();
    for (Table& table : model.mScales) table = MakeCodebook(GetObject(meta, "scales"));
    for (Table& table : model.mColors) table = MakeCodebook(GetObject(meta, "sh0"));
    model.mOpacity = MakeByteTable([](float v) { return LogitFromOpacity(v / 255.0f); });
    if (meta.contains("shN")) model.mHarmonics = MakeCodebook(GetObject(meta, "shN"));
}

SogModel ReadModel(const Json& meta) {
    SogModel model;
    model.mVersion = 1;
    if (meta.contains("version")) {
        if (!meta["version"].is_number_integer()) throw FormatError("its meta.json has a version that is no number");
        model.mVersion = static_cast<int>(std::clamp<std::int64_t>(meta["version"].get<std::int64_t>(), -1, 1000));
    }
    if (model.mVersion != 1 && model.mVersion != 2) {
        throw FormatError(fmt::format("it is SOG of version {}; versions 1 and 2 are read", model.mVersion));
    }
    const Json& means = GetObject(meta, "means");
    const std::vector<float> low = GetNumbers(means, "mins", 3), high = GetNumbers(means, "maxs", 3);
    std::copy(low.begin(), low.end(), model.mLow);
    std::copy(high.begin(), high.end(), model.mHigh);
    model.mVersion == 1 ? ReadVersion1(meta, model) : ReadVersion2(meta, model);
    CheckCount(model.mCount);
    model.mMeansFiles = GetFiles(means, 2);
    model.mScalesFiles = GetFiles(GetObject(meta, "scales"), 1);
    model.mRotationFiles = GetFiles(GetObject(meta, "quats"), 1);
    model.mColorFiles = GetFiles(GetObject(meta, "sh0"), 1);
    if (meta.contains("shN")) model.mHarmonicFiles = GetFiles(GetObject(meta, "shN"), 2);
    return model;
}

/// Columns of coefficient sets in their picture.
constexpr std::uint64_t kSetsInRow = 64;

class SogReader : public SplatReader {
public:
    SogReader(std::unique_ptr<Package> package, const std::string& container) : mPackage(std::move(package)) {
        const Json meta = ParseMeta(mPackage->Load("meta.json"));
        mModel = ReadModel(meta);
        mFacts.mFormat = fmt::format("SOG {}, {}", mModel.mVersion, container);
        mFacts.mCount = mModel.mCount;
        ReadRenderMode(meta);
        const std::string* const names[] = {&mModel.mMeansFiles[0], &mModel.mMeansFiles[1], &mModel.mScalesFiles[0],
                                            &mModel.mRotationFiles[0], &mModel.mColorFiles[0]};
        for (std::size_t i = 0; i < std::size(names); ++i) mFiles[i] = LoadPicture(*names[i], mModel.mCount);
        if (!mModel.mHarmonicFiles.empty()) OpenHarmonics();
        CheckUnfolding(mPackage->GetPackedSize(), mUnfolded);
    }

private:
    enum Picture : std::size_t { Low, High, Scales, Rotations, Colors, Labels, Sets, PictureCount };

    void ReadRenderMode(const Json& meta) {
        const std::string mode =
            meta.contains("model") && meta["model"].is_string() ? meta["model"].get<std::string>() : "";
        const bool isSet =
            meta.contains("antialias") && meta["antialias"].is_boolean() && meta["antialias"].get<bool>();
        if (mode == "antialiased" || isSet) mFacts.mRenderMode = RenderMode::Antialiased;
        if (mode == "2dgs") mFacts.mRenderMode = RenderMode::Flat;
    }

    // Sizes are looked at before anything is unpacked: a few bytes can stand for a picture of a gigabyte.
    Bytes LoadPicture(const std::string& name, std::uint64_t count) {
        Bytes file = mPackage->Load(name);
        const Image size = Naming(name, [&] { return ReadWebPSize(file); });
        mUnfolded += 4 * size.Count();
        if (size.Count() < count) {
            throw FormatError(fmt::format("its picture \"{}\" has {} texels, fewer than the {} that are stated", name,
                                          size.Count(), count));
        }
        return file;
    }

    template <class Function>
    static Image Naming(const std::string& name, Function&& function) {
        try {
            return function();
        } catch (const FormatError& error) {
            throw FormatError(fmt::format("its picture \"{}\": {}", name, error.what()));
        }
    }

    void OpenHarmonics() {
        mFiles[Sets] = LoadPicture(mModel.mHarmonicFiles[0], 0);
        mFiles[Labels] = LoadPicture(mModel.mHarmonicFiles[1], mModel.mCount);
        const std::uint64_t width = ReadWebPSize(mFiles[Sets]).mWidth;
        for (int degree = 1; degree <= 3; ++degree) {
            if (width == kSetsInRow * static_cast<std::uint64_t>(CoefficientCount(degree))) mFacts.mDegree = degree;
        }
        if (mFacts.mDegree == 0) {
            throw FormatError(fmt::format("its picture \"{}\" is {} texels wide, which is no degree's",
                                          mModel.mHarmonicFiles[0], width));
        }
    }

    void UnpackAll() {
        // None needs another, and together they take most of the time.
        std::array<std::future<Image>, PictureCount> images;
        for (std::size_t i = 0; i < PictureCount; ++i) {
            if (!mFiles[i].empty()) images[i] = std::async([this, i] { return ReadWebP(mFiles[i]); });
        }
        for (std::size_t i = 0; i < PictureCount; ++i) {
            if (images[i].valid()) mImages[i] = images[i].get();
            mFiles[i] = {};
        }
        mPackage.reset();
    }

    void DoRead(std::uint64_t first, std::size_t count, float* rows) override {
        if (first == 0) UnpackAll();
        const RowLayout layout = GetLayout();
        for (std::size_t i = 0; i < count; ++i) {
            const std::uint64_t splat = first + i;
            float* const row = rows + i * layout.Size();
            const std::uint8_t *low = mImages[Low].At(splat), *high = mImages[High].At(splat);
            const std::uint8_t *scale = mImages[Scales].At(splat), *color = mImages[Colors].At(splat);
            for (std::size_t a = 0; a < 3; ++a) {
                const float share = static_cast<float>(low[a] | (high[a] << 8)) / 65535.0f;
                const float value = mModel.mLow[a] + (mModel.mHigh[a] - mModel.mLow[a]) * share;
                row[a] = std::copysign(std::expm1(std::abs(value)), value);
                row[layout.Scale() + a] = mModel.mScales[a][scale[a]];
                row[RowLayout::kDc + a] = mModel.mColors[a][color[a]];
            }
            row[layout.Opacity()] = mModel.mOpacity[color[3]];
            ReadRotation(mImages[Rotations].At(splat), row + layout.Rotation());
            if (mFacts.mDegree > 0) ReadHarmonics(mImages[Labels].At(splat), row + RowLayout::kRest);
        }
    }

    static void ReadRotation(const std::uint8_t* from, float* to) {
        static const auto parts = MakeByteTable([](float v) { return (v / 255.0f - 0.5f) * 1.41421356f; });
        constexpr std::uint8_t kFirstPlace = 252;
        if (from[3] < kFirstPlace) throw FormatError("its rotations are not packed as SOG packs them");
        const float three[3] = {parts[from[0]], parts[from[1]], parts[from[2]]};
        RestoreQuaternion(three, from[3] - kFirstPlace, to);
        NormaliseQuaternion(to);
    }

    void ReadHarmonics(const std::uint8_t* label, float* to) const {
        const std::size_t coefficients = GetLayout().Coefficients();
        const std::uint64_t set = label[0] | (std::uint64_t{label[1]} << 8);
        const Image& sets = mImages[Sets];
        const std::uint64_t place = set / kSetsInRow * sets.mWidth + set % kSetsInRow * coefficients;
        if (place + coefficients > sets.Count())
            throw FormatError(fmt::format("it lacks the harmonics of number {}", set));
        const std::uint8_t* from = sets.At(place);
        for (std::size_t k = 0; k < coefficients; ++k) {
            for (std::size_t c = 0; c < 3; ++c) to[c * coefficients + k] = mModel.mHarmonics[from[4 * k + c]];
        }
    }

    std::unique_ptr<Package> mPackage;
    SogModel mModel;
    std::array<Bytes, PictureCount> mFiles;
    std::array<Image, PictureCount> mImages;
    std::uint64_t mUnfolded = 0;
};

bool IsMeta(const Input& input) { return input.mPath.filename() == "meta.json" && input.StartsWith("{"); }

bool Recognise(const Input& input) {
    // In an archive meta.json is found by opening it; the extension .zip is for models that were packed by hand.
    return IsMeta(input) ||
           (input.StartsWith("PK\x03\x04") && (input.mExtension == ".sog" || input.mExtension == ".zip"));
}

std::unique_ptr<SplatReader> Open(const Input& input, const ReadOptions&) {
    constexpr std::uint64_t kMaxPacked = std::uint64_t{4} << 30;
    if (IsMeta(input)) return std::make_unique<SogReader>(OpenFolderPackage(input.mPath.parent_path()), "folder");
    return std::make_unique<SogReader>(OpenZipPackage(input.mSource->ReadAll(kMaxPacked)), "zip");
}

std::vector<std::filesystem::path> ListParts(const Input& input) {
    std::vector<std::filesystem::path> parts;
    if (!IsMeta(input)) return parts;
    constexpr std::uint64_t kMaxMeta = std::uint64_t{64} << 20;
    const SogModel model = ReadModel(ParseMeta(input.mSource->ReadAll(kMaxMeta)));
    for (const auto* files :
         {&model.mMeansFiles, &model.mScalesFiles, &model.mRotationFiles, &model.mColorFiles, &model.mHarmonicFiles}) {
        for (const std::string& name : *files) {
            CheckInnerName(name);
            parts.push_back(input.mPath.parent_path() / std::u8string(name.begin(), name.end()));
        }
    }
    return parts;
}

}  // namespace

const Format kSogFormat = {{"SOG", ".sog, meta.json", "a SOG model"}, Recognise, Open, ListParts};

}  // namespace nimbrel::convert
