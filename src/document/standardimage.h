#pragma once

#include <memory>
#include <string>

#include "document/calibrationcurve.h"
#include "document/slice.h"

namespace vorlen {

class Stack;

/// The image of a calibration scale, with the curve that its samples give.
class StandardImage : public Slice {
public:
    StandardImage();
    ~StandardImage() override;

    /// The stack is seen, not owned.
    void setStack(Stack& stack);
    Stack* getStack() const { return __stack; }

    /// The image file that the stack description names, also when there is no such file; empty for none.
    void setFileName(const std::string& name) { __fileName = name; }
    const std::string& getFileName() const { return __fileName; }

    /// Takes over the curve, which must have been made by new, and deletes the one before.
    void setCalibrationCurve(CalibrationCurve* curve);

    /// Null for an image without a curve.
    CalibrationCurve* getCalibrationCurve() const { return __calibrationCurve.get(); }
    void deleteCalibrationCurve();

private:
    std::unique_ptr<CalibrationCurve> __calibrationCurve;
    Stack* __stack = nullptr;
    std::string __fileName;
};

} // namespace vorlen
