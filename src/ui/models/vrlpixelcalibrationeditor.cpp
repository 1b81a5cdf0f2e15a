#include "ui/models/vrlpixelcalibrationeditor.h"

#include <algorithm>
#include <cmath>

#include <QComboBox>
#include <QGridLayout>
#include <QLabel>
#include <QSignalBlocker>

#include "ui/models/vrlnumberedit.h"

namespace vorlen {

namespace {

enum Number { AspectRatio, PixelWidth, PixelHeight };

/// The number that a configuration leaves to follow from the others.
Number derivedNumber(int config) {
    return config == 0 ? PixelHeight : config == 1 ? PixelWidth : AspectRatio;
}

} // namespace

VRLPixelCalibrationEditor::VRLPixelCalibrationEditor(QWidget* parent) : QWidget(parent) {
    auto* grid = new QGridLayout(this);
    grid->setSpacing(5);
    grid->setContentsMargins(0, 0, 0, 0);

    __config = new QComboBox(this);
    __config->addItems({"Aspect ratio & Pixel width ", "Aspect ratio & Pixel height", "Pixel width  & Pixel height"});
    __config->setAccessibleName("Given numbers of the pixel calibration");
    __config->setToolTip("Which two numbers you enter; the third follows from them");
    grid->addWidget(__config, 0, 0, 1, 2);

    const QString texts[3] = {"Aspect ratio", "Pixel width ", "Pixel height"};
    const QString hints[3] = {"Height of a pixel divided by its width", "Width of a pixel in the length unit",
                              "Height of a pixel in the length unit"};
    const QString explanations[3] = {
        "The height of a pixel divided by its width: 1 for square pixels. An image whose pixels are not square is "
        "shown with square ones, and loses rows or columns.",
        "The width of a pixel on the section, in the length unit of the stack.",
        "The height of a pixel on the section, in the length unit of the stack."};
    for (int i = 0; i < 3; ++i) {
        __labels[i] = new QLabel(texts[i], this);
        __numbers[i] = new VRLNumberEdit(this);
        __numbers[i]->setAccessibleName(texts[i].trimmed());
        __numbers[i]->setHint(hints[i]);
        __numbers[i]->setWhatsThis(explanations[i]);
        __labels[i]->setBuddy(__numbers[i]);
        grid->addWidget(__labels[i], i + 1, 0);
        grid->addWidget(__numbers[i], i + 1, 1);
        connect(__numbers[i], &QLineEdit::textChanged, this, &VRLPixelCalibrationEditor::numberChange);
    }
    grid->setColumnStretch(1, 1);
    connect(__config, &QComboBox::currentIndexChanged, this, &VRLPixelCalibrationEditor::configChange);
    configChange(0);
}

void VRLPixelCalibrationEditor::setPixelCalibration(const PixelCalibration& calibration) {
    const QSignalBlocker blockers[3] = {QSignalBlocker(__numbers[0]), QSignalBlocker(__numbers[1]),
                                        QSignalBlocker(__numbers[2])};
    __calibration = calibration;
    __numbers[AspectRatio]->setValue(calibration.getAspectRatio());
    __numbers[PixelWidth]->setValue(calibration.getPixelWidth());
    __numbers[PixelHeight]->setValue(calibration.getPixelHeight());
    __calibrationStands = __numbers[0]->isValid() && __numbers[1]->isValid() && __numbers[2]->isValid();
    showThird();
    emit modified();
}

PixelCalibration VRLPixelCalibrationEditor::getPixelCalibration() const {
    if (__calibrationStands)
        return __calibration;
    PixelCalibration calibration;
    calibration.setLengthUnit(__calibration.getLengthUnit());
    const Number derived = derivedNumber(__config->currentIndex());
    if (derived != AspectRatio)
        calibration.setAspectRatio(float(__numbers[AspectRatio]->getValue()));
    if (derived != PixelWidth)
        calibration.setPixelWidth(float(__numbers[PixelWidth]->getValue()));
    if (derived != PixelHeight)
        calibration.setPixelHeight(float(__numbers[PixelHeight]->getValue()));
    calibration.compute();
    return calibration;
}

bool VRLPixelCalibrationEditor::validPixelCalibration() const {
    const Number derived = derivedNumber(__config->currentIndex());
    for (int i = 0; i < 3; ++i)
        if (i != derived && !__numbers[i]->isValid())
            return false;
    // The third number must exist too: a quotient of extreme numbers may leave the range.
    const PixelCalibration calibration = getPixelCalibration();
    const float third[3] = {calibration.getAspectRatio(), calibration.getPixelWidth(), calibration.getPixelHeight()};
    return std::isfinite(third[derived]) && third[derived] > 0;
}

void VRLPixelCalibrationEditor::setCalibrationConfig(int config) {
    __config->setCurrentIndex(std::clamp(config, 0, 2));
}

void VRLPixelCalibrationEditor::configChange(int config) {
    const Number derived = derivedNumber(config);
    for (int i = 0; i < 3; ++i) {
        __labels[i]->setEnabled(i != derived);
        __numbers[i]->setEnabled(i != derived);
    }
    showThird();
    emit modified();
}

void VRLPixelCalibrationEditor::numberChange() {
    __calibrationStands = false;
    showThird();
    emit modified();
}

void VRLPixelCalibrationEditor::showThird() {
    if (__calibrationStands || !validPixelCalibration())
        return;
    const PixelCalibration calibration = getPixelCalibration();
    const float values[3] = {calibration.getAspectRatio(), calibration.getPixelWidth(), calibration.getPixelHeight()};
    const Number derived = derivedNumber(__config->currentIndex());
    const QSignalBlocker blocker(__numbers[derived]);
    __numbers[derived]->setValue(values[derived]);
}

} // namespace vorlen
