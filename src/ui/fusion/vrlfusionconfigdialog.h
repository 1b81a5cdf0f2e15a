#pragma once

#include <QDialog>

#include "normalization/vrlfusionconfig.h"

class QLineEdit;
class QPushButton;

namespace vorlen {

class VRLFusionConfigDialogMediator;
class VRLFusionConfigDialogStructurePanel;
class VRLFusionStrategyPanel;
class VRLStackListWidget;

/// Asks what is to be normalized and how: a name, two or more of the open stacks, the structures that they share with
/// their grids, and the strategy. Its geometry is kept in the settings.
class VRLFusionConfigDialog : public QDialog {
    Q_OBJECT

public:
    explicit VRLFusionConfigDialog(QWidget* parent = nullptr);

    /// Takes over name and strategy. Stacks and structures are chosen anew.
    void setConfig(const VRLFusionConfig<float>& config);
    /// The stacks in the order of the list, the structures of the table, references or not.
    VRLFusionConfig<float> fusionConfig() const;

    void done(int result) override;

private:
    QLineEdit* __name;
    VRLStackListWidget* __stacks;
    VRLFusionConfigDialogStructurePanel* __structures;
    VRLFusionStrategyPanel* __strategy;
    VRLFusionConfigDialogMediator* __mediator;
};

} // namespace vorlen
