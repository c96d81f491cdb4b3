#pragma once

#include <string>

#include "Catalogue/Catalogue.h"
#include "Parameters/TestSupport.h"
#include "PluginBase/Parameters/ParameterPacker.h"

namespace test {

/// A manager over the effect's own catalogue and scripts.
class CatalogueManager {
public:
    CatalogueManager() : mLoader(MakeTextFileLoader()), mManager(std::string(GetCatalogueText()), MakeOptions()) {}

    const TextManager& Get() const { return mManager; }

    std::vector<std::byte> Pack(const Values& values = {}) const {
        std::vector<std::byte> bytes;
        zeb::BlobWriter writer(bytes);
        mManager.GetPacker().PackFromGetter(writer, ValuesGetter(mManager, values));
        return bytes;
    }

private:
    zeb::ParametersManagerOptions MakeOptions() const {
        zeb::ParametersManagerOptions options;
        options.mTextFileLoader = mLoader.get();
        return options;
    }

    zeb::UniquePtr<zeb::TextFileLoader> mLoader;
    TextManager mManager;
};

}  // namespace test
