#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "NimbrelHost/Support/JsonView.h"

namespace nimbrel::host {

/// Where files of the machine on which a scene was made lie on this one: beginnings of paths and what takes their
/// place. The longest beginning that fits wins.
class PathMap {
public:
    /// "FROM=TO", or the name of a ".json" file with path mapping rules as Open Job Description writes them. Throws
    /// UsageError.
    void Add(const std::string& text);

    /// Beginnings end where a folder's name ends. Windows paths (FROM with a drive or two backslashes) fit with either
    /// slash and in any case. What no rule fits stays as it is.
    std::string Apply(std::string_view path) const;

    bool IsEmpty() const { return mRules.empty(); }

private:
    struct Rule {
        std::string mFrom;  ///< without a separator at the end
        std::string mTo;
        bool mIsWindows = false;
    };

    void Add(Rule rule);
    void Read(const Json& document, const std::string& file);

    std::vector<Rule> mRules;  ///< longest first
};

}  // namespace nimbrel::host
