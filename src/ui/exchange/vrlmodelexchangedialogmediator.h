#pragma once

#include <string>
#include <vector>

#include <QObject>

#include "editing/bus/vrleventclient.h"
#include "editing/operations/modeltransfer.h"

class QCheckBox;
class QLabel;
class QPushButton;

namespace vorlen {

class VRLModelExchangeDialog;
class VRLModelListWidget;
class VRLStack;
class VRLStackListWidget;

/// The state of the transfer of models, and what its buttons do.
///
/// In the standard state there is nothing to choose from; two stacks that go together lead to the choice of models, and
/// a selection in one of the lists enables the button to the other side. Each transfer is one step of the history of
/// the stack that the models go to.
///
/// Decisions: Undo and Redo walk through the transfers of this dialog, whichever stacks they went to, and never touch
/// an edit from before. When the same pixels of both stacks lie at different places in space, a notice tells so and the
/// choice is between the same pixels and the same place; for stacks that agree there is nothing to choose.
class VRLModelExchangeDialogMediator : public QObject, public VRLEventClient {
    Q_OBJECT

public:
    explicit VRLModelExchangeDialogMediator(VRLModelExchangeDialog& dialog);

    void setStackLists(VRLStackListWidget& left, VRLStackListWidget& right);
    void setModelLists(VRLModelListWidget& left, VRLModelListWidget& right);
    void setLabels(QLabel& left, QLabel& right);
    void setButtons(QPushButton& leftToRight, QPushButton& rightToLeft, QPushButton& undo, QPushButton& redo);
    void setPlaces(QLabel& notice, QCheckBox& world);

    /// Lists the open stacks and enters the standard state.
    void initialize();

    void setStateStandard();
    void setStateChoice();

    /// Tells the user why not, but for a stack chosen twice.
    bool compatibleStacks(const VRLStack* a, const VRLStack* b) const;

    void undo();
    void redo();

    void stackCloseEvent(VRLStackCloseEvent& event) override;
    void stackNameEvent(VRLStackNameEvent& event) override;
    void modelCreateEvent(VRLModelCreateEvent& event) override;
    void modelDeleteEvent(VRLModelDeleteEvent& event) override;
    void modelPropertiesEvent(VRLModelPropertiesEvent& event) override;

private:
    struct Side {
        VRLStackListWidget* stacks = nullptr;
        VRLModelListWidget* models = nullptr;
        QLabel* label = nullptr;
        QPushButton* send = nullptr; // to the other side
        VRLStack* stack = nullptr;
    };

    void stackSelectionChange(Side& side, Side& other);
    void modelSelectionChange(Side& side, Side& other);
    void transfer(Side& from, Side& to);
    bool chooseActions(const std::vector<std::string>& names, const VRLStack& target,
                       std::vector<ModelTransfer>& models);
    void listModels(Side& side);
    void listModelsLater();
    void updatePlaces();
    void updateUndo();

    VRLModelExchangeDialog& __dialog;
    Side __left, __right;
    QPushButton* __undo = nullptr;
    QPushButton* __redo = nullptr;
    QLabel* __notice = nullptr;
    QCheckBox* __world = nullptr;
    std::vector<VRLStack*> __done;   // the stacks that models went to, one for each transfer, the last at the end
    std::vector<VRLStack*> __undone; // those of the transfers taken back, the next to redo at the end
    bool __listPending = false;
};

} // namespace vorlen
