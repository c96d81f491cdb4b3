// Direct3D 12 for Wine straight from libvkd3d, whose versions from 2.0 on take programs of shader model 6. Wine's own
// d3d12.dll carries an older one. Built as a winelib library in the root of `./nimbrel test-windows --dxil`; knows the
// three functions that the effect loads, and one device, whatever adapter is asked for.
#define VK_NO_PROTOTYPES
#include <vkd3d.h>

namespace {

struct ThreadStart {
    PFN_vkd3d_thread mMain;
    void* mData;
};

DWORD WINAPI RunThread(void* data) {
    const ThreadStart start = *static_cast<ThreadStart*>(data);
    delete static_cast<ThreadStart*>(data);
    start.mMain(start.mData);
    return 0;
}

void* MakeThread(PFN_vkd3d_thread main, void* data) {
    auto* const start = new ThreadStart{main, data};
    void* const thread = CreateThread(nullptr, 0, RunThread, start, 0, nullptr);
    if (thread == nullptr) delete start;
    return thread;
}

HRESULT JoinThread(void* thread) {
    const bool joined = WaitForSingleObject(thread, INFINITE) == 0;
    CloseHandle(thread);
    return joined ? S_OK : E_FAIL;
}

HRESULT Signal(HANDLE event) { return SetEvent(event) != 0 ? S_OK : E_FAIL; }

}  // namespace

extern "C" {

HRESULT WINAPI D3D12CreateDevice(IUnknown*, D3D_FEATURE_LEVEL level, REFIID iid, void** device) {
    vkd3d_application_info application = {VKD3D_STRUCTURE_TYPE_APPLICATION_INFO};
    application.api_version = VKD3D_API_VERSION_1_14;
    vkd3d_instance_create_info instance = {VKD3D_STRUCTURE_TYPE_INSTANCE_CREATE_INFO, &application};
    instance.pfn_signal_event = Signal;
    instance.pfn_create_thread = MakeThread;
    instance.pfn_join_thread = JoinThread;
    instance.wchar_size = 2;
    vkd3d_device_create_info info = {VKD3D_STRUCTURE_TYPE_DEVICE_CREATE_INFO};
    info.minimum_feature_level = level;
    info.instance_create_info = &instance;
    return vkd3d_create_device(&info, iid, device);
}

HRESULT WINAPI D3D12GetDebugInterface(REFIID, void** debug) {
    *debug = nullptr;
    return E_NOTIMPL;
}

HRESULT WINAPI D3D12SerializeVersionedRootSignature(const D3D12_VERSIONED_ROOT_SIGNATURE_DESC* desc, ID3DBlob** blob,
                                                    ID3DBlob** error) {
    return vkd3d_serialize_versioned_root_signature(desc, blob, error);
}

}  // extern "C"
