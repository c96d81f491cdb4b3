#pragma once

#include <windows.h>

#include <unknwn.h>

#if defined(__GNUC__)
// Objects of these go by Release; a virtual destructor would not fit their layout.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"
#endif

/// The few interfaces of dxcompiler.dll that this tree calls, in the order of their functions; toolchains other than
/// the vendor's have no header for them. Functions that are not called stand as placeholders.
namespace nimbrel::dxc {

struct Buffer {
    const void* mPointer;
    SIZE_T mSize;
    UINT mEncoding;  ///< 0 for bytes or where the text says it, else a code page
};

inline constexpr UINT kUtf8 = 65001;
inline constexpr UINT kOutputObject = 1;
inline constexpr UINT kOutputErrors = 2;

struct IBlob : IUnknown {
    virtual void* STDMETHODCALLTYPE GetBufferPointer() = 0;
    virtual SIZE_T STDMETHODCALLTYPE GetBufferSize() = 0;
};

struct IOperationResult : IUnknown {
    virtual HRESULT STDMETHODCALLTYPE GetStatus(HRESULT* status) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetResult(IBlob** result) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetErrorBuffer(IBlob** text) = 0;
};

struct IResult : IOperationResult {
    virtual BOOL STDMETHODCALLTYPE HasOutput(UINT kind) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetOutput(UINT kind, const IID& type, void** object, void** name) = 0;
};

struct ICompiler : IUnknown {
    virtual HRESULT STDMETHODCALLTYPE Compile(const Buffer* source, const wchar_t** arguments, UINT count,
                                              IUnknown* includes, const IID& type, void** result) = 0;
    virtual HRESULT STDMETHODCALLTYPE Disassemble(const Buffer* object, const IID& type, void** result) = 0;
};

struct IValidator : IUnknown {
    virtual HRESULT STDMETHODCALLTYPE Validate(IBlob* container, UINT flags, IOperationResult** result) = 0;
};

struct IUtils : IUnknown {
    virtual HRESULT STDMETHODCALLTYPE CreateBlobFromBlob() = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateBlobFromPinned() = 0;
    virtual HRESULT STDMETHODCALLTYPE MoveToBlob() = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateBlob(const void* bytes, UINT size, UINT encoding, IBlob** blob) = 0;
    virtual HRESULT STDMETHODCALLTYPE LoadFile() = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateReadOnlyStreamFromBlob() = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateDefaultIncludeHandler() = 0;
    virtual HRESULT STDMETHODCALLTYPE GetBlobAsUtf8() = 0;
    virtual HRESULT STDMETHODCALLTYPE GetBlobAsWide() = 0;
    virtual HRESULT STDMETHODCALLTYPE GetDxilContainerPart() = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateReflection(const Buffer* object, const IID& type, void** reflection) = 0;
};

using CreateInstanceFunction = HRESULT(STDMETHODCALLTYPE*)(const CLSID&, const IID&, void**);

// clang-format off
inline constexpr GUID kCompilerClass = {0x73e22d93, 0xe6ce, 0x47f3, {0xb5, 0xbf, 0xf0, 0x66, 0x4f, 0x39, 0xc1, 0xb0}};
inline constexpr GUID kCompilerType = {0x228b4687, 0x5a6a, 0x4730, {0x90, 0x0c, 0x97, 0x02, 0xb2, 0x20, 0x3f, 0x54}};
inline constexpr GUID kUtilsClass = {0x6245d6af, 0x66e0, 0x48fd, {0x80, 0xb4, 0x4d, 0x27, 0x17, 0x96, 0x74, 0x8c}};
inline constexpr GUID kUtilsType = {0x4605c4cb, 0x2019, 0x492a, {0xad, 0xa4, 0x65, 0xf2, 0x0b, 0xb7, 0xd6, 0x7f}};
inline constexpr GUID kValidatorClass = {0x8ca3e215, 0xf728, 0x4cf3, {0x8c, 0xdd, 0x88, 0xaf, 0x91, 0x75, 0x87, 0xa1}};
inline constexpr GUID kValidatorType = {0xa6e82bd2, 0x1fd7, 0x4826, {0x98, 0x11, 0x28, 0x57, 0xe7, 0x97, 0xf4, 0x9a}};
inline constexpr GUID kResultType = {0x58346cda, 0xdde7, 0x4497, {0x94, 0x61, 0x6f, 0x87, 0xaf, 0x5e, 0x06, 0x59}};
inline constexpr GUID kBlobType = {0x8ba5fb08, 0x5195, 0x40e2, {0xac, 0x58, 0x0d, 0x98, 0x9c, 0x3a, 0x01, 0x02}};
// clang-format on

}  // namespace nimbrel::dxc

#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif
