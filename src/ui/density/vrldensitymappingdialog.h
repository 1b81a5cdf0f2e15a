#pragma once

#include <vector>

#include <QDialog>

#include "ui/density/vrldensitymap.h"

class QCheckBox;
class QComboBox;
class QDoubleSpinBox;
class QFormLayout;
class QLabel;
class QLineEdit;
class QListWidget;
class QPushButton;
class QSpinBox;

namespace vorlen {

/// Asks what a density map is made of: patterns, masks, method and cells. "OK" stands for a map that can be made: with
/// a pattern, of no more elements than maxElements, and of shapes in one unit, which all lengths are told in.
class VRLDensityMappingDialog : public QDialog {
    Q_OBJECT

public:
    /// Point patterns among the shapes are offered as such, closed quadrangular meshes as masks.
    explicit VRLDensityMappingDialog(const std::vector<DensityShape>& shapes, QWidget* parent = nullptr);

    /// Offers the settings of another map.
    void addExistingConfig(const VRLDensityMappingConfig& config);
    VRLDensityMappingConfig config() const;

    static constexpr double maxElements = 1e8;

signals:
    /// The box of the map as it would be; one that is not of space 3 without patterns.
    void boundingBoxChanged(const BoundingBox<float>& box);

private slots:
    void refresh();
    void takeConfig(int place);

protected:
    void moveEvent(QMoveEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void fillLists();
    void buildEditor(QFormLayout& form);
    DensitySettings settings() const;
    void showGrid();
    /// Lets the fields tell the unit; false, and a word in place of the size, for shapes that do not go together.
    bool showUnit();

    std::vector<DensityShape> __shapes;
    std::optional<LengthUnit> __unit; ///< of what is selected
    std::vector<VRLDensityMappingConfig> __existing;
    QListWidget* __patterns;
    QListWidget* __masks;
    QLineEdit* __name;
    QFormLayout* __form = nullptr;
    QComboBox* __configureAs;
    QComboBox* __method;
    QCheckBox* __corrected;
    QDoubleSpinBox* __bandwidth;
    QComboBox* __kernel;
    QSpinBox* __rank;
    QDoubleSpinBox* __resolution;
    QLabel* __size;
    QLabel* __box;
    QLabel* __gridBox;
    QPushButton* __ok;
};

} // namespace vorlen
