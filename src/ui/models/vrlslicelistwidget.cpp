#include "ui/models/vrlslicelistwidget.h"

#include <QEvent>
#include <QLabel>
#include <QListWidget>
#include <QPainter>
#include <QPixmap>
#include <QSignalBlocker>
#include <QSlider>
#include <QVBoxLayout>

#include "editing/actions/vrlsliceinsertiondeletionaction.h"
#include "editing/bus/vrlsliceevent.h"
#include "editing/bus/vrlstackevent.h"
#include "editing/stacks/vrlstack.h"
#include "ui/models/slicedefaults.h"

namespace vorlen {

VRLSliceListWidget::VRLSliceListWidget(QWidget* parent) : QWidget(parent) {
    qRegisterMetaType<StackSlice*>("StackSlice*");
    __label = new QLabel(this);
    __list = new QListWidget(this);
    __list->setAccessibleName("Slices");
    __list->setUniformItemSizes(true);
    __list->setIconSize(QSize(__list->fontMetrics().lineSpacing(), __list->fontMetrics().lineSpacing()));
    __list->setWhatsThis("The slices of the stack, the last one on top. R marks a slice that is registered on the "
                         "slice before. A grey square marks a slice whose spacing or pixel calibration differs from "
                         "the default of the stack.");
    __label->setBuddy(__list);
    __slider = new QSlider(Qt::Horizontal, this);
    __slider->setAccessibleName("Slice");
    __slider->setToolTip("Goes through the slices, from the first to the last");
    __slider->setPageStep(1);
    __slider->setFocusPolicy(Qt::TabFocus); // a drag leaves the keys to the slice
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(__label);
    layout->addWidget(__list);
    layout->addWidget(__slider);
    drawIcons();
    connect(__list, &QListWidget::currentRowChanged, this, &VRLSliceListWidget::rowChange);
    connect(__list, &QListWidget::itemSelectionChanged, this, &VRLSliceListWidget::selectionChanged);
    connect(__slider, &QSlider::valueChanged, this, &VRLSliceListWidget::sliderChange);
    clear();
}

void VRLSliceListWidget::setStack(VRLStack& stack) {
    clear();
    __stack = &stack;
    const QSignalBlocker blocker(__list);
    for (int i = stack.getNumSlices() - 1; i >= 0; --i)
        insertRow(__list->count(), stack.getSlice(i));
    showCount();
    __list->scrollToBottom();
}

void VRLSliceListWidget::addSlice(StackSlice& slice) {
    if (findRow(&slice) >= 0)
        return;
    const Stack* stack = slice.getStack();
    const int place = stack == nullptr ? -1 : stack->findSlice(slice);
    int row = 0;
    if (place >= 0)
        while (row < __list->count() && sliceAt(row)->getStack() == stack && stack->findSlice(*sliceAt(row)) > place)
            ++row;
    if (__stack == nullptr)
        __stack = dynamic_cast<VRLStack*>(slice.getStack());
    const QSignalBlocker blocker(__list);
    insertRow(row, slice);
    showCount();
}

void VRLSliceListWidget::removeSlice(StackSlice& slice) {
    const int row = findRow(&slice);
    if (row < 0)
        return;
    const QSignalBlocker blocker(__list);
    if (__list->item(row)->isSelected())
        __list->setCurrentRow(-1); // the view selects a neighbour of a current row that goes
    delete __list->takeItem(row);
    showCount();
}

void VRLSliceListWidget::setSelectedSlice(const StackSlice& slice) {
    const int row = findRow(&slice);
    const QSignalBlocker blocker(__list);
    __list->setCurrentRow(row, QItemSelectionModel::ClearAndSelect);
    if (row < 0)
        return;
    __list->scrollToItem(__list->item(row));
    rowChange(row);
}

std::vector<StackSlice*> VRLSliceListWidget::selectedSlices() const {
    std::vector<StackSlice*> slices;
    for (int row = 0; row < __list->count(); ++row)
        if (__list->item(row)->isSelected())
            slices.push_back(sliceAt(row));
    return slices;
}

void VRLSliceListWidget::clear() {
    const QSignalBlocker blocker(__list);
    __stack = nullptr;
    __updatePending = false;
    __list->clear();
    showCount();
}

void VRLSliceListWidget::stackCloseEvent(VRLStackCloseEvent& event) {
    if (event.getStack() == __stack)
        clear();
}

// A slice that leaves its stack may be deleted at any later time.
void VRLSliceListWidget::processSliceInsertionDeletionAction(VRLSliceInsertionDeletionAction& action) {
    const bool out = action.isInsertion() == action.reverted();
    if (out)
        removeSlice(*action.getSlice());
}

void VRLSliceListWidget::sliceNameEvent(VRLSliceNameEvent& event) {
    sliceChange(event.getSlice());
}

void VRLSliceListWidget::sliceSpacingEvent(VRLSliceSpacingEvent& event) {
    sliceChange(event.getSlice());
}

void VRLSliceListWidget::sliceImageCalibrationEvent(VRLSliceImageCalibrationEvent& event) {
    sliceChange(event.getSlice());
}

void VRLSliceListWidget::stackRegistrationEvent(VRLStackRegistrationEvent& event) {
    stackChange(event.getStack());
}

void VRLSliceListWidget::stackSliceSpacingEvent(VRLStackSliceSpacingEvent& event) {
    stackChange(event.getStack());
}

void VRLSliceListWidget::stackImageCalibrationEvent(VRLStackImageCalibrationEvent& event) {
    stackChange(event.getStack());
}

void VRLSliceListWidget::atEventBatchEnd() {
    if (__updatePending)
        updateAllRows();
}

void VRLSliceListWidget::insertRow(int row, StackSlice& slice) {
    auto* item = new QListWidgetItem(buildSliceIcon(slice), buildSliceText(slice));
    item->setData(Qt::UserRole, QVariant::fromValue(&slice));
    __list->insertItem(row, item);
}

StackSlice* VRLSliceListWidget::sliceAt(int row) const {
    return __list->item(row)->data(Qt::UserRole).value<StackSlice*>();
}

int VRLSliceListWidget::findRow(const StackSlice* slice) const {
    for (int row = 0; row < __list->count(); ++row)
        if (sliceAt(row) == slice)
            return row;
    return -1;
}

QString VRLSliceListWidget::buildSliceText(const StackSlice& slice) {
    return (slice.getRegistration().isNull() ? QString() : QString("R ")) + QString::fromStdString(slice.getName());
}

QIcon VRLSliceListWidget::buildSliceIcon(const StackSlice& slice) const {
    return hasDefaultSpacing(slice) && hasDefaultPixelCalibration(slice) ? __defaultIcon : __ownIcon;
}

QIcon VRLSliceListWidget::squareIcon(const QColor& filling) const {
    const int side = __list->fontMetrics().lineSpacing();
    QPixmap square(side, side);
    QPainter painter(&square);
    painter.setPen(QPen(palette().color(QPalette::Active, QPalette::Text), 1));
    painter.setBrush(filling);
    painter.drawRect(0, 0, side - 1, side - 1);
    painter.end();
    QIcon icon(square);
    icon.addPixmap(square, QIcon::Selected); // the colour tells something: it is not tinted
    icon.addPixmap(square, QIcon::Disabled);
    return icon;
}

/// In the colours of the list: black on white in a light theme.
void VRLSliceListWidget::drawIcons() {
    __defaultIcon = squareIcon(palette().color(QPalette::Active, QPalette::Base));
    __ownIcon = squareIcon(QColor(128, 128, 128));
}

void VRLSliceListWidget::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() != QEvent::PaletteChange)
        return;
    drawIcons();
    for (int row = 0; row < __list->count(); ++row)
        updateRow(row);
}

