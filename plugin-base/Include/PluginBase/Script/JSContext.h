#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "PluginBase/Exception.h"

struct duk_hthread;
class ScriptHeap;

namespace zeb {

class ParameterCurrentValueGetter;
class TextFileLoader;

/// A failure inside a script; the message holds the script's stack text.
class ScriptException : public Exception {
public:
    ScriptException(std::string_view file, int line, std::string_view function, std::int32_t code,
                    std::string_view message, std::string stack);
    const std::string& GetStack() const { return mStack; }

private:
    std::string mStack;
};

/// One script heap with the math bindings vec2, vec3, vec4, mat4x4 and the class
/// ParameterCurrentValueGetter. Belongs to one thread.
class JSContext {
public:
    JSContext();
    ~JSContext();
    JSContext(const JSContext&) = delete;
    JSContext& operator=(const JSContext&) = delete;

    duk_hthread* Get() const { return mContext; }
    /// After an error that the engine could tell to nobody: the object can only be destroyed.
    bool IsBroken() const;

    /// Compiles the stored text named `fileName` and leaves the function on the stack.
    void PCompile(const TextFileLoader& loader, std::u16string_view fileName, unsigned flags);

    /// Pushes a script object that wraps a native getter; it must not be used after the getter is gone.
    void PushGetter(const ParameterCurrentValueGetter& getter);

    /// Makes the getter object at a stack index useless: a script that kept it gets an error from `Get`.
    void InvalidateGetter(int index) noexcept;

    /// The float data of the vector or matrix at a stack index, or null when it is none; `count` floats.
    float* GetHiddenData(int index, std::size_t count) const;

private:
    std::unique_ptr<ScriptHeap> mHeap;
    duk_hthread* mContext = nullptr;
};

}  // namespace zeb
