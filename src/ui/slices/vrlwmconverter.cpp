#include "ui/slices/vrlwmconverter.h"

#include <iostream>

namespace vorlen {

namespace {

unsigned int bits(int value) {
    return static_cast<unsigned int>(value);
}

void printRectangle(const char* label, const QRect& rectangle) {
    std::cout << label << rectangle.x() << ' ' << rectangle.y() << ' ' << rectangle.width() << ' ' << rectangle.height()
              << '\n';
}

} // namespace

void VRLWMConverter::setWorld(const QRect& rectangle) {
    setWorld(bits(rectangle.left()), bits(rectangle.top()), bits(rectangle.width()), bits(rectangle.height()));
}

void VRLWMConverter::setModel(const QRect& rectangle) {
    setModel(bits(rectangle.left()), bits(rectangle.top()), bits(rectangle.width()), bits(rectangle.height()));
}

QRect VRLWMConverter::getWorld() const {
    return QRect(worldX, worldY, worldWidth, worldHeight);
}

QRect VRLWMConverter::getModel() const {
    return QRect(modelX, modelY, modelWidth, modelHeight);
}

QPoint VRLWMConverter::toModel(const QPoint& point) const {
    return QPoint(xToModel(point.x()), yToModel(point.y()));
}

QPoint VRLWMConverter::toWorld(const QPoint& point) const {
    return QPoint(xToWorld(point.x()), yToWorld(point.y()));
}

QRect VRLWMConverter::toModel(const QRect& rectangle) const {
    return QRect(toModel(rectangle.topLeft()), toModel(rectangle.bottomRight()));
}

QRect VRLWMConverter::toWorld(const QRect& rectangle) const {
    return QRect(toWorld(rectangle.topLeft()), toWorld(rectangle.bottomRight()));
}

void VRLWMConverter::print(const std::string& title) const {
    WMConverter::print(title);
    printRectangle("converted world ", toModel(getWorld()));
    printRectangle("converted model ", toWorld(getModel()));
}

} // namespace vorlen
