#include "ui/panorama/vrlpanorama.h"

#include <algorithm>

#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QMenu>
#include <QScopedValueRollback>
#include <QScrollBar>

#include "document/stackslice.h"
#include "editing/actions/vrlsliceinsertiondeletionaction.h"
#include "editing/bus/vrlmodelevent.h"
#include "editing/bus/vrlmodelitemevent.h"
#include "editing/bus/vrlsliceevent.h"
#include "editing/bus/vrlstackevent.h"
#include "editing/stacks/vrlstack.h"
#include "ui/panorama/vrlpanoramacanvas.h"
#include "ui/panorama/vrlpanoramaitem.h"
#include "ui/session/vrlpreferences.h"

namespace vorlen {

namespace {

constexpr int smallestThumbnail = 64;
constexpr int largestThumbnail = 512;
constexpr int thumbnailStep = 64;

} // namespace

VRLPanorama::VRLPanorama(QWidget* parent) : QScrollArea(parent) {
    __mainWidget = new QWidget;
    setWidget(__mainWidget); // which owns it
    setFocusPolicy(Qt::StrongFocus);
    setAccessibleName("Panorama");
    setWhatsThis("All slices of the stack. Click one to choose it, with Shift or Ctrl for several; double-click, or "
                 "press Return, to open it. L makes the pictures smaller, Shift+L larger.");
    hide();
}

// The canvases leave their image servers before the rest goes.
VRLPanorama::~VRLPanorama() {
    releaseItems();
}

void VRLPanorama::setStack(VRLStack& stack) {
    if (&stack == __stack)
        return;
    releaseItems();
    __stack = &stack;
    __slice = nullptr;
    __stackChangePending = true;
    if (isShown())
        applyStackChange();
}

void VRLPanorama::setSlice(Slice& slice) {
    __slice = &slice;
    __sliceChangePending = true;
    if (isShown() && !__stackChangePending && !__reloadPending)
        applySliceChange();
}

void VRLPanorama::clear() {
    releaseItems();
    __stack = nullptr;
    __slice = nullptr;
    __stackChangePending = __sliceChangePending = __reloadPending = false;
    resizeMainWidget();
}

void VRLPanorama::setCanvasMode(CanvasMode mode) {
    __mode = mode;
    for (VRLPanoramaItem* item : __items)
        if (item != nullptr)
            item->setCanvasMode(mode);
}

void VRLPanorama::setThumbnailSize(int size) {
    size = std::clamp(size, smallestThumbnail, largestThumbnail);
    if (size == __thumbnailSize)
        return;
    __thumbnailSize = size;
    __itemSize = QSize();
    layOut();
    if (__current >= 0)
        ensureItemVisible(__current);
}

void VRLPanorama::increaseThumbnailSize() {
    if (__thumbnailSize < largestThumbnail)
        setThumbnailSize(__thumbnailSize + thumbnailStep);
}

void VRLPanorama::decreaseThumbnailSize() {
    if (__thumbnailSize > smallestThumbnail)
        setThumbnailSize(__thumbnailSize - thumbnailStep);
}

void VRLPanorama::setVisible(bool visible) {
    QScrollArea::setVisible(visible);
    if (!visible) {
        // Images are not kept for nobody.
        for (int i = 0; i < getNumItems(); ++i)
            release(i);
        return;
    }
    if (__stackChangePending || __reloadPending)
        applyStackChange();
    else
        layOut();
    if (__sliceChangePending)
        applySliceChange();
}

VRLPanoramaItem* VRLPanorama::currentItem() const {
    return item(__current);
}

std::vector<StackSlice*> VRLPanorama::selectedSlices() const {
    std::vector<StackSlice*> slices;
    if (__stack == nullptr || __reloadPending)
        return slices;
    for (std::size_t i = 0; i < __selected.size(); ++i)
        if (__selected[i])
            slices.push_back(&__stack->getSlice(int(i)));
    return slices;
}

VRLPanoramaItem* VRLPanorama::item(int i) const {
    return i >= 0 && i < getNumItems() ? __items[std::size_t(i)] : nullptr;
}

void VRLPanorama::addContextualMenuAction(QAction* action) {
    __menuActions.append(action);
}

void VRLPanorama::stackCloseEvent(VRLStackCloseEvent& event) {
    if (event.getStack() == __stack && __stack != nullptr)
        clear();
}

// The grey scale may be another one, at which the canvases look when they paint.
void VRLPanorama::stackModifyEvent(VRLStackModifyEvent& event) {
    if (event.getStack() != __stack || __stack == nullptr || isHidden())
        return;
    for (VRLPanoramaItem* item : __items)
        if (item != nullptr)
            item->canvas().update();
}

void VRLPanorama::stackRegistrationEvent(VRLStackRegistrationEvent& event) {
    refreshAll(event.getStack());
}

void VRLPanorama::stackSliceSpacingEvent(VRLStackSliceSpacingEvent& event) {
    refreshAll(event.getStack());
}

void VRLPanorama::stackImageCalibrationEvent(VRLStackImageCalibrationEvent& event) {
    refreshAll(event.getStack());
}

// A slice that leaves its stack may be deleted at any later time, and many may come or go in one step: the items are
// taken away at once, and built again when all is done.
void VRLPanorama::processSliceInsertionDeletionAction(VRLSliceInsertionDeletionAction& action) {
    if (__stack == nullptr || &action.getStack() != __stack)
        return;
    if (action.getSlice() == __slice && action.isInsertion() == action.reverted())
        __slice = nullptr;
    releaseItems();
    __sliceChangePending = __slice != nullptr;
    if (__reloadPending)
        return;
    __reloadPending = true;
    QMetaObject::invokeMethod(this, &VRLPanorama::reload, Qt::QueuedConnection);
}

void VRLPanorama::sliceNameEvent(VRLSliceNameEvent& event) {
    refresh(event.getSlice());
}

// The slices behind it have moved too.
void VRLPanorama::sliceSpacingEvent(VRLSliceSpacingEvent& event) {
    if (event.getSlice() != nullptr && event.getSlice()->getStack() == __stack)
        refreshAll(__stack);
}

void VRLPanorama::sliceImageCalibrationEvent(VRLSliceImageCalibrationEvent& event) {
    refresh(event.getSlice());
}

void VRLPanorama::sliceImageSourceEvent(VRLSliceImageSourceEvent& event) {
    refresh(event.getSlice());
}

void VRLPanorama::modelCreateEvent(VRLModelCreateEvent&) {
    itemsChanged();
}

// The items of the model are still there when it is told.
void VRLPanorama::modelDeleteEvent(VRLModelDeleteEvent&) {
    QMetaObject::invokeMethod(this, &VRLPanorama::itemsChanged, Qt::QueuedConnection);
}

void VRLPanorama::modelPropertiesEvent(VRLModelPropertiesEvent&) {
    itemsChanged();
}

void VRLPanorama::modelItemCreateEvent(VRLModelItemCreateEvent&) {
    itemsChanged();
}

void VRLPanorama::modelItemDeleteEvent(VRLModelItemDeleteEvent&) {
    itemsChanged();
}

void VRLPanorama::modelItemVertexEvent(VRLModelItemVertexEvent&) {
    itemsChanged();
}

void VRLPanorama::modelItemAttributeEvent(VRLModelItemAttributeEvent&) {
    itemsChanged();
}

void VRLPanorama::modelItemSelectEvent(VRLModelItemSelectEvent&) {
    itemsChanged();
}

void VRLPanorama::modelItemConvertEvent(VRLModelItemConvertEvent&) {
    itemsChanged();
}

void VRLPanorama::preferencesEvent(VRLPreferencesEvent&) {
    __itemSize = QSize();
    layOut();
    itemsChanged();
}

void VRLPanorama::resizeEvent(QResizeEvent* event) {
    QScrollArea::resizeEvent(event);
    layOut();
}

void VRLPanorama::scrollContentsBy(int dx, int dy) {
    QScrollArea::scrollContentsBy(dx, dy);
    if (!__inLayout)
        buildItemsInView();
}

void VRLPanorama::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_L && !(event->modifiers() & ~Qt::ShiftModifier)) {
        event->modifiers() & Qt::ShiftModifier ? increaseThumbnailSize() : decreaseThumbnailSize();
        event->ignore();
        return;
    }
    if (numSlices() == 0)
        return QScrollArea::keyPressEvent(event);
    StackSlice* const current = __current >= 0 ? &__stack->getSlice(__current) : nullptr;
    if (event->key() == Qt::Key_A && event->modifiers() == Qt::ControlModifier)
        selectAll();
    else if ((event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) && current != nullptr)
        emit sliceActivated(*current);
    else if (event->key() == Qt::Key_Escape && current != nullptr)
        emit sliceDeactivated(*current);
    else if (const int target = walkTo(event->key()); target >= 0)
        event->modifiers() & Qt::ShiftModifier ? extendTo(target) : select(target);
    else
        QScrollArea::keyPressEvent(event);
}

