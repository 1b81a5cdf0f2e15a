#pragma once

#include <QFrame>
#include <QSize>

#include "ui/slices/canvasmode.h"

namespace vorlen {

class StackSlice;
class VRLPanoramaCanvas;
class VRLPanoramaLabel;

/// A slice in the panorama: its thumbnail above its name and depth.
class VRLPanoramaItem : public QFrame {
    Q_OBJECT

public:
    explicit VRLPanoramaItem(QWidget* parent = nullptr);

    /// Also when something about the slice that is set already has changed. The slice is seen, not owned.
    void setSlice(StackSlice& slice);
    /// Null without one.
    StackSlice* getSlice() const;
    void clear();

    void setCanvasMode(CanvasMode mode);
    void setThumbnailSize(const QSize& size);
    void setLabelEnabled(bool enabled);
    void setSelected(bool selected);
    bool isSelected() const { return __selected; }

    VRLPanoramaCanvas& canvas() const { return *__canvas; }
    VRLPanoramaLabel& label() const { return *__label; }

    /// What the tool tip tells of a slice.
    static QString toolTipOf(const StackSlice& slice);

    /// Mouse and keys that come to the parts are the item's own.
    bool eventFilter(QObject* object, QEvent* event) override;

signals:
    void selected(VRLPanoramaItem& item);
    /// Pressed with Shift or Ctrl: more slices are to be selected.
    void extended(VRLPanoramaItem& item, Qt::KeyboardModifiers modifiers);
    void activated(VRLPanoramaItem& item);
    void deactivated(VRLPanoramaItem& item);

protected:
    /// A press selects, a double click activates.
    void mousePressEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    /// Return activates, Escape deactivates.
    void keyPressEvent(QKeyEvent* event) override;

private:
    void showToolTip();

    VRLPanoramaCanvas* __canvas;
    VRLPanoramaLabel* __label;
    bool __selected = false;
};

} // namespace vorlen
