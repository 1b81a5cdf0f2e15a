#include "document/modelitemproperties.h"

#include "numerics/exception.h"

namespace {

/// The value, or ProgramError when there is none.
template <class T>
const T& defined(const std::optional<T>& value, const char* where, const char* name) {
    if (!value)
        throw ProgramError(where, std::string(name) + ": undefined attribute");
    return *value;
}

template <class T>
void updateFrom(std::optional<T>& value, const std::optional<T>& other) {
    if (other)
        value = other;
}

template <class T>
bool differ(const std::optional<T>& value, const std::optional<T>& other) {
    return value.has_value() != other.has_value() || (value && !(*value == *other));
}

template <class T>
void keepCommon(std::optional<T>& value, const std::optional<T>& other) {
    if (differ(value, other))
        value.reset();
}

template <class T>
void keepDifferent(std::optional<T>& value, const std::optional<T>& other) {
    if (!differ(value, other))
        value.reset();
}

} // namespace

void ModelItemProperties::setColor(const Vector<int>& color) {
    if (color.getSize() != 3)
        throw SizeError("void ModelItemProperties::setColor(const Vector<int>&)",
                        "A color has three values: red, green and blue");
    __color = color;
}

void ModelItemProperties::setColor(int red, int green, int blue) {
    Vector<int> color(3);
    color[0] = red;
    color[1] = green;
    color[2] = blue;
    __color = color;
}

const Vector<int>& ModelItemProperties::getColor() const {
    return defined(__color, "const Vector<int>& ModelItemProperties::getColor() const", "Color");
}

void ModelItemProperties::setLineWidth(float width) {
    __lineWidth = width;
}

float ModelItemProperties::getLineWidth() const {
    return defined(__lineWidth, "float ModelItemProperties::getLineWidth() const", "Line width");
}

void ModelItemProperties::setPointSize(float size) {
    __pointSize = size;
}

float ModelItemProperties::getPointSize() const {
    return defined(__pointSize, "float ModelItemProperties::getPointSize() const", "Point size");
}

void ModelItemProperties::setVertexSymbol(VertexSymbol symbol) {
    __vertexSymbol = symbol;
}

VertexSymbol ModelItemProperties::getVertexSymbol() const {
    return defined(__vertexSymbol, "VertexSymbol ModelItemProperties::getVertexSymbol() const", "Vertex symbol");
}

void ModelItemProperties::setVertexSymbolFilling(bool filling) {
    __vertexSymbolFilling = filling;
}

bool ModelItemProperties::getVertexSymbolFilling() const {
    return defined(__vertexSymbolFilling, "bool ModelItemProperties::getVertexSymbolFilling() const",
                   "Vertex symbol filling");
}

void ModelItemProperties::setRenderingVisibility(bool visible) {
    __renderingVisibility = visible;
}

bool ModelItemProperties::getRenderingVisibility() const {
    return defined(__renderingVisibility, "bool ModelItemProperties::getRenderingVisibility() const",
                   "Rendering visibility");
}

bool ModelItemProperties::definesAny() const {
    return __color || __lineWidth || __pointSize || __vertexSymbol || __vertexSymbolFilling || __renderingVisibility;
}

void ModelItemProperties::clear() {
    *this = ModelItemProperties();
}

void ModelItemProperties::setDefaults() {
    setColor(255, 0, 0);
    __lineWidth = 1.0f;
    __pointSize = 1.0f;
    __vertexSymbol = SphereSymbol;
    __vertexSymbolFilling = true;
    __renderingVisibility = true;
}

void ModelItemProperties::update(const ModelItemProperties& other) {
    updateFrom(__color, other.__color);
    updateFrom(__lineWidth, other.__lineWidth);
    updateFrom(__pointSize, other.__pointSize);
    updateFrom(__vertexSymbol, other.__vertexSymbol);
    updateFrom(__vertexSymbolFilling, other.__vertexSymbolFilling);
    updateFrom(__renderingVisibility, other.__renderingVisibility);
}

ModelItemProperties ModelItemProperties::intersection(const ModelItemProperties& other) const {
    ModelItemProperties common = *this;
    keepCommon(common.__color, other.__color);
    keepCommon(common.__lineWidth, other.__lineWidth);
    keepCommon(common.__pointSize, other.__pointSize);
    keepCommon(common.__vertexSymbol, other.__vertexSymbol);
    keepCommon(common.__vertexSymbolFilling, other.__vertexSymbolFilling);
    keepCommon(common.__renderingVisibility, other.__renderingVisibility);
    return common;
}

ModelItemProperties ModelItemProperties::operator-(const ModelItemProperties& other) const {
    ModelItemProperties own = *this;
    keepDifferent(own.__color, other.__color);
    keepDifferent(own.__lineWidth, other.__lineWidth);
    keepDifferent(own.__pointSize, other.__pointSize);
    keepDifferent(own.__vertexSymbol, other.__vertexSymbol);
    keepDifferent(own.__vertexSymbolFilling, other.__vertexSymbolFilling);
    keepDifferent(own.__renderingVisibility, other.__renderingVisibility);
    return own;
}

ModelItemProperties ModelItemProperties::operator+(const ModelItemProperties& other) const {
    ModelItemProperties all = other;
    all.update(*this);
    return all;
}

bool ModelItemProperties::operator==(const ModelItemProperties& other) const {
    return !differ(__color, other.__color) && !differ(__lineWidth, other.__lineWidth) &&
           !differ(__pointSize, other.__pointSize) && !differ(__vertexSymbol, other.__vertexSymbol) &&
           !differ(__vertexSymbolFilling, other.__vertexSymbolFilling) &&
           !differ(__renderingVisibility, other.__renderingVisibility);
}

std::string ModelItemProperties::toString(VertexSymbol symbol) {
    switch (symbol) {
    case CubeSymbol:
        return "Cube";
    case DotSymbol:
        return "Dot";
    case DiamondSymbol:
        return "Diamond";
    case SphereSymbol:
        return "Sphere";
    case TetrahedronSymbol:
        return "Tetrahedron";
    case UnknownSymbol:
        break;
    }
    return "Unknown";
}

VertexSymbol ModelItemProperties::toVertexSymbol(const std::string& text) {
    int value = 0;
    while (value < UnknownSymbol && toString(VertexSymbol(value)) != text)
        ++value;
    return VertexSymbol(value);
}
