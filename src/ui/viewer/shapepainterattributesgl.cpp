#include "ui/viewer/shapepainterattributesgl.h"

#include "numerics/exception.h"

#include <GL/gl.h>

#include <algorithm>
#include <ostream>

namespace vorlen {

namespace {

template <class Value>
const Value& defined(const std::optional<Value>& value, const char* where, const char* name) {
    if (!value)
        throw ProgramError(where, std::string(name) + ": undefined attribute");
    return *value;
}

template <class Value>
void printValue(std::ostream& stream, const char* label, const std::optional<Value>& value) {
    stream << label << " = ";
    if (value)
        stream << *value << '\n';
    else
        stream << "(none)\n";
}

template <class Value>
std::optional<std::string> words(const std::optional<Value>& value) {
    return value ? std::optional<std::string>(toString(*value)) : std::nullopt;
}

} // namespace

void ShapePainterAttributesGL::setColor(const Vector<int>& color) {
    if (color.getSize() != 3)
        throw SizeError("void ShapePainterAttributesGL::setColor(const Vector<int>&)", "A colour has three components");
    __color = color;
}

const Vector<int>& ShapePainterAttributesGL::getColor() const {
    return defined(__color, "const Vector<int>& ShapePainterAttributesGL::getColor() const", "Color");
}

DisplayModeGL ShapePainterAttributesGL::getDisplayMode() const {
    return defined(__displayMode, "DisplayModeGL ShapePainterAttributesGL::getDisplayMode() const", "Display mode");
}

float ShapePainterAttributesGL::getLineWidth() const {
    return defined(__lineWidth, "float ShapePainterAttributesGL::getLineWidth() const", "Line width");
}

float ShapePainterAttributesGL::getTransparency() const {
    return defined(__transparency, "float ShapePainterAttributesGL::getTransparency() const", "Transparency");
}

float ShapePainterAttributesGL::getShininess() const {
    return defined(__shininess, "float ShapePainterAttributesGL::getShininess() const", "Shininess");
}

int ShapePainterAttributesGL::getSmoothing() const {
    return defined(__smoothing, "int ShapePainterAttributesGL::getSmoothing() const", "Smoothing");
}

float ShapePainterAttributesGL::getSymbolSize() const {
    return defined(__symbolSize, "float ShapePainterAttributesGL::getSymbolSize() const", "Symbol size");
}

VertexSymbolGL ShapePainterAttributesGL::getVertexSymbol() const {
    return defined(__vertexSymbol, "VertexSymbolGL ShapePainterAttributesGL::getVertexSymbol() const", "Vertex symbol");
}

bool ShapePainterAttributesGL::getVisibility() const {
    return defined(__visibility, "bool ShapePainterAttributesGL::getVisibility() const", "Visibility");
}

bool ShapePainterAttributesGL::getBeginCapFlag() const {
    return defined(__beginCapFlag, "bool ShapePainterAttributesGL::getBeginCapFlag() const", "Begin cap flag");
}

bool ShapePainterAttributesGL::getEndCapFlag() const {
    return defined(__endCapFlag, "bool ShapePainterAttributesGL::getEndCapFlag() const", "End cap flag");
}

unsigned char ShapePainterAttributesGL::alpha() const {
    return __transparency ? static_cast<unsigned char>(std::clamp(*__transparency, 0.0f, 255.0f)) : 255;
}

bool ShapePainterAttributesGL::isOpaque() const {
    return !__transparency || *__transparency == 255;
}

void ShapePainterAttributesGL::glApply() const {
    if (__color) {
        const auto component = [this](int k) { return GLubyte(std::clamp((*__color)[k], 0, 255)); };
        glEnable(GL_COLOR_MATERIAL);
        glColor4ub(component(0), component(1), component(2), alpha());
    }
    if (__shininess) {
        const GLfloat white[] = {1, 1, 1, 1};
        glMaterialfv(GL_FRONT_AND_BACK, GL_SPECULAR, white);
        glMaterialf(GL_FRONT_AND_BACK, GL_SHININESS, std::clamp(*__shininess, 0.0f, 128.0f));
    }
    if (__symbolSize && *__symbolSize > 0)
        glPointSize(*__symbolSize);
    if (__lineWidth && *__lineWidth > 0)
        glLineWidth(*__lineWidth);
}

void ShapePainterAttributesGL::glRelease() const {
    if (__color)
        glDisable(GL_COLOR_MATERIAL);
}

template <class F>
void ShapePainterAttributesGL::__forEach(const ShapePainterAttributesGL& other, F f) {
    f(__color, other.__color);
    f(__displayMode, other.__displayMode);
    f(__lineWidth, other.__lineWidth);
    f(__transparency, other.__transparency);
    f(__shininess, other.__shininess);
    f(__smoothing, other.__smoothing);
    f(__symbolSize, other.__symbolSize);
    f(__vertexSymbol, other.__vertexSymbol);
    f(__visibility, other.__visibility);
    f(__beginCapFlag, other.__beginCapFlag);
    f(__endCapFlag, other.__endCapFlag);
}

void ShapePainterAttributesGL::clear() {
    __forEach(
        *this, [](auto& value, const auto&) { value.reset(); });
}

void ShapePainterAttributesGL::update(const ShapePainterAttributesGL& other) {
    __forEach(
        other,
        [](auto& value, const auto& newValue) {
            if (newValue)
                value = newValue;
        });
}

ShapePainterAttributesGL ShapePainterAttributesGL::intersection(const ShapePainterAttributesGL& other) const {
    ShapePainterAttributesGL common(*this);
    common.__forEach(other, [](auto& value, const auto& otherValue) {
        if (value != otherValue)
            value.reset();
    });
    return common;
}

void ShapePainterAttributesGL::print(const std::string& title, std::ostream& stream) const {
    if (!title.empty())
        stream << title << '\n';
    stream << "Color        = ";
    if (__color)
        stream << (*__color)[0] << ' ' << (*__color)[1] << ' ' << (*__color)[2] << '\n';
    else
        stream << "(none)\n";
    printValue(stream, "Display mode", words(__displayMode));
    printValue(stream, "Line width  ", __lineWidth);
    printValue(stream, "Transparency", __transparency);
    printValue(stream, "Shininess   ", __shininess);
    printValue(stream, "Smoothing   ", __smoothing);
    printValue(stream, "Symbol size ", __symbolSize);
    printValue(stream, "Symbol      ", words(__vertexSymbol));
    printValue(stream, "Visibility  ", __visibility);
    printValue(stream, "Begin cap   ", __beginCapFlag);
    printValue(stream, "End cap     ", __endCapFlag);
}

} // namespace vorlen
