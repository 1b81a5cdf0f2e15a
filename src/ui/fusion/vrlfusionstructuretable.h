#pragma once

#include <functional>
#include <vector>

#include <QGroupBox>
#include <QTableWidget>

#include "normalization/vrlfusionsurfacestructure.h"

class QPushButton;

namespace vorlen {

/// The structures that stacks share: which are references, and the grid on which each is resampled. Owns the
/// structures; references to them stay good until the next setStructures().
///
/// Heights are from 2 to 1000, widths from 3 to 1000, errors above 0; another entry brings the former one back.
class VRLFusionStructureTable : public QTableWidget {
    Q_OBJECT

public:
    explicit VRLFusionStructureTable(QWidget* parent = nullptr);

    void setStructures(const std::vector<VRLFusionSurfaceStructure<float>>& structures);
    const std::vector<VRLFusionSurfaceStructure<float>>& structures() const { return __structures; }
    std::vector<VRLFusionSurfaceStructure<float>*> selectedStructures();

    /// Shows the structure's values again. Tells nothing.
    void updateStructure(const VRLFusionSurfaceStructure<float>& structure);

signals:
    void referenceFlagChanged(VRLFusionSurfaceStructure<float>& structure);
    void resamplingValuesChanged(VRLFusionSurfaceStructure<float>& structure);
    void resamplingErrorChanged(VRLFusionSurfaceStructure<float>& structure);

private:
    void processCell(int row, int column);
    void showRow(int row);
    void write(int row, int column, const QString& text);

    std::vector<VRLFusionSurfaceStructure<float>> __structures;
};

/// The table in a box, with the button that works the errors out.
class VRLFusionConfigDialogStructurePanel : public QGroupBox {
    Q_OBJECT

public:
    explicit VRLFusionConfigDialogStructurePanel(QWidget* parent = nullptr);

    VRLFusionStructureTable& getTable() const { return *__table; }

signals:
    void errorButtonClicked();

private:
    void updateButton();

    VRLFusionStructureTable* __table;
    QPushButton* __button;
};

} // namespace vorlen

Q_DECLARE_METATYPE(vorlen::VRLFusionSurfaceStructure<float>*)
