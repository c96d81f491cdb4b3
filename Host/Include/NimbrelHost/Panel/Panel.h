#pragma once

#include <optional>
#include <string>
#include <vector>

#include "NimbrelHost/Commands/Host.h"
#include "NimbrelHost/Pictures/Picture.h"

namespace nimbrel::host {

struct PanelOptions {
    /// Groups to show, by id, shown name or "#uniqueID"; with a slot its number in front of the name may be left out.
    /// None: all.
    std::vector<std::string> mGroups{};
    std::optional<int> mSlot{};  ///< show this model slot only, from 1
    int mScale = 1;              ///< pixels to a point
    int mFrame = 0;              ///< whose values are shown
    bool mClosed = false;        ///< groups within those asked for are closed
};

/// Draws the effect's panel as a user would find it, the custom controls by the effect itself.
/// What is long flows into columns. An opaque 8-bit frame. Main thread. Throws UsageError for a group that isn't there,
/// EffectError, and std::runtime_error for a picture that is too large.
Frame DrawPanel(Host& host, const PanelOptions& options);

}  // namespace nimbrel::host
