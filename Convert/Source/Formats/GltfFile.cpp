#include "GltfFile.h"

#include <algorithm>
#include <limits>

#include <fmt/format.h>

#include "../Package.h"
#include "../Quantities.h"
#include "NimbrelConvert/Errors.h"

namespace nimbrel::convert {
namespace {

using Json = nlohmann::json;

/// A part of another source, such as the binary chunk of a GLB file.
class PartSource : public ByteSource {
public:
    PartSource(std::shared_ptr<ByteSource> whole, std::uint64_t start, std::uint64_t size)
        : mWhole(std::move(whole)), mStart(start), mSize(size) {}
    std::uint64_t GetSize() const override { return mSize; }

private:
    void DoRead(std::uint64_t offset, std::span<std::uint8_t> target) override {
        mWhole->Read(mStart + offset, target);
    }

    std::shared_ptr<ByteSource> mWhole;
    std::uint64_t mStart, mSize;
};

struct Component {
    std::uint32_t mType;
    std::size_t mSize;
    float (*mLoad)(const std::uint8_t*);
    float mLargest;  ///< what a normalised value is divided by
};

template <class T>
float LoadNumber(const std::uint8_t* bytes) {
    return static_cast<float>(Load<T>(bytes));
}

constexpr Component kComponents[] = {{5120, 1, LoadNumber<std::int8_t>, 127},
                                     {5121, 1, LoadNumber<std::uint8_t>, 255},
                                     {5122, 2, LoadNumber<std::int16_t>, 32767},
                                     {5123, 2, LoadNumber<std::uint16_t>, 65535},
                                     {5126, 4, LoadNumber<float>, 1}};

const Component& FindComponent(std::uint32_t type) {
    const auto* found = std::find_if(std::begin(kComponents), std::end(kComponents),
                                     [&](const Component& component) { return component.mType == type; });
    if (found == std::end(kComponents)) throw FormatError(fmt::format("it has values of component type {}", type));
    return *found;
}

constexpr std::pair<const char*, std::size_t> kWidths[] = {{"SCALAR", 1}, {"VEC2", 2}, {"VEC3", 3}, {"VEC4", 4}};

/// Base64 as data URIs have it.
Bytes DecodeBase64(std::string_view text) {
    Bytes bytes;
    bytes.reserve(text.size() / 4 * 3);
    std::uint32_t bits = 0;
    int count = 0;
    for (const char c : text) {
        static constexpr std::string_view digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
        if (c == '=') break;
        const std::size_t digit = digits.find(c);
        if (digit == std::string_view::npos) throw FormatError("it has a data URI that is no base64");
        bits = (bits << 6) | static_cast<std::uint32_t>(digit);
        count += 6;
        if (count < 8) continue;
        count -= 8;
        bytes.push_back(static_cast<std::uint8_t>(bits >> count));
    }
    return bytes;
}

Json ParseDocument(const Bytes& bytes) {
    Json document = Json::parse(bytes.begin(), bytes.end(), nullptr, false);
    if (!document.is_object()) throw FormatError("its glTF document is no JSON object");
    return document;
}

}  // namespace

std::uint64_t GetIndex(const Json& json, const char* key, std::uint64_t missing) {
    const auto found = json.find(key);
    if (found == json.end()) return missing;
    if (!found->is_number_unsigned()) throw FormatError(fmt::format("its \"{}\" is no count", key));
    return found->get<std::uint64_t>();
}

void GltfAccessor::Read(std::uint64_t first, std::size_t count, float* to, std::size_t targetStride,
                        Bytes& scratch) const {
    const Component& component = FindComponent(mComponent);
    const auto stride = static_cast<std::size_t>(mStride);
    // The last record ends with its values and not with its stride.
    scratch.resize((count - 1) * stride + mWidth * component.mSize);
    mSource->Read(mStart + first * mStride, scratch);
    for (std::size_t i = 0; i < count; ++i) {
        for (std::size_t k = 0; k < mWidth; ++k) {
            float value = component.mLoad(scratch.data() + i * stride + k * component.mSize);
            if (mIsNormalised) value = std::max(value / component.mLargest, -1.0f);
            to[i * targetStride + k] = value;
        }
    }
}

GltfFile::GltfFile(const Input& input) : mInput(input) {
    constexpr std::uint64_t kMaxDocument = std::uint64_t{256} << 20;
    if (!input.StartsWith("glTF")) {
        mDocument = ParseDocument(input.mSource->ReadAll(kMaxDocument));
        return;
    }
    Bytes header(20);
    input.mSource->Read(0, header);
    const auto version = Load<std::uint32_t>(&header[4]), length = Load<std::uint32_t>(&header[12]);
    if (version != 2) throw FormatError(fmt::format("it is glTF of version {}; version 2 is read", version));
    constexpr std::uint32_t kJson = 0x4E4F534A, kBinary = 0x004E4942;
    if (Load<std::uint32_t>(&header[16]) != kJson || length > kMaxDocument) {
        throw FormatError("it does not begin with a JSON chunk");
    }
    Bytes document(length);
    input.mSource->Read(header.size(), document);
    mDocument = ParseDocument(document);
    const std::uint64_t next = header.size() + length;
    if (next + 8 > input.mSource->GetSize()) return;
    Bytes chunk(8);
    input.mSource->Read(next, chunk);
    if (Load<std::uint32_t>(&chunk[4]) != kBinary) return;
    const std::uint64_t size = Load<std::uint32_t>(&chunk[0]);
    if (size > input.mSource->GetSize() - next - 8) {
        throw FormatError(fmt::format("it is cut short: its binary chunk states {} bytes, but {} are left", size,
                                      input.mSource->GetSize() - next - 8));
    }
    mBinary = std::make_shared<PartSource>(input.mSource, next + 8, size);
}

const Json& GltfFile::Get(const char* array, std::uint64_t index) const {
    static const Json none = Json::object();
    const auto found = mDocument.find(array);
    if (found == mDocument.end() || !found->is_array() || index >= found->size()) return none;
    const Json& element = (*found)[static_cast<std::size_t>(index)];
    return element.is_object() ? element : none;
}

GltfAccessor GltfFile::GetAccessor(std::uint64_t index, std::size_t width) {
    const Json& json = Get("accessors", index);
    GltfAccessor accessor;
    accessor.mComponent = static_cast<std::uint32_t>(GetIndex(json, "componentType", 0) & 0xffffffffU);
    accessor.mCount = GetIndex(json, "count", 0);
    CheckCount(accessor.mCount);
    accessor.mIsNormalised = json.contains("normalized") && json["normalized"] == true;
    const Component& component = FindComponent(accessor.mComponent);
    for (const auto& [name, size] : kWidths) {
        if (json.contains("type") && json["type"] == name) accessor.mWidth = size;
    }
    if (accessor.mWidth != width)
        throw FormatError(fmt::format("its accessor {} has not {} numbers each", index, width));
    if (json.contains("sparse") || !json.contains("bufferView")) {
        throw FormatError(fmt::format("its accessor {} is sparse or has no buffer, which is not read", index));
    }
    const Json& view = Get("bufferViews", GetIndex(json, "bufferView", 0));
    accessor.mSource = GetBuffer(GetIndex(view, "buffer", std::numeric_limits<std::uint64_t>::max()));
    accessor.mStride = GetIndex(view, "byteStride", 0);
    const std::uint64_t packed = width * component.mSize;
    if (accessor.mStride == 0) accessor.mStride = packed;
    const std::uint64_t viewStart = GetIndex(view, "byteOffset", 0), viewSize = GetIndex(view, "byteLength", 0);
    const std::uint64_t start = GetIndex(json, "byteOffset", 0);
    constexpr std::uint64_t kMaxStride = 1 << 20;
    const std::uint64_t size = accessor.mSource->GetSize();
    const std::uint64_t need = accessor.mCount == 0 ? 0 : (accessor.mCount - 1) * accessor.mStride + packed;
    if (accessor.mStride < packed || accessor.mStride > kMaxStride || viewStart > size || viewSize > size - viewStart ||
        start > viewSize || need > viewSize - start) {
        throw FormatError(fmt::format("it is cut short: its accessor {} states {} records beyond its buffer's {} bytes",
                                      index, accessor.mCount, size));
    }
    accessor.mStart = viewStart + start;
    return accessor;
}

std::shared_ptr<ByteSource> GltfFile::GetBuffer(std::uint64_t index) {
    std::shared_ptr<ByteSource>& buffer = mBuffers[index];
    if (buffer) return buffer;
    const Json& json = Get("buffers", index);
    if (!json.contains("uri") || !json["uri"].is_string()) {
        if (index != 0 || !mBinary) throw FormatError(fmt::format("it lacks the buffer {}", index));
        return buffer = mBinary;
    }
    const auto& uri = json["uri"].get_ref<const std::string&>();
    if (uri.starts_with("data:")) {
        const std::size_t comma = uri.find(";base64,");
        if (comma == std::string::npos) throw FormatError("it has a data URI that is no base64");
        return buffer = MakeMemorySource(DecodeBase64(std::string_view(uri).substr(comma + 8)));
    }
    CheckInnerName(uri);
    try {
        return buffer = OpenFile(mInput.mPath.parent_path() / std::u8string(uri.begin(), uri.end()));
    } catch (const FileError& error) {
        throw FormatError(fmt::format("its file \"{}\": {}", uri, error.what()));
    }
}

std::vector<std::filesystem::path> GltfFile::ListBufferFiles() const {
    std::vector<std::filesystem::path> files;
    const auto buffers = mDocument.find("buffers");
    if (buffers == mDocument.end() || !buffers->is_array()) return files;
    for (const Json& buffer : *buffers) {
        if (!buffer.is_object() || !buffer.contains("uri") || !buffer["uri"].is_string()) continue;
        const auto& uri = buffer["uri"].get_ref<const std::string&>();
        if (uri.starts_with("data:")) continue;
        CheckInnerName(uri);
        files.push_back(mInput.mPath.parent_path() / std::u8string(uri.begin(), uri.end()));
    }
    return files;
}

}  // namespace nimbrel::convert
