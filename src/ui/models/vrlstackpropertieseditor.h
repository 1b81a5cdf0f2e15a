#pragma once

#include <string>

#include <QWidget>

#include "values/lengthunit.h"
#include "values/pixelcalibration.h"

class QCheckBox;
class QComboBox;
class QLineEdit;

namespace vorlen {

class VRLFieldMark;
class VRLNumberEdit;
class VRLPixelCalibrationEditor;

/// What describes a stack, or a slice of one: name, length unit, spacing, pixel calibration; for a stack also whether
/// its images are named by absolute paths. A slice has the unit of its stack, which is shown and cannot be changed.
///
/// A field that cannot be used is marked. A spacing must be above zero; that of a slice may also be the one that was
/// set, since the first slice may lie at any position.
class VRLStackPropertiesEditor : public QWidget {
    Q_OBJECT

public:
    explicit VRLStackPropertiesEditor(bool forSlice, QWidget* parent = nullptr);

    /// Shows the name, with its text selected if asked.
    void setName(const std::string& name, bool select = false);

    /// Without blanks at the ends, and with single blanks between the words.
    std::string getName() const;

    /// Whether the name that is shown is this one, but for blanks that getName() leaves out.
    bool showsName(const std::string& name) const;

    /// A unit without a prefix of its own is added to the list.
    void setLengthUnit(const LengthUnit& unit);
    LengthUnit getLengthUnit() const;

    /// In the length unit.
    void setSliceSpacing(double spacing);
    double getSliceSpacing() const;

    void setPixelCalibration(const PixelCalibration& calibration);

    /// In the chosen length unit.
    PixelCalibration getPixelCalibration() const;

    void setAbsoluteImagesPathPolicy(bool absolute);
    bool getAbsoluteImagesPathPolicy() const;

    bool validName() const;
    bool validSliceSpacing() const;
    bool validPixelCalibration() const;

    /// All of the three.
    bool valid() const;

signals:
    void modified();

private:
    void checkName();

    QLineEdit* __name;
    VRLFieldMark* __nameMark;
    QComboBox* __lengthUnit;
    VRLNumberEdit* __sliceSpacing;
    VRLPixelCalibrationEditor* __pixelCalibration;
    QCheckBox* __absolutePath;
};

} // namespace vorlen
