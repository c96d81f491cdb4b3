#pragma once

#include <memory>
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

template <class T>
void Need(T* pointer) {
    if (pointer == nullptr) throw DrawbotError("an argument that is not null");
}

/// The running draw event's surface, by the reference of a role.
inline DrawingSurface& Surface(Host& host, CustomUI::Role role, const void* reference) {
    DrawingSurface* const surface = host.GetCustomUI().FindSurface(role, reference);
    if (surface == nullptr) throw DrawbotError("the reference of the draw event that runs");
    return *surface;
}

inline DrawingObject& Object(Host& host, const void* reference) {
    DrawingObject* const object = host.GetCustomUI().GetObjects().Find(reference);
    if (object == nullptr) throw DrawbotError("an object that is in use");
    return *object;
}

/// A pen, brush, font, path or image by its reference.
template <class Value>
Value& Get(Host& host, const void* reference) {
    Value* const value = std::get_if<Value>(&Object(host, reference).mValue);
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