void VRLSliceListWidget::updateRow(int row) {
    const StackSlice& slice = *sliceAt(row);
    QListWidgetItem* item = __list->item(row);
    item->setText(buildSliceText(slice));
    item->setIcon(buildSliceIcon(slice));
}

// Within a batch each of many slices may tell of its change, and the stack after each.
void VRLSliceListWidget::sliceChange(const StackSlice* slice) {
    if (__stack == nullptr && __list->count() == 0)
        return;
    if (eventBatchEnabled()) {
        __updatePending = true;
        return;
    }
    const int row = findRow(slice);
    if (row >= 0)
        updateRow(row);
}

void VRLSliceListWidget::stackChange(const VRLStack* stack) {
    if (stack != __stack || stack == nullptr)
        return;
    if (eventBatchEnabled())
        __updatePending = true;
    else
        updateAllRows();
}

void VRLSliceListWidget::updateAllRows() {
    __updatePending = false;
    const QSignalBlocker blocker(__list);
    const int current = __list->currentRow();
    const StackSlice* const selected = current < 0 ? nullptr : sliceAt(current);
    const int n = __list->count();
    const bool listsStack = __stack != nullptr && __stack->getNumSlices() == n;
    for (int row = 0; row < n; ++row) {
        if (listsStack) // the slices may stand in another order now
            __list->item(row)->setData(Qt::UserRole, QVariant::fromValue(&__stack->getSlice(n - 1 - row)));
        updateRow(row);
    }
    if (selected != nullptr && sliceAt(current) != selected)
        setSelectedSlice(*selected);
}

void VRLSliceListWidget::rowChange(int row) {
    if (row < 0)
        return;
    const QSignalBlocker blocker(__slider);
    __slider->setValue(__list->count() - 1 - row);
}

void VRLSliceListWidget::sliderChange(int value) {
    const int row = __list->count() - 1 - value;
    if (row < 0 || row >= __list->count())
        return;
    __list->scrollToItem(__list->item(row));
    __list->setCurrentRow(row, QItemSelectionModel::ClearAndSelect);
}

void VRLSliceListWidget::showCount() {
    const int n = __list->count();
    __label->setText(QString("Slices [%1]").arg(n));
    const QSignalBlocker blocker(__slider);
    __slider->setRange(0, n > 0 ? n - 1 : 0);
    __slider->setEnabled(n > 0);
    if (__list->currentRow() >= 0)
        rowChange(__list->currentRow());
    else
        __slider->setValue(0);
}

} // namespace vorlen
