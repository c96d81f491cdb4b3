#include "PluginBase/Script/JSContext.h"

#include <iterator>
#include <new>

#include <ScriptHeap.h>
#include <fmt/format.h>
#include <utf8.h>

#include "DuktapeUtil.h"
#include "GetterBinding.h"
#include "PluginBase/Misc/TextFilesLoader.h"

namespace zeb {

ScriptException::ScriptException(std::string_view file, int line, std::string_view function, std::int32_t errorCode,
                                 std::string_view message, std::string stack)
    : Exception(file, line, function, errorCode, fmt::format("{}: {}", message, stack)), mStack(std::move(stack)) {}

namespace {

std::unique_ptr<ScriptHeap> MakeHeap() {
    try {
        return std::make_unique<ScriptHeap>();
    } catch (const std::bad_alloc&) {
        ZEB_THROW(kInternalError, "Failed to create a script heap");
    }
}

}  // namespace

JSContext::JSContext() : mHeap(MakeHeap()), mContext(mHeap->Get()) {
    script::RunProtected(mContext, 0, "Failed to define the script environment", [](duk_context* inner) -> duk_ret_t {
        script::DefineVectors(inner);
        script::DefineMatrix(inner);
        script::DefineGetter(inner);
        return 0;
    });
}

JSContext::~JSContext() = default;

bool JSContext::IsBroken() const { return mHeap->IsBroken(); }

void JSContext::PCompile(const TextFileLoader& loader, std::u16string_view fileName, unsigned flags) {
    // The name goes with the code, so that stack texts can tell the file.
    const UniquePtr<TextFileInfo> file = loader.GetFile(fileName);
    const std::string_view code = file->GetText();
    std::string name;
    utf8::utf16to8(fileName.begin(), fileName.end(), std::back_inserter(name));
    script::RunProtected(mContext, 1, "Failed to pass a script's name", [text = name.c_str()](duk_context* inner) {
        duk_push_string(inner, text);
        return 1;
    });
    if (duk_pcompile_lstring_filename(mContext, flags, code.data(), code.size()) != 0)
        ZEB_THROW_SCRIPT(mContext, 1,
                         "Failed to call duk_pcompile_lstring_filename(mContext, flags, code.data(), code.size())");
}

void JSContext::PushGetter(const ParameterCurrentValueGetter& getter) { script::PushGetterObject(mContext, getter); }

void JSContext::InvalidateGetter(int index) noexcept { script::InvalidateGetterObject(mContext, index); }

float* JSContext::GetHiddenData(int index, std::size_t count) const {
    if (!duk_is_object(mContext, index)) return nullptr;
    const script::StackGuard guard(mContext);
    const duk_idx_t object = duk_normalize_index(mContext, index);
    script::RunProtected(mContext, 1, "Failed to read a vector", [object](duk_context* inner) {
        duk_get_prop_string(inner, object, script::kDataKey);
        return 1;
    });
    duk_size_t size = 0;
    void* data = duk_get_buffer_data(mContext, -1, &size);
    return size == count * sizeof(float) ? static_cast<float*>(data) : nullptr;
}

}  // namespace zeb
