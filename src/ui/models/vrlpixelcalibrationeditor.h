#pragma once

#include <QWidget>

#include "values/pixelcalibration.h"

class QComboBox;
class QLabel;

namespace vorlen {

class VRLNumberEdit;

/// Size of a pixel: two of aspect ratio, width and height are entered, and the third follows from them and is shown.
///
/// Until the user touches a number the editor gives back the very calibration that it was set to, also one whose three
/// numbers do not fit together, unless one of them is no size at all.
class VRLPixelCalibrationEditor : public QWidget {
    Q_OBJECT

public:
    explicit VRLPixelCalibrationEditor(QWidget* parent = nullptr);

    /// Shows the three numbers.
    void setPixelCalibration(const PixelCalibration& calibration);

    /// In the length unit of the calibration that was set; the metre if none was.
    PixelCalibration getPixelCalibration() const;

    /// Whether both chosen numbers can be used.
    bool validPixelCalibration() const;

    /// Which number follows from the others: 0 the height, 1 the width, 2 the aspect ratio.
    void setCalibrationConfig(int config);

signals:
    void modified();

private:
    void configChange(int config);
    void numberChange();
    void showThird();

    QComboBox* __config;
    QLabel* __labels[3];         // aspect ratio, pixel width, pixel height
    VRLNumberEdit* __numbers[3]; // in the same order
    PixelCalibration __calibration;
    bool __calibrationStands = false;
};

} // namespace vorlen
