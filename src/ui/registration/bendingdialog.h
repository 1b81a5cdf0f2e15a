#pragma once

#include <string>

#include <QDialog>

#include "editing/operations/elasticalignment.h"

class QDoubleSpinBox;
class QLabel;
class QLineEdit;
class QPushButton;

namespace vorlen {

class VRLStack;

/// Asks how the slices of a stack are to be bent onto each other, and for the file of the new stack. What can't be
/// written stays in the dialog, which says why.
class BendingDialog : public QDialog {
    Q_OBJECT

public:
    explicit BendingDialog(const VRLStack& stack, QWidget* parent = nullptr);

    /// Reach and stiffness; all else as it is by default.
    ElasticOptions options() const;
    /// Absolute, with the suffix "sdf".
    std::string file() const;

private:
    void browse();
    void check();

    const VRLStack& __stack;
    QDoubleSpinBox* __reach;
    QDoubleSpinBox* __stiffness;
    QLineEdit* __file;
    QLabel* __refusal;
    QPushButton* __bend;
};

} // namespace vorlen
