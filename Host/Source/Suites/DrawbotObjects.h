#pragma once

#include <fmt/format.h>

#include <memory>
#include <new>
#include <stdexcept>
#include <string>

#include "NimbrelHost/Commands/Host.h"
#include "NimbrelHost/Drawing/CustomUI.h"

namespace nimbrel::host {

/// What was wrong with an argument of a drawing call, as what was expected instead.
class DrawbotError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

inline CustomUI& TheUI() { return Host::Active().GetCustomUI(); }

/// Answers and reports that a function got something else than it expects.
inline SPErr Refuse(const char* function, const std::string& expected) noexcept {
    try {
        Host::Active().GetDiagnostics().Report(fmt::format("drawing: {} expects {}", function, expected));
    } catch (...) {
        // Without a host there is nobody to tell.
    }
    return static_cast<SPErr>(kSPBadParameterError);
}

/// Runs the body of a drawing function: no exception may cross into the effect.
template <class Body>
SPErr Drawn(const char* function, Body body) noexcept {
    try {
        body();
        return static_cast<SPErr>(kSPNoError);
    } catch (const std::bad_alloc&) {
        return static_cast<SPErr>(kSPOutOfMemoryError);
    } catch (const std::exception& exception) {
        return Refuse(function, exception.what());
    }
}

template <class T>
void Need(T* pointer) {
    if (pointer == nullptr) throw DrawbotError("an argument that is not null");
}

/// The running draw event's surface, by the reference of a role.
inline DrawingSurface& Surface(CustomUI::Role role, const void* reference) {
    DrawingSurface* const surface = TheUI().FindSurface(role, reference);
    if (surface == nullptr) throw DrawbotError("the reference of the draw event that runs");
    return *surface;
}

template <class Body>
SPErr OnSurface(const char* function, DRAWBOT_SurfaceRef reference, Body body) noexcept {
    return Drawn(function, [&] { body(Surface(CustomUI::Role::Surface, reference)); });
}

inline DrawingObject& Object(const void* reference) {
    DrawingObject* const object = TheUI().GetObjects().Find(reference);
    if (object == nullptr) throw DrawbotError("an object that is in use");
    return *object;
}

/// A pen, brush, font, path or image by its reference.
template <class Value>
Value& Get(const void* reference) {
    Value* const value = std::get_if<Value>(&Object(reference).mValue);
    if (value == nullptr) throw DrawbotError("an object of another kind");
    return *value;
}

inline glm::vec4 ReadColor(const DRAWBOT_ColorRGBA& color) { return {color.red, color.green, color.blue, color.alpha}; }

inline DrawingRect ReadRect(const DRAWBOT_RectF32& rect) { return {rect.left, rect.top, rect.width, rect.height}; }

/// A copy of an effect's pixels; null for sizes, rows and layouts that are none. The layouts of 32 bits without alpha
/// are left out: where their unused byte stands is not known.
std::shared_ptr<DrawingImage> ReadImage(int width, int height, int rowBytes, int layout, const void* pixels);

void AddDrawbotSurfaceSuite(SuiteRegistry& suites);

}  // namespace nimbrel::host
