// From parameters into the scripts' objects, and from the objects into the blob, member by member.
#include <cstring>

#include <fmt/format.h>

#include "PluginBase/Exception.h"
#include "PluginBase/Parameters/Custom/Gradient.h"
#include "PluginBase/Parameters/Custom/Ramp.h"
#include "PluginBase/Parameters/ParameterPacker.h"
#include "PluginBase/Script/JSContext.h"
#include "Script/DuktapeUtil.h"

namespace zeb {
namespace {

using Member = ParameterPacker::Member;
using MemberType = ParameterPacker::MemberType;

/// A member of the script object at `mObject` of the stack.
struct Place {
    JSContext& mContext;
    const std::string& mStruct;
    const Member& mMember;
    duk_idx_t mObject;
};

/// A typed array's memory; valid while the array is on the stack.
struct ArrayView {
    void* mData = nullptr;
    std::size_t mLength = 0;
};

/// Pushes the member; undefined if the object has none of that name. Scripts can run: accessors, proxies.
void PushProperty(const Place& place) {
    script::RunProtected(place.mContext.Get(), 1, "Failed to get a member",
                         [object = place.mObject, name = place.mMember.mName.c_str()](duk_context* inner) {
                             duk_get_prop_string(inner, object, name);
                             return 1;
                         });
}

/// Puts the value that `push(context)` pushes.
template <class Push>
void PutProperty(const Place& place, Push push) {
    script::RunProtected(place.mContext.Get(), 0, "Failed to set a member",
                         [object = place.mObject, name = place.mMember.mName.c_str(), push](duk_context* inner) {
                             push(inner);
                             duk_put_prop_string(inner, object, name);
                             return 0;
                         });
}

/// Length in elements and in bytes of the buffer object at the top of the stack.
ArrayView ViewArray(const Place& place) {
    duk_context* context = place.mContext.Get();
    script::RunProtected(context, 1, "Failed to get a length", [](duk_context* inner) {
        duk_get_prop_string(inner, -1, "length");
        return 1;
    });
    const duk_int_t length = duk_get_int(context, -1);
    duk_pop(context);
    duk_size_t size = 0;
    void* data = duk_get_buffer_data(context, -1, &size);
    return {.mData = size > 0 ? data : nullptr, .mLength = length > 0 ? static_cast<std::size_t>(length) : 0};
}

/// Throws unless the buffer at the top of the stack has elements of 4 bytes.
void CheckElementSize(const Place& place, const ArrayView& view) {
    duk_size_t size = 0;
    (void)duk_get_buffer_data(place.mContext.Get(), -1, &size);
    if (view.mLength == 0 || size % view.mLength != 0 || size / view.mLength != 4)
        ZEB_THROW(kInternalError,
                  fmt::format(
                      "Member {} of struct {} must be of type Int32Array or Float32Array (current element size of {}).",
                      place.mMember.mName, place.mStruct, view.mLength == 0 ? 0 : size / view.mLength));
}

/// Pushes the member, which must be a typed array with elements of 4 bytes, named `type` in the message.
ArrayView PushTypedArray(const Place& place, const char* type) {
    PushProperty(place);
    if (duk_is_buffer_data(place.mContext.Get(), -1) == 0)
        ZEB_THROW(kInternalError,
                  fmt::format("Member {} of struct {} must be of type {}.", place.mMember.mName, place.mStruct, type));
    const ArrayView view = ViewArray(place);
    CheckElementSize(place, view);
    return view;
}

/// The floats of the vector or matrix at the top of the stack.
float* GetFloats(const Place& place, std::size_t count) {
    float* data = place.mContext.GetHiddenData(-1, count);
    if (data == nullptr)
        ZEB_THROW(kInternalError, fmt::format("Member {} of struct {} must be a vector or matrix of {} numbers.",
                                              place.mMember.mName, place.mStruct, count));
    return data;
}

/// Number of floats in the script's object of a vector or matrix type.
std::size_t CountFloats(MemberType type) {
    switch (type) {
        case MemberType::Vec2: return 2;
        case MemberType::Vec3: return 3;
        case MemberType::Vec4: return 4;
        default: return 16;
    }
}

const char* GetArrayType(MemberType type) { return type == MemberType::Int32 ? "Int32Array" : "Float32Array"; }

/// For the members that no parameter can feed.
void CheckNoSource(const Place& place, bool hasSource) {
    if (hasSource)
        ZEB_THROW(kInternalError, fmt::format("Member {} of struct {} can't be loaded from a source parameter.",
                                              place.mMember.mName, place.mStruct));
}

/// The custom value of a parameter; a text that is refused is the JSON library's exception.
template <class Custom>
Custom ReadCustom(const ParameterCurrentValueGetter& getter, std::int32_t index) {
    Custom custom;
    custom.FromJSON(getter.GetCustom(index));
    return custom;
}

/// Curves are evaluated here and straight into the typed array: 40 of 1024 samples each are the bulk of a
/// frame's work, and one value at a time through the engine would cost many times as much.
void SetArray(const Place& place, bool hasSource, const ParameterCurrentValueGetter& getter) {
    const Member& member = place.mMember;
    if (member.mType == MemberType::Bool || member.mType == MemberType::Mat4x4)
        ZEB_THROW(kInternalError,
                  fmt::format("Array of {} is not supported. Member {} of struct {}.",
                              member.mType == MemberType::Bool ? "bools" : "mat4x4", member.mName, place.mStruct));
    const bool isRamp = member.mType == MemberType::Float32;
    const bool isGradient = member.mType == MemberType::Vec4;
    if (!isRamp && !isGradient) CheckNoSource(place, hasSource);
    const ArrayView view = PushTypedArray(place, GetArrayType(member.mType));
    auto* floats = static_cast<float*>(view.mData);
    if (hasSource && isRamp) {
        ReadCustom<Ramp>(getter, member.mSourceParameter).Fill(floats, view.mLength);
    } else if (hasSource) {
        ReadCustom<Gradient>(getter, member.mSourceParameter).Fill(floats, view.mLength / 4);
    } else {
        std::memset(view.mData, 0, view.mLength * 4);
    }
    duk_pop(place.mContext.Get());
}

/// An integer member takes sliders of integers and pop-ups.
std::int32_t ReadInt(const Place& place, const ParameterCurrentValueGetter& getter) {
    const std::int32_t source = place.mMember.mSourceParameter;
    switch (getter.GetDescription(source).mValueKind) {
        case ValueKind::Int: return getter.GetInt(source);
        case ValueKind::Popup: return getter.GetPopup(source);
        default:
            ZEB_THROW(kInternalError, fmt::format("Source parameter {} for member {} of struct {} must be of type int.",
                                                  source, place.mMember.mName, place.mStruct));
    }
}

/// Every member is written on every call, so nothing of an earlier frame is left in the object.
void SetSingle(const Place& place, bool hasSource, const ParameterCurrentValueGetter& getter) {
    const std::int32_t source = place.mMember.mSourceParameter;
    switch (place.mMember.mType) {
        case MemberType::Bool:
            PutProperty(place, [value = hasSource && getter.GetBool(source)](duk_context* inner) {
                duk_push_boolean(inner, value ? 1 : 0);
            });
            return;
        case MemberType::Int32:
            PutProperty(place, [value = hasSource ? ReadInt(place, getter) : 0](duk_context* inner) {
                duk_push_int(inner, value);
            });
            return;
        case MemberType::Float32:
            PutProperty(place, [value = hasSource ? getter.GetDouble(source) : 0.0](duk_context* inner) {
                duk_push_number(inner, value);
            });
            return;
        case MemberType::Vec3: break;
        case MemberType::Vec2:
        case MemberType::Vec4:
        case MemberType::Mat4x4: CheckNoSource(place, hasSource); break;
    }
    // The object stays and its data are overwritten, so that a script may keep a reference to it.
    const std::size_t count = CountFloats(place.mMember.mType);
    const glm::vec3 vector = hasSource ? getter.GetVec3(source) : glm::vec3(0.0F);
    PushProperty(place);
    float* floats = GetFloats(place, count);
    std::memset(floats, 0, count * sizeof(float));
    if (hasSource) std::memcpy(floats, &vector, sizeof(vector));
    duk_pop(place.mContext.Get());
}

/// Copies the array at the top of the stack into the structure.
void PackArray(const Place& place, std::byte* destination) {
    const Member& member = place.mMember;
    if (duk_is_buffer_data(place.mContext.Get(), -1) == 0)
        ZEB_THROW(kInternalError, fmt::format("Member {} of struct {} must be an array.", member.mName, place.mStruct));
    const ArrayView view = ViewArray(place);
    const auto expected =
        static_cast<std::size_t>(member.GetArrayElementValuesCount()) * static_cast<std::size_t>(member.mArraySize);
    if (view.mLength != expected)
        ZEB_THROW(kInternalError, fmt::format("Member {} of struct {} expected to be of length {} but has {}.",
                                              member.mName, place.mStruct, expected, view.mLength));
    CheckElementSize(place, view);
    std::memcpy(destination, view.mData, expected * 4);
}

/// Writes the value at the top of the stack into the structure; a value of another type counts as 0.
void PackSingle(const Place& place, std::byte* destination) {
    duk_context* context = place.mContext.Get();
    const auto write = [destination](const auto& value) { std::memcpy(destination, &value, sizeof(value)); };
    switch (place.mMember.mType) {
        case MemberType::Bool: write(std::int32_t{duk_get_boolean(context, -1) != 0 ? 1 : 0}); break;
        case MemberType::Int32: write(static_cast<std::int32_t>(duk_get_int(context, -1))); break;
        case MemberType::Float32: write(static_cast<float>(duk_get_number(context, -1))); break;
        default: {
            // The fourth word of a Vec3 stays 0.
            const std::size_t count = CountFloats(place.mMember.mType);
            std::memcpy(destination, GetFloats(place, count), count * sizeof(float));
            break;
        }
    }
}

}  // namespace

void ParameterPacker::SetJSStructValuesFromGetter(JSContext& context, const std::string& name, const Struct& pack,
                                                  int objectIndex, const ParameterCurrentValueGetter& getter) const {
    for (const Member& member : pack.mMembers) {
        const Place place{context, name, member, objectIndex};
        // A parameter that this host does not see reads as absent.
        const bool hasSource =
            member.mSourceParameter != -1 && GetDescription(member.mSourceParameter).mParameterIndex != -1;
        if (member.mArraySize > 0) {
            SetArray(place, hasSource, getter);
        } else {
            SetSingle(place, hasSource, getter);
        }
    }
}

void ParameterPacker::PackStructFromJSValues(JSContext& context, const std::string& name, const Struct& pack,
                                             int objectIndex, BlobWriter& writer) const {
    std::byte* start = writer.AppendZeros(pack.mSizeInBytes);
    for (const Member& member : pack.mMembers) {
        const Place place{context, name, member, objectIndex};
        PushProperty(place);
        if (member.mArraySize > 0) {
            PackArray(place, start + member.mOffset);
        } else {
            PackSingle(place, start + member.mOffset);
        }
        duk_pop(context.Get());
    }
}

}  // namespace zeb
