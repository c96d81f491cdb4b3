// Writes the resource by which a host on Windows finds the importer in its file.
// Usage: nimbrel-make-import-resource OUTPUT
#include "HostInterface/PluginResource.h"
#include "ImporterIdentity.h"

int main(int argc, char** argv) {
    nimbrel::Resource resource;
    resource.Add("kind", nimbrel::Number(AEGP_PLUGIN_TYPE));
    resource.Add("name", nimbrel::Counted(nimbrel::importer::kName));
    resource.Add("catg", nimbrel::Counted(nimbrel::importer::kCategory));
    resource.Add("vers", nimbrel::Number(nimbrel::importer::kVersion));
    resource.Add("8664", std::string(nimbrel::importer::kEntryPointName) + '\0');
    return nimbrel::WriteResource(argc, argv, resource.Build());
}
