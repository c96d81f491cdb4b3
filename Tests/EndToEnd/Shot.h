#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include <glm/vec3.hpp>

#include "NimbrelHost/Commands/Host.h"
#include "NimbrelHost/Pictures/Picture.h"
#include "NimbrelHost/Scene/Scene.h"
#include "ReferenceFrame.h"

/// A shot described once and drawn twice: by the effect, through the host's commands, and by the reference
/// renderer from matrices that are computed here from the same numbers.
namespace nimbrel::endtoend {

struct ShotModel {
    std::filesystem::path mFile;
    glm::dvec3 mAnchor{0.0};         ///< pixels, which is file units times 1000
    double mAlignScale = 100.0;      ///< percent
    glm::dvec3 mAlignRotation{0.0};  ///< degrees
    glm::dvec3 mPosition{0.0};       ///< pixels of the layer
    double mScale = 100.0;           ///< percent
    glm::dvec3 mRotation{0.0};       ///< degrees
    /// Further settings of the slot for the effect, in host units by id without the slot's part, and what they
    /// come to for the reference: constants, curves, switches. See EffectSettings.h.
    host::Json mSettings = host::Json::object();
    reference::Instance mEffects;
};

struct ShotCamera {
    bool mOrthographic = false;
    double mZoom = 1000.0;
    glm::dvec3 mPosition{0.0};
    glm::dvec3 mTarget{0.0};
};

struct Shot {
    std::string mName;
    int mWidth = 320;
    int mHeight = 180;
    int mBitsPerChannel = 32;
    int mDownsample = 1;
    std::optional<ShotCamera> mCamera;
    bool mDrawZDepth = false;
    double mZDepthNear = 100.0;
    double mZDepthFar = 10000.0;
    std::vector<ShotModel> mModels;
};

/// For GoogleTest's messages.
inline void PrintTo(const Shot& shot, std::ostream* stream) { *stream << shot.mName; }

/// The shot as a scene document; it goes through the host's own reader.
host::Json MakeSceneDocument(const Shot& shot);

/// The frame as the effect draws it, in a host of its own, on the device asked for.
host::Frame RenderWithEffect(const Shot& shot, const std::string& device = {});

/// Each file once, as they are first used: the models of the frame below.
std::vector<std::filesystem::path> GetFiles(const Shot& shot);

/// The frame for the reference renderer, from matrices that share nothing with the effect's.
reference::Frame MakeReferenceFrame(const Shot& shot);

/// The same frame from the reference renderer, in the host's layout.
host::Frame RenderReference(const Shot& shot);

/// Peak signal-to-noise ratio in decibels of premultiplied colour and alpha, peak 1; infinite for equal frames.
double ComparePsnr(const host::Frame& a, const host::Frame& b);

/// Share of pixels with a channel that differs by more than `tolerance` in units of the depth, premultiplied.
double DifferingPixels(const host::Frame& a, const host::Frame& b, double tolerance);

/// Mean alpha, 0 to 1: a picture with nothing in it proves nothing.
double MeanAlpha(const host::Frame& frame);

/// A procedural model of so many splats and degree as a file; made once per process.
std::filesystem::path GetModelFile(int count, int degree);

/// An empty folder that goes with the process.
std::filesystem::path GetScratchFolder();

}  // namespace nimbrel::endtoend
