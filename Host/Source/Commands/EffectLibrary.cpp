#include "NimbrelHost/Commands/EffectLibrary.h"

#include <fmt/format.h>

#include <utility>

#include "NimbrelHost/Commands/SharedLibrary.h"
#include "NimbrelHost/Support/Errors.h"
#include "NimbrelHost/Support/Text.h"

#ifdef _WIN32
#include <windows.h>
#endif

namespace nimbrel::host {
namespace {

constexpr A_long kEffectKind = 0x65464B54;  // 'eFKT'

using RegisterFunction = A_Err (*)(PF_PluginDataPtr, PF_PluginDataCB, SPBasicSuite*, const char*, const char*);

struct Registration {
    int mCount = 0;
    std::string mName, mMatchName, mCategory, mEntryPoint;
    A_long mKind = 0, mMajor = 0, mMinor = 0;
};

A_Err Register(PF_PluginDataPtr token, const A_u_char* name, const A_u_char* matchName, const A_u_char* category,
               const A_u_char* entryPoint, A_long kind, A_long major, A_long minor, A_long) {
    const auto text = [](const A_u_char* from) { return from == nullptr ? "" : reinterpret_cast<const char*>(from); };
    auto& registration = *static_cast<Registration*>(token);
    // A library may hold several effects; the first is the one that is used.
    if (registration.mCount++ > 0) return A_Err_NONE;
    registration.mName = text(name);
    registration.mMatchName = text(matchName);
    registration.mCategory = text(category);
    registration.mEntryPoint = text(entryPoint);
    registration.mKind = kind;
    registration.mMajor = major;
    registration.mMinor = minor;
    return A_Err_NONE;
}

}  // namespace

EffectLibrary EffectLibrary::Load(const std::filesystem::path& file, SPBasicSuite* basicSuite) {
    const std::string where = PathText(file);
    std::error_code ignored;
    if (!std::filesystem::is_regular_file(file, ignored)) {
        throw UsageError(
            fmt::format("{}: expected the effect library, but there is no such file (see --plugin)", where));
    }
    std::string error;
    void* const library = OpenLibrary(file, error);
    if (library == nullptr) throw UsageError(fmt::format("{}: expected a loadable effect library: {}", where, error));
    const auto registerEffect = reinterpret_cast<RegisterFunction>(FindSymbol(library, "PluginDataEntryFunction"));
    // This function is what makes a library an effect to a host; there is nothing else to look for.
    if (registerEffect == nullptr) {
        throw UsageError(
            fmt::format("{}: expected an effect library, but it exports no PluginDataEntryFunction", where));
    }
    Registration registration;
    const A_Err code = registerEffect(&registration, Register, basicSuite, "Nimbrel Render", "1.1");
    if (code != A_Err_NONE || registration.mCount == 0) {
        throw EffectError(fmt::format("{}: the library registered no effect (code {})", where, code));
    }
    // Interfaces of one major number are served back to the first.
    if (registration.mKind != kEffectKind || registration.mMajor != 13) {
        throw EffectError(fmt::format("{}: \"{}\" is for interface {}.{}, this host serves 13.27", where,
                                      registration.mName, registration.mMajor, registration.mMinor));
    }
    EffectLibrary effect;
    effect.mMain = reinterpret_cast<EffectMainFunction>(FindSymbol(library, registration.mEntryPoint.c_str()));
    if (effect.mMain == nullptr) {
        throw EffectError(fmt::format("{}: the entry point {} is missing", where, registration.mEntryPoint));
    }
    effect.mName = registration.mName;
    effect.mMatchName = registration.mMatchName;
    effect.mCategory = registration.mCategory;
    return effect;
}

std::filesystem::path DefaultPluginName() {
#ifdef _WIN32
    return "Nimbrel.aex";
#else
    return "libNimbrel.so";
#endif
}

std::filesystem::path DefaultImporterName() {
#ifdef _WIN32
    return "NimbrelImport.aex";
#else
    return "libNimbrelImport.so";
#endif
}

// Where the program is, not where it was called from: the effect lies beside it.
std::filesystem::path ProgramFolder() {
#ifdef _WIN32
    wchar_t name[32768];
    const DWORD length = GetModuleFileNameW(nullptr, name, 32768);
    return std::filesystem::path(std::wstring(name, length)).parent_path();
#else
    std::error_code ignored;
    return std::filesystem::read_symlink("/proc/self/exe", ignored).parent_path();
#endif
}

}  // namespace nimbrel::host
