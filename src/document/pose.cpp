#include "document/pose.h"

#include <algorithm>
#include <climits>
#include <cmath>

#include "document/stack.h"
#include "numerics/exception.h"

namespace vorlen {

namespace {

Pose turnedPose(int axis, int degrees) {
    Pose pose;
    Vector<float> rotation(3);
    rotation.fill(0);
    rotation[axis] = float(degrees);
    pose.setRotation(rotation);
    return pose;
}

} // namespace

Pose::Pose() : __rotation(3) {
    __rotation.fill(0);
}

void Pose::setName(const std::string& name) {
    __name = name;
}

void Pose::setStack(Stack* stack) {
    __stack = stack;
}

void Pose::attach() {
    if (__stack != nullptr)
        __stack->addPose(this);
}

void Pose::detach() {
    if (__stack != nullptr)
        __stack->removePose(*this);
}

void Pose::setRotation(const Vector<float>& rotation) {
    if (rotation.getSize() != 3)
        throw SizeError("void Pose::setRotation(const Vector<float>&)", "A rotation has three angles");
    __rotation = rotation;
}

void Pose::setXRotation(int degrees) {
    __rotation[0] = float(degrees);
}

void Pose::setYRotation(int degrees) {
    __rotation[1] = float(degrees);
}

void Pose::setZRotation(int degrees) {
    __rotation[2] = float(degrees);
}

int Pose::getXRotation() const {
    return int(__rotation[0]);
}

int Pose::getYRotation() const {
    return int(__rotation[1]);
}

int Pose::getZRotation() const {
    return int(__rotation[2]);
}

void Pose::setTranslation(const Vector<int>& translation) {
    if (translation.getSize() != 2)
        throw SizeError("void Pose::setTranslation(const Vector<int>&)", "A translation has two shifts");
    __xTranslation = translation[0];
    __yTranslation = translation[1];
}

Vector<int> Pose::getTranslation() const {
    Vector<int> translation(2);
    translation[0] = getXTranslation();
    translation[1] = getYTranslation();
    return translation;
}

void Pose::setXTranslation(double shift) {
    __xTranslation = shift;
}

void Pose::setYTranslation(double shift) {
    __yTranslation = shift;
}

void Pose::setZoom(double zoom) {
    __zoom = zoom;
}

void Pose::setAmbientLight(double light) {
    __ambientLight = light;
}

void Pose::setDiffuseLight(double light) {
    __diffuseLight = light;
}

void Pose::setSpecularLight(double light) {
    __specularLight = light;
}

int Pose::nearest(double value) {
    return std::isnan(value) ? 0 : static_cast<int>(std::clamp<double>(std::round(value), INT_MIN, INT_MAX));
}

Pose Pose::canonicalPose1() {
    return turnedPose(1, 180);
}

Pose Pose::canonicalPose2() {
    return turnedPose(1, 90);
}

Pose Pose::canonicalPose3() {
    return turnedPose(0, 90);
}

Pose Pose::reverseCanonicalPose1() {
    return Pose();
}

Pose Pose::reverseCanonicalPose2() {
    return turnedPose(1, -90);
}

Pose Pose::reverseCanonicalPose3() {
    return turnedPose(0, -90);
}

} // namespace vorlen
