#include "document/modelproperties.h"

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
void keepCommon(std::optional<T>& value, const std::optional<T>& other) {
    if (value != other)
        value.reset();
}

} // namespace

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
    updateFrom(__geometry, other.__geometry);
    updateFrom(__renderingMode, other.__renderingMode);
    updateFrom(__surfaceOpacity, other.__surfaceOpacity);
    updateFrom(__surfaceShininess, other.__surfaceShininess);
    updateFrom(__quadMeshWidth, other.__quadMeshWidth);
    updateFrom(__quadMeshHeight, other.__quadMeshHeight);
    updateFrom(__economicRendering, other.__economicRendering);
    updateFrom(__beginCapFlag, other.__beginCapFlag);
    updateFrom(__endCapFlag, other.__endCapFlag);
}

ModelProperties ModelProperties::intersection(const ModelProperties& other) const {
    ModelProperties common = *this;
    keepCommon(common.__geometry, other.__geometry);
    keepCommon(common.__renderingMode, other.__renderingMode);
    keepCommon(common.__surfaceOpacity, other.__surfaceOpacity);
    keepCommon(common.__surfaceShininess, other.__surfaceShininess);
    keepCommon(common.__quadMeshWidth, other.__quadMeshWidth);
    keepCommon(common.__quadMeshHeight, other.__quadMeshHeight);
    keepCommon(common.__economicRendering, other.__economicRendering);
    keepCommon(common.__beginCapFlag, other.__beginCapFlag);
    keepCommon(common.__endCapFlag, other.__endCapFlag);
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
