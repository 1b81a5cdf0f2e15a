#pragma once

#include <QWidget>

#include "spots/vrlspotextractionconfig.h"

class QCheckBox;
class QGroupBox;
class QLineEdit;
class QRadioButton;
class QSpinBox;

namespace vorlen {

class VRLDecimalBox;

/// The settings of a search for spots: filters, resizing, and what becomes of the spots.
///
/// Size and resolution of the resizing are coupled on each axis, so that the extent of the volume stays the same. X
/// goes along the columns of the images, Y along their rows and Z along the stack, while a configuration has its sizes
/// as rows, columns and planes. The ranges of the boxes grow where a stack has more or smaller voxels.
///
/// While the filters are those that the images suggest their groups are disabled; they show the last ones. A change to
/// them, which a program can make, ends that.
///
/// The basename is "spot" in each new editor; what no control shows is kept from setConfig() to getConfig().
class VRLSpotExtractionConfigEditor : public QWidget {
    Q_OBJECT

public:
    explicit VRLSpotExtractionConfigEditor(QWidget* parent = nullptr);

    /// Fills all controls but the basename. The volume's size and resolution, if they are there, are those of the
    /// stack; the boxes begin with them unless the configuration has a new size.
    void setConfig(const VRLSpotExtractionConfig& config);
    VRLSpotExtractionConfig getConfig() const;

public slots:
    void xSizeChange(int size);
    void ySizeChange(int size);
    void zSizeChange(int size);
    void xResolutionChange(double resolution);
    void yResolutionChange(double resolution);
    void zResolutionChange(double resolution);

signals:
    /// A control was changed by the user or by setConfig().
    void configChanged();

private:
    void showSuggested();
    void choose();
    QGroupBox* newResizingGroup();
    QGroupBox* newResultsGroup();
    void watch();
    void sizeChange(int axis, int size);
    void resolutionChange(int axis, double resolution);

    VRLSpotExtractionConfig __config;
    QGroupBox *__resizing, *__smoothing, *__tophat, *__isotropy;
    QSpinBox* __sizes[3];            // x, y, z
    VRLDecimalBox* __resolutions[3]; // x, y, z
    QRadioButton* __smoothingTypes[3];
    QRadioButton* __tophatTypes[2];
    QSpinBox *__smoothingRadius, *__tophatRadius, *__isotropyRadius;
    QLineEdit* __basename;
    QCheckBox* __suggested;
    QCheckBox *__separateModels, *__equivalentSpheres;
};

} // namespace vorlen
