#include "ui/analysis/vrlmodelitemanalysiswidget.h"

#include <string>
#include <vector>

#include <QMessageBox>
#include <QVBoxLayout>

#include "ui/analysis/vrlmodelitemanalysistable.h"
#include "ui/models/vrlmodellistwidget.h"
#include "ui/widgets/vrlsplitter.h"

namespace vorlen {

VRLModelItemAnalysisWidget::VRLModelItemAnalysisWidget(QWidget* parent) : QWidget(parent) {
    auto* splitter = new VRLSplitter("itemAnalysisWidgetSplitter", Qt::Horizontal, this);
    __modelList = new VRLModelListWidget(splitter);
    __modelList->setSelectionMode(QAbstractItemView::SingleSelection); // one model's items are shown at a time
    __modelList->setToolTip("The model whose items are measured");
    __table = new VRLModelItemAnalysisTable(splitter);
    splitter->addWidget(__modelList, 250);
    splitter->addWidget(__table, 850);
    splitter->setChildrenCollapsible(false);
    splitter->setStretchFactor(1, 1);
    splitter->restore();
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(splitter);
    connect(__modelList, &QListWidget::itemSelectionChanged, this, &VRLModelItemAnalysisWidget::modelSelectionChange);
}

void VRLModelItemAnalysisWidget::setStack(const VRLStack& stack) {
    if (__stack)
        disconnect(__stack, &QObject::destroyed, this, &VRLModelItemAnalysisWidget::stackDestroyed);
    __stack = &stack;
    connect(__stack, &QObject::destroyed, this, &VRLModelItemAnalysisWidget::stackDestroyed);
    __modelList->removeModels();
    __modelList->addModels(stack);
    __modelList->setEnabled(true);
    __table->setStack(stack);
    __table->setHint(stack.getNumModels() > 0 ? "Choose a model on the left to measure its items"
                                              : "This stack has no models");
}

void VRLModelItemAnalysisWidget::copySelection() const {
    __table->copySelection();
}

void VRLModelItemAnalysisWidget::save() const {
    if (__table->columnCount() > 0)
        __table->save();
    else // a file without a word would be of no use
        QMessageBox::information(window(), "Save table", "There is nothing to save: choose a model in the list first.");
}

void VRLModelItemAnalysisWidget::modelSelectionChange() {
    const std::vector<std::string> names = __modelList->selectedModels();
    if (!__stack || names.empty())
        return;
    const int place = __stack->findModel(names.front());
    if (place >= 0) {
        __table->setModel(__stack->getModel(place));
        return;
    }
    __table->removeModel();
    __table->setHint("There is no model \"" + QString::fromStdString(names.front()) + "\" in the stack any more");
}

void VRLModelItemAnalysisWidget::stackDestroyed() {
    __modelList->setEnabled(false);
    __table->setHint("The stack is closed");
}

} // namespace vorlen
