#pragma once

#include <QDialog>
#include <QString>

#include "editing/operations/modeltransfer.h"

class QCheckBox;

namespace vorlen {

/// Asks what becomes of a model whose name the other stack has already.
class VRLModelExchangeActionDialog : public QDialog {
    Q_OBJECT

public:
    explicit VRLModelExchangeActionDialog(QWidget* parent = nullptr);

    void setModelName(const QString& name);

    /// Skip until a button was clicked.
    TransferAction getChoice() const { return __choice; }
    /// Whether the choice is for all models that follow.
    bool getForAll() const;

public slots:
    void replaceClicked();
    void duplicateClicked();
    void appendClicked();

private:
    void choose(TransferAction choice);

    QCheckBox* __forAll;
    TransferAction __choice = TransferAction::Skip;
};

} // namespace vorlen
