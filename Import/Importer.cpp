// The importer as the host sees it: one exported function, which registers the module, and the module's functions. Any
// of these may come on any thread, several at once and for one file; nothing is kept with an opened source, so that
// sources that were never opened here serve as well as others.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <new>
#include <optional>
#include <string>

#include "HostInterface/HostInterface.h"
#include "ImporterIdentity.h"
#include "PlyInspection.h"
#include "Preview.h"
#include "Texts.h"
#include "WorldWriter.h"

#ifdef _WIN32
#define NIMBREL_EXPORT __declspec(dllexport)
#else
#define NIMBREL_EXPORT __attribute__((visibility("default")))
#endif

namespace nimbrel::importer {
namespace {

/// Acquired while the host starts and kept, since the way to acquire them is for the main thread only.
struct HostSuites {
    const AEGP_IOInSuite5* mIn = nullptr;
    const AEGP_MemorySuite1* mMemory = nullptr;
    const PF_WorldSuite2* mWorld = nullptr;
};

HostSuites gSuites;

/// Runs the body of a function that the host calls: no exception may cross into it.
template <class Body>
A_Err Answer(Body body) noexcept {
    try {
        return body();
    } catch (const std::bad_alloc&) {
        return A_Err_ALLOC;
    } catch (const std::exception&) {
        return AEIO_Err_PARSING;
    }
}

std::u16string ToText(const A_UTF16Char* text) {
    std::u16string copy;
    for (; text != nullptr && *text != 0; ++text) copy += static_cast<char16_t>(*text);
    return copy;
}

/// The path of an opened source; empty if the host has none.
std::u16string GetPath(AEIO_InSpecH source) {
    AEGP_MemHandle handle = nullptr;
    if (gSuites.mIn == nullptr || gSuites.mMemory == nullptr) return {};
    if (gSuites.mIn->AEGP_GetInSpecFilePath(source, &handle) != 0 || handle == nullptr) return {};
    std::u16string path;
    void* data = nullptr;
    if (gSuites.mMemory->AEGP_LockMemHandle(handle, &data) == 0) {
        path = ToText(static_cast<const A_UTF16Char*>(data));
        gSuites.mMemory->AEGP_UnlockMemHandle(handle);
    }
    gSuites.mMemory->AEGP_FreeMemHandle(handle);
    return path;
}

/// Describes a still picture without alpha. The duration means nothing for a still, but a scale of 0 would be refused.
A_Err Describe(AEIO_InSpecH source, std::uint64_t fileSize) {
    AEIO_AlphaLabel alpha{};
    alpha.version = AEIO_AlphaLabel_VERSION;
    alpha.alpha = AEIO_Alpha_NONE;
    FIEL_Label interlace{};
    interlace.signature = FIEL_Tag;
    interlace.version = FIEL_Label_VERSION;
    const A_Time duration = {1, 1};
    const A_Ratio squarePixels = {1, 1};
    const AEGP_IOInSuite5& suite = *gSuites.mIn;
    if (const A_Err error = suite.AEGP_SetInSpecDepth(source, AEIO_InputDepth_24)) return error;
    if (const A_Err error = suite.AEGP_SetInSpecDimensions(source, kWidth, kHeight)) return error;
    if (const A_Err error = suite.AEGP_SetInSpecAlphaLabel(source, &alpha)) return error;
    if (const A_Err error = suite.AEGP_SetInSpecDuration(source, &duration)) return error;
    if (const A_Err error = suite.AEGP_SetInSpecHSF(source, &squarePixels)) return error;
    if (const A_Err error = suite.AEGP_SetInSpecInterlaceLabel(source, &interlace)) return error;
    return suite.AEGP_SetInSpecSize(source, fileSize);
}

A_Err Report(const AEIO_BasicData* basic, A_Err error, const char* text) {
    if (basic != nullptr && basic->msg_func != nullptr) basic->msg_func(error, text);
    return error;
}

A_Err InitInSpecFromFile(AEIO_BasicData* basic, const A_UTF16Char* path, AEIO_InSpecH source) {
    return Answer([&]() -> A_Err {
        if (gSuites.mIn == nullptr) return AEIO_Err_INITIALIZE_FAILED;
        const std::u16string file = ToText(path);
        const std::optional<PlyInspection> inspection = Inspect(file);
        if (!inspection) return Report(basic, AEIO_Err_BAD_FILENAME, "The file cannot be opened.");
        if (!IsPly(file)) return Report(basic, AEIO_Err_UNSUPPORTED_FILETYPE, "The file is no PLY file.");
        return Describe(source, inspection->mFileSize);
    });
}

/// A folder of stills, and a file that is gone, have no texts of ours.
A_Err GetInSpecInfo(AEIO_BasicData*, AEIO_InSpecH source, AEIO_Verbiage* texts) {
    return Answer([&]() -> A_Err {
        const auto preview = texts == nullptr ? nullptr : GetPreview(GetPath(source));
        if (preview == nullptr) return A_Err_NONE;
        CopyText(preview->mName, texts->name, sizeof(texts->name));
        CopyText(preview->mKind, texts->type, sizeof(texts->type));
        CopyText(preview->mDetails, texts->sub_type, sizeof(texts->sub_type));
        return A_Err_NONE;
    });
}

PF_PixelFormat GetFormat(const PF_EffectWorld& world) {
    A_long format = PF_PixelFormat_INVALID;
    if (gSuites.mWorld != nullptr && gSuites.mWorld->PF_GetPixelFormat(&world, &format) == 0) return format;
    return (world.world_flags & PF_WorldFlag_DEEP) != 0 ? PF_PixelFormat_ARGB64 : PF_PixelFormat_ARGB32;
}

double ToNumber(const A_Ratio& ratio) { return ratio.den == 0 ? 1.0 : static_cast<double>(ratio.num) / ratio.den; }

/// How a world lies in the picture. The host decides how odd sizes are rounded: the world itself says, if it is about
/// as large as the whole. One as large as the region shows that. What is neither gives nothing.
std::optional<WorldPlacement> Place(const AEIO_DrawSparseFramePB& request, const A_LRect& region,
                                    const PF_EffectWorld& world) {
    const double width = kWidth * ToNumber(request.rs.x), height = kHeight * ToNumber(request.rs.y);
    if (std::abs(world.width - width) <= 1 && std::abs(world.height - height) <= 1)
        return WorldPlacement{world.width, world.height, 0, 0};
    if (world.width == region.right - region.left && world.height == region.bottom - region.top && width >= 1 &&
        height >= 1 && width <= 30000 && height <= 30000)
        return WorldPlacement{static_cast<int>(width + 0.5), static_cast<int>(height + 0.5), region.left, region.top};
    return std::nullopt;
}

A_Err DrawSparseFrame(AEIO_BasicData*, AEIO_InSpecH source, const AEIO_DrawSparseFramePB* request,
                      PF_EffectWorld* world, AEIO_DrawingFlags* flags) {
    return Answer([&]() -> A_Err {
        if (request == nullptr || world == nullptr || world->data == nullptr) return AEIO_Err_BAD_BMWORLD;
        if (flags != nullptr) *flags = AEIO_DFlags_NONE;
        const AEIO_InterruptFuncs& interrupt = request->inter;
        if (interrupt.abort0 != nullptr) {
            if (const A_Err stop = interrupt.abort0(interrupt.refcon)) return stop;
        }
        const A_LRect whole = {0, 0, world->width, world->height};
        A_LRect region = request->required_region;
        if (region.left >= region.right || region.top >= region.bottom) region = whole;
        const std::optional<WorldPlacement> placement = Place(*request, region, *world);
        const auto preview = placement ? GetPreview(GetPath(source)) : nullptr;
        const Picture* const picture = preview != nullptr ? &preview->mPicture : nullptr;
        const bool isPart = placement && (placement->mLeft != 0 || placement->mTop != 0);
        const bool isWritten = WriteWorld(picture, placement.value_or(WorldPlacement{}),
                                          placement && !isPart ? region : whole, GetFormat(*world), *world);
        if (!isWritten) return AEIO_Err_BAD_BMWORLD;
        return A_Err_NONE;
    });
}

A_Err VerifyFileImportable(AEIO_BasicData*, AEIO_ModuleSignature, const A_UTF16Char* path, A_Boolean* importable) {
    return Answer([&]() -> A_Err {
        if (importable != nullptr) *importable = IsPly(ToText(path)) ? 1 : 0;
        return A_Err_NONE;
    });
}

// Nothing is kept with a source: there is nothing to free, to save and to restore.
A_Err FlattenOptions(AEIO_BasicData*, AEIO_InSpecH, AEIO_Handle* flat) {
    if (flat != nullptr) *flat = nullptr;
    return A_Err_NONE;
}

/// Whatever is counted, or asked for by yes or no: there is none.
template <class Number>
A_Err AnswerNone(AEIO_BasicData*, AEIO_InSpecH, Number* number) {
    if (number != nullptr) *number = 0;
    return A_Err_NONE;
}

A_Err CountUserData(AEIO_BasicData*, AEIO_InSpecH, A_u_long, A_u_long, A_u_long* count) {
    if (count != nullptr) *count = 0;
    return A_Err_NONE;
}

A_Err Idle(AEIO_BasicData*, AEIO_ModuleSignature, AEIO_IdleFlags* flags) {
    if (flags != nullptr) *flags = AEIO_IdleFlag_NONE;
    return A_Err_NONE;
}

/// Any function that only answers a code.
template <A_Err kCode, class... Arguments>
A_Err Only(Arguments...) {
    return kCode;
}

constexpr auto kUnsupported = AEIO_Err_UNSUPPORTED_CALLBACK;
constexpr auto kDefault = AEIO_Err_USE_DFLT_CALLBACK;

/// No slot is left null. What an importer of stills without options never does is unsupported.
void FillInputFunctions(AEIO_FunctionBlock4& block) {
    block.AEIO_InitInSpecFromFile = InitInSpecFromFile;
    block.AEIO_InitInSpecInteractive = Only<kUnsupported>;
    block.AEIO_DisposeInSpec = Only<A_Err_NONE>;
    block.AEIO_FlattenOptions = FlattenOptions;
    block.AEIO_InflateOptions = Only<A_Err_NONE>;
    block.AEIO_SynchInSpec = Only<kDefault>;
    block.AEIO_GetActiveExtent = Only<kDefault>;
    block.AEIO_GetInSpecInfo = GetInSpecInfo;
    block.AEIO_DrawSparseFrame = DrawSparseFrame;
    block.AEIO_GetDimensions = Only<kDefault>;
    block.AEIO_GetDuration = Only<kDefault>;
    block.AEIO_GetTime = Only<kDefault>;
    block.AEIO_GetSound = Only<kDefault>;
    block.AEIO_InqNextFrameTime = Only<kDefault>;
    block.AEIO_Idle = Idle;
    block.AEIO_SeqOptionsDlg = AnswerNone<A_Boolean>;
    block.AEIO_GetNumAuxChannels = AnswerNone<A_long>;
    block.AEIO_GetAuxChannelDesc = Only<kUnsupported>;
    block.AEIO_DrawAuxChannel = Only<kUnsupported>;
    block.AEIO_FreeAuxChannel = Only<kUnsupported>;
    block.AEIO_NumAuxFiles = AnswerNone<A_long>;
    block.AEIO_GetNthAuxFileSpec = Only<kUnsupported>;
    block.AEIO_CloseSourceFiles = Only<A_Err_NONE>;  // none is open between calls
    block.AEIO_CountUserData = CountUserData;
    block.AEIO_GetUserData = Only<kUnsupported>;
    block.AEIO_VerifyFileImportable = VerifyFileImportable;
}

void RefuseOutputFunctions(AEIO_FunctionBlock4& block) {
    block.AEIO_InitOutputSpec = Only<kUnsupported>;
    block.AEIO_GetFlatOutputOptions = Only<kUnsupported>;
    block.AEIO_DisposeOutputOptions = Only<kUnsupported>;
    block.AEIO_UserOptionsDialog = Only<kUnsupported>;
    block.AEIO_GetOutputInfo = Only<kUnsupported>;
    block.AEIO_OutputInfoChanged = Only<kUnsupported>;
    block.AEIO_SetOutputFile = Only<kUnsupported>;
    block.AEIO_StartAdding = Only<kUnsupported>;
    block.AEIO_AddFrame = Only<kUnsupported>;
    block.AEIO_EndAdding = Only<kUnsupported>;
    block.AEIO_OutputFrame = Only<kUnsupported>;
    block.AEIO_WriteLabels = Only<kUnsupported>;
    block.AEIO_GetSizes = Only<kUnsupported>;
    block.AEIO_Flush = Only<kUnsupported>;
    block.AEIO_AddSoundChunk = Only<kUnsupported>;
    block.AEIO_GetDepths = Only<kUnsupported>;
    block.AEIO_GetOutputSuffix = Only<kUnsupported>;
    block.AEIO_SetUserData = Only<kUnsupported>;
    block.AEIO_AddMarker = Only<kUnsupported>;
    block.AEIO_UserAudioOptionsDialog = Only<kUnsupported>;
    block.AEIO_AddMarker2 = Only<kUnsupported>;
    block.AEIO_AddMarker3 = Only<kUnsupported>;
    block.AEIO_GetMimeType = Only<kUnsupported>;
}

/// A still whose pictures are always asked for whole. The one old-style file type matches no file; a module with none
/// at all may not be foreseen.
AEIO_ModuleInfo MakeModuleInfo() {
    AEIO_ModuleInfo info{};
    info.sig = kSignature;
    std::strncpy(info.name, kModuleName, sizeof(info.name) - 1);
    info.flags = AEIO_MFlag_INPUT | AEIO_MFlag_FILE | AEIO_MFlag_STILL | AEIO_MFlag_NO_TIME | AEIO_MFlag_HSF_AWARE |
                 AEIO_MFlag_CANT_CLIP;
    info.max_width = kWidth;
    info.max_height = kHeight;
    info.num_filetypes = 1;
    info.num_extensions = 1;
    info.read_kinds[0].mac = {kSignature, AEIO_ANY_CREATOR};
    info.read_kinds[1].ext = {'.', {'p', 'l', 'y'}};
    return info;
}

template <class Suite>
const Suite* Acquire(SPBasicSuite* basic, const char* name, A_long version) {
    const void* suite = nullptr;
    return basic->AcquireSuite(name, version, &suite) == 0 ? static_cast<const Suite*>(suite) : nullptr;
}

/// The host may not copy the records: they are static.
A_Err Register(SPBasicSuite* basic, AEGP_PluginID id) {
    static const AEIO_ModuleInfo info = MakeModuleInfo();
    static const AEIO_FunctionBlock4 block = [] {
        AEIO_FunctionBlock4 made{};
        FillInputFunctions(made);
        RefuseOutputFunctions(made);
        return made;
    }();
    gSuites.mIn = Acquire<AEGP_IOInSuite5>(basic, kAEGPIOInSuite, kAEGPIOInSuiteVersion5);
    // The older version's functions are the first of the newer's, and all that is needed here.
    if (gSuites.mIn == nullptr) gSuites.mIn = Acquire<AEGP_IOInSuite5>(basic, kAEGPIOInSuite, kAEGPIOInSuiteVersion4);
    gSuites.mMemory = Acquire<AEGP_MemorySuite1>(basic, kAEGPMemorySuite, kAEGPMemorySuiteVersion1);
    gSuites.mWorld = Acquire<PF_WorldSuite2>(basic, kPFWorldSuite, kPFWorldSuiteVersion2);
    if (gSuites.mIn == nullptr || gSuites.mMemory == nullptr) return A_Err_NONE;
    const auto* const suite = Acquire<AEGP_RegisterSuite5>(basic, kAEGPRegisterSuite, kAEGPRegisterSuiteVersion5);
    if (suite == nullptr) return A_Err_NONE;
    const A_Err error = suite->AEGP_RegisterIO(id, nullptr, &info, &block);
    basic->ReleaseSuite(kAEGPRegisterSuite, kAEGPRegisterSuiteVersion5);
    return error;
}

}  // namespace
}  // namespace nimbrel::importer

/// Called once while the host starts, on its main thread. A host that lacks a suite starts all the same, without PLY
/// files.
extern "C" NIMBREL_EXPORT A_Err EntryPointFunc(SPBasicSuite* basic, A_long, A_long, AEGP_PluginID id,
                                               AEGP_GlobalRefcon* refcon) {
    return nimbrel::importer::Answer([&]() -> A_Err {
        if (refcon != nullptr) *refcon = nullptr;
        return basic == nullptr ? A_Err_NONE : nimbrel::importer::Register(basic, id);
    });
}
