#pragma once

#include <QDialog>

namespace vorlen {

class Model;
class VRLModelDialogMediator;
class VRLModelListWidget;
class VRLStack;

/// Makes, edits and deletes the models of a stack. Each change is a step that can be undone.
class VRLModelDialog : public QDialog {
    Q_OBJECT

public:
    explicit VRLModelDialog(QWidget* parent = nullptr);

    /// The stack must stay open while the dialog is in use.
    void setStack(VRLStack& stack);

    /// Begins with this model of the stack.
    void selectModel(const Model& model);

    VRLModelDialogMediator& getMediator() const { return *__mediator; }

private:
    VRLModelListWidget* __list;
    VRLModelDialogMediator* __mediator;
};

} // namespace vorlen
