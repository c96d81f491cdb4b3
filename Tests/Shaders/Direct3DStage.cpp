// InspectStage for what Direct3D takes: DXIL and DXBC, through the reflection of their compilers.
#include <windows.h>

#include <d3d12.h>
#include <d3d12shader.h>
#include <d3dcompiler.h>

#include <algorithm>
#include <filesystem>
#include <regex>
#include <sstream>
#include <stdexcept>

#include "ContainerDigest.h"
#include "Shaders/Tools/DxcInterfaces.h"
#include "StageInfo.h"

namespace nimbrel::test {
namespace {

constexpr UINT64 kUsesWaves = 0x4000;  // of the reflection's requirements; headers of some toolchains lack it

template <typename Function>
Function Load(const char* library, const char* name) {
    static const std::filesystem::path folder = NIMBREL_DIRECT3D_COMPILERS;
    const HMODULE module = LoadLibraryExW((folder / library).c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
    void* const function = module == nullptr ? nullptr : reinterpret_cast<void*>(GetProcAddress(module, name));
    if (function == nullptr) throw std::runtime_error(std::string(library) + " cannot be used");
    return reinterpret_cast<Function>(function);
}

void Check(HRESULT result, const char* what) {
    if (FAILED(result)) throw std::runtime_error(std::string(what) + " failed");
}

bool IsDxil(const void* code, std::size_t size) {
    return std::string(static_cast<const char*>(code), size).find("DXIL") != std::string::npos;
}

template <typename T>
T* CreateDxc(const GUID& clsid, const GUID& type) {
    const auto create = Load<dxc::CreateInstanceFunction>("dxcompiler.dll", "DxcCreateInstance");
    T* object = nullptr;
    Check(create(clsid, type, reinterpret_cast<void**>(&object)), "DxcCreateInstance");
    return object;
}

ID3D12ShaderReflection* Reflect(const void* code, std::size_t size, std::string& text) {
    ID3D12ShaderReflection* reflection = nullptr;
    auto** const result = reinterpret_cast<void**>(&reflection);
    if (IsDxil(code, size)) {
        const dxc::Buffer buffer = {code, size, 0};
        Check(CreateDxc<dxc::IUtils>(dxc::kUtilsClass, dxc::kUtilsType)
                  ->CreateReflection(&buffer, __uuidof(ID3D12ShaderReflection), result),
              "CreateReflection");
        dxc::IResult* listing = nullptr;
        dxc::IBlob* blob = nullptr;
        Check(CreateDxc<dxc::ICompiler>(dxc::kCompilerClass, dxc::kCompilerType)
                  ->Disassemble(&buffer, dxc::kResultType, reinterpret_cast<void**>(&listing)),
              "Disassemble");
        Check(listing->GetResult(&blob), "Disassemble");
        text.assign(static_cast<const char*>(blob->GetBufferPointer()), blob->GetBufferSize());
    } else {
        Check(Load<decltype(&D3DReflect)>("d3dcompiler_47.dll", "D3DReflect")(code, size,
                                                                              __uuidof(ID3D12ShaderReflection), result),
              "D3DReflect");
        ID3DBlob* blob = nullptr;
        Check(Load<decltype(&D3DDisassemble)>("d3dcompiler_47.dll", "D3DDisassemble")(code, size, 0, nullptr, &blob),
              "D3DDisassemble");
        text.assign(static_cast<const char*>(blob->GetBufferPointer()), blob->GetBufferSize());
    }
    return reflection;
}

/// Floating-point instructions, and those of them that must stay as they are: DXBC marks these, DXIL the others.
void CountArithmetic(const std::string& listing, bool isDxil, StageInfo& stage) {
    static const std::regex dxil(R"(= f(add|sub|mul|div) )");
    static const std::regex dxbc(R"(^ *(add|mul|div|mad|dp[234])(_sat)? )");
    static const std::regex fused(R"(call float @dx\.op\.tertiary\.f32\(i32 4[67],)");  // FMad, Fma
    std::istringstream lines(listing);
    for (std::string line; std::getline(lines, line);) {
        if (isDxil && std::regex_search(line, fused)) ++stage.mFusableCount;
        if (!std::regex_search(line, isDxil ? dxil : dxbc)) continue;
        const char* const mark = isDxil ? " fast " : "[precise";
        ++stage.mArithmeticCount;
        stage.mStrictCount += (line.find(mark) == std::string::npos) == isDxil ? 1 : 0;
    }
}

bool IsSigned(const void* code, std::size_t size) {
    const auto* const container = static_cast<const std::uint8_t*>(code);
    const ContainerDigest digest = CalcContainerDigest(container, size);
    return std::equal(digest.begin(), digest.end(), container + 4);
}

std::string FindValidator(const std::string& listing) {
    std::smatch entry;
    if (!std::regex_search(listing, entry, std::regex(R"(!dx\.valver = !\{!(\d+)\})"))) return {};
    const std::string number = entry[1];
    if (!std::regex_search(listing, entry, std::regex("!" + number + R"( = !\{i32 (\d+), i32 (\d+)\})"))) return {};
    return entry[1].str() + "." + entry[2].str();
}

}  // namespace

StageInfo InspectStage(const void* code, std::size_t size) {
    std::string listing;
    ID3D12ShaderReflection* reflection = Reflect(code, size, listing);
    StageInfo stage;
    stage.mUsesWaves = (reflection->GetRequiresFlags() & kUsesWaves) != 0;
    CountArithmetic(listing, IsDxil(code, size), stage);
    stage.mIsSigned = IsSigned(code, size);
    stage.mValidator = FindValidator(listing);
    reflection->Release();
    return stage;
}

}  // namespace nimbrel::test
