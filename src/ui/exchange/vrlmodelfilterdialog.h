#pragma once

#include <QDialog>

#include "editing/operations/modelfilter.h"

namespace vorlen {

class StackSlice;
class VRLModelFilterDialogMediator;
class VRLStack;

/// Removes what lies outside of a reference model from other models, and shows before what will go.
///
/// Who shows the stack connects to planChanged(), to mark what will go, and to sliceRequested(). The window blocks the
/// one that it belongs to and no others, so that the models can be turned in space meanwhile. Its place is kept in the
/// settings.
class VRLModelFilterDialog : public QDialog {
    Q_OBJECT

public:
    explicit VRLModelFilterDialog(QWidget* parent = nullptr);
    ~VRLModelFilterDialog() override;

    void setStack(VRLStack& stack);

    VRLModelFilterDialogMediator& getMediator() const { return *__mediator; }

signals:
    /// What will go is something else now. The plan holds until the next signal.
    void planChanged(const FilterPlan& plan);
    /// The user wants to see this slice.
    void sliceRequested(StackSlice& slice);

private:
    VRLModelFilterDialogMediator* __mediator; // a child
};

} // namespace vorlen
