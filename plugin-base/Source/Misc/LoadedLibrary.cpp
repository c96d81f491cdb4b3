#include "PluginBase/Misc/LoadedLibrary.h"

#if defined(_WIN32)
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace zeb {

void KeepLibraryLoaded(const void* address) {
#if defined(_WIN32)
    HMODULE library = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_PIN,
                       static_cast<LPCWSTR>(address), &library);
#else
    Dl_info info;
    if (dladdr(address, &info) != 0) dlopen(info.dli_fname, RTLD_LAZY | RTLD_NOLOAD | RTLD_NODELETE);
#endif
}

}  // namespace zeb
