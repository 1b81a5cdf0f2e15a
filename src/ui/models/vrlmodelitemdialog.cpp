#include "ui/models/vrlmodelitemdialog.h"

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
    auto* contents = new QWidget(this);
    auto* name = new VRLModelNameEditor(contents);
    auto* properties = new VRLModelPropertiesEditor(contents);
    auto* itemProperties = new VRLModelItemPropertiesEditor(contents);
    auto* defaults = new QPushButton("Defaults", contents);
    defaults->setToolTip("Shows the attributes of the model; Apply gives them to the item");
    auto* defaultsRow = new QHBoxLayout;
    defaultsRow->addStretch(1);
    defaultsRow->addWidget(defaults);
    auto* contentsLayout = new QVBoxLayout(contents);
    contentsLayout->setContentsMargins(0, 0, 0, 0);
    contentsLayout->addWidget(name);
    contentsLayout->addWidget(properties);
    contentsLayout->addWidget(itemProperties);
    contentsLayout->addLayout(defaultsRow);
    contentsLayout->addStretch(1);

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
    layout->addWidget(contents, 1);
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
