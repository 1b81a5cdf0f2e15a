#include "editing/actions/stackstate.h"

#include "document/stack.h"

namespace vorlen {

StackState::StackState(const Stack& stack)
    : name(stack.getName()), annotation(stack.getAnnotation()), imagesPath(stack.getImagesPath()),
      absoluteImagesPath(stack.getAbsoluteImagesPathPolicy()), sliceSpacing(stack.getDefaultSliceSpacing()),
      sliceThickness(stack.getDefaultSliceThickness()), calibration(stack.getDefaultPixelCalibration()),
      lastRegisteredSlice(stack.getLastRegisteredSlice()), greyScale(stack.getGreyScale()) {
}

void StackState::giveTo(Stack& stack) const {
    stack.setName(name);
    stack.setAnnotation(annotation);
    stack.setImagesPath(imagesPath);
    stack.setAbsoluteImagesPathPolicy(absoluteImagesPath);
    stack.setDefaultSliceSpacing(sliceSpacing);
    stack.setDefaultSliceThickness(sliceThickness);
    stack.setDefaultPixelCalibration(calibration);
    stack.setLastRegisteredSlice(lastRegisteredSlice);
    stack.setGreyScale(greyScale);
}

bool StackState::operator==(const StackState& other) const {
    return name == other.name && annotation == other.annotation && imagesPath == other.imagesPath &&
           absoluteImagesPath == other.absoluteImagesPath && sliceSpacing == other.sliceSpacing &&
           sliceThickness == other.sliceThickness && isSameCalibration(calibration, other.calibration) &&
           lastRegisteredSlice == other.lastRegisteredSlice && greyScale == other.greyScale;
}

SliceState::SliceState(const StackSlice& slice)
    : name(slice.getName()), annotation(slice.getAnnotation()), thickness(slice.getThickness()),
      placement(slice.getPlacement()), calibration(slice.getPixelCalibration()), registration(slice.getRegistration()) {
}

void SliceState::giveTo(StackSlice& slice) const {
    slice.setName(name);
    slice.setAnnotation(annotation);
    slice.setThickness(thickness);
    slice.setPlacement(placement);
    slice.setPixelCalibration(calibration);
    slice.setRegistration(registration);
}

bool SliceState::operator==(const SliceState& other) const {
    return name == other.name && annotation == other.annotation && thickness == other.thickness &&
           placement == other.placement && isSameCalibration(calibration, other.calibration) &&
           registration == other.registration;
}

bool isSameCalibration(const PixelCalibration& a, const PixelCalibration& b) {
    return a == b && a.getLengthUnit() == b.getLengthUnit() && a.isDefaultPixelWidth() == b.isDefaultPixelWidth() &&
           a.isDefaultPixelHeight() == b.isDefaultPixelHeight() && a.isDefaultAspectRatio() == b.isDefaultAspectRatio();
}

} // namespace vorlen
