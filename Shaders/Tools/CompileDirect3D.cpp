// Compiles GPU programs for Direct3D, many in one run: starting a Windows program under Wine costs more than compiling.
// Usage: nimbrel-compile-direct3d COMPILERS JOBS INCLUDE_FOLDER...
//
// COMPILERS is the folder of dxcompiler.dll and d3dcompiler_47.dll. JOBS is a text file with a line for each stage:
//   FORMAT|STAGE|ENTRY|SOURCE|OUTPUT|DEFINE,DEFINE...
// FORMAT is dxil (shader model 6.0, validated) or dxbc (5.1); STAGE vertex, pixel or compute. Arithmetic is strict, and
// a warning is a failure: the message goes to stderr, and the run ends with exit code 1 after all jobs.
#include <windows.h>

#include <d3dcompiler.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "DxcInterfaces.h"

namespace {

namespace dxc = nimbrel::dxc;
namespace fs = std::filesystem;

struct Job {
    std::string mFormat, mStage, mEntry, mSource, mOutput;
    std::vector<std::string> mDefines;
};

std::string ReadFile(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) throw std::runtime_error("cannot read " + path.string());
    return {std::istreambuf_iterator<char>(file), {}};
}

std::vector<std::string> Split(const std::string& line, char separator) {
    std::vector<std::string> parts;
    std::istringstream stream(line);
    for (std::string part; std::getline(stream, part, separator);) parts.push_back(part);
    return parts;
}

std::vector<Job> ReadJobs(const fs::path& path) {
    std::vector<Job> jobs;
    std::istringstream lines(ReadFile(path));
    for (std::string line; std::getline(lines, line);) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        if (line.empty()) continue;
        const std::vector<std::string> f = Split(line, '|');
        if (f.size() < 5) throw std::runtime_error(path.string() + ": not a job: " + line);
        jobs.push_back({f[0], f[1], f[2], f[3], f[4], f.size() > 5 ? Split(f[5], ',') : std::vector<std::string>{}});
    }
    return jobs;
}

/// A source with its includes in place, so that both compilers see one text; messages keep file and line.
std::string Flatten(const fs::path& path, const std::vector<fs::path>& folders, int depth = 0) {
    if (depth > 32) throw std::runtime_error(path.string() + ": includes lie too deep");
    const std::string name = path.generic_string();
    std::string text = "#line 1 \"" + name + "\"\n";
    std::istringstream lines(ReadFile(path));
    std::size_t number = 0;
    for (std::string line; std::getline(lines, line);) {
        ++number;
        const std::size_t open = line.rfind("#include \"", 0) == 0 ? 10 : 0;
        if (open == 0) {
            text += line + "\n";
            continue;
        }
        const std::string included = line.substr(open, line.find('"', open) - open);
        fs::path found = path.parent_path() / included;
        for (const fs::path& folder : folders)
            if (!fs::exists(found)) found = folder / included;
        text += Flatten(found, folders, depth + 1);
        text += "#line " + std::to_string(number + 1) + " \"" + name + "\"\n";
    }
    return text;
}

