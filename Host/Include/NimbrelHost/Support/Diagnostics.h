#pragma once

#include <functional>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace nimbrel::host {

/// What the effect did wrong with the host's interface (a leaked handle, a receipt checked in twice), gathered so that
/// tests can demand silence and users see it as warnings. Any thread.
class Diagnostics {
public:
    void Report(std::string text) {
        const std::scoped_lock lock(mMutex);
        mTexts.push_back(std::move(text));
    }

    /// The same, and begins anew.
    std::vector<std::string> Take() {
        const std::scoped_lock lock(mMutex);
        return std::exchange(mTexts, {});
    }

    std::vector<std::string> Get() const {
        const std::scoped_lock lock(mMutex);
        return mTexts;
    }

private:
    mutable std::mutex mMutex;
    std::vector<std::string> mTexts;
};

}  // namespace nimbrel::host
