#include "ui/models/vrlstacklistwidget.h"

#include <QLabel>
#include <QListWidget>
#include <QSignalBlocker>
#include <QVBoxLayout>

#include "editing/bus/vrlstackevent.h"

namespace vorlen {

VRLStackListWidget::VRLStackListWidget(QWidget* parent) : QWidget(parent) {
    qRegisterMetaType<VRLStack*>("VRLStack*");
    __label = new QLabel(this);
    __list = new QListWidget(this);
    __list->setAccessibleName("Stacks");
    __label->setBuddy(__list);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(__label);
    layout->addWidget(__list);
    showCount();
    connect(__list, &QListWidget::itemSelectionChanged, this, &VRLStackListWidget::selectionChanged);
}

void VRLStackListWidget::addStack(VRLStack& stack) {
    if (findRow(stack) >= 0)
        return;
    auto* item = new QListWidgetItem(QString::fromStdString(stack.getName()), __list);
    item->setData(Qt::UserRole, QVariant::fromValue(&stack));
    showCount();
}

void VRLStackListWidget::removeStack(VRLStack& stack) {
    const int row = findRow(stack);
    if (row < 0)
        return;
    const QSignalBlocker blocker(__list);
    if (__list->item(row)->isSelected() && __list->selectedItems().size() == 1)
        __list->setCurrentRow(-1); // the view selects a neighbour of a current row that goes
    else
        __list->item(row)->setSelected(false);
    delete __list->takeItem(row);
    showCount();
}

void VRLStackListWidget::setSelectedStack(const VRLStack& stack) {
    const QSignalBlocker blocker(__list);
    __list->clearSelection();
    __list->setCurrentRow(findRow(stack), QItemSelectionModel::ClearAndSelect);
}

void VRLStackListWidget::clearSelected() {
    const QSignalBlocker blocker(__list);
    __list->clearSelection();
}

void VRLStackListWidget::setSelectionMode(QAbstractItemView::SelectionMode mode) {
    __list->setSelectionMode(mode);
}

std::vector<VRLStack*> VRLStackListWidget::selectedStacks() const {
    std::vector<VRLStack*> stacks;
    for (int row = 0; row < __list->count(); ++row)
        if (__list->item(row)->isSelected())
            stacks.push_back(__list->item(row)->data(Qt::UserRole).value<VRLStack*>());
    return stacks;
}

void VRLStackListWidget::stackCloseEvent(VRLStackCloseEvent& event) {
    removeStack(*event.getStack());
}

void VRLStackListWidget::stackNameEvent(VRLStackNameEvent& event) {
    const int row = findRow(*event.getStack());
    if (row >= 0)
        __list->item(row)->setText(QString::fromStdString(event.getStack()->getName()));
}

int VRLStackListWidget::findRow(const VRLStack& stack) const {
    for (int row = 0; row < __list->count(); ++row)
        if (__list->item(row)->data(Qt::UserRole).value<VRLStack*>() == &stack)
            return row;
    return -1;
}

void VRLStackListWidget::showCount() {
    __label->setText(QString("Stacks [%1]").arg(__list->count()));
}

} // namespace vorlen