void VRLPanorama::contextMenuEvent(QContextMenuEvent* event) {
    if (__menuActions.isEmpty())
        return;
    QWidget* under = childAt(event->pos());
    while (under != nullptr && qobject_cast<VRLPanoramaItem*>(under) == nullptr)
        under = under->parentWidget();
    if (under == nullptr)
        return;
    const int i = indexOf(*static_cast<VRLPanoramaItem*>(under));
    if (i >= 0 && !__selected[std::size_t(i)])
        select(i);
    QMenu menu(this);
    menu.addActions(__menuActions);
    menu.exec(event->globalPos());
}

int VRLPanorama::numSlices() const {
    return __stack == nullptr || __stackChangePending || __reloadPending ? 0 : getNumItems();
}

void VRLPanorama::applyStackChange() {
    releaseItems();
    __stackChangePending = __reloadPending = false;
    if (__stack == nullptr)
        return resizeMainWidget();
    __items.assign(std::size_t(__stack->getNumSlices()), nullptr);
    __selected.assign(__items.size(), false);
    __itemSize = QSize();
    notifyStarted("Building panorama items...");
    layOut();
    notifyFinished("Ready.");
}

void VRLPanorama::applySliceChange() {
    __sliceChangePending = false;
    for (int i = 0; i < numSlices(); ++i)
        if (&__stack->getSlice(i) == __slice) {
            if (i != __current)
                select(i);
            return;
        }
}

