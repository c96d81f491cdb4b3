#include <windows.h>

/// The runtime library's entry point.
extern "C" BOOL WINAPI DllMainCRTStartup(HINSTANCE instance, DWORD reason, LPVOID reserved);

extern "C" BOOL WINAPI NimbrelDllEntry(HINSTANCE instance, DWORD reason, LPVOID reserved);

/// The entry point of the effect where the runtime library is MinGW's. When a process ends, its other threads have been
/// ended wherever they were, with locks of the runtime library in their hands; what that does at its own end would wait
/// for those locks, and the host would never be gone. Nothing has to be done then: the system takes everything back.
extern "C" BOOL WINAPI NimbrelDllEntry(HINSTANCE instance, DWORD reason, LPVOID reserved) {
    const bool isProcessEnding = reason == DLL_PROCESS_DETACH && reserved != nullptr;
    return isProcessEnding ? TRUE : DllMainCRTStartup(instance, reason, reserved);
}
