#include "ui/app/historypanel.h"

#include <QListWidget>
#include <QVBoxLayout>

#include "editing/history/vrlactionhistory.h"
#include "editing/stacks/vrlstack.h"

namespace vorlen {

HistoryPanel::HistoryPanel(QWidget* parent) : QWidget(parent) {
    __list = new QListWidget(this);
    __list->setAccessibleName("Steps");
    __list->setToolTip("Double click on a step: go to the state behind it");
    __list->setUniformItemSizes(true);
    connect(__list, &QListWidget::itemActivated, this, [this](QListWidgetItem* item) { go(__list->row(item)); });
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(6, 6, 6, 6);
    layout->addWidget(__list);
}

void HistoryPanel::setStack(VRLStack* stack) {
    if (__stack != nullptr && __stack->history() != nullptr)
        disconnect(__stack->history(), nullptr, this, nullptr);
    __stack = stack;
    if (stack != nullptr)
        connect(stack->history(), &VRLActionHistory::changed, this, &HistoryPanel::fillLater);
    fill();
}

void HistoryPanel::setLocked(bool locked) {
    __list->setEnabled(!locked);
}

void HistoryPanel::fillLater() {
    if (__pending)
        return;
    __pending = true;
    QMetaObject::invokeMethod(this, &HistoryPanel::fill, Qt::QueuedConnection);
}

/// The first line is the state before all steps. Of long histories the last thousand steps are listed.
void HistoryPanel::fill() {
    __pending = false;
    __list->clear();
    if (__stack == nullptr)
        return;
    const VRLActionHistory& history = *__stack->history();
    constexpr int most = 1000;
    const QStringList done = history.getUndoDescriptions(most), undone = history.getRedoDescriptions(most);
    __list->addItem(history.getNumUndoSteps() > done.size()
                        ? QString("(%1 earlier steps)").arg(history.getNumUndoSteps() - done.size())
                        : QString("(as at the beginning)"));
    __list->addItems(done);
    const int current = __list->count() - 1;
    __list->addItems(undone);
    for (int row = 0; row < __list->count(); ++row)
        __list->item(row)->setToolTip(__list->item(row)->text()); // which may be cut
    for (int row = current + 1; row < __list->count(); ++row)
        __list->item(row)->setForeground(palette().color(QPalette::Disabled, QPalette::Text));
    __list->setCurrentRow(current);
    QFont bold = font();
    bold.setBold(true);
    __list->item(current)->setFont(bold);
}

void HistoryPanel::go(int row) {
    if (__stack == nullptr)
        return;
    const int undone = int(__stack->history()->getRedoDescriptions(1000).size());
    const int current = __list->count() - 1 - undone;
    if (row >= 0 && row != current)
        emit goRequested(current - row);
}

} // namespace vorlen
