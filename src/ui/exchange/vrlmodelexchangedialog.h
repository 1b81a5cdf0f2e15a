#pragma once

#include <QDialog>

namespace vorlen {

class VRLModelExchangeDialogMediator;

/// Copies models between two of the open stacks. Size and position are kept in the settings.
class VRLModelExchangeDialog : public QDialog {
    Q_OBJECT

public:
    explicit VRLModelExchangeDialog(QWidget* parent = nullptr);
    ~VRLModelExchangeDialog() override;

    VRLModelExchangeDialogMediator& getMediator() const { return *__mediator; }

protected:
    void moveEvent(QMoveEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    VRLModelExchangeDialogMediator* __mediator; // a child
};

} // namespace vorlen
