#include "Suites/SuiteSupport.h"

// What the effect keeps with the host without a project: memory, cached values, hashes.

#include "NimbrelHost/Support/Hash128.h"

namespace nimbrel::host {
namespace {

void** ToBlock(AEGP_MemHandle handle) { return reinterpret_cast<void**>(handle); }

// Memory is always cleared, which is more than the flags may ask for.
A_Err NewMemHandle(Host& host, AEGP_PluginID, const A_char*, A_u_long size, A_long, AEGP_MemHandle* handle) {
    if (handle == nullptr) return A_Err_PARAMETER;
    *handle = reinterpret_cast<AEGP_MemHandle>(host.GetMemory().New(size));
    return *handle == nullptr ? A_Err_ALLOC : A_Err_NONE;
}

A_Err FreeMemHandle(Host& host, AEGP_MemHandle handle) {
    return host.GetMemory().Dispose(ToBlock(handle)) ? A_Err_NONE : A_Err_PARAMETER;
}

// A handle's data is reached through its lock alone: the handle itself is opaque to the effect.
A_Err LockMemHandle(Host& host, AEGP_MemHandle handle, void** data) {
    if (data == nullptr) return A_Err_PARAMETER;
    *data = host.GetMemory().Lock(ToBlock(handle));
    return *data == nullptr ? A_Err_PARAMETER : A_Err_NONE;
}

A_Err UnlockMemHandle(Host& host, AEGP_MemHandle handle) {
    return host.GetMemory().Unlock(ToBlock(handle)) ? A_Err_NONE : A_Err_PARAMETER;
}

// Sizes are 32-bit here and in bytes; a text's size includes its terminator.
A_Err GetMemHandleSize(Host& host, AEGP_MemHandle handle, A_u_long* size) {
    HandleStore& memory = host.GetMemory();
    if (size == nullptr || !memory.IsLive(ToBlock(handle))) return A_Err_PARAMETER;
    *size = static_cast<A_u_long>(memory.GetSize(ToBlock(handle)));
    return A_Err_NONE;
}

A_Err ResizeMemHandle(Host& host, const A_char*, A_u_long size, AEGP_MemHandle handle) {
    return host.GetMemory().Resize(ToBlock(handle), size) ? A_Err_NONE : A_Err_ALLOC;
}

// The cache answers the interface's codes itself; these only keep exceptions in.
A_Err ClassRegister(Host& host, AEGP_CCComputeClassIdP name, const AEGP_ComputeCacheCallbacks* callbacks) {
    return host.GetCache().Register(name, callbacks);
}

A_Err ClassUnregister(Host& host, AEGP_CCComputeClassIdP name) { return host.GetCache().Unregister(name); }

A_Err ComputeIfNeededAndCheckout(Host& host, AEGP_CCComputeClassIdP name, AEGP_CCComputeOptionsRefconP options,
                                 bool wait, AEGP_CCCheckoutReceiptP* receipt) {
    return host.GetCache().ComputeIfNeededAndCheckout(name, options, wait, receipt);
}

A_Err CheckoutCached(Host& host, AEGP_CCComputeClassIdP name, AEGP_CCComputeOptionsRefconP options,
                     AEGP_CCCheckoutReceiptP* receipt) {
    return host.GetCache().CheckoutCached(name, options, receipt);
}

A_Err GetReceiptComputeValue(Host& host, AEGP_CCCheckoutReceiptP receipt, AEGP_CCComputeValueRefconP* value) {
    return host.GetCache().GetValue(receipt, value);
}

A_Err CheckinComputeReceipt(Host& host, AEGP_CCCheckoutReceiptP receipt) { return host.GetCache().Checkin(receipt); }

// The key is the running state: mixing goes on where the last call ended.
A_Err MixInto(Hash128 hash, A_u_longlong size, const void* data, AEGP_GUID* guid) {
    if ((data == nullptr && size > 0) || guid == nullptr) return A_Err_PARAMETER;
    MixHash(hash, data, static_cast<std::size_t>(size));
    static_assert(sizeof(hash) == sizeof(*guid));
    std::memcpy(guid, hash.data(), sizeof(*guid));
    return A_Err_NONE;
}

A_Err CreateHashFromPtr(Host&, A_u_longlong size, const void* data, AEGP_GUID* guid) {
    return MixInto(StartHash(), size, data, guid);
}

// Mixing into a key that was never started is served too: any 16 bytes are a state.
A_Err HashMixInPtr(Host&, A_u_longlong size, const void* data, AEGP_GUID* guid) {
    if (guid == nullptr) return A_Err_PARAMETER;
    Hash128 hash{};
    std::memcpy(hash.data(), guid, sizeof(*guid));
    return MixInto(hash, size, data, guid);
}

}  // namespace

void AddMemorySuite(SuiteRegistry& suites) {
    static const AEGP_MemorySuite1 suite = [] {
        auto table = MakeTable<AEGP_MemorySuite1>(kAEGPMemorySuite);
        NIMBREL_SERVE(table, AEGP_NewMemHandle, NewMemHandle);
        NIMBREL_SERVE(table, AEGP_FreeMemHandle, FreeMemHandle);
        NIMBREL_SERVE(table, AEGP_LockMemHandle, LockMemHandle);
        NIMBREL_SERVE(table, AEGP_UnlockMemHandle, UnlockMemHandle);
        NIMBREL_SERVE(table, AEGP_GetMemHandleSize, GetMemHandleSize);
        NIMBREL_SERVE(table, AEGP_ResizeMemHandle, ResizeMemHandle);
        return table;
    }();
    suites.Add(kAEGPMemorySuite, kAEGPMemorySuiteVersion1, &suite);
}

void AddComputeCacheSuite(SuiteRegistry& suites) {
    static const AEGP_ComputeCacheSuite1 suite = [] {
        auto table = MakeTable<AEGP_ComputeCacheSuite1>(kAEGPComputeCacheSuite);
        NIMBREL_SERVE(table, AEGP_ClassRegister, ClassRegister);
        NIMBREL_SERVE(table, AEGP_ClassUnregister, ClassUnregister);
        NIMBREL_SERVE(table, AEGP_ComputeIfNeededAndCheckout, ComputeIfNeededAndCheckout);
        NIMBREL_SERVE(table, AEGP_CheckoutCached, CheckoutCached);
        NIMBREL_SERVE(table, AEGP_GetReceiptComputeValue, GetReceiptComputeValue);
        NIMBREL_SERVE(table, AEGP_CheckinComputeReceipt, CheckinComputeReceipt);
        return table;
    }();
    suites.Add(kAEGPComputeCacheSuite, kAEGPComputeCacheSuiteVersion1, &suite);
}

void AddHashSuite(SuiteRegistry& suites) {
    static const AEGP_HashSuite1 suite = [] {
        auto table = MakeTable<AEGP_HashSuite1>(kAEGPHashSuite);
        NIMBREL_SERVE(table, AEGP_CreateHashFromPtr, CreateHashFromPtr);
        NIMBREL_SERVE(table, AEGP_HashMixInPtr, HashMixInPtr);
        return table;
    }();
    suites.Add(kAEGPHashSuite, kAEGPHashSuiteVersion1, &suite);
}

}  // namespace nimbrel::host
