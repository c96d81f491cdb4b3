#include "Panel/PanelLayout.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "NimbrelHost/Support/Errors.h"
#include "NimbrelHost/Support/Similar.h"

namespace nimbrel::host::panel {
namespace {

constexpr double kAspect = 1.5;        // of many columns
constexpr int kShortestColumn = 1000;  // shorter ones are not split

bool IsHidden(const Parameter& parameter) {
    return parameter.mIsHidden || (parameter.mDefinition.ui_flags & (PF_PUI_INVISIBLE | PF_PUI_NO_ECW_UI)) != 0;
}

int GetHeight(const Parameter& parameter) {
    if (parameter.GetType() == PF_Param_GROUP_START) return kGroupHeight;
    if (parameter.GetType() != PF_Param_ARBITRARY_DATA) return kRowHeight;
    return std::max(kRowHeight, parameter.mDefinition.ui_height + 2 * kControlMargin);
}

std::vector<Row> ListAll(Host& host) {
    std::vector<Row> rows;
    std::vector<const Parameter*> groups;
    int hidden = 0;  // hidden groups around
    for (const auto& parameter : host.GetParameters().GetAll()) {
        if (parameter->GetType() == PF_Param_GROUP_END) {
            if (groups.empty()) continue;
            hidden -= IsHidden(*groups.back()) ? 1 : 0;
            groups.pop_back();
            continue;
        }
        if (hidden == 0 && !IsHidden(*parameter)) rows.push_back({parameter.get(), groups, GetHeight(*parameter), 0});
        if (parameter->GetType() != PF_Param_GROUP_START) continue;
        hidden += IsHidden(*parameter) ? 1 : 0;
        groups.push_back(parameter.get());
    }
    return rows;
}

/// The group's own row and what is in it.
std::vector<Row> Select(const std::vector<Row>& rows, const Parameter& group) {
    std::vector<Row> selected;
    for (const Row& row : rows) {
        const bool isIn = std::find(row.mGroups.begin(), row.mGroups.end(), &group) != row.mGroups.end();
        if (isIn || row.mParameter == &group) selected.push_back(row);
    }
    return selected;
}

const Parameter& FindGroup(const std::vector<Row>& rows, const std::string& name, std::optional<int> slot,
                           const std::string& option) {
    std::vector<std::string> names;
    for (const Row& row : rows) {
        if (!row.IsGroup()) continue;
        const Parameter& group = *row.mParameter;
        const bool matches = group.mId == name || group.mName == name || name == fmt::format("#{}", group.mUniqueId) ||
                             (slot && group.mName == fmt::format("{} {}", *slot, name));
        if (matches) return group;
        names.push_back(group.mId.empty() ? group.mName : group.mId);
        names.push_back(group.mName);
    }
    throw UsageError(fmt::format("{}: expected a group of controls, but there is no \"{}\"{}", option, name,
                                 SuggestSimilar(name, names)));
}

/// Leaves what lies in groups below `depth` out; the groups themselves stay, closed.
void CloseGroups(std::vector<Row>& rows, int depth) {
    std::erase_if(rows, [depth](const Row& row) { return row.GetDepth() > depth; });
    for (Row& row : rows) row.mIsClosed = row.IsGroup() && row.GetDepth() == depth;
}

std::vector<Column> Flow(const std::vector<std::vector<Row>>& sections, int limit) {
    std::vector<Column> columns;
    for (const auto& rows : sections) {
        bool begins = true;
        for (std::size_t i = 0; i < rows.size(); ++i) {
            // A group's name stays with the first of what is in it.
            int needed = 0;
            for (std::size_t j = i; j < rows.size() && (j == i || rows[j - 1].IsGroup()); ++j)
                needed += rows[j].mHeight;
            if (begins || columns.back().mHeight + needed > limit) {
                columns.push_back({rows[i].mGroups, {}, rows[i].mGroups.empty() ? 0 : kTrailHeight});
            }
            begins = false;
            Column& column = columns.back();
            column.mRows.push_back(rows[i]);
            column.mRows.back().mTop = column.mHeight;
            column.mHeight += rows[i].mHeight;
        }
    }
    return columns;
}

}  // namespace

bool Row::IsGroup() const { return mParameter->GetType() == PF_Param_GROUP_START; }

std::vector<std::vector<Row>> ListRows(Host& host, const PanelOptions& options) {
    std::vector<Row> rows = ListAll(host);
    if (options.mSlot) {
        const auto isSlot = [&](const Row& row) {
            return row.mParameter->mId == fmt::format("Model{}", *options.mSlot);
        };
        const auto found = std::find_if(rows.begin(), rows.end(), isSlot);
        const std::string name = fmt::format("Model {}", *options.mSlot);
        rows = Select(rows, found == rows.end() ? FindGroup(rows, name, {}, "--panel-slot") : *found->mParameter);
    }
    std::vector<std::vector<Row>> sections;
    if (options.mGroups.empty()) sections.push_back(rows);
    for (const std::string& name : options.mGroups) {
        sections.push_back(Select(rows, FindGroup(rows, name, options.mSlot, "--panel-group")));
    }
    const bool isWhole = options.mGroups.empty() && !options.mSlot;
    for (std::vector<Row>& section : sections) {
        if (options.mClosed && !section.empty()) CloseGroups(section, section.front().GetDepth() + (isWhole ? 0 : 1));
    }
    return sections;
}

std::vector<Column> FlowColumns(const std::vector<std::vector<Row>>& sections) {
    double total = 0;
    for (const auto& rows : sections) {
        for (const Row& row : rows) total += row.mHeight;
    }
    const double wanted = std::max(1.0, std::round(std::sqrt(total * kAspect / kColumnWidth)));
    const std::size_t count = std::max(static_cast<std::size_t>(wanted), sections.size());
    // The lowest height that takes so many columns and no more: none is left nearly empty.
    for (int limit = std::max(kShortestColumn, static_cast<int>(total / wanted));; limit += kRowHeight) {
        std::vector<Column> columns = Flow(sections, limit);
        if (columns.size() <= count) return columns;
    }
}

}  // namespace nimbrel::host::panel
