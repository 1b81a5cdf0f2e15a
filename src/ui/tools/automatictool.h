#pragma once

#include <memory>
#include <optional>

#include <QPoint>

#include "document/modelitem.h"
#include "images/regions/boxoutline.h"
#include "images/sections/imageparts.h"
#include "ui/tools/canvasnote.h"
#include "ui/tools/vrlsliceeditwidgetmediatordelegate.h"

namespace vorlen {

/// Outlines what is darker or brighter than its surroundings, for the current model, as long as it is the tool that
/// stays on: a drag draws a box around a structure, and the outline in it is shown at once; Return or a click takes it,
/// as one step. A click where no outline is shown takes the structure under it.
///
/// As long as the outline is shown its threshold, smoothing and side can be changed, and it follows.
///
/// Decisions: the outline is that of BoxOutline, which ends at the box. Around a click the box is a square of 240 units
/// of the canvas, and grows as long as the structure reaches its sides, to 2000 pixels at most. Another box replaces
/// what is shown; Escape gives it up, and without it brings the selecting tool back. What is shown is no part of the
/// document: another slice, and an undo of the model, end it; but the user who goes to another slice takes it by that.
/// Smoothing, side and simplification are kept for the next outline, in all windows; the threshold is proposed anew for
/// each box.
class AutomaticTool : public VRLSliceEditWidgetMediatorDelegate {
    Q_OBJECT

public:
    using Side = BoxOutline::Side;

    explicit AutomaticTool(ToolHost& host);
    ~AutomaticTool() override;

    void deactivate() override;
    void cancel() override;
    void abandon() override;
    void modelGone(const Model& model) override;
    QString restingHint(const StackSliceSelectionInfo& selected) const override;
    QString takeShown() override;
    QWidget* newOptions(QWidget* parent) override;

    /// Whether an outline is shown that can be taken.
    bool hasOutline() const { return __found.outline.getSize() > 2; }
    /// Whether there is a box, with an outline or without.
    bool hasBox() const { return __search != nullptr; }

    int getSmoothing() const { return __smoothing; }
    void setSmoothing(int smoothing);
    Side getSide() const { return __side; }
    void setSide(Side side);
    /// Tolerance of BoxOutline::Choice.
    int getSimplification() const { return __simplification; }
    void setSimplification(int simplification);

    /// The threshold of the box; where none was chosen, the one that is proposed. 0 without a box.
    int getThreshold() const;
    bool isThresholdChosen() const { return __threshold.has_value(); }
    void setThreshold(int threshold);
    void proposeThreshold();
    int getLeast() const { return hasBox() ? __search->getLeast() : 0; }
    int getGreatest() const { return hasBox() ? __search->getGreatest() : 0; }

    /// Adds the outline that is shown. False where there is none, or it is refused, which is said.
    bool accept();

    /// By the key of the command that ends what runs, where the canvas has not the keyboard.
    void giveUpByKey();

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    void begin(QMouseEvent& event);
    void markCorner(const QPoint& position);
    void dragTo(const QPoint& position);
    bool isReady();
    void giveUp();
    void showBox();
    void searchBox();
    void searchAlone(const ImageParts& image, const BoundingBox<int>& box);
    void searchAround(const QPoint& position);
    void find();
    BoundingBox<int> boxTo(const QPoint& position) const;
    BoundingBox<int> onImage(int left, int top, int right, int bottom) const;
    BoxOutline::Choice choice() const;
    std::optional<ImageParts> imageOrHint();

    static int __smoothing;
    static int __simplification;
    static Side __side;

    Model* __model = nullptr; // from the press on
    std::optional<QPoint> __pressed;
    Vector<int> __corner; // the pixel there: it stays when the view moves
    bool __dragging = false;
    BoundingBox<int> __box;
    std::optional<std::pair<int, int>> __seed; // of a click: column and row
    std::unique_ptr<BoxOutline> __search;      // in the box
    std::optional<int> __threshold;            // as chosen for the box
    BoxOutline::Found __found;
    std::unique_ptr<ModelItem> __preview;
    CanvasNote __note; // the box
};

} // namespace vorlen
