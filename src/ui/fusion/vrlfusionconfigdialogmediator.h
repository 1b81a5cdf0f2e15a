#pragma once

#include <memory>
#include <vector>

#include <QObject>

#include "normalization/vrlfusionsurfacestructure.h"

class QLabel;
class QLineEdit;
class QPushButton;

namespace vorlen {

template <class T>
class CurveStack;
class VRLFusionConfigDialogStructurePanel;
class VRLFusionStrategyPanel;
class VRLStackListWidget;

/// Holds the parts of the configuration dialog together: which structures the selected stacks share, the errors and
/// sizes of their grids, and whether all is there for a normalization.
class VRLFusionConfigDialogMediator : public QObject {
    Q_OBJECT

public:
    VRLFusionConfigDialogMediator(QLineEdit& name, VRLStackListWidget& stacks,
                                  VRLFusionConfigDialogStructurePanel& structures, VRLFusionStrategyPanel& strategy,
                                  QPushButton& ok, QObject* parent);

    const std::vector<VRLFusionSurfaceStructure<float>>& structures() const;

    /// The structure's surface in each selected stack, in the unit of the first.
    std::vector<std::unique_ptr<CurveStack<float>>>
    surfaceStructureInstances(const VRLFusionSurfaceStructure<float>& structure) const;

    void computeResamplingErrorFromValues(VRLFusionSurfaceStructure<float>& structure);

    /// A line that tells from now on what is still to be chosen, or what comes of what is.
    void setHint(QLabel& hint);

public slots:
    void updateOkButton();
    void selectedStacksChange();
    void referenceFlagChange(VRLFusionSurfaceStructure<float>& structure);
    void resamplingValuesChange(VRLFusionSurfaceStructure<float>& structure);
    void computeResamplingErrors();
    void computeResamplingValuesFromError(VRLFusionSurfaceStructure<float>& structure);

private:
    void updateStrategyPanel();
    QString advice() const;

    QLineEdit& __name;
    VRLStackListWidget& __stacks;
    VRLFusionConfigDialogStructurePanel& __structures;
    VRLFusionStrategyPanel& __strategy;
    QPushButton& __ok;
    QLabel* __hint = nullptr;
};

} // namespace vorlen
