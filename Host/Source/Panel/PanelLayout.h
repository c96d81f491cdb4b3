#pragma once

#include <vector>

#include "NimbrelHost/Panel/Panel.h"

namespace nimbrel::host::panel {

// Lengths in points.
inline constexpr int kColumnWidth = 452;
inline constexpr int kPadding = 14;       ///< around columns
inline constexpr int kHeaderHeight = 46;  ///< the effect's name, over all columns
inline constexpr int kGroupHeight = 25;
inline constexpr int kRowHeight = 23;
inline constexpr int kTrailHeight = 22;   ///< where a column goes on within groups
inline constexpr int kIndent = 13;        ///< of each level of groups
inline constexpr int kValueLeft = 244;    ///< of values and controls in a column
inline constexpr int kControlMargin = 6;  ///< above and below a custom control

/// A line of the panel: a group's name, or a parameter.
struct Row {
    const Parameter* mParameter = nullptr;
    std::vector<const Parameter*> mGroups;  ///< around it, outermost first
    int mHeight = kRowHeight;
    int mTop = 0;  ///< in its column
    bool mIsClosed = false;

    bool IsGroup() const;
    int GetDepth() const { return static_cast<int>(mGroups.size()); }
};

struct Column {
    std::vector<const Parameter*> mTrail;  ///< groups that its first row is in and that began before it
    std::vector<Row> mRows;
    int mHeight = 0;
};

/// The rows that show, group by group as asked for. Hidden parameters are left out, hidden groups with all that is in
/// them. Throws UsageError for a group that isn't there.
std::vector<std::vector<Row>> ListRows(Host& host, const PanelOptions& options);

/// Flows rows into columns such that the whole is somewhat wider than high; each section begins a column of its own.
std::vector<Column> FlowColumns(const std::vector<std::vector<Row>>& sections);

}  // namespace nimbrel::host::panel
