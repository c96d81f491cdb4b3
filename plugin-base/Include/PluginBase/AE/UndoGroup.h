#pragma once

#include <exception>
#include <string>

#include "PluginBase/AE/ThreadContextAE.h"

namespace zeb {

/// What happens while it lives is one step for the user to take back, also when it ends in a failure. `Owner` has the
/// host's StartUndoGroup and EndUndoGroup and outlives the group. Thread: the interface's.
template <class Owner>
class UndoGroup {
public:
    UndoGroup(Owner& owner, const std::string& name) : mOwner(owner) { mOwner.StartUndoGroup(name); }
    ~UndoGroup() {
        if (!mIsOpen) return;
        try {
            mOwner.EndUndoGroup();
        } catch (const std::exception& exception) {
            ReportCleanupFailure(exception.what());
        }
    }
    UndoGroup(const UndoGroup&) = delete;
    UndoGroup& operator=(const UndoGroup&) = delete;

    /// Where all went well. Throws what EndUndoGroup throws.
    void End() {
        mIsOpen = false;
        mOwner.EndUndoGroup();
    }

private:
    Owner& mOwner;
    bool mIsOpen = true;
};

}  // namespace zeb
