#include "document/stackreader.h"

#include <cmath>
#include <cstdlib>
#include <memory>

#include "document/calibrationcurve.h"
#include "document/pose.h"
#include "document/stack.h"
#include "document/stackslice.h"
#include "document/standardimage.h"
#include "document/standardsample.h"
#include "document/statementarguments.h"
#include "numerics/exception.h"

namespace vorlen {

using namespace statements;

namespace {

/// The current slice's calibration, or the stack's default.
PixelCalibration& currentCalibration(const StackIOContext& context) {
    if (context.getSlice() != nullptr)
        return context.getSlice()->getPixelCalibration();
    return required(context.getStack()).getDefaultPixelCalibration();
}

} // namespace

void StackReader::inputFileFormatVersion(const Tokens& tokens, StackIOContext&) {
    requireArguments(tokens, 1);
    setFileFormatVersion(toReal(tokens[1]));
}

void StackReader::inputStack(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 1);
    required(context.getStack()).setName(toName(tokens[1]));
}

void StackReader::inputAnnotation(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 1);
    const std::string text = importString(unprotect(tokens[1]));
    if (context.getSlice() != nullptr)
        context.getSlice()->setAnnotation(text);
    else
        required(context.getStack()).setAnnotation(text);
}

void StackReader::inputLengthUnitScale(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 1);
    required(context.getStack()).setLengthUnit(LengthUnit(toInt(tokens[1])));
}

void StackReader::inputGreyScale(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 3);
    const GreyScale scale{toReal(tokens[1]), toReal(tokens[2]), toReal(tokens[3])};
    if (!std::isfinite(scale.low) || !std::isfinite(scale.high) || !(scale.high > scale.low) ||
        !std::isfinite(scale.white) || !(scale.white > 0))
        throw ArgValueError();
    required(context.getStack()).setGreyScale(scale);
}

void StackReader::inputLastSegmentedSlice(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 1);
    required(context.getStack()).setLastSegmentedSlice(toName(tokens[1]));
}

void StackReader::inputLastRegisteredSlice(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 1);
    required(context.getStack()).setLastRegisteredSlice(toName(tokens[1]));
}

void StackReader::inputPixWidth(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 1);
    currentCalibration(context).setPixelWidth(toReal(tokens[1]));
}

void StackReader::inputPixHeight(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 1);
    currentCalibration(context).setPixelHeight(toReal(tokens[1]));
}

void StackReader::inputPixAspect(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 1);
    currentCalibration(context).setAspectRatio(toReal(tokens[1]));
}

void StackReader::inputPosition(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 1);
    required(context.getSlice()).setAbsolutePosition(toDouble(tokens[1]));
}

void StackReader::inputRelPosition(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 1);
    const double position = toDouble(tokens[1]);
    context.setRelativePosition(position);
    if (context.getSlice() != nullptr)
        context.getSlice()->setRelativePosition(position);
    else
        required(context.getStack()).setDefaultRelativePosition(position);
}

void StackReader::inputRotate(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 1);
    Registration& registration = required(context.getSlice()).getRegistration();
    const float angle = toReal(tokens[1]);
    if (!std::isfinite(angle))
        throw ArgValueError();
    registration.setRotationAngle(angle);
}

void StackReader::inputShift(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 2);
    Registration& registration = required(context.getSlice()).getRegistration();
    registration.setHorShift(toShift(tokens[1]));
    registration.setVerShift(toShift(tokens[2]));
}

void StackReader::inputPose(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 1);
    Stack& stack = required(context.getStack());
    auto pose = std::make_unique<Pose>();
    pose->setName(toName(tokens[1]));
    pose->setStack(&stack);
    pose->attach();
    context.setPose(pose.release());
}

void StackReader::inputPoseRotation(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 3);
    Pose& pose = required(context.getPose());
    Vector<float> rotation(3);
    for (int k = 0; k < 3; ++k)
        rotation[k] = toFinite(tokens[std::size_t(k) + 1]);
    pose.setRotation(rotation);
}

void StackReader::inputPoseShift(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 2);
    Pose& pose = required(context.getPose());
    pose.setXTranslation(toCoordinate(tokens[1]));
    pose.setYTranslation(toCoordinate(tokens[2]));
}

void StackReader::inputPoseZoom(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 1);
    required(context.getPose()).setZoom(toCoordinate(tokens[1]));
}

void StackReader::inputAmbientLight(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 1);
    required(context.getPose()).setAmbientLight(toCoordinate(tokens[1]));
}

void StackReader::inputDiffuseLight(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 1);
    required(context.getPose()).setDiffuseLight(toCoordinate(tokens[1]));
}

void StackReader::inputSpecularLight(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 1);
    required(context.getPose()).setSpecularLight(toCoordinate(tokens[1]));
}

void StackReader::inputCalibrationCurve(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 1);
    // On a slice the statement names the curve that applies to it; slices keep no such link.
    if (context.getStandardImage() == nullptr) {
        required(context.getSlice());
        return;
    }
    StandardImage& image = *context.getStandardImage();
    auto curve = std::make_unique<CalibrationCurve>(image);
    curve->setName(toName(tokens[1]));
    image.setCalibrationCurve(curve.get());
    context.setCalibrationCurve(curve.release());
}

void StackReader::inputFit(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 1);
    CalibrationCurve& curve = required(context.getCalibrationCurve());
    if (tokens[1] == "Linear")
        curve.setFitMode(CalibrationCurve::LinearFit);
    else if (tokens[1] == "Polynomial2")
        curve.setFitMode(CalibrationCurve::Polynomial2Fit);
    else if (tokens[1] == "Polynomial3")
        curve.setFitMode(CalibrationCurve::Polynomial3Fit);
    else
        throw ValueError("void StackReader::inputFit(...)", "Unknown fit mode");
}

void StackReader::inputSample(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 1);
    CalibrationCurve& curve = required(context.getCalibrationCurve());
    auto sample = std::make_unique<StandardSample>();
    sample->setName(toName(tokens[1]));
    curve.addSample(sample.get());
    context.setSample(sample.release());
}

void StackReader::inputSampleCoords(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 4);
    Vector<int> first(2), second(2);
    first[0] = toInt(tokens[1]);
    first[1] = toInt(tokens[2]);
    second[0] = toInt(tokens[3]);
    second[1] = toInt(tokens[4]);
    required(context.getSample()).setRegion(BoundingBox<int>(first, second));
}

void StackReader::inputSampleValue(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 1);
    const double value = std::strtod(std::string(tokens[1].substr(0, 256)).c_str(), nullptr);
    required(context.getSample()).setValue(value);
}

} // namespace vorlen
