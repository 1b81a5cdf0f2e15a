#pragma once

#include <vector>

#include <QObject>

#include "editing/bus/vrleventclient.h"
#include "editing/operations/modelfilter.h"

class QButtonGroup;
class QLabel;
class QPushButton;
class QTreeWidget;
class QTreeWidgetItem;

namespace vorlen {

class VRLModelFilterDialog;
class VRLModelListWidget;
class VRLStack;

/// The state of the filter of models, and what its buttons do.
///
/// What will go is worked out anew after each choice and each change of the stack, and told by planChanged() of the
/// dialog. "Apply" is enabled when there is a reference and a model to process; when nothing would go, the summary says
/// so.
class VRLModelFilterDialogMediator : public QObject, public VRLEventClient {
    Q_OBJECT

public:
    explicit VRLModelFilterDialogMediator(VRLModelFilterDialog& dialog);

    void setLists(VRLModelListWidget& reference, VRLModelListWidget& process, QTreeWidget& losses);
    void setControls(QButtonGroup& modes, QLabel& summary, QPushButton& apply, QPushButton& close);

    /// Connects the parts, which must all be set.
    void initialize();

    void setStack(VRLStack& stack);
    void updateModelLists();
    void modelSelectionChange();
    void apply();
    void cancel();

    const FilterPlan& getPlan() const { return __plan; }

    void stackCloseEvent(VRLStackCloseEvent& event) override;
    void stackModifyEvent(VRLStackModifyEvent& event) override;

private:
    Model* selectedReference() const;
    std::vector<Model*> modelsToProcess() const;
    FilterMode mode() const;
    void plan();
    void planLater();
    void listLosses();
    QTreeWidgetItem* newShareRow(const FilterPlan::Share& share);
    QString summaryText() const;

    VRLModelFilterDialog& __dialog;
    VRLStack* __stack = nullptr;
    VRLModelListWidget* __reference = nullptr;
    VRLModelListWidget* __process = nullptr;
    QTreeWidget* __losses = nullptr;
    QButtonGroup* __modes = nullptr;
    QLabel* __summary = nullptr;
    QPushButton* __apply = nullptr;
    QPushButton* __close = nullptr;
    FilterPlan __plan;
    bool __planPending = false;
    bool __applying = false;
};

} // namespace vorlen
