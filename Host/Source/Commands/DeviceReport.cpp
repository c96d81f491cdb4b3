#include "NimbrelHost/Commands/DeviceReport.h"

namespace nimbrel::host {

void DeviceReport::Add(Device device) {
    const std::scoped_lock lock(mMutex);
    mDevices.push_back(std::move(device));
}

void DeviceReport::AddValidationMessage(std::string text) {
    const std::scoped_lock lock(mMutex);
    mMessages.push_back(std::move(text));
}

std::vector<DeviceReport::Device> DeviceReport::GetDevices() const {
    const std::scoped_lock lock(mMutex);
    return mDevices;
}

std::vector<std::string> DeviceReport::GetValidationMessages() const {
    const std::scoped_lock lock(mMutex);
    return mMessages;
}

// The first that is marked: an effect that tries again after a failure reports its devices again.
std::string DeviceReport::GetChosenName() const {
    const std::scoped_lock lock(mMutex);
    for (const Device& device : mDevices) {
        if (device.mChosen) return device.mName;
    }
    return {};
}

}  // namespace nimbrel::host
