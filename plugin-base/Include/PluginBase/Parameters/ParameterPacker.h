#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <unordered_map>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "PluginBase/Misc/Hash.h"
#include "PluginBase/Parameters/Values/ParameterAccess.h"

namespace zeb {

class JSContext;

/// Append-only bytes; an appended block's address is valid until the next append.
class BlobWriter {
public:
    explicit BlobWriter(std::vector<std::byte>& bytes) : mBytes(bytes) {}
    /// Appends `size` zero bytes and returns their address.
    std::byte* AppendZeros(std::size_t size) {
        const std::size_t offset = mBytes.size();
        mBytes.resize(offset + size);
        return mBytes.data() + offset;
    }
    void Append(std::string_view text) {
        if (!text.empty()) std::memcpy(AppendZeros(text.size()), text.data(), text.size());
    }
    std::size_t GetSize() const { return mBytes.size(); }

private:
    std::vector<std::byte>& mBytes;
};

/// Read access to a packed blob: all constant structures of a frame, found by name. It refers to the
/// blob's bytes, which must outlive it. Throws zeb::Exception on a blob that is cut short or a name
/// that it lacks.
class PackedParameters {
public:
    struct Struct {
        const std::byte* mData = nullptr;
        std::size_t mSize = 0;
    };

    PackedParameters() = default;
    PackedParameters(const std::byte* data, std::size_t size);

    const std::vector<std::string>& GetNames() const { return mNames; }
    Struct GetStruct(std::string_view name) const;

    /// The structure's bytes, which must be `size` long exactly.
    const std::byte* GetBytes(std::string_view name, std::size_t size) const;

    /// The value at `offset` of the structure.
    template <class T>
    T Read(std::string_view name, std::size_t offset) const {
        T value;
        std::memcpy(&value, GetRange(name, offset, sizeof(T)), sizeof(T));
        return value;
    }

private:
    const std::byte* GetRange(std::string_view name, std::size_t offset, std::size_t size) const;

    std::vector<std::string> mNames;
    std::unordered_map<std::string, Struct, StringHash, std::equal_to<>> mStructs;
};

/// Fills the constant structures of a frame from parameters: values go into JavaScript objects, each
/// structure's script derives what no single parameter supplies, and the objects are laid out as one
/// blob. Thread: any; each thread has a script heap of its own, made at its first use. A host that reads a parameter
/// may render another frame on the same thread before it answers, for an expression that looks at a layer: what is
/// packed then has one more heap.
class ParameterPacker : public ParameterDescriptionGetter {
public:
    enum class MemberType : std::int32_t { Bool = 0, Int32 = 1, Float32 = 2, Vec2 = 3, Vec3 = 4, Vec4 = 5, Mat4x4 = 6 };

    struct Member {
        std::string mName;
        MemberType mType = MemberType::Bool;
        std::uint32_t mOffset = 0;
        std::int32_t mArraySize = 0;         ///< 0: not an array
        std::int32_t mSourceParameter = -1;  ///< catalogue index, -1: none
        /// 32-bit values of one array element of the type. Throws for a type that has none.
        std::int32_t GetArrayElementValuesCount() const;
    };

    struct Struct {
        std::uint32_t mSizeInBytes = 0;
        std::string mScriptFunction;
        std::vector<Member> mMembers;
    };

    ParameterPacker(const ParametersManagerBase& manager, const nlohmann::json& catalogue);
    ~ParameterPacker() override;

    /// Appends the blob. Throws ScriptException with the script's stack, zeb::Exception otherwise.
    void PackFromGetter(BlobWriter& writer, const ParameterCurrentValueGetter& getter) const;

    /// Appends to `array`, per pack in order, an object of the members' values as they stand in the blob.
    void Dump(const PackedParameters& blob, nlohmann::json& array) const;

    const Struct& GetPack(std::string_view name) const;

private:
    /// A context of the calling thread, with the scripts loaded, that nobody else uses; given back at its end.
    class UsedScript;
    std::unique_ptr<JSContext> TakeScript() const;
    void GiveBackScript(std::unique_ptr<JSContext> context) const noexcept;
    void LoadScripts(JSContext& context) const;
    void WriteDirectory(BlobWriter& writer) const;
    /// Both work on the script object at `objectIndex` of the context's stack.
    void SetJSStructValuesFromGetter(JSContext& context, const std::string& name, const Struct& pack, int objectIndex,
                                     const ParameterCurrentValueGetter& getter) const;
    void PackStructFromJSValues(JSContext& context, const std::string& name, const Struct& pack, int objectIndex,
                                BlobWriter& writer) const;

    std::vector<std::string> mPackNames;
    std::unordered_map<std::string, Struct, StringHash, std::equal_to<>> mPacks;
    std::vector<std::string> mScriptFiles;
    mutable std::mutex mMutex;
    struct IdleContexts {
        std::vector<std::unique_ptr<JSContext>> mContexts;
        std::uint64_t mLastUse = 0;
    };
    mutable std::unordered_map<std::thread::id, IdleContexts> mIdleContexts;
    mutable std::uint64_t mUseCount = 0;  ///< contexts taken
};

}  // namespace zeb
