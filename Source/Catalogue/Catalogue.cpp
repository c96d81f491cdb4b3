#include "Catalogue/Catalogue.h"

#include <cstddef>
#include <iterator>

namespace nimbrel::embedded {
extern const std::size_t CatalogueTextSize;
extern const unsigned char CatalogueText[];
extern const std::size_t PackedParametersScriptSize;
extern const unsigned char PackedParametersScript[];
extern const std::size_t ProcessParametersScriptSize;
extern const unsigned char ProcessParametersScript[];
}  // namespace nimbrel::embedded

namespace {

std::string_view View(const unsigned char* bytes, std::size_t size) {
    return {reinterpret_cast<const char*>(bytes), size};
}

}  // namespace

std::string_view GetCatalogueText() {
    return View(nimbrel::embedded::CatalogueText, nimbrel::embedded::CatalogueTextSize);
}

zeb::UniquePtr<zeb::TextFileLoader> MakeTextFileLoader() {
    using namespace nimbrel::embedded;
    const zeb::EmbeddedTextFile files[] = {
        {"Script/PackedParameters.js", View(PackedParametersScript, PackedParametersScriptSize)},
        {"Script/ProcessParameters.js", View(ProcessParametersScript, ProcessParametersScriptSize)},
    };
    return zeb::MakeUnique<zeb::TextFileLoader>(files, std::size(files));
}
