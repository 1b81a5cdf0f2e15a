#pragma once

#include <QObject>

#include "document/modelitemproperties.h"
#include "editing/bus/vrleventclient.h"

class QPushButton;

namespace vorlen {

class ModelItem;
class VRLModelItemDialog;
class VRLModelItemPropertiesEditor;
class VRLModelNameEditor;
class VRLModelPropertiesEditor;

/// What the buttons of the item dialog do. An item keeps as its own only what differs from its model.
class VRLModelItemDialogMediator : public QObject, public VRLEventClient {
    Q_OBJECT

public:
    explicit VRLModelItemDialogMediator(VRLModelItemDialog& dialog);

    /// The first two editors show the model and are disabled.
    void setNameEditor(VRLModelNameEditor& editor);
    void setPropertiesEditor(VRLModelPropertiesEditor& editor);
    void setItemPropertiesEditor(VRLModelItemPropertiesEditor& editor);
    void setButtons(QPushButton& defaults, QPushButton& apply, QPushButton& cancel, QPushButton& ok);

    /// Shows the item with the attributes that are in force: its own, and its model's where it has none.
    void setItem(ModelItem& item);

    void stateChange();
    void apply();
    void cancel();
    void applyAndClose();
    void restoreDefaults();

    void stackCloseEvent(VRLStackCloseEvent& event) override;
    void modelDeleteEvent(VRLModelDeleteEvent& event) override;
    void modelItemDeleteEvent(VRLModelItemDeleteEvent& event) override;
    void modelItemAttributeEvent(VRLModelItemAttributeEvent& event) override;
    void modelItemConvertEvent(VRLModelItemConvertEvent& event) override;
    void modelPropertiesEvent(VRLModelPropertiesEvent& event) override;
    void processSliceInsertionDeletionAction(VRLSliceInsertionDeletionAction& action) override;

private:
    ModelItemProperties modelProperties() const;
    ModelItemProperties ownProperties() const;
    void dropItem();

    ModelItem* __item = nullptr;
    VRLModelItemDialog& __dialog;
    VRLModelNameEditor* __nameEditor = nullptr;
    VRLModelPropertiesEditor* __propertiesEditor = nullptr;
    VRLModelItemPropertiesEditor* __itemPropertiesEditor = nullptr;
    QPushButton* __defaultsButton = nullptr;
    QPushButton* __applyButton = nullptr;
    QPushButton* __cancelButton = nullptr;
    QPushButton* __okButton = nullptr;
};

} // namespace vorlen
