#pragma once

#include <memory>

#include <QElapsedTimer>
#include <QPointer>

#include "document/modelitem.h"
#include "images/rasters/pixelmatrix.h"
#include "progress/progressproxy.h"
#include "shapes/curve.h"
#include "snake/snake.h"
#include "snake/snakedriver.h"
#include "ui/slices/vrlsliceeditwidgetmediatordelegate.h"
#include "ui/tools/vrlsnakeconfig.h"

class QDialog;

namespace vorlen {

class EditStep;

/// Runs a snake that begins with the selected contour, on its slice or on a range of slices, and adds what it finds as
/// new items, all in one step of the history. The contour that it begins with stays as it is.
///
/// The whole run is one call, which processes events: on a single slice at every fifth step of the snake, with a
/// picture of the contour, and on a range of slices every now and then. While it lasts the application takes no input
/// but Escape, wherever the keyboard is, which ends the run at once and keeps the contours of the slices that are
/// done: windows stay open, commands do not start, and files cannot be dropped.
///
/// Decisions. Both ways over a range begin with the user's own contour. On a single slice the first 500 steps, in which
/// the contour travels, are shown every fifth in its turn, for up to three seconds; later ones, which often change
/// nothing, as often as the eye can follow and the pictures take a fifth of the time. On a range the steps count as
/// parts of the whole run, so that the monitors tell how far it is, and its slices are named without the beginnings and
/// ends of each. The status bar tells what became of the run, on a range on how many slices there is a contour. A slice
/// of a range whose image cannot be read stays without one, as one on which the snake fails; a single slice's image
/// that cannot be read is told with the file's name. Image and edge map are held during the run only. A run whose
/// slice, model or item goes away ends without a trace.
class VRLSliceEditWidgetMediatorSnakeDelegate : public VRLSliceEditWidgetMediatorDelegate, public ProgressProxy {
    Q_OBJECT

public:
    explicit VRLSliceEditWidgetMediatorSnakeDelegate(VRLSliceEditWidgetMediator& mediator);
    ~VRLSliceEditWidgetMediatorSnakeDelegate() override;

    /// Asks for the parameters and runs to the end. Nothing without a selected item, and while it runs already. Throws
    /// what reading the image of a single slice throws.
    void activate() override;
    void deactivate() override;

    /// Ends the run, or the question before it, without touching the item again.
    void abandon();

    /// The item that the snake begins with; null when none runs.
    const ModelItem* getItem() const { return __item; }

    using ProgressProxy::subjectCanceled;
    void subjectStarted(const std::string& text) override;
    void subjectFinished(const std::string& text) override;
    /// Says nothing: what the snake does between its steps is no news.
    void subjectProgressed(const std::string& text) override;
    void subjectProgressed(unsigned int current, unsigned int total) override;

public slots:
    void cancel() override;

private:
    class Run;

    void run();
    bool initSnakeConfig();
    void initPixelMatrix(const StackSlice& slice);
    void runOverSlice(StackSlice& slice, Curve<float>& curve);
    void runOverStack(const Curve<float>& curve);
    int askForNumSlices();
    bool execute(QDialog& dialog);
    void updateSnakeItem();
    void dropSnakeItem();
    bool isPauseDue() const;
    void pause();

    ModelItem* __item = nullptr;
    std::unique_ptr<ModelItem> __snakeItem;
    PixelMatrix<float> __pixelMatrix;
    VRLSnakeConfig __snakeConfig;
    SnakeDriver<float, float> __driver;
    std::unique_ptr<Snake<float, float>> __snake; // of the run
    EditStep* __step = nullptr;                   // of the run, while it lasts
    QPointer<QDialog> __dialog;                   // that is open
    QString __outcome;                            // of the run, for the user
    QElapsedTimer __sinceStart;
    QElapsedTimer __sincePause; // for events
    qint64 __rest = 0;          // until the next pause, in milliseconds
    unsigned int __numSlices = 1;
    unsigned int __numSlicesDone = 0;
    int __numContours = 0;
};

} // namespace vorlen
