#pragma once

#include <vector>

#include <QGroupBox>

#include "normalization/vrlfusionstrategy.h"

class QCheckBox;
class QComboBox;
class QLabel;
class QRadioButton;
class QSpinBox;

namespace vorlen {

class VRLStack;

/// Which steps a normalization takes, and how. What corresponds in two specimens stands above the steps, since all of
/// them go by it.
class VRLFusionStrategyPanel : public QGroupBox {
    Q_OBJECT

public:
    explicit VRLFusionStrategyPanel(QWidget* parent = nullptr);

    /// The stacks that may be the template. The chosen one stays if it is among them, otherwise it is the first.
    void setStacks(const std::vector<VRLStack*>& stacks);

    VRLFusionStrategy getFusionStrategy() const;
    /// Tells nothing but what the controls tell. The template is chosen among the stacks.
    void setFusionStrategy(const VRLFusionStrategy& strategy);

signals:
    void pairwiseRegistrationToggled(bool pairwise);
    void referenceStackChanged(int place);
    /// Anything that decides whether the strategy can run.
    void strategyChanged();

private:
    QGroupBox* addAlignment();
    QGroupBox* addRegistration();
    QGroupBox* addWarping();
    void updateControls();

    QComboBox* __correspondence;
    QCheckBox* __mirrors;
    QGroupBox* __alignment;
    QCheckBox* __axes;
    QGroupBox* __registration;
    QRadioButton* __global;
    QRadioButton* __pairwise;
    QLabel* __templateLabel;
    QComboBox* __template;
    QGroupBox* __warping;
    QRadioButton* __polynomials;
    QRadioButton* __splines;
    QLabel* __degreeLabel;
    QSpinBox* __degree;
    QCheckBox* __refuseFolds;
};

} // namespace vorlen
