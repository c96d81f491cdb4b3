#include "PluginBase/PluginState.h"

#include <cstring>
#include <string>

#include <fmt/format.h>
#include <glm/gtc/type_ptr.hpp>
#include <nlohmann/json.hpp>

#include "PluginBase/Exception.h"
#include "PluginBase/Parameters/ParameterPacker.h"

namespace zeb {
namespace {

// The header: little-endian, without gaps but for the four bytes before the table of parts.
constexpr std::size_t kNeedCameraOffset = 0;
constexpr std::size_t kCameraOffset = 4;
constexpr std::size_t kFocalLengthOffset = 68;
constexpr std::size_t kCameraTypeOffset = 72;
constexpr std::size_t kPartsOffset = 80;
constexpr std::size_t kHeaderSize = 144;

static_assert(sizeof(glm::mat4) == kFocalLengthOffset - kCameraOffset);
static_assert(kPartsOffset + 4 * sizeof(PluginState::OffsetSize) == kHeaderSize);

template <class T>
void Store(std::vector<std::byte>& bytes, std::size_t offset, const T& value) {
    std::memcpy(bytes.data() + offset, &value, sizeof(value));
}

template <class T>
T Load(const std::vector<std::byte>& bytes, std::size_t offset) {
    T value;
    std::memcpy(&value, bytes.data() + offset, sizeof(value));
    return value;
}

std::size_t GetEntryOffset(PluginStatePart part) {
    const auto number = static_cast<std::uint32_t>(part);
    if (number < 1 || number > 4)
        ZEB_THROW(kInternalError, fmt::format("Unexpected plugin state part type of {}", number));
    return kPartsOffset + (number - 1) * sizeof(PluginState::OffsetSize);
}

nlohmann::json ParsePart(const PluginStatePartView& view) {
    if (view.mSize == 0) return nullptr;
    const char* const text = reinterpret_cast<const char*>(view.mData);
    return nlohmann::json::parse(text, text + view.mSize);
}

}  // namespace

PluginState::PluginState() : mBytes(kHeaderSize) {}

void PluginState::SetNeedCamera(bool needCamera) {
    Store(mBytes, kNeedCameraOffset, static_cast<std::uint32_t>(needCamera ? 1 : 0));
}

void PluginState::SetCamera(const glm::mat4& camera, float focalLength, CameraType type) {
    Store(mBytes, kCameraOffset, camera);
    Store(mBytes, kFocalLengthOffset, focalLength);
    Store(mBytes, kCameraTypeOffset, static_cast<std::uint32_t>(type));
}

bool PluginState::NeedsCamera() const { return Load<std::uint32_t>(mBytes, kNeedCameraOffset) != 0; }
glm::mat4 PluginState::GetCamera() const { return Load<glm::mat4>(mBytes, kCameraOffset); }
float PluginState::GetFocalLength() const { return Load<float>(mBytes, kFocalLengthOffset); }

CameraType PluginState::GetCameraType() const {
    return static_cast<CameraType>(Load<std::uint32_t>(mBytes, kCameraTypeOffset));
}

PluginState::OffsetSize PluginState::GetOffsetSize(PluginStatePart part) const {
    return Load<OffsetSize>(mBytes, GetEntryOffset(part));
}

PluginStatePartView PluginState::GetPart(PluginStatePart part) const {
    const OffsetSize place = GetOffsetSize(part);
    return {static_cast<std::uint32_t>(part), mBytes.data() + place.mOffset, static_cast<std::size_t>(place.mSize)};
}

PluginState::PartWriter::PartWriter(PluginState& state, PluginStatePart part) : mState(state), mPart(part) {
    Store(mState.mBytes, GetEntryOffset(part), OffsetSize{mState.mBytes.size(), 0});
}

void PluginState::PartWriter::Close() {
    if (!mOpen) return;
    mOpen = false;
    OffsetSize place = mState.GetOffsetSize(mPart);
    place.mSize = mState.mBytes.size() - place.mOffset;
    Store(mState.mBytes, GetEntryOffset(mPart), place);
}

nlohmann::ordered_json PluginState::ToJson(const ParameterPacker& packer) const {
    nlohmann::ordered_json json;
    json["NeedCamera"] = NeedsCamera();
    if (NeedsCamera()) {
        const glm::mat4 camera = GetCamera();
        for (int row = 0; row < 4; ++row) {
            const float* const values = glm::value_ptr(camera[row]);
            json["Camera"].push_back(std::vector<float>(values, values + 4));
        }
        json["FocalLength"] = GetFocalLength();
        json["CameraType"] = static_cast<std::uint32_t>(GetCameraType());
    }
    const PluginStatePartView packed = GetPart(PluginStatePart::PackedParameters);
    nlohmann::json structures = nlohmann::json::array();
    if (packed.mSize != 0) packer.Dump(PackedParameters(packed.mData, packed.mSize), structures);
    json["PackedParameters"] = std::move(structures);
    json["PreDraw"] = ParsePart(GetPart(PluginStatePart::PreDraw));
    json["Draw"] = ParsePart(GetPart(PluginStatePart::Draw));
    const PluginStatePartView binary = GetPart(PluginStatePart::DrawBinary);
    const auto* const bytes = reinterpret_cast<const std::uint8_t*>(binary.mData);
    json["DrawBinary"] = nlohmann::ordered_json::binary(std::vector<std::uint8_t>(bytes, bytes + binary.mSize));
    return json;
}

}  // namespace zeb
