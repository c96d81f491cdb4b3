#include "NullObjectLink.h"

#include <array>
#include <set>
#include <string>
#include <vector>

#include <fmt/format.h>

#include "Plugin.h"
#include "PluginBase/AE/AEGPObjects.h"
#include "PluginBase/AE/TextAE.h"
#include "PluginBase/AE/UndoGroup.h"

namespace null_object {
namespace {

namespace AEGP = zeb::AEGP;

// Entries of a slot, from its first.
constexpr std::int32_t kPosition = 132;
constexpr std::int32_t kUniformScale = 134;
constexpr std::array kScales = {135, 136, 137};
constexpr std::array kRotations = {138, 139, 140};

// Values are taken over as they stand at the start.
constexpr A_Time kStart{0, 1};

constexpr const char* kHead = "nullLayer = thisComp.layer(\"{}\");";
constexpr const char* kPositionTail =
    "\npos = nullLayer.toWorld([0,0,0]);\nvalue + [pos[0] - {}, pos[1] - {}, pos[2] - {}];";
constexpr const char* kRelativeValue = "\nrelValue = value - {};";
constexpr const char* kScale = "value * 0.01 * nullLayer.transform.scale[{}]";

// The null's angles from its axes in the world, so that parents of the null count too. A null scaled to
// nothing has no axes, and the parameter keeps its value.
constexpr const char* kXRotationTail = R"(
if (length(nullLayer.fromWorldVec([1, 0, 0])) < 0.00001)
{
   relValue
}
else
{
   zVec = normalize(nullLayer.toWorldVec([0, 0, 1]));
   if (Math.abs(zVec[0]) > 0.999999)
   {
      xVec = normalize(nullLayer.toWorldVec([1, 0, 0]));
      yVec = normalize(nullLayer.toWorldVec([0, 1, 0]));
      ang = radiansToDegrees(Math.atan2(xVec[1], yVec[1])) * ((zVec[0] < 0.0) ? -1.0 : 1.0);
      relValue + ang
   }
   else
   {
      ang = radiansToDegrees(Math.atan2(-zVec[1], zVec[2]));
      relValue + ang
   }
})";

constexpr const char* kYRotationTail = R"(
if (length(nullLayer.fromWorldVec([1, 0, 0])) < 0.00001)
{
   relValue
}
else
{
   zVec = normalize(nullLayer.toWorldVec([0, 0, 1]));
   relValue + radiansToDegrees(Math.asin(zVec[0]));
})";

constexpr const char* kZRotationTail = R"(
if (length(nullLayer.fromWorldVec([1, 0, 0])) < 0.00001)
{
   relValue
}
else
{
   zVec = normalize(nullLayer.toWorldVec([0, 0, 1]));
   zVec = normalize(nullLayer.toWorldVec([0, 0, 1]));
   if (Math.abs(zVec[0]) > 0.999999)
   {
      relValue
   }
   else
   {
      xVec = normalize(nullLayer.toWorldVec([1, 0, 0]));
      yVec = normalize(nullLayer.toWorldVec([0, 1, 0]));
      relValue + radiansToDegrees(Math.atan2(-yVec[0], xVec[0]));
   }
})";

struct RotationAxis {
    AEGP_LayerStream mNullStream;
    const char* mTail;
};
constexpr std::array<RotationAxis, 3> kAxes = {{{AEGP_LayerStream_ROTATE_X, kXRotationTail},
                                                {AEGP_LayerStream_ROTATE_Y, kYRotationTail},
                                                {AEGP_LayerStream_ROTATE_Z, kZRotationTail}}};

/// The streams of one slot's parameters, by entry.
class SlotStreams {
public:
    SlotStreams(const zeb::ParameterCurrentValueGetter& getter, const AEGP::Effect& effect, std::int32_t slot)
        : mGetter(getter), mEffect(effect), mBase(slot * Plugin::kSlotEntries) {}

    AEGP::Stream Get(std::int32_t entry) const {
        return mEffect.GetNewEffectStreamByIndex(mGetter.GetDescription(mBase + entry).mParameterIndex);
    }
    std::int32_t GetIndex(std::int32_t entry) const { return mBase + entry; }

private:
    const zeb::ParameterCurrentValueGetter& mGetter;
    const AEGP::Effect& mEffect;
    std::int32_t mBase;
};

AEGP_StreamVal2 GetOwnValue(const AEGP::Stream& stream) {
    constexpr bool kWithoutExpression = true;
    return stream.GetNewStreamValue(AEGP_LTimeMode_LayerTime, kStart, kWithoutExpression).GetVal();
}

