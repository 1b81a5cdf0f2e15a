#include "ui/slices/wmconverter.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <iostream>
#include <limits>

#include "numerics/exception.h"
#include "numerics/maths.h"
#include "shapes/boundingbox.h"
#include "shapes/vertices.h"
#include "values/registration.h"

namespace vorlen {

namespace {

int withinInt(double value) {
    constexpr double least = std::numeric_limits<int>::min();
    constexpr double greatest = std::numeric_limits<int>::max();
    return static_cast<int>(std::clamp(value, least, greatest));
}

int positionToModel(int x, int from, int fromSize, int to, int toSize) {
    if (fromSize <= 1)
        return to;
    const std::int64_t product = (std::int64_t(x) - from) * (std::int64_t(toSize) - 1);
    return withinInt(std::floor(double(product) / (fromSize - 1) + 0.5) + to);
}

// The quotient of this direction is one of float, whose steps show from about 16 million on.
int positionToWorld(int x, int from, int fromSize, int to, int toSize) {
    if (fromSize <= 1)
        return to;
    const std::int64_t product = (std::int64_t(x) - from) * (std::int64_t(toSize) - 1);
    const float quotient = float(product) / float(fromSize - 1);
    // fround() takes what fits an int.
    if (!(std::fabs(quotient) < 2e9f))
        return withinInt(double(quotient) + to);
    return withinInt(double(Maths::fround(quotient)) + to);
}

// Between pixels, as for the whole ones above.
double shiftBetween(double x, int from, int fromSize, int to, int toSize) {
    if (fromSize <= 1)
        return to;
    return (x - from) * (double(toSize) - 1) / (double(fromSize) - 1) + to;
}

unsigned int convertLength(unsigned int length, int fromSize, int toSize) {
    const auto from = static_cast<unsigned int>(fromSize);
    const auto to = static_cast<unsigned int>(toSize);
    if (from == 0)
        return length;
    const std::uint64_t converted = std::uint64_t(length) * to / from;
    return static_cast<unsigned int>(std::min<std::uint64_t>(converted, std::numeric_limits<unsigned int>::max()));
}

template <class Convert>
Vector<int> convertPosition(const Vector<int>& position, const char* where, Convert convert) {
    if (position.getSize() != 2)
        throw SizeError(where, "A position has two coordinates");
    Vector<int> result(2);
    convert(position[0], position[1], result[0], result[1]);
    return result;
}

template <class Convert>
BoundingBox<int> convertBox(const BoundingBox<int>& box, Convert convert) {
    if (!box.isValid())
        return box;
    return BoundingBox<int>(convert(box.getVertex1()), convert(box.getVertex2()));
}

template <class Convert>
Vertices<int> convertVertices(const Vertices<int>& vertices, Convert convert) {
    const int n = vertices.getNumVertices();
    Vertices<int> result(2, n, n, 0);
    for (int i = 0; i < n; ++i)
        result[i] = convert(vertices[i]);
    return result;
}

} // namespace

WMConverter::~WMConverter() = default;

void WMConverter::setWorld(unsigned int x, unsigned int y, unsigned int width, unsigned int height) {
    worldX = static_cast<int>(x);
    worldY = static_cast<int>(y);
    worldWidth = static_cast<int>(width);
    worldHeight = static_cast<int>(height);
}

void WMConverter::setModel(unsigned int x, unsigned int y, unsigned int width, unsigned int height) {
    modelX = static_cast<int>(x);
    modelY = static_cast<int>(y);
    modelWidth = static_cast<int>(width);
    modelHeight = static_cast<int>(height);
}

int WMConverter::xToModel(int x) const {
    return positionToModel(x, worldX, worldWidth, modelX, modelWidth);
}

int WMConverter::yToModel(int y) const {
    return positionToModel(y, worldY, worldHeight, modelY, modelHeight);
}

int WMConverter::xToWorld(int x) const {
    return positionToWorld(x, modelX, modelWidth, worldX, worldWidth);
}

int WMConverter::yToWorld(int y) const {
    return positionToWorld(y, modelY, modelHeight, worldY, worldHeight);
}

Vector<int> WMConverter::toModel(const Vector<int>& position) const {
    return convertPosition(
        position, "Vector<int> WMConverter::toModel(const Vector<int>&) const",
        [this](int x, int y, int& newX, int& newY) {
            newX = xToModel(x);
            newY = yToModel(y);
        });
}

Vector<int> WMConverter::toWorld(const Vector<int>& position) const {
    return convertPosition(
        position, "Vector<int> WMConverter::toWorld(const Vector<int>&) const",
        [this](int x, int y, int& newX, int& newY) {
            newX = xToWorld(x);
            newY = yToWorld(y);
        });
}

BoundingBox<int> WMConverter::toModel(const BoundingBox<int>& box) const {
    return convertBox(
        box, [this](const Vector<int>& corner) { return toModel(corner); });
}

BoundingBox<int> WMConverter::toWorld(const BoundingBox<int>& box) const {
    return convertBox(
        box, [this](const Vector<int>& corner) { return toWorld(corner); });
}

Registration WMConverter::toModel(const Registration& registration) const {
    return Registration(shiftBetween(registration.getHorShift(), worldX, worldWidth, modelX, modelWidth),
                        shiftBetween(registration.getVerShift(), worldY, worldHeight, modelY, modelHeight),
                        registration.getRotationAngle());
}

Registration WMConverter::toWorld(const Registration& registration) const {
    return Registration(shiftBetween(registration.getHorShift(), modelX, modelWidth, worldX, worldWidth),
                        shiftBetween(registration.getVerShift(), modelY, modelHeight, worldY, worldHeight),
                        registration.getRotationAngle());
}

Vertices<int> WMConverter::toModel(const Vertices<int>& vertices) const {
    return convertVertices(
        vertices, [this](const Vector<int>& vertex) { return toModel(vertex); });
}

Vertices<int> WMConverter::toWorld(const Vertices<int>& vertices) const {
    return convertVertices(
        vertices, [this](const Vector<int>& vertex) { return toWorld(vertex); });
}

unsigned int WMConverter::lengthToModel(unsigned int length) const {
    return convertLength(length, worldWidth, modelWidth);
}

unsigned int WMConverter::lengthToWorld(unsigned int length) const {
    return convertLength(length, modelWidth, worldWidth);
}

void WMConverter::print(const std::string& title) const {
    const auto printRectangle = [](const char* label, int x, int y, int width, int height) {
        std::cout << label << "\n  x " << x << "\n  y " << y << "\n  w " << width << "\n  h " << height << '\n';
    };
    if (!title.empty())
        std::cout << title << '\n';
    printRectangle("Model", modelX, modelY, modelWidth, modelHeight);
    printRectangle("World", worldX, worldY, worldWidth, worldHeight);
}

} // namespace vorlen
