#pragma once

#include <string>

#include <QDialog>
#include <QStringList>

#include "values/pixelcalibration.h"

class QComboBox;

namespace vorlen {

class VRLStackImageListEditor;
class VRLStackPropertiesEditor;

/// Asks for what makes a new stack: name, slice spacing, pixel calibration and images.
///
/// The sizes that the first image of the list tells are filled in, as long as nobody has changed these fields; where it
/// has several channels one of them can be chosen.
class VRLNewStackDialog : public QDialog {
    Q_OBJECT

public:
    explicit VRLNewStackDialog(QWidget* parent = nullptr);

    std::string getName() const;
    void setName(const std::string& name);
    double getSliceSpacing() const;
    void setSliceSpacing(double spacing);
    PixelCalibration getPixelCalibration() const;
    void setPixelCalibration(const PixelCalibration& calibration);
    QStringList getImageList() const;
    /// The number of the chosen channel, from 1; empty where there is nothing to choose.
    std::string getChannel() const;

    VRLStackImageListEditor& imageListEditor() { return *__images; }

public slots:
    /// Closes the dialog with acceptance when all fields are good, else says that they are not.
    void validate();

private:
    void lookAtImages();

    VRLStackPropertiesEditor* __properties;
    VRLStackImageListEditor* __images;
    QWidget* __channelRow; // hidden as long as there is nothing to choose
    QComboBox* __channels;
    QStringList __lookedAt; // the image whose sizes are filled in
    double __filledSpacing;
    PixelCalibration __filledCalibration;
};

} // namespace vorlen