void SetExpression(const AEGP::Stream& stream, const std::string& expression) {
    stream.SetExpression(zeb::ToUtf16(expression));
}

/// `wanted`, or with the first number from 1 that makes it differ from every layer's.
std::u16string MakeUniqueName(const AEGP::Comp& comp, const std::u16string& wanted) {
    std::set<std::u16string> taken;
    const std::int32_t count = comp.GetCompNumLayers();
    for (std::int32_t i = 0; i < count; ++i) {
        std::u16string name = comp.GetCompLayerByIndex(i).GetSourceName();
        if (name.starts_with(wanted)) taken.insert(std::move(name));
    }
    if (taken.empty()) return wanted;
    std::u16string name;
    for (std::int32_t number = 1; name.empty() || taken.contains(name); ++number)
        name = wanted + zeb::ToUtf16(fmt::format(" {}", number));
    return name;
}

void LinkPosition(const SlotStreams& streams, const AEGP::Layer& null, const std::string& head) {
    const AEGP::Stream stream = streams.Get(kPosition);
    stream.SetExpressionState(true);
    const AEGP_StreamVal2 value = GetOwnValue(stream);
    null.GetNewLayerStream(AEGP_LayerStream_POSITION).SetStreamVal(value);
    SetExpression(stream,
                  head + fmt::format(fmt::runtime(kPositionTail), value.three_d.x, value.three_d.y, value.three_d.z));
}

void LinkRotation(const SlotStreams& streams, const AEGP::Layer& null, const std::string& head) {
    std::vector<AEGP::Stream> rotations;
    std::array<AEGP_StreamVal2, 3> values{};
    for (std::size_t axis = 0; axis < kAxes.size(); ++axis) {
        rotations.push_back(streams.Get(kRotations[axis]));
        values[axis] = GetOwnValue(rotations[axis]);
        rotations[axis].SetExpressionState(true);
    }
    for (std::size_t axis = 0; axis < kAxes.size(); ++axis)
        null.GetNewLayerStream(kAxes[axis].mNullStream).SetStreamVal(values[axis]);
    for (std::size_t axis = 0; axis < kAxes.size(); ++axis) {
        SetExpression(rotations[axis],
                      head + fmt::format(fmt::runtime(kRelativeValue), values[axis].one_d) + kAxes[axis].mTail);
    }
}

void LinkScale(const SlotStreams& streams, const std::string& head) {
    for (std::size_t axis = 0; axis < kScales.size(); ++axis) {
        const AEGP::Stream stream = streams.Get(kScales[axis]);
        stream.SetExpressionState(true);
        SetExpression(stream, head + fmt::format(fmt::runtime(kScale), axis));
    }
}

}  // namespace

void Link(const zeb::ParameterCurrentValueGetter& getter, zeb::ParameterValueSetter& setter, std::int32_t slot) {
    const AEGP::Suites suites;
    zeb::UndoGroup group(suites, "Link Null Object");
    const AEGP::Effect effect = suites.GetEffect();
    const AEGP::Layer effectLayer = effect.GetEffectLayer();
    const AEGP::Comp comp = effectLayer.GetLayerParentComp();

    const std::u16string name = MakeUniqueName(comp, zeb::ToUtf16(fmt::format("{} Transform Null", slot + 1)));
    const AEGP::Layer null = comp.CreateNullInComp(name);
    null.SetLayerFlag(AEGP_LayerFlag_LAYER_IS_3D, true);
    AEGP::MoveLayerBelow(null, effectLayer);

    const std::string head = fmt::format(fmt::runtime(kHead), zeb::ToUtf8(name));
    const SlotStreams streams(getter, effect, slot);
    LinkPosition(streams, null, head);
    LinkRotation(streams, null, head);
    setter.SetBool(streams.GetIndex(kUniformScale), false);
    LinkScale(streams, head);
    group.End();
}

void Unlink(const zeb::ParameterCurrentValueGetter& getter, std::int32_t slot) {
    const AEGP::Suites suites;
    zeb::UndoGroup group(suites, "Unlink Null Object");
    const AEGP::Effect effect = suites.GetEffect();
    const SlotStreams streams(getter, effect, slot);
    for (const std::int32_t entry :
         {kPosition, kRotations[0], kRotations[1], kRotations[2], kScales[0], kScales[1], kScales[2]})
        SetExpression(streams.Get(entry), "");
    group.End();
}

}  // namespace null_object
