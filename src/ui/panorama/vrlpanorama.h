#pragma once

#include <vector>

#include <QList>
#include <QPoint>
#include <QScrollArea>

#include "editing/bus/vrleventclient.h"
#include "progress/progresssubject.h"
#include "ui/slices/canvasmode.h"

class QAction;

namespace vorlen {

class ModelItem;
class Slice;
class StackSlice;
class VRLPanoramaItem;
class VRLStack;

/// All slices of a stack as a grid of thumbnails, to find one by sight.
///
/// Nothing is built, and no image read, before the panorama is shown: a stack or slice that is set before waits until
/// then. Only the places near the part in view have an item, and so an image: a stack of a thousand slices shows its
/// first screen as fast as a short one, and takes no more. The thumbnails themselves stay with the stack's panorama
/// image server as far as its room goes, so that those seen before come back at once.
///
/// One slice is current, and several can be selected: Ctrl adds and takes away, Shift goes on to a range from the one
/// chosen last without it. The arrows, Page Up, Page Down, Home and End walk, with Shift to select on the way, and
/// Ctrl+A selects all. The key L makes the thumbnails smaller, Shift+L larger. Return activates the current slice;
/// Escape deactivates it.
///
/// Starts hidden. Stack and slices are seen, not owned; those that go are forgotten by themselves.
class VRLPanorama : public QScrollArea, public VRLEventClient, public ProgressSubject {
    Q_OBJECT

public:
    explicit VRLPanorama(QWidget* parent = nullptr);
    ~VRLPanorama() override;

    void setStack(VRLStack& stack);
    VRLStack* getStack() const { return __stack; }
    /// A slice of the stack becomes the current one, and comes into view.
    void setSlice(Slice& slice);
    void clear();

    void setCanvasMode(CanvasMode mode);

    /// The side of a thumbnail: 64 to 512 in steps of 64, 256 at first.
    void setThumbnailSize(int size);
    int getThumbnailSize() const { return __thumbnailSize; }
    void increaseThumbnailSize();
    void decreaseThumbnailSize();

    /// What is pending is carried out first, the stack before the slice.
    void setVisible(bool visible) override;

    /// Of the current slice.
    VRLPanoramaItem* currentItem() const;
    /// In the order of the stack; at least the current one, if there is one.
    std::vector<StackSlice*> selectedSlices() const;

    int getNumItems() const { return int(__items.size()); }
    /// Null while its place is not near the part in view.
    VRLPanoramaItem* item(int i) const;
    int numColumns();

    /// An entry of the menu that the right button opens.
    void addContextualMenuAction(QAction* action);

    void stackCloseEvent(VRLStackCloseEvent& event) override;
    void stackModifyEvent(VRLStackModifyEvent& event) override;
    void stackRegistrationEvent(VRLStackRegistrationEvent& event) override;
    void stackSliceSpacingEvent(VRLStackSliceSpacingEvent& event) override;
    void stackImageCalibrationEvent(VRLStackImageCalibrationEvent& event) override;
    void processSliceInsertionDeletionAction(VRLSliceInsertionDeletionAction& action) override;
    void sliceNameEvent(VRLSliceNameEvent& event) override;
    void sliceSpacingEvent(VRLSliceSpacingEvent& event) override;
    void sliceImageCalibrationEvent(VRLSliceImageCalibrationEvent& event) override;
    void sliceImageSourceEvent(VRLSliceImageSourceEvent& event) override;
    void modelDeleteEvent(VRLModelDeleteEvent& event) override;
    void modelCreateEvent(VRLModelCreateEvent& event) override;
    void modelPropertiesEvent(VRLModelPropertiesEvent& event) override;
    void modelItemCreateEvent(VRLModelItemCreateEvent& event) override;
    void modelItemDeleteEvent(VRLModelItemDeleteEvent& event) override;
    void modelItemVertexEvent(VRLModelItemVertexEvent& event) override;
    void modelItemAttributeEvent(VRLModelItemAttributeEvent& event) override;
    void modelItemSelectEvent(VRLModelItemSelectEvent& event) override;
    void modelItemConvertEvent(VRLModelItemConvertEvent& event) override;
    void preferencesEvent(VRLPreferencesEvent& event) override;

signals:
    void sliceSelected(StackSlice& slice);
    void sliceActivated(StackSlice& slice);
    void sliceDeactivated(StackSlice& slice);
    /// Another number of slices is selected, or others.
    void selectionChanged();

protected:
    void resizeEvent(QResizeEvent* event) override;
    void scrollContentsBy(int dx, int dy) override;
    void keyPressEvent(QKeyEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;

private:
    bool isShown() const { return !isHidden(); }
    int numSlices() const;
    void applyStackChange();
    void applySliceChange();
    void reload();
    void releaseItems();
    void release(int i);
    VRLPanoramaItem& builtItem(int i);
    void buildItemsInView();
    QSize itemSize();
    QPoint placeOf(int i);
    void resizeMainWidget();
    void placeItems();
    void layOut();
    void select(int i);
    void extendTo(int i);
    void toggle(int i);
    void selectAll();
    void showSelection();
    void ensureItemVisible(int i);
    int indexOf(const VRLPanoramaItem& item) const;
    int walkTo(int key);
    void itemsChanged();
    void refreshAll(const VRLStack* stack);
    void refresh(const Slice* slice);

    QWidget* __mainWidget;
    // Children of the main widget: one for each slice, null where there is none near the part in view, and those that
    // wait to be one.
    std::vector<VRLPanoramaItem*> __items;
    std::vector<VRLPanoramaItem*> __spareItems;
    std::vector<bool> __selected; // one for each slice
    int __current = -1;
    int __anchor = -1; // where a range begins
    int __spacing = 10;
    int __thumbnailSize = 256;
    CanvasMode __mode = AllgroundMode;
    VRLStack* __stack = nullptr;
    Slice* __slice = nullptr;
    bool __stackChangePending = false;
    bool __sliceChangePending = false;
    bool __reloadPending = false;
    bool __inLayout = false;
    QSize __itemSize; // of all items; empty when it has to be found
    QList<QAction*> __menuActions;
};

} // namespace vorlen
