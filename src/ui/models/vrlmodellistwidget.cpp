#include "ui/models/vrlmodellistwidget.h"

#include <QSignalBlocker>

#include "document/stack.h"

namespace vorlen {

VRLModelListWidget::VRLModelListWidget(QWidget* parent) : QListWidget(parent) {
    setSelectionMode(QAbstractItemView::ExtendedSelection);
    setSortingEnabled(true);
    setAccessibleName("Models");
}

void VRLModelListWidget::addModel(const std::string& name) {
    addItem(QString::fromStdString(name));
}

void VRLModelListWidget::addModels(const Stack& stack) {
    for (int i = 0; i < stack.getNumModels(); ++i)
        addModel(stack.getModel(i).getName());
}

std::vector<std::string> VRLModelListWidget::selectedModels() const {
    std::vector<std::string> names;
    for (int row = 0; row < count(); ++row)
        if (item(row)->isSelected())
            names.push_back(item(row)->text().toStdString());
    return names;
}

void VRLModelListWidget::removeSelectedModels() {
    const QSignalBlocker blocker(this);
    const QList<QListWidgetItem*> selected = selectedItems();
    setCurrentRow(-1); // the view selects a neighbour of a current row that goes
    qDeleteAll(selected);
}

void VRLModelListWidget::clearSelected() {
    const QSignalBlocker blocker(this);
    clearSelection();
}

void VRLModelListWidget::removeModels() {
    const QSignalBlocker blocker(this);
    clear();
}

} // namespace vorlen
