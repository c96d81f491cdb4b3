#pragma once

#include <functional>
#include <optional>
#include <vector>

#include <glm/vec3.hpp>

#include "Shot.h"

/// The per-splat effects of a model, each written twice from the same numbers: as the host's settings, in percent
/// and degrees, and as the constants and curves that they should come to. The second is worked out here by hand and
/// shares nothing with the effect's scripts.
namespace nimbrel::endtoend {

struct Shape {
    bool mBox = false;
    glm::dvec3 mCenter{0.0};   ///< pixels of aligned model space
    double mSize = 100.0;      ///< pixels across
    glm::dvec3 mScale{100.0};  ///< percent, by axis
    double mFeather = 50.0;    ///< percent; not of a crop
};

Shape Sphere(double size, double feather = 50.0);
Shape Box(double size, double feather = 50.0);
/// The shape, different along each axis and off the centre.
Shape Uneven(Shape shape);

/// A straight curve: its value in the middle of the shape and at its edge and beyond.
struct Line {
    double mInside = 1.0;
    double mOutside = 1.0;
};

enum class Blending { Normal, Add, Multiply };

struct Displacement {
    glm::dvec3 mOffset{0.0};  ///< pixels
    Line mOffsetAmount{1.0, 0.0};
    double mScale = 100.0;  ///< percent
    std::optional<glm::dvec3> mAxisScale{};
    Line mScaleAmount{1.0, 0.0};
    glm::dvec3 mRotation{0.0};  ///< degrees
    Line mRotationAmount{1.0, 0.0};
};

struct Noise {
    double mAmplitude = 10.0;           ///< pixels
    glm::dvec3 mAmplitudeScale{100.0};  ///< percent, by axis
    Line mAmount{};
    glm::dvec3 mOffset{0.0};
    double mScale = 100.0;  ///< percent
    glm::dvec3 mAxisScale{100.0};
    double mEvolution = 0.0;
    int mSeed = 0;
};

enum class Preview { Pivot, Crop, Color, Opacity, Displacement, Scale, Noise };

/// A small frame, 160 x 90, with one model before a camera at its side: about 120 pixels wide, its floor 34 pixels
/// below the centre.
Shot MakeEffectShot(std::string name);
ShotModel MakeEffectModel(int count = 3000);

/// A setting of a model, still to be made.
using Change = std::function<void(ShotModel&)>;

Change CropShape(const Shape& shape, bool invert = false);
Change CropAltitude(double altitude);
/// The gradient runs straight from `inside` to `outside`.
Change Recolor(const Shape& shape, Blending blending, const glm::dvec3& inside, const glm::dvec3& outside,
               const Line& amount);
/// `low` and `high` in percent.
Change Fade(const Shape& shape, double low, double high, const Line& amount);
/// `high` in percent.
Change Resize(const Shape& shape, double high, const Line& amount);
Change Displace(const Shape& shape, const Displacement& displacement);
Change Disturb(const Shape& shape, const Noise& noise);
/// Wireframes; they need no effect to be on.
Change Show(Preview preview);

/// A shot with a model of such settings.
struct ShotCase {
    const char* mName;
    std::vector<Change> mChanges;
};
Shot MakeEffectShot(const ShotCase& shotCase);

}  // namespace nimbrel::endtoend