template <typename Function>
Function Load(const fs::path& library, const char* name) {
    const HMODULE module = LoadLibraryExW(library.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
    if (!module) throw std::runtime_error("cannot load " + library.string());
    const FARPROC function = GetProcAddress(module, name);
    if (!function) throw std::runtime_error(library.string() + " has no " + name);
    return reinterpret_cast<Function>(reinterpret_cast<void*>(function));
}

std::string TextOf(void* bytes, std::size_t size) {
    std::string text(static_cast<const char*>(bytes), size);
    while (!text.empty() && (text.back() == '\0' || text.back() == '\n')) text.pop_back();
    return text;
}

std::string Target(const Job& job, const char* model) {
    if (job.mStage != "vertex" && job.mStage != "pixel" && job.mStage != "compute")
        throw std::runtime_error("unknown stage " + job.mStage);
    return job.mStage.substr(0, 1) + "s_" + model;
}

/// dxcompiler.dll, which also validates what it has made.
class DxilCompiler {
public:
    explicit DxilCompiler(const fs::path& folder) {
        const auto create = Load<dxc::CreateInstanceFunction>(folder / "dxcompiler.dll", "DxcCreateInstance");
        if (FAILED(create(dxc::kCompilerClass, dxc::kCompilerType, reinterpret_cast<void**>(&mCompiler))) ||
            FAILED(create(dxc::kValidatorClass, dxc::kValidatorType, reinterpret_cast<void**>(&mValidator))))
            throw std::runtime_error("dxcompiler.dll has not the interfaces that are needed");
    }

    std::string Compile(const Job& job, const std::string& source) const {
        // Made for the first validator of this shader model: a runtime refuses what is made for one newer than its own.
        std::vector<std::string> options = {"-E",  job.mEntry,           "-T", Target(job, "6_0"), "-Gis", "-WX",
                                            "-O3", "-validator-version", "1.0"};
        for (const std::string& define : job.mDefines) options.push_back("-D" + define);
        std::vector<std::wstring> wide;
        for (const std::string& option : options) wide.emplace_back(option.begin(), option.end());
        std::vector<const wchar_t*> arguments;
        for (const std::wstring& option : wide) arguments.push_back(option.c_str());
        const dxc::Buffer buffer = {source.data(), source.size(), dxc::kUtf8};
        dxc::IResult* result = nullptr;
        if (FAILED(mCompiler->Compile(&buffer, arguments.data(), static_cast<UINT>(arguments.size()), nullptr,
                                      dxc::kResultType, reinterpret_cast<void**>(&result))))
            throw std::runtime_error("dxcompiler.dll refused the call");
        dxc::IBlob* object = TakeObject(result);
        dxc::IOperationResult* validation = nullptr;
        if (FAILED(mValidator->Validate(object, 0, &validation)))
            throw std::runtime_error("the validator refused the call");
        ThrowOnFailure(validation);
        return {static_cast<const char*>(object->GetBufferPointer()), object->GetBufferSize()};
    }

private:
    static void ThrowOnFailure(dxc::IOperationResult* result) {
        HRESULT status = E_FAIL;
        result->GetStatus(&status);
        dxc::IBlob* errors = nullptr;
        result->GetErrorBuffer(&errors);
        const std::string text = errors ? TextOf(errors->GetBufferPointer(), errors->GetBufferSize()) : std::string();
        if (FAILED(status) || !text.empty()) throw std::runtime_error(text);
    }

    static dxc::IBlob* TakeObject(dxc::IResult* result) {
        ThrowOnFailure(result);
        dxc::IBlob* object = nullptr;
        if (FAILED(result->GetOutput(dxc::kOutputObject, dxc::kBlobType, reinterpret_cast<void**>(&object), nullptr)) ||
            !object)
            throw std::runtime_error("dxcompiler.dll made nothing");
        return object;
    }

    dxc::ICompiler* mCompiler = nullptr;
    dxc::IValidator* mValidator = nullptr;
};

/// d3dcompiler_47.dll. Two of its warnings are off: it takes a function with a return inside a condition for one that
/// may return nothing (X4000), and remarks on loops that a definition leaves one round (X3557).
class DxbcCompiler {
public:
    explicit DxbcCompiler(const fs::path& folder)
        : mCompile(Load<decltype(mCompile)>(folder / "d3dcompiler_47.dll", "D3DCompile")) {}

    std::string Compile(const Job& job, const std::string& text) const {
        const std::string source = "#pragma warning(disable : 4000 3557)\n" + text;
        std::vector<std::vector<std::string>> pairs;
        std::vector<D3D_SHADER_MACRO> macros;
        for (const std::string& define : job.mDefines) pairs.push_back(Split(define, '='));
        for (const auto& pair : pairs) macros.push_back({pair[0].c_str(), pair.size() > 1 ? pair[1].c_str() : "1"});
        macros.push_back({nullptr, nullptr});
        constexpr UINT kFlags =
            D3DCOMPILE_IEEE_STRICTNESS | D3DCOMPILE_WARNINGS_ARE_ERRORS | D3DCOMPILE_OPTIMIZATION_LEVEL3;
        ID3DBlob* object = nullptr;
        ID3DBlob* errors = nullptr;
        const HRESULT status = mCompile(source.data(), source.size(), job.mSource.c_str(), macros.data(), nullptr,
                                        job.mEntry.c_str(), Target(job, "5_1").c_str(), kFlags, 0, &object, &errors);
        const std::string said = errors ? TextOf(errors->GetBufferPointer(), errors->GetBufferSize()) : std::string();
        if (FAILED(status) || !said.empty()) throw std::runtime_error(said);
        return {static_cast<const char*>(object->GetBufferPointer()), object->GetBufferSize()};
    }

private:
    HRESULT(WINAPI* mCompile)
    (const void*, SIZE_T, const char*, const D3D_SHADER_MACRO*, ID3DInclude*, const char*, const char*, UINT, UINT,
     ID3DBlob**, ID3DBlob**);
};

void Write(const fs::path& path, const std::string& bytes) {
    std::ofstream file(path, std::ios::binary);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    file.close();
    if (!file) throw std::runtime_error("cannot write " + path.string());
}

int Run(const fs::path& compilers, const fs::path& list, const std::vector<fs::path>& includes) {
    const DxilCompiler dxil(compilers);
    const DxbcCompiler dxbc(compilers);
    int failures = 0;
    for (const Job& job : ReadJobs(list)) {
        try {
            const std::string source = Flatten(job.mSource, includes);
            if (job.mFormat != "dxil" && job.mFormat != "dxbc")
                throw std::runtime_error("unknown format " + job.mFormat);
            Write(job.mOutput, job.mFormat == "dxil" ? dxil.Compile(job, source) : dxbc.Compile(job, source));
        } catch (const std::exception& failure) {
            ++failures;
            std::fprintf(stderr, "%s, %s, %s:\n%s\n", job.mSource.c_str(), job.mEntry.c_str(), job.mFormat.c_str(),
                         failure.what());
        }
    }
    return failures == 0 ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 3) {
        std::fprintf(stderr, "usage: nimbrel-compile-direct3d COMPILERS JOBS INCLUDE_FOLDER...\n");
        return 2;
    }
    try {
        return Run(argv[1], argv[2], std::vector<fs::path>(argv + 3, argv + argc));
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "nimbrel-compile-direct3d: %s\n", failure.what());
        return 1;
    }
}
