#pragma once

#include <mutex>
#include <string>
#include <vector>

namespace nimbrel::host {

/// What the effect told of the devices that it can render on, through the "Nimbrel Device Suite". Any thread.
class DeviceReport {
public:
    struct Device {
        int mIndex = 0;
        std::string mName;
        std::string mKind;
        std::string mReason;
        bool mChosen = false;
    };

    void Add(Device device);
    void AddValidationMessage(std::string text);

    std::vector<Device> GetDevices() const;
    std::vector<std::string> GetValidationMessages() const;
    /// Name of the chosen device; empty if the effect named none.
    std::string GetChosenName() const;

private:
    mutable std::mutex mMutex;
    std::vector<Device> mDevices;
    std::vector<std::string> mMessages;
};

}  // namespace nimbrel::host
