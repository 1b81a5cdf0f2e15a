#pragma once

#include <memory>
#include <vector>

#include <QObject>

#include "editing/bus/vrleventclient.h"
#include "editing/operations/modeloperations.h"

class QPushButton;

namespace vorlen {

class Model;
class VRLModelDialog;
class VRLModelItemPropertiesEditor;
class VRLModelListWidget;
class VRLModelNameEditor;
class VRLModelPropertiesEditor;
class VRLStack;

/// The state of the model dialog, and what its buttons do.
///
/// In the standard state nothing is selected and the editors rest. "New" leads to the creation of a model, a selection
/// in the list to the state of selection, and the first edit there to the edition, which Apply or Cancel ends.
///
/// Decisions: an attribute that is left blank when a model is made takes its default, so that every model can be drawn.
/// When several models of a stack have one name (which a file may bring along), each line of that name stands for one
/// of them. All that is applied here is a step of the stack's history; what is undone shows at once.
class VRLModelDialogMediator : public QObject, public VRLEventClient {
    Q_OBJECT

public:
    explicit VRLModelDialogMediator(VRLModelDialog& dialog);
    ~VRLModelDialogMediator() override;

    void setList(VRLModelListWidget& list);
    void setEditors(VRLModelNameEditor& name, VRLModelPropertiesEditor& properties,
                    VRLModelItemPropertiesEditor& itemProperties);
    void setButtons(QPushButton& newButton, QPushButton& deleteButton, QPushButton& apply, QPushButton& cancel);

    /// Connects the parts, which must all be set, and enters the standard state.
    void initialize();

    /// Lists the models of the stack.
    void setStack(VRLStack& stack);

    void setModeStandard();
    void setModeCreation();
    void setModeSelection();
    void setModeEdition();

    /// Whether the name that was entered can be given to the model; tells the user why not.
    bool checkModelName(const Model& model) const;

    void applyCreation();
    void cancelCreation();
    void applyEdition();
    void cancelEdition();
    void modelSelectionChange();
    void deleteSelectedModels();

    void stackCloseEvent(VRLStackCloseEvent& event) override;
    void modelCreateEvent(VRLModelCreateEvent& event) override;
    void modelDeleteEvent(VRLModelDeleteEvent& event) override;
    void modelPropertiesEvent(VRLModelPropertiesEvent& event) override;

private:
    enum Mode { Standard, Creation, Selection, Edition };

    void apply();
    void cancel();
    void edit();
    void enableEditors(bool name, bool properties, bool geometry);
    void enableButtons(bool newButton, bool deleteButton, bool applyAndCancel);
    void clearEditors();
    bool confirmDeletion() const;
    ModelChange enteredChange() const;
    std::vector<Model*> listedModels(const Model* leaving = nullptr) const;
    void listModels(const Model* leaving = nullptr);
    void warn(const QString& text) const;

    VRLStack* __stack = nullptr;
    VRLModelDialog& __dialog;
    VRLModelListWidget* __list = nullptr;
    VRLModelNameEditor* __nameEditor = nullptr;
    VRLModelPropertiesEditor* __propertiesEditor = nullptr;
    VRLModelItemPropertiesEditor* __itemPropertiesEditor = nullptr;
    QPushButton* __newButton = nullptr;
    QPushButton* __deleteButton = nullptr;
    QPushButton* __applyButton = nullptr;
    QPushButton* __cancelButton = nullptr;
    Mode __mode = Standard;
    std::unique_ptr<Model> __newModel; // until it is applied
    std::vector<Model*> __selectedModels;
};

} // namespace vorlen
