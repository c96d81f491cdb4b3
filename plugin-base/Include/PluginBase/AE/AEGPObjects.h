#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

#include "HostInterface/HostInterface.h"
#include "PluginBase/AE/SuiteTableAE.h"

/// The host's objects as values. Each operation is one call of the host and a check, which throws
/// "Failed to call " with the call's text and the host's code. Text is UTF-16.
///
/// Thread: one with a context; objects do not outlive the command. Destructors that dispose of a handle
/// never throw; a failure there is written to the process's error stream.
namespace zeb::AEGP {

/// The id that the host gave the library, 0 before registration. Set once, at global setup.
AEGP_PluginID GetPluginId();
void SetPluginId(AEGP_PluginID id);

/// What all wrappers share.
class Object {
protected:
    static SuiteTableAE& GetSuites();
};

/// Memory that the host handed out; unlocked and freed at the end.
class MemHandle : Object {
public:
    explicit MemHandle(AEGP_MemHandle memHandle = nullptr) : mMemHandle(memHandle) {}
    ~MemHandle();
    MemHandle(MemHandle&& other) noexcept
        : mMemHandle(std::exchange(other.mMemHandle, nullptr)), mPtr(std::exchange(other.mPtr, nullptr)) {}
    MemHandle& operator=(MemHandle&&) = delete;

    /// Locks the memory at the first call; null for an empty handle.
    const void* GetPtr();
    /// Bytes.
    std::uint32_t GetSize() const;
    /// The NUL-terminated text in the memory; empty for an empty handle.
    std::u16string GetText();
    std::string GetNarrowText();

private:
    AEGP_MemHandle mMemHandle;
    void* mPtr = nullptr;
};

/// A stream's value while it is held.
class StreamValue : Object {
public:
    explicit StreamValue(const AEGP_StreamValue2& value) : mValue(value) {}
    ~StreamValue();
    StreamValue(const StreamValue&) = delete;
    StreamValue& operator=(const StreamValue&) = delete;

    AEGP_StreamVal2& GetVal() { return mValue.val; }
    AEGP_StreamValue2& Get() { return mValue; }

private:
    AEGP_StreamValue2 mValue;
};

/// A property of a layer or an effect.
class Stream : Object {
public:
    explicit Stream(AEGP_StreamRefH streamHandle) : mStreamHandle(streamHandle) {}
    ~Stream();
    Stream(Stream&& other) noexcept : mStreamHandle(std::exchange(other.mStreamHandle, nullptr)) {}
    Stream& operator=(Stream&&) = delete;

    AEGP_DynStreamFlags GetDynamicStreamFlags() const;
    void SetDynamicStreamFlag(AEGP_DynStreamFlags flag, bool undoable, bool set) const;
    /// `preExpression` gives the value without the expression.
    StreamValue GetNewStreamValue(AEGP_LTimeMode timeMode, const A_Time& time, bool preExpression) const;
    std::u16string GetStreamName() const;
    void SetStreamName(const std::u16string& name) const;
    void SetExpression(const std::u16string& expression) const;
    void SetExpressionState(bool enabled) const;
    /// Only for a stream without keyframes.
    void SetStreamVal(const AEGP_StreamVal2& val) const;
    void SetStreamValue(AEGP_StreamValue2& value) const;

private:
    AEGP_StreamRefH mStreamHandle;
};

class Footage : Object {
public:
    /// `owned` footage is disposed of, unless it is given to the project.
    Footage(AEGP_FootageH footageHandle, bool owned) : mFootageHandle(footageHandle), mOwned(owned) {}
    ~Footage();
    Footage(Footage&& other) noexcept
        : mFootageHandle(other.mFootageHandle), mOwned(std::exchange(other.mOwned, false)) {}
    Footage& operator=(Footage&&) = delete;

    /// Empty when the footage is not a file.
    std::u16string GetFootagePath() const;
    AEGP_FootageH GetHandle() const { return mFootageHandle; }
    void Release() { mOwned = false; }

private:
    AEGP_FootageH mFootageHandle;
    bool mOwned;
};

/// An entry of the project panel; may be empty.
class Item : Object {
public:
    explicit Item(AEGP_ItemH itemHandle = nullptr) : mItemHandle(itemHandle) {}

    AEGP_ItemH GetHandle() const { return mItemHandle; }
    explicit operator bool() const { return mItemHandle != nullptr; }

    /// Adds the footage to this folder; the project owns it from then on.
    Item AddFootageToProject(Footage& footage) const;
    Item CreateNewFolder(const std::u16string& name) const;
    std::u16string GetItemName() const;
    Item GetItemParentFolder() const;
    AEGP_ItemType GetItemType() const;
    Footage GetMainFootageFromItem() const;

private:
    AEGP_ItemH mItemHandle;
};

class Project : Object {
public:
    explicit Project(AEGP_ProjectH projectHandle) : mProjectHandle(projectHandle) {}

