#include "NimbrelHost/Parameters/Catalogue.h"

#include <limits>
#include <nlohmann/json.hpp>

#include "NimbrelHost/Support/JsonView.h"
#include "NimbrelHost/Support/Text.h"

namespace nimbrel::host {

Catalogue Catalogue::Read(const std::filesystem::path& file) {
    const Json document = ReadJsonFile(file);
    const JsonView root(document, PathText(file));
    if (!document.is_object() || !root.Has("parameters")) root.Fail("a catalogue with \"parameters\"");
    const JsonView parameters = root.Member("parameters");
    const std::size_t count = parameters.RequireArray("the list of parameters");
    Catalogue catalogue;
    for (std::size_t i = 0; i < count; ++i) {
        const JsonView entry = parameters.Element(i);
        if (!entry.Value().is_object() || !entry.Has("uniqueID") || !entry.Has("fullId")) {
            entry.Fail("an entry with \"uniqueID\" and \"fullId\"");
        }
        const int uniqueId = entry.Member("uniqueID").IntegerBetween(0, std::numeric_limits<int>::max());
        Entry& made = catalogue.mEntries[uniqueId];
        made.mId = entry.Member("fullId").String();
        if (entry.Has("valueType")) made.mValueType = entry.Member("valueType").String();
    }
    return catalogue;
}

const std::string& Catalogue::GetId(std::int32_t uniqueId) const {
    static const std::string none;
    const auto found = mEntries.find(uniqueId);
    return found == mEntries.end() ? none : found->second.mId;
}

const std::string& Catalogue::GetValueType(std::int32_t uniqueId) const {
    static const std::string none;
    const auto found = mEntries.find(uniqueId);
    return found == mEntries.end() ? none : found->second.mValueType;
}

}  // namespace nimbrel::host
