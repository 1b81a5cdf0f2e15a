#include "ui/models/vrlmodelitemdialog.h"

#include <QFrame>
#include <QHBoxLayout>
#include <QPushButton>
#include <QVBoxLayout>

#include "ui/models/vrlmodelitemdialogmediator.h"
#include "ui/models/vrlmodelitempropertieseditor.h"
#include "ui/models/vrlmodelnameeditor.h"
#include "ui/models/vrlmodelpropertieseditor.h"

namespace vorlen {

VRLModelItemDialog::VRLModelItemDialog(QWidget* parent) : QDialog(parent) {
    setWindowTitle("Properties");
    auto* frame = new QFrame(this);
    frame->setFrameStyle(QFrame::Box | QFrame::Sunken);
    auto* name = new VRLModelNameEditor(frame);
    auto* properties = new VRLModelPropertiesEditor(frame);
    auto* itemProperties = new VRLModelItemPropertiesEditor(frame);
    auto* defaults = new QPushButton("Defaults", frame);
    defaults->setToolTip("Shows the attributes of the model; Apply gives them to the item");
    auto* defaultsRow = new QHBoxLayout;
    defaultsRow->addStretch(1);
    defaultsRow->addWidget(defaults);
    auto* frameLayout = new QVBoxLayout(frame);
    frameLayout->addWidget(name);
    frameLayout->addWidget(properties);
    frameLayout->addWidget(itemProperties);
    frameLayout->addLayout(defaultsRow);
    frameLayout->addStretch(1);

    auto* apply = new QPushButton("Apply", this);
    apply->setToolTip("Gives these attributes to the item");
    auto* cancel = new QPushButton("Cancel", this);
    cancel->setToolTip("Shows the attributes of the item again");
    auto* ok = new QPushButton("OK", this);
    ok->setToolTip("Gives these attributes to the item and closes this window");
    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    for (QPushButton* button : {apply, cancel, ok})
        buttons->addWidget(button);
    for (QPushButton* button : {defaults, apply, cancel, ok})
        button->setAutoDefault(false);
    ok->setDefault(true);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(frame, 1);
    layout->addLayout(buttons);

    __mediator = new VRLModelItemDialogMediator(*this);
    __mediator->setNameEditor(*name);
    __mediator->setPropertiesEditor(*properties);
    __mediator->setItemPropertiesEditor(*itemProperties);
    __mediator->setButtons(*defaults, *apply, *cancel, *ok);
}

void VRLModelItemDialog::setItem(ModelItem& item) {
    __mediator->setItem(item);
}

} // namespace vorlen