    Item GetFirstProjItem() const;
    /// Empty after the last.
    Item GetNextProjItem(const Item& item) const;
    Item GetProjectRootFolder() const;

private:
    AEGP_ProjectH mProjectHandle;
};

class Comp;

class Layer : Object {
public:
    explicit Layer(AEGP_LayerH layerHandle = nullptr) : mLayerHandle(layerHandle) {}

    AEGP_LayerH GetHandle() const { return mLayerHandle; }

    AEGP_LayerIDVal GetLayerID() const;
    std::int32_t GetLayerIndex() const;
    Comp GetLayerParentComp() const;
    /// An empty item throws if `required`.
    Item GetLayerSourceItem(bool required) const;
    AEGP_StreamVal2 GetLayerStreamValue(AEGP_LayerStream stream, AEGP_LTimeMode timeMode, const A_Time& time,
                                        bool preExpression) const;
    /// From the layer to the world; vectors are rows. `time` is the composition's.
    A_Matrix4 GetLayerToWorldXform(const A_Time& time) const;
    Stream GetNewLayerStream(AEGP_LayerStream stream) const;
    std::u16string GetSourceName() const;
    /// -1 puts the layer last.
    void ReorderLayer(std::int32_t index) const;
    void SetLayerFlag(AEGP_LayerFlags flag, bool value) const;

private:
    AEGP_LayerH mLayerHandle;
};

/// Puts `layer` just below `reference` in the same composition; does nothing if it lies there.
void MoveLayerBelow(const Layer& layer, const Layer& reference);

class CameraLayer : Object {
public:
    CameraLayer(AEGP_LayerH layerHandle, const A_Time& time) : mLayerHandle(layerHandle), mTime(time) {}

    Layer GetLayer() const { return Layer(mLayerHandle); }
    /// Composition time at which the camera was asked for.
    const A_Time& GetTime() const { return mTime; }
    AEGP_CameraType GetCameraType() const;

private:
    AEGP_LayerH mLayerHandle;
    A_Time mTime;
};

class Comp : Object {
public:
    explicit Comp(AEGP_CompH compHandle) : mCompHandle(compHandle) {}

    AEGP_CompH GetHandle() const { return mCompHandle; }

    /// The new layer goes on top.
    Layer AddLayer(const Item& item) const;
    /// A null object as long as the host's preference for stills says.
    Layer CreateNullInComp(const std::u16string& name) const;
    Layer GetCompLayerByIndex(std::int32_t index) const;
    std::int32_t GetCompNumLayers() const;
    Layer GetLayerFromLayerID(AEGP_LayerIDVal id) const;
    bool IsAddLayerValid(const Item& item) const;

private:
    AEGP_CompH mCompHandle;
};

class Effect : Object {
public:
    Effect(AEGP_EffectRefH effectHandle, PF_ProgPtr effectRef) : mEffectHandle(effectHandle), mEffectRef(effectRef) {}
    ~Effect();
    Effect(Effect&& other) noexcept
        : mEffectHandle(std::exchange(other.mEffectHandle, nullptr)), mEffectRef(other.mEffectRef) {}
    Effect& operator=(Effect&&) = delete;

    /// From layer time, in units of 1 / `timeScale` second, to composition time.
    A_Time ConvertEffectToCompTime(std::int32_t time, std::uint32_t timeScale) const;
    /// Throws when there is no camera.
    CameraLayer GetEffectCamera(const A_Time& compTime) const;
    std::optional<CameraLayer> FindEffectCamera(const A_Time& compTime) const;
    Layer GetEffectLayer() const;
    /// `index` is the host's index of the parameter.
    Stream GetNewEffectStreamByIndex(std::int32_t index) const;

private:
    AEGP_EffectRefH mEffectHandle;
    PF_ProgPtr mEffectRef;
};

/// The entry to the rest: binds to the thread's context.
class Suites : Object {
public:
    Suites();

    void StartUndoGroup(const std::string& name) const;
    void EndUndoGroup() const;
    /// Runs a script; the result's text.
    std::string ExecuteScript(const std::string& script) const;
    bool IsScriptingAvailable() const;
    Effect GetEffect() const;
    Project GetProjectByIndex(std::int32_t index) const;
    /// Opens a file as footage that the caller owns.
    Footage NewFootage(const std::u16string& path, AEGP_InterpretationStyle style) const;

private:
    SuiteTableAE& mSuites;
    AEGP_PluginID mPluginId;
    PF_ProgPtr mEffectRef;
};

}  // namespace zeb::AEGP
