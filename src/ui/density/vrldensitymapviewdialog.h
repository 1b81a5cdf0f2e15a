#pragma once

#include <QDialog>

#include "ui/density/vrldensitymap.h"

class QComboBox;
class QDoubleSpinBox;
class QLineEdit;

namespace vorlen {

/// Asks how a map is shown.
class VRLDensityMapViewDialog : public QDialog {
    Q_OBJECT

public:
    /// Least and greatest density of the map are told beside the threshold, in the unit.
    VRLDensityMapViewDialog(const VRLDensityMapViewConfig& start, float least, float greatest,
                            QWidget* parent = nullptr, const QString& unit = {});

    VRLDensityMapViewConfig config() const;

private slots:
    void enableFields();

private:
    QLineEdit* __name;
    QComboBox* __display;
    QDoubleSpinBox* __threshold;
    QDoubleSpinBox* __percentile;
    QComboBox* __axis;
};

} // namespace vorlen
