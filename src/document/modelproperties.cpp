#include "document/modelproperties.h"

#include "document/optionalproperties.h"

namespace vorlen {

using optionalproperties::defined;

int leastNumVertices(MPrimitive geometry) {
    return geometry == PolygonPrimitive ? 3 : geometry == PolylinePrimitive ? 2 : 1;
}

void ModelProperties::setGeometry(MPrimitive geometry) {
    __geometry = geometry;
}

MPrimitive ModelProperties::getGeometry() const {
    return defined(__geometry, "MPrimitive ModelProperties::getGeometry() const", "Geometry");
}

void ModelProperties::setRenderingMode(RenderingMode mode) {
    __renderingMode = mode;
}

RenderingMode ModelProperties::getRenderingMode() const {
    return defined(__renderingMode, "RenderingMode ModelProperties::getRenderingMode() const", "Rendering mode");
}

void ModelProperties::setSurfaceOpacity(float opacity) {
    __surfaceOpacity = opacity;
}

float ModelProperties::getSurfaceOpacity() const {
    return defined(__surfaceOpacity, "float ModelProperties::getSurfaceOpacity() const", "Surface opacity");
}

void ModelProperties::setSurfaceShininess(float shininess) {
    __surfaceShininess = shininess;
}

float ModelProperties::getSurfaceShininess() const {
    return defined(__surfaceShininess, "float ModelProperties::getSurfaceShininess() const", "Surface shininess");
}

void ModelProperties::setQuadMeshWidth(unsigned int width) {
    __quadMeshWidth = width;
}

unsigned int ModelProperties::getQuadMeshWidth() const {
    return defined(__quadMeshWidth, "unsigned int ModelProperties::getQuadMeshWidth() const", "Quad mesh width");
}

void ModelProperties::setQuadMeshHeight(unsigned int height) {
    __quadMeshHeight = height;
}

unsigned int ModelProperties::getQuadMeshHeight() const {
    return defined(__quadMeshHeight, "unsigned int ModelProperties::getQuadMeshHeight() const", "Quad mesh height");
}

void ModelProperties::setEconomicRendering(bool economic) {
    __economicRendering = economic;
}

bool ModelProperties::getEconomicRendering() const {
    return defined(__economicRendering, "bool ModelProperties::getEconomicRendering() const", "Economic rendering");
}

void ModelProperties::setBeginCapFlag(bool cap) {
    __beginCapFlag = cap;
}

bool ModelProperties::getBeginCapFlag() const {
    return defined(__beginCapFlag, "bool ModelProperties::getBeginCapFlag() const", "Begin cap flag");
}

void ModelProperties::setEndCapFlag(bool cap) {
    __endCapFlag = cap;
}

bool ModelProperties::getEndCapFlag() const {
    return defined(__endCapFlag, "bool ModelProperties::getEndCapFlag() const", "End cap flag");
}

void ModelProperties::setGroup(const std::string& group) {
    __group = group;
}

const std::string& ModelProperties::getGroup() const {
    return defined(__group, "const std::string& ModelProperties::getGroup() const", "Group");
}

void ModelProperties::clear() {
    *this = ModelProperties();
}

void ModelProperties::setDefaults() {
    __geometry = PolygonPrimitive;
    __renderingMode = SurfaceRendering;
    __surfaceOpacity = 255.0f;
    __surfaceShininess = 32.0f;
    __quadMeshWidth = 100u;
    __quadMeshHeight = 100u;
    __economicRendering = false;
    __beginCapFlag = false;
    __endCapFlag = false;
}

void ModelProperties::update(const ModelProperties& other) {
    optionalproperties::update(*this, other, __members());
}

ModelProperties ModelProperties::intersection(const ModelProperties& other) const {
    ModelProperties common = *this;
    optionalproperties::keep(true, common, other, __members());
    return common;
}

std::string ModelProperties::toString(MPrimitive geometry) {
    switch (geometry) {
    case PolygonPrimitive:
        return "Polygon";
    case PolylinePrimitive:
        return "Polyline";
    case PolypointPrimitive:
        return "Polypoint";
    case UnknownPrimitive:
        break;
    }
    return "Unknown";
}

std::string ModelProperties::toString(RenderingMode mode) {
    switch (mode) {
    case DotRendering:
        return "Dot";
    case CurveRendering:
        return "Curve";
    case WireframeRendering:
        return "Wireframe";
    case SurfaceRendering:
        return "Surface";
    case UnknownRendering:
        break;
    }
    return "Unknown";
}

MPrimitive ModelProperties::toPrimitive(const std::string& text) {
    int value = 0;
    while (value < UnknownPrimitive && toString(MPrimitive(value)) != text)
        ++value;
    return MPrimitive(value);
}

RenderingMode ModelProperties::toRenderingMode(const std::string& text) {
    int value = 0;
    while (value < UnknownRendering && toString(RenderingMode(value)) != text)
        ++value;
    return RenderingMode(value);
}

} // namespace vorlen
