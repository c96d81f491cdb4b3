#include "NimbrelHost/Support/Text.h"
#include "Suites/SuiteSupport.h"

// The suites of projects, footage and compositions.

namespace nimbrel::host {
namespace {

A_Err GetNumProjects(Host&, A_long* count) {
    if (count == nullptr) return A_Err_PARAMETER;
    *count = 1;
    return A_Err_NONE;
}

// One project is open, and it is the handle to itself.
A_Err GetProjectByIndex(Host& host, A_long index, AEGP_ProjectH* project) {
    if (index != 0 || project == nullptr) return A_Err_PARAMETER;
    *project = reinterpret_cast<AEGP_ProjectH>(&host.GetProject());
    return A_Err_NONE;
}

A_Err GetProjectRootFolder(Host& host, AEGP_ProjectH project, AEGP_ItemH* root) {
    if (static_cast<const void*>(project) != static_cast<const void*>(&host.GetProject()) || root == nullptr) {
        return A_Err_PARAMETER;
    }
    *root = ToHandle(host.GetProject().GetRoot());
    return A_Err_NONE;
}

// Footage is the project's, or the effect's until it hands it over.
Footage* ToFootage(Host& host, AEGP_FootageH handle) {
    Footage* const footage = host.GetProject().FindFootage(handle);
    return footage != nullptr ? footage : host.GetLooseFootage().Find(handle);
}

A_Err GetMainFootageFromItem(Host& host, AEGP_ItemH handle, AEGP_FootageH* footage) {
    const Item* const item = ToItem(host, handle);
    if (item == nullptr || !item->mFootage || footage == nullptr) return A_Err_PARAMETER;
    *footage = ToHandle(item->mFootage.get());
    return A_Err_NONE;
}

// Frames count from 0; any other number than a frame's is as good as the first. A solid's path is empty text.
A_Err GetFootagePath(Host& host, AEGP_FootageH handle, A_long frame, A_long, AEGP_MemHandle* path) {
    const Footage* const footage = ToFootage(host, handle);
    if (footage == nullptr || path == nullptr) return A_Err_PARAMETER;
    const auto place = static_cast<std::size_t>(frame);
    const bool isFrame = frame >= 0 && place < footage->mFiles.size();
    *path = NewTextHandle(host, PathText(isFrame ? footage->mFiles[place] : footage->mPath));
    return *path == nullptr ? A_Err_ALLOC : A_Err_NONE;
}

A_Err GetFootageNumFiles(Host& host, AEGP_FootageH handle, A_long* count, A_long* filesPerFrame) {
    const Footage* const footage = ToFootage(host, handle);
    if (footage == nullptr) return A_Err_PARAMETER;
    if (count != nullptr) *count = static_cast<A_long>(footage->mFiles.size());
    if (filesPerFrame != nullptr) *filesPerFrame = footage->mFiles.empty() ? 0 : 1;
    return A_Err_NONE;
}

A_Err GetFootageSignature(Host& host, AEGP_FootageH handle, A_long* signature) {
    const Footage* const footage = ToFootage(host, handle);
    if (footage == nullptr || signature == nullptr) return A_Err_PARAMETER;
    *signature = AEGP_FootageSignature_SOLID;
    std::error_code ignored;
    if (!footage->mPath.empty() && !std::filesystem::is_regular_file(footage->mPath, ignored))
        *signature = AEGP_FootageSignature_MISSING;
    else if (footage->mSource)
        *signature = footage->mSource->GetModule().mInfo.sig;
    return A_Err_NONE;
}

// No dialog ever shows, so every way of interpreting files comes to the same. Without a sequence's options it is one
// file.
A_Err NewFootage(Host& host, AEGP_PluginID, const A_UTF16Char* path, const AEGP_FootageLayerKey*,
                 const AEGP_FileSequenceImportOptions* sequence, AEGP_InterpretationStyle, void*,
                 AEGP_FootageH* footage) {
    if (const A_Err error = CheckMayChangeProject()) return error;
    if (path == nullptr || footage == nullptr) return A_Err_PARAMETER;
    try {
        auto made = host.GetImporters().Import(TextPath(ToUtf8(path)), sequence != nullptr);
        *footage = ToHandle(host.GetLooseFootage().Add(std::move(made)));
        return A_Err_NONE;
    } catch (const ImportError& error) {
        return error.GetCode();
    }
}

// The project takes the footage over: disposing of it afterwards is an error.
A_Err AddFootageToProject(Host& host, AEGP_FootageH handle, AEGP_ItemH folderHandle, AEGP_ItemH* item) {
    if (const A_Err error = CheckMayChangeProject()) return error;
    Item* const folder = ToItem(host, folderHandle);
    if (folder == nullptr || folder->mKind != Item::Kind::Folder || item == nullptr) return A_Err_PARAMETER;
    std::unique_ptr<Footage> footage = host.GetLooseFootage().Take(handle);
    if (!footage) return A_Err_PARAMETER;
    BeforeChange(host).KeepLists();
    *item = ToHandle(host.GetProject().AddFootage(std::move(footage), folder));
    return A_Err_NONE;
}

A_Err DisposeFootage(Host& host, AEGP_FootageH handle) {
    return host.GetLooseFootage().Take(handle) ? A_Err_NONE : A_Err_PARAMETER;
}

A_Err GetCompFromItem(Host& host, AEGP_ItemH handle, AEGP_CompH* comp) {
    const Item* const item = ToItem(host, handle);
    if (item == nullptr || item->mKind != Item::Kind::Composition || comp == nullptr) return A_Err_PARAMETER;
    *comp = TheComp(host);
    return A_Err_NONE;
}

A_Err GetItemFromComp(Host& host, AEGP_CompH comp, AEGP_ItemH* item) {
    if (!IsComp(host, comp) || item == nullptr) return A_Err_PARAMETER;
    *item = ToHandle(host.GetProject().GetCompositionItem());
    return A_Err_NONE;
}

A_Err GetCompFramerate(Host& host, AEGP_CompH comp, A_FpLong* rate) {
    if (!IsComp(host, comp) || rate == nullptr) return A_Err_PARAMETER;
    *rate = host.GetProject().GetComposition().mFrameRate;
    return A_Err_NONE;
}

// Nulls last as long as the composition, whatever duration is asked for.
A_Err CreateNullInComp(Host& host, const A_UTF16Char* name, AEGP_CompH comp, const A_Time*, AEGP_LayerH* layer) {
    if (const A_Err error = CheckMayChangeProject()) return error;
    if (!IsComp(host, comp) || layer == nullptr) return A_Err_PARAMETER;
    BeforeChange(host).KeepLists();
    *layer = ToHandle(host.GetProject().AddNull(name == nullptr ? "Null" : ToUtf8(name)));
    return A_Err_NONE;
}

}  // namespace

void AddProjectSuites(SuiteRegistry& suites) {
    static const AEGP_ProjSuite6 projectSuite = [] {
        auto table = MakeTable<AEGP_ProjSuite6>(kAEGPProjSuite);
        NIMBREL_SERVE(table, AEGP_GetNumProjects, GetNumProjects);
        NIMBREL_SERVE(table, AEGP_GetProjectByIndex, GetProjectByIndex);
        NIMBREL_SERVE(table, AEGP_GetProjectRootFolder, GetProjectRootFolder);
        return table;
    }();
    static const AEGP_FootageSuite5 footageSuite = [] {
        auto table = MakeTable<AEGP_FootageSuite5>(kAEGPFootageSuite);
        NIMBREL_SERVE(table, AEGP_GetMainFootageFromItem, GetMainFootageFromItem);
        NIMBREL_SERVE(table, AEGP_GetFootageNumFiles, GetFootageNumFiles);
        NIMBREL_SERVE(table, AEGP_GetFootagePath, GetFootagePath);
        NIMBREL_SERVE(table, AEGP_GetFootageSignature, GetFootageSignature);
        NIMBREL_SERVE(table, AEGP_NewFootage, NewFootage);
        NIMBREL_SERVE(table, AEGP_AddFootageToProject, AddFootageToProject);
        NIMBREL_SERVE(table, AEGP_DisposeFootage, DisposeFootage);
        return table;
    }();
    static const AEGP_CompSuite11 compSuite = [] {
        auto table = MakeTable<AEGP_CompSuite11>(kAEGPCompSuite);
        NIMBREL_SERVE(table, AEGP_GetCompFromItem, GetCompFromItem);
        NIMBREL_SERVE(table, AEGP_GetItemFromComp, GetItemFromComp);
        NIMBREL_SERVE(table, AEGP_GetCompFramerate, GetCompFramerate);
        NIMBREL_SERVE(table, AEGP_CreateNullInComp, CreateNullInComp);
        return table;
    }();
    suites.Add(kAEGPProjSuite, kAEGPProjSuiteVersion6, &projectSuite);
    suites.Add(kAEGPFootageSuite, kAEGPFootageSuiteVersion5, &footageSuite);
    suites.Add(kAEGPCompSuite, kAEGPCompSuiteVersion11, &compSuite);
}

}  // namespace nimbrel::host
