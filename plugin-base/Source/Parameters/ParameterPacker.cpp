// The road of a frame's constants: parameters to script objects, a script for what must be derived, objects
// to the blob. What a structure holds is the catalogue's business, member by member.
#include "PluginBase/Parameters/ParameterPacker.h"

#include <algorithm>
#include <array>
#include <new>

#include <fmt/format.h>

#include "PluginBase/Exception.h"
#include "PluginBase/Misc/Utf8.h"
#include "PluginBase/Parameters/ParametersManagerBase.h"
#include "PluginBase/Script/JSContext.h"
#include "Script/DuktapeUtil.h"
#include "Values/JsonRead.h"

namespace zeb {
namespace {

using json::Field;
using json::Json;
using MemberType = ParameterPacker::MemberType;

struct TypeRow {
    const char* mWord;
    std::int32_t mValues;  ///< 32-bit values of one element in the blob
};

/// In the order of the enumeration.
constexpr std::array kTypes = {
    TypeRow{"Bool", 1}, TypeRow{"Int32", 1}, TypeRow{"Float32", 1}, TypeRow{"Vec2", 2},
    TypeRow{"Vec3", 4}, TypeRow{"Vec4", 4},  TypeRow{"Mat4x4", 16},
};

MemberType ReadType(const std::string& word) {
    for (std::size_t i = 0; i < kTypes.size(); ++i) {
        if (word == kTypes[i].mWord) return static_cast<MemberType>(i);
    }
    ZEB_THROW(kInternalError, fmt::format("Unknown member type of {}", word));
}

ParameterPacker::Member ReadMember(const Json& entry) {
    ParameterPacker::Member member;
    member.mName = json::ReadString(Field(entry, "name"));
    member.mOffset = json::ReadUint32(Field(entry, "offset"));
    member.mType = ReadType(json::ReadString(Field(entry, "type")));
    if (entry.contains("sourceParameter")) member.mSourceParameter = json::ReadInt32(entry["sourceParameter"]);
    if (entry.contains("arraySize")) member.mArraySize = json::ReadInt32(entry["arraySize"]);
    return member;
}

/// A member outside its structure would be written over its neighbours.
void CheckInside(const std::string& name, const ParameterPacker::Struct& pack, const ParameterPacker::Member& member) {
    const std::uint64_t elements = member.mArraySize > 0 ? static_cast<std::uint64_t>(member.mArraySize) : 1;
    const std::uint64_t size = elements * static_cast<std::uint64_t>(member.GetArrayElementValuesCount()) * 4;
    if (member.mOffset + size > pack.mSizeInBytes)
        ZEB_THROW(kInternalError, fmt::format("Member {} of struct {} ends behind the structure.", member.mName, name));
}

/// The getter's script object at the top of the stack, tied to the getter for this scope only.
class ScopedGetter {
public:
    ScopedGetter(JSContext& context, const ParameterCurrentValueGetter& getter) : mContext(context) {
        context.PushGetter(getter);
        mIndex = duk_get_top_index(context.Get());
    }
    ~ScopedGetter() { mContext.InvalidateGetter(mIndex); }
    ScopedGetter(const ScopedGetter&) = delete;
    ScopedGetter& operator=(const ScopedGetter&) = delete;
    duk_idx_t GetIndex() const { return mIndex; }

private:
    JSContext& mContext;
    duk_idx_t mIndex = 0;
};

/// Pushes a global of the scripts; undefined if they have none of that name.
void PushGlobal(duk_context* context, const std::string& name) {
    script::RunProtected(context, 1, fmt::format("Failed to get the global object {}", name),
                         [text = name.c_str()](duk_context* inner) {
                             duk_get_global_string(inner, text);
                             return 1;
                         });
}

/// Calls a global function with the getter; the object it works on it knows by name.
void RunScript(duk_context* context, const std::string& function, duk_idx_t getterIndex) {
    PushGlobal(context, function);
    duk_dup(context, getterIndex);
    if (duk_pcall(context, 1) != DUK_EXEC_SUCCESS) ZEB_THROW_SCRIPT(context, 1, "Failed to call duk_pcall(script, 1)");
    duk_pop(context);
}

/// Part of the environment for those who write scripts: takes a text and does nothing with it.
duk_ret_t TestPrint(duk_context* context) {
    duk_safe_to_string(context, 0);
    return 0;
}

}  // namespace

std::int32_t ParameterPacker::Member::GetArrayElementValuesCount() const {
    const auto index = static_cast<std::size_t>(mType);
    if (index >= kTypes.size())
        ZEB_THROW(kInternalError, fmt::format("Inexpected member type of {}", static_cast<std::int32_t>(mType)));
    return kTypes[index].mValues;
}

ParameterPacker::ParameterPacker(const ParametersManagerBase& manager, const Json& catalogue)
    : ParameterDescriptionGetter(manager) {
    if (catalogue.contains("packJSFilenames")) {
        for (const Json& file : json::Array(catalogue["packJSFilenames"]))
            mScriptFiles.push_back(json::ReadString(file));
    }
    if (!catalogue.contains("packs")) return;
    for (const Json& entry : json::Array(catalogue["packs"])) {
        const std::string name = json::ReadString(Field(entry, "name"));
        Struct pack;
        pack.mSizeInBytes = json::ReadUint32(Field(entry, "sizeInBytes"));
        // A structure whose members all come from parameters has no function.
        const Json& function = Field(entry, "scriptFunction");
        if (function.is_string()) pack.mScriptFunction = json::ReadString(function);
        for (const Json& member : json::Array(Field(entry, "members"))) {
            pack.mMembers.push_back(ReadMember(member));
            CheckInside(name, pack, pack.mMembers.back());
        }
        // The directory is by name, so two structures of one name would be one entry.
        if (!mPacks.emplace(name, std::move(pack)).second)
            ZEB_THROW(kInternalError, fmt::format("Struct {} is described twice.", name));
        mPackNames.push_back(name);
    }
}

ParameterPacker::~ParameterPacker() {
    // No frame is under way any more; heaps of other threads are free to go.
    const std::lock_guard lock(mMutex);
    mIdleContexts.clear();
}

const ParameterPacker::Struct& ParameterPacker::GetPack(std::string_view name) const {
    const auto found = mPacks.find(name);
    if (found == mPacks.end()) ZEB_THROW(kInternalError, fmt::format("Failed to find struct {}", name));
    return found->second;
}

class ParameterPacker::UsedScript {
public:
    explicit UsedScript(const ParameterPacker& packer) : mPacker(packer), mContext(packer.TakeScript()) {}
    ~UsedScript() { mPacker.GiveBackScript(std::move(mContext)); }
    UsedScript(const UsedScript&) = delete;
    UsedScript& operator=(const UsedScript&) = delete;
    JSContext& Get() const { return *mContext; }

private:
    const ParameterPacker& mPacker;
    std::unique_ptr<JSContext> mContext;
};

void ParameterPacker::PackFromGetter(BlobWriter& writer, const ParameterCurrentValueGetter& getter) const {
    const UsedScript script(*this);
    JSContext& context = script.Get();
    duk_context* stack = context.Get();
    // Whatever fails below, the thread's next frame finds the stack as it was.
    const script::StackGuard guard(stack);
    const ScopedGetter scriptGetter(context, getter);
    WriteDirectory(writer);
    for (const std::string& name : mPackNames) {
        const Struct& pack = GetPack(name);
        PushGlobal(stack, name);
        if (!duk_is_object(stack, -1))
            ZEB_THROW(kInternalError, fmt::format("The scripts define no object for struct {}.", name));
        const duk_idx_t object = duk_get_top_index(stack);
        SetJSStructValuesFromGetter(context, name, pack, object, getter);
        if (!pack.mScriptFunction.empty()) RunScript(stack, pack.mScriptFunction, scriptGetter.GetIndex());
        PackStructFromJSValues(context, name, pack, object, writer);
        duk_pop(stack);
    }
}

std::unique_ptr<JSContext> ParameterPacker::TakeScript() const {
    {
        const std::lock_guard lock(mMutex);
        auto& [idle, lastUse] = mIdleContexts[std::this_thread::get_id()];
        lastUse = ++mUseCount;
        if (!idle.empty()) {
            std::unique_ptr<JSContext> context = std::move(idle.back());
            idle.pop_back();
            return context;
        }
    }
    // Compiled outside the lock: a thread whose scripts failed tries anew.
    auto context = std::make_unique<JSContext>();
    LoadScripts(*context);
    return context;
}

void ParameterPacker::GiveBackScript(std::unique_ptr<JSContext> context) const noexcept {
    // Threads that take turns keep theirs; one that packs no more, or has ended, does not.
    constexpr std::uint64_t kIdleUses = 32;
    constexpr std::uint64_t kIdleTurns = 4;
    decltype(mIdleContexts)::node_type forgotten;
    const std::lock_guard lock(mMutex);
    const std::uint64_t patience = kIdleUses + kIdleTurns * mIdleContexts.size();
    const auto idle = std::find_if(mIdleContexts.begin(), mIdleContexts.end(),
                                   [&](const auto& entry) { return mUseCount - entry.second.mLastUse > patience; });
    if (idle != mIdleContexts.end()) forgotten = mIdleContexts.extract(idle);
    if (context->IsBroken()) return;
    try {
        mIdleContexts[std::this_thread::get_id()].mContexts.push_back(std::move(context));
    } catch (const std::bad_alloc&) {
        // Without room to keep it the context goes; the next frame makes another.
    }
}

void ParameterPacker::LoadScripts(JSContext& context) const {
    duk_context* stack = context.Get();
    script::RunProtected(stack, 0, "Failed to define TestPrint", [](duk_context* inner) -> duk_ret_t {
        duk_push_c_function(inner, &script::NativeFunction<&TestPrint>, 1);
        duk_put_global_string(inner, "TestPrint");
        return 0;
    });
    const TextFileLoader* loader = GetManager().GetOptions().mTextFileLoader;
    if (loader == nullptr && !mScriptFiles.empty())
        ZEB_THROW(kInternalError, "Failed to load scripts without a text file loader.");
    for (const std::string& file : mScriptFiles) {
        // Each file runs once, to leave its functions and objects in the heap's globals.
        context.PCompile(*loader, ToUtf16(file), 0);
        if (duk_pcall(stack, 0) != DUK_EXEC_SUCCESS)
            ZEB_THROW_SCRIPT(stack, 1, "Failed to call duk_pcall(*context, 0)");
        duk_pop(stack);
    }
}

void ParameterPacker::Dump(const PackedParameters& blob, Json& array) const {
    for (const std::string& name : mPackNames) {
        Json object = Json::object();
        for (const Member& member : GetPack(name).mMembers) {
            const auto readElement = [&](std::size_t offset) -> Json {
                switch (member.mType) {
                    case MemberType::Bool: return blob.Read<std::int32_t>(name, offset) != 0;
                    case MemberType::Int32: return blob.Read<std::int32_t>(name, offset);
                    case MemberType::Float32: return blob.Read<float>(name, offset);
                    default: break;
                }
                // A Vec3 takes four words in the blob and has three values.
                const std::int32_t values = member.mType == MemberType::Vec3 ? 3 : member.GetArrayElementValuesCount();
                Json vector = Json::array();
                for (std::int32_t i = 0; i < values; ++i)
                    vector.push_back(blob.Read<float>(name, offset + 4 * static_cast<std::size_t>(i)));
                return vector;
            };
            if (member.mArraySize <= 0) {
                object[member.mName] = readElement(member.mOffset);
                continue;
            }
            const auto stride = 4 * static_cast<std::size_t>(member.GetArrayElementValuesCount());
            Json elements = Json::array();
            for (std::int32_t i = 0; i < member.mArraySize; ++i)
                elements.push_back(readElement(member.mOffset + stride * static_cast<std::size_t>(i)));
            object[member.mName] = std::move(elements);
        }
        array.push_back(std::move(object));
    }
}

}  // namespace zeb
