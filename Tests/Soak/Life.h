#pragma once

#include <string>
#include <vector>

#include "Oracle.h"

namespace nimbrel::soak {

/// How often what happened.
struct Tally {
    long mLives = 0;
    long mSteps = 0;
    long mFrames = 0;    ///< compared bit for bit
    long mFailures = 0;  ///< commands that failed in words, as they should when something fails
    long mLostDevices = 0;
};

/// One life of the effect, from its coming up to its going down, in random order and with random failures. What goes
/// wrong fails the test; `log` holds the steps.
void Live(Random& random, Oracle& oracle, const std::string& device, Tally& tally, std::vector<std::string>& log);

/// Has Vulkan load the layer that takes devices away. Before the first life.
void PrepareDeviceLoss();

}  // namespace nimbrel::soak
