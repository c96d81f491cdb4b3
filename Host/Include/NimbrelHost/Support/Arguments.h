#pragma once

#include <string>
#include <vector>

namespace nimbrel::host {

/// A program's arguments in UTF-8, whatever the system hands to main, and a console that shows UTF-8.
class Arguments {
public:
    Arguments(int argc, char** argv);

    int GetCount() const { return static_cast<int>(mTexts.size()); }
    /// Valid as long as this object.
    const char* const* Get() const { return mPointers.data(); }

private:
    std::vector<std::string> mTexts;
    std::vector<const char*> mPointers;
};

}  // namespace nimbrel::host
