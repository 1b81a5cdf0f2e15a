#include "document/standardimage.h"

namespace vorlen {

StandardImage::StandardImage() = default;

StandardImage::~StandardImage() = default;

void StandardImage::setStack(Stack& stack) {
    __stack = &stack;
}

void StandardImage::setCalibrationCurve(CalibrationCurve* curve) {
    if (curve != __calibrationCurve.get())
        __calibrationCurve.reset(curve);
}

void StandardImage::deleteCalibrationCurve() {
    __calibrationCurve.reset();
}

} // namespace vorlen
