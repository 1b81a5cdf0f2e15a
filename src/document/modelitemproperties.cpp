#include "document/modelitemproperties.h"

#include "document/optionalproperties.h"
#include "numerics/exception.h"

namespace vorlen {

using optionalproperties::defined;

void ModelItemProperties::setColor(const Vector<int>& color) {
    if (color.getSize() != 3)
        throw SizeError("void ModelItemProperties::setColor(const Vector<int>&)",
                        "A color has three values: red, green and blue");
    setColor(color[0], color[1], color[2]);
}

void ModelItemProperties::setColor(int red, int green, int blue) {
    __color = {red, green, blue};
}

Vector<int> ModelItemProperties::getColor() const {
    const std::array<int, 3>& known = defined(__color, "Vector<int> ModelItemProperties::getColor() const", "Color");
    Vector<int> color(3);
    for (int k = 0; k < 3; ++k)
        color[k] = known[std::size_t(k)];
    return color;
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
    return std::apply([this](auto... member) { return ((this->*member).has_value() || ...); }, __members());
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
    optionalproperties::update(*this, other, __members());
}

ModelItemProperties ModelItemProperties::intersection(const ModelItemProperties& other) const {
    ModelItemProperties common = *this;
    optionalproperties::keep(true, common, other, __members());
    return common;
}

ModelItemProperties ModelItemProperties::operator-(const ModelItemProperties& other) const {
    ModelItemProperties own = *this;
    optionalproperties::keep(false, own, other, __members());
    return own;
}

ModelItemProperties ModelItemProperties::operator+(const ModelItemProperties& other) const {
    ModelItemProperties all = other;
    all.update(*this);
    return all;
}

bool ModelItemProperties::operator==(const ModelItemProperties& other) const {
    return std::apply([&](auto... member) { return (optionalproperties::equal(this->*member, other.*member) && ...); },
                      __members());
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

} // namespace vorlen