void VRLPanorama::reload() {
    if (!__reloadPending || !isShown())
        return;
    const int scrolled = verticalScrollBar()->value();
    applyStackChange();
    verticalScrollBar()->setValue(scrolled);
    if (__sliceChangePending)
        applySliceChange();
}

/// Forgets all slices, and the items with them.
void VRLPanorama::releaseItems() {
    for (int i = 0; i < getNumItems(); ++i)
        release(i);
    __items.clear();
    __selected.clear();
    __current = __anchor = -1;
}

void VRLPanorama::release(int i) {
    VRLPanoramaItem*& item = __items[std::size_t(i)];
    if (item == nullptr)
        return;
    item->canvas().setAwake(false);
    item->clear();
    item->hide();
    __spareItems.push_back(item);
    item = nullptr;
}

VRLPanoramaItem& VRLPanorama::builtItem(int i) {
    VRLPanoramaItem*& item = __items[std::size_t(i)];
    if (item != nullptr)
        return *item;
    if (!__spareItems.empty()) {
        item = __spareItems.back();
        __spareItems.pop_back();
    } else {
        item = new VRLPanoramaItem(__mainWidget);
        connect(
            item, &VRLPanoramaItem::selected, this, [this](VRLPanoramaItem& one) { select(indexOf(one)); });
        connect(item, &VRLPanoramaItem::extended, this, [this](VRLPanoramaItem& one, Qt::KeyboardModifiers modifiers) {
            modifiers& Qt::ShiftModifier ? extendTo(indexOf(one)) : toggle(indexOf(one));
        });
        connect(
            item, &VRLPanoramaItem::activated, this,
            [this](VRLPanoramaItem& one) {
                select(indexOf(one));
                emit sliceActivated(*one.getSlice());
            });
        connect(item, &VRLPanoramaItem::deactivated, this,
                [this](VRLPanoramaItem& one) { emit sliceDeactivated(*one.getSlice()); });
    }
    item->setThumbnailSize(QSize(__thumbnailSize, __thumbnailSize));
    item->setCanvasMode(__mode);
    item->setLabelEnabled(VRLPreferences::isPanoramaLabelEnabled());
    item->setSlice(__stack->getSlice(i));
    item->setSelected(__selected[std::size_t(i)]);
    if (!__itemSize.isEmpty())
        item->resize(__itemSize);
    item->move(placeOf(i));
    item->show();
    return *item;
}

