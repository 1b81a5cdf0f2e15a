#pragma once

#include <QDialog>

namespace vorlen {

class VRLModelDialogMediator;
class VRLStack;

/// Makes, edits and deletes the models of a stack. Each change is a step that can be undone.
class VRLModelDialog : public QDialog {
    Q_OBJECT

public:
    explicit VRLModelDialog(QWidget* parent = nullptr);

    /// The stack must stay open while the dialog is in use.
    void setStack(VRLStack& stack);

    VRLModelDialogMediator& getMediator() const { return *__mediator; }

private:
    VRLModelDialogMediator* __mediator;
};

} // namespace vorlen
