#include "ui/models/vrlmodeldialog.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QPushButton>
#include <QVBoxLayout>

#include "document/model.h"
#include "editing/stacks/vrlstack.h"
#include "ui/models/vrlmodeldialogmediator.h"
#include "ui/models/vrlmodelitempropertieseditor.h"
#include "ui/models/vrlmodellistwidget.h"
#include "ui/models/vrlmodelnameeditor.h"
#include "ui/models/vrlmodelpropertieseditor.h"

namespace vorlen {

VRLModelDialog::VRLModelDialog(QWidget* parent) : QDialog(parent) {
    auto* contents = new QWidget(this);
    auto* list = __list = new VRLModelListWidget(contents);
    list->setMinimumWidth(fontMetrics().averageCharWidth() * 28);
    list->setToolTip("Select one model to edit it, or several to edit what they share");
    auto* newButton = new QPushButton("New", contents);
    newButton->setToolTip("Makes a new model");
    auto* deleteButton = new QPushButton("Delete", contents);
    deleteButton->setToolTip("Deletes the selected models with their items");
    auto* name = new VRLModelNameEditor(contents);
    auto* properties = new VRLModelPropertiesEditor(contents);
    auto* itemProperties = new VRLModelItemPropertiesEditor(contents);

    auto* listButtons = new QHBoxLayout;
    listButtons->addWidget(newButton);
    listButtons->addWidget(deleteButton);
    auto* left = new QVBoxLayout;
    left->addWidget(list, 1);
    left->addLayout(listButtons);
    auto* right = new QVBoxLayout;
    right->addWidget(name);
    right->addWidget(properties);
    right->addWidget(itemProperties);
    right->addStretch(1);
    auto* contentsLayout = new QHBoxLayout(contents);
    contentsLayout->setContentsMargins(0, 0, 0, 0);
    contentsLayout->addLayout(left, 1);
    contentsLayout->addLayout(right);

    auto* apply = new QPushButton("Apply", this);
    apply->setToolTip("Makes the new model, or changes the selected ones");
    auto* cancel = new QPushButton("Cancel", this);
    cancel->setToolTip("Takes back what was entered since Apply");
    auto* close = new QPushButton("Close", this);
    close->setToolTip("Closes this window; what is not applied is lost");
    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    for (QPushButton* button : {apply, cancel, close})
        buttons->addWidget(button);
    for (QPushButton* button : {newButton, deleteButton, apply, cancel, close})
        button->setAutoDefault(false);
    apply->setDefault(true);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(contents, 1);
    layout->addLayout(buttons);

    __mediator = new VRLModelDialogMediator(*this);
    __mediator->setList(*list);
    __mediator->setEditors(*name, *properties, *itemProperties);
    __mediator->setButtons(*newButton, *deleteButton, *apply, *cancel);
    __mediator->initialize();
    connect(close, &QPushButton::clicked, this, &QDialog::accept);
}

void VRLModelDialog::setStack(VRLStack& stack) {
    setWindowTitle("Models for stack \"" + QString::fromStdString(stack.getName()) + "\"");
    __mediator->setStack(stack);
}

void VRLModelDialog::selectModel(const Model& model) {
    const auto rows =
        __list->findItems(QString::fromStdString(model.getName()), Qt::MatchExactly | Qt::MatchCaseSensitive);
    if (!rows.isEmpty())
        __list->setCurrentItem(rows.first());
}

} // namespace vorlen