/// Items, and so images, for what can be seen, then for a screen above and below it; the rest is given up.
void VRLPanorama::buildItemsInView() {
    if (numSlices() == 0 || !isShown())
        return;
    const int columns = numColumns();
    const int rowHeight = itemSize().height() + __spacing;
    const int top = -__mainWidget->y();
    const int height = viewport()->height();
    const auto firstOfRowAt = [&](int y) { return std::clamp((y - __spacing) / rowHeight * columns, 0, numSlices()); };
    const int first = firstOfRowAt(top);
    const int last = firstOfRowAt(top + height + rowHeight);
    const int nearFirst = firstOfRowAt(top - height);
    const int nearLast = firstOfRowAt(top + 2 * height + rowHeight);
    for (int i = 0; i < numSlices(); ++i)
        if (i < nearFirst || i >= nearLast)
            release(i);
    const auto wake = [this](int from, int to) {
        for (int i = from; i < to; ++i)
            builtItem(i).canvas().setAwake(true);
    };
    wake(first, last);
    wake(last, nearLast);
    wake(nearFirst, first);
}

/// The first item tells the size of all.
QSize VRLPanorama::itemSize() {
    if (__itemSize.isEmpty() && numSlices() > 0) {
        VRLPanoramaItem* sample = nullptr;
        for (VRLPanoramaItem* item : __items)
            if (item != nullptr && sample == nullptr)
                sample = item;
        if (sample == nullptr) {
            __itemSize = QSize(1, 1); // for its place, which does not matter
            sample = &builtItem(0);
        }
        sample->setThumbnailSize(QSize(__thumbnailSize, __thumbnailSize));
        sample->setLabelEnabled(VRLPreferences::isPanoramaLabelEnabled());
        __itemSize = sample->sizeHint();
    }
    return __itemSize;
}

int VRLPanorama::numColumns() {
    const int w = itemSize().width();
    int columns = 1;
    while (__spacing + columns * (w + __spacing) + w <= viewport()->width() - 1)
        ++columns;
    return columns;
}

QPoint VRLPanorama::placeOf(int i) {
    const int columns = numColumns();
    const QSize size = itemSize();
    return QPoint(__spacing + i % columns * (size.width() + __spacing),
                  __spacing + i / columns * (size.height() + __spacing));
}

void VRLPanorama::resizeMainWidget() {
    const int n = numSlices();
    if (n == 0) {
        __mainWidget->resize(maximumViewportSize());
        return;
    }
    const int columns = numColumns();
    const int rows = (n + columns - 1) / columns;
    const QSize size = itemSize();
    const int width = __spacing + columns * (size.width() + __spacing);
    // No bar only for the space behind the last column.
    setHorizontalScrollBarPolicy(width - __spacing <= viewport()->width() ? Qt::ScrollBarAlwaysOff
                                                                          : Qt::ScrollBarAsNeeded);
    __mainWidget->resize(width, __spacing + rows * (size.height() + __spacing));
}

void VRLPanorama::placeItems() {
    for (int i = 0; i < numSlices(); ++i)
        if (VRLPanoramaItem* const item = __items[std::size_t(i)]) {
            item->setThumbnailSize(QSize(__thumbnailSize, __thumbnailSize));
            item->setLabelEnabled(VRLPreferences::isPanoramaLabelEnabled());
            item->resize(itemSize());
            item->move(placeOf(i));
        }
}

// The size of the main widget may bring a scroll bar, and with it another size of what is in view.
void VRLPanorama::layOut() {
    if (__inLayout || !isShown())
        return;
    {
        const QScopedValueRollback layout(__inLayout, true);
        resizeMainWidget();
        resizeMainWidget();
        placeItems();
    }
    buildItemsInView();
}

