#include "document/stackiocontext.h"

#include "document/model.h"
#include "document/modelitem.h"

namespace vorlen {

void StackIOContext::setFileName(const std::string& fileName) {
    __fileName = fileName;
}

const std::string& StackIOContext::getFileName() const {
    return __fileName;
}

void StackIOContext::setImagesPath(const std::string& path) {
    __imagesPath = path;
}

const std::string& StackIOContext::getImagesPath() const {
    return __imagesPath;
}

void StackIOContext::setStack(Stack* stack) {
    __stack = stack;
}

Stack* StackIOContext::getStack() const {
    return __stack;
}

void StackIOContext::setSlice(StackSlice* slice) {
    __slice = slice;
    __model = nullptr;
    __item = nullptr;
    __sample = nullptr;
}

StackSlice* StackIOContext::getSlice() const {
    return __slice;
}

void StackIOContext::setModel(Model* model) {
    __model = model;
    __slice = nullptr;
    __item = nullptr;
}

Model* StackIOContext::getModel() const {
    return __model;
}

void StackIOContext::setItem(ModelItem* item) {
    __item = item;
    __slice = nullptr;
    __model = nullptr;
}

ModelItem* StackIOContext::getItem() const {
    return __item;
}

void StackIOContext::setPose(Pose* pose) {
    __pose = pose;
}

Pose* StackIOContext::getPose() const {
    return __pose;
}

void StackIOContext::setRelativePosition(double position) {
    __relativePosition = position;
}

double StackIOContext::getRelativePosition() const {
    return __relativePosition;
}

void StackIOContext::setStandardImage(StandardImage* image) {
    __standardImage = image;
    __slice = nullptr;
    __model = nullptr;
    __item = nullptr;
    __calibrationCurve = nullptr;
}

StandardImage* StackIOContext::getStandardImage() const {
    return __standardImage;
}

void StackIOContext::setCalibrationCurve(CalibrationCurve* curve) {
    __calibrationCurve = curve;
    __slice = nullptr;
    __standardImage = nullptr;
}

CalibrationCurve* StackIOContext::getCalibrationCurve() const {
    return __calibrationCurve;
}

void StackIOContext::setSample(StandardSample* sample) {
    __sample = sample;
    __slice = nullptr;
    __model = nullptr;
    __item = nullptr;
    __standardImage = nullptr;
}

StandardSample* StackIOContext::getSample() const {
    return __sample;
}

ModelProperties* StackIOContext::getModelProperties() const {
    return __model != nullptr ? &__model->getProperties() : nullptr;
}

ModelItemProperties* StackIOContext::getModelItemProperties() const {
    if (__model != nullptr)
        return &__model->getItemProperties();
    return __item != nullptr ? &__item->getProperties() : nullptr;
}

} // namespace vorlen
