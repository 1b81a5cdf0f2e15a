#pragma once

#include <string>

#include <QDialog>
#include <QStringList>

#include "values/pixelcalibration.h"

namespace vorlen {

class VRLStackImageListEditor;
class VRLStackPropertiesEditor;

/// Asks for what makes a new stack: name, slice spacing, pixel calibration and images.
class VRLNewStackDialog : public QDialog {
    Q_OBJECT

public:
    explicit VRLNewStackDialog(QWidget* parent = nullptr);

    std::string getName() const;
    void setName(const std::string& name);
    float getSliceSpacing() const;
    void setSliceSpacing(float spacing);
    PixelCalibration getPixelCalibration() const;
    void setPixelCalibration(const PixelCalibration& calibration);
    QStringList getImageList() const;

    VRLStackImageListEditor& imageListEditor() { return *__images; }

public slots:
    /// Closes the dialog with acceptance when all fields are good, else says that they are not.
    void validate();

private:
    VRLStackPropertiesEditor* __properties;
    VRLStackImageListEditor* __images;
};

} // namespace vorlen