void VRLPanorama::select(int i) {
    if (i < 0 || i >= numSlices())
        return;
    const bool alone = std::count(__selected.begin(), __selected.end(), true) == 1 && __selected[std::size_t(i)];
    const bool moves = i != __current;
    __current = __anchor = i;
    if (!alone) {
        __selected.assign(__selected.size(), false);
        __selected[std::size_t(i)] = true;
        showSelection();
    }
    if (!moves)
        return;
    ensureItemVisible(i);
    __slice = &__stack->getSlice(i);
    emit sliceSelected(__stack->getSlice(i));
}

void VRLPanorama::extendTo(int i) {
    if (i < 0 || i >= numSlices())
        return;
    const int anchor = __anchor >= 0 ? __anchor : i;
    select(i);
    __anchor = anchor;
    for (int k = std::min(anchor, i); k <= std::max(anchor, i); ++k)
        __selected[std::size_t(k)] = true;
    showSelection();
}

// The current slice is one of those that are selected, as long as there are any.
void VRLPanorama::toggle(int i) {
    if (i < 0 || i >= numSlices())
        return;
    std::vector<bool> wanted = __selected;
    wanted[std::size_t(i)] = !wanted[std::size_t(i)];
    int current = i;
    if (!wanted[std::size_t(i)]) {
        const auto other = std::find(wanted.begin(), wanted.end(), true);
        if (other == wanted.end())
            return;
        current = wanted[std::size_t(std::max(__current, 0))] ? __current : int(other - wanted.begin());
    }
    select(current);
    __selected = wanted;
    showSelection();
}

void VRLPanorama::selectAll() {
    __selected.assign(__selected.size(), true);
    showSelection();
}

void VRLPanorama::showSelection() {
    for (std::size_t i = 0; i < __items.size(); ++i)
        if (__items[i] != nullptr && __items[i]->isSelected() != __selected[i])
            __items[i]->setSelected(__selected[i]);
    emit selectionChanged();
}

void VRLPanorama::ensureItemVisible(int i) {
    const QSize size = itemSize();
    const QPoint centre = placeOf(i) + QPoint(size.width() / 2, size.height() / 2);
    ensureVisible(centre.x(), centre.y(), size.width() / 2 + __spacing, size.height() / 2 + __spacing);
}

int VRLPanorama::indexOf(const VRLPanoramaItem& item) const {
    const auto found = std::find(__items.begin(), __items.end(), &item);
    return found == __items.end() ? -1 : int(found - __items.begin());
}

/// Where a key leads from the current slice; -1 for another key.
int VRLPanorama::walkTo(int key) {
    const int columns = numColumns();
    const int rows = std::max(viewport()->height() / (itemSize().height() + __spacing), 1);
    const int last = numSlices() - 1;
    const int from = std::max(__current, 0);
    const auto by = [&](int step) {
        const int to = from + step;
        return to < 0 || to > last ? (step < 0 ? (from < columns ? from : from % columns)
                                               : (from / columns == last / columns ? from : last))
                                   : to;
    };
    switch (key) {
    case Qt::Key_Left:
        return std::max(from - 1, 0);
    case Qt::Key_Right:
        return std::min(from + 1, last);
    case Qt::Key_Up:
        return by(-columns);
    case Qt::Key_Down:
        return by(columns);
    case Qt::Key_PageUp:
        return by(-columns * rows);
    case Qt::Key_PageDown:
        return by(columns * rows);
    case Qt::Key_Home:
        return 0;
    case Qt::Key_End:
        return last;
    default:
        return -1;
    }
}

void VRLPanorama::itemsChanged() {
    for (VRLPanoramaItem* item : __items)
        if (item != nullptr)
            item->canvas().itemsChanged();
}

/// Something about the slices of the stack has changed, their order among it.
void VRLPanorama::refreshAll(const VRLStack* stack) {
    if (stack != __stack || stack == nullptr || __reloadPending || __stackChangePending)
        return;
    for (int i = 0; i < getNumItems(); ++i)
        if (VRLPanoramaItem* const item = __items[std::size_t(i)])
            item->setSlice(__stack->getSlice(i));
}

void VRLPanorama::refresh(const Slice* slice) {
    for (VRLPanoramaItem* item : __items)
        if (item != nullptr && item->getSlice() == slice)
            item->setSlice(*item->getSlice());
}

} // namespace vorlen
