#pragma once

#include <memory>

#include <QElapsedTimer>
#include <QPointer>

#include "document/modelitem.h"
#include "progress/progressproxy.h"
#include "ui/tools/vrlsliceeditwidgetmediatordelegate.h"
#include "ui/tools/vrlsnakeconfig.h"

class QDialog;

namespace vorlen {

class SnakeOperation;

/// Runs a snake that begins with the selected contour, on its slice or on a range of slices (SnakeOperation).
///
/// The whole run is one call, which processes events: on a single slice at every fifth step of the snake, with a
/// picture of the contour, and on a range of slices every now and then. While it lasts the application takes no input
/// but Escape, wherever the keyboard is, which ends the run at once and keeps the contours of the slices that are
/// done: windows stay open, commands do not start, and files cannot be dropped.
///
/// Decisions. On a single slice the first 500 steps, in which
/// the contour travels, are shown every fifth in its turn, for up to three seconds; later ones, which often change
/// nothing, as often as the eye can follow and the pictures take a fifth of the time. The status bar tells what became
/// of the run, on a range on how many slices there is a contour. A run whose slice, model or item goes away ends
/// without a trace.
class VRLSliceEditWidgetMediatorSnakeDelegate : public VRLSliceEditWidgetMediatorDelegate, public ProgressProxy {
    Q_OBJECT

public:
    explicit VRLSliceEditWidgetMediatorSnakeDelegate(ToolHost& host);
    ~VRLSliceEditWidgetMediatorSnakeDelegate() override;

    /// Asks for the parameters and runs to the end. Nothing without a selected item, and while it runs already. Throws
    /// what reading the image of a single slice throws.
    void activate() override;
    /// Runs with the chosen parameters, without a question. What became of it is told in the status bar alone.
    void activateAsSet();
    void deactivate() override;

    /// Ends the run, or the question before it, without touching the item again.
    void abandon() override;
    bool isAbout(const ModelItem& item) const override { return __item == &item; }
    bool isAbout(const Model& model) const override;

    /// The parameters of activateAsSet(), in all windows: the options of the snake tool.
    static const VRLSnakeConfig& chosenConfig();
    static void chooseConfig(const VRLSnakeConfig& config);

    /// The item that the snake begins with; null when none runs.
    const ModelItem* getItem() const { return __item; }

    using ProgressProxy::subjectCanceled;
    void subjectStarted(const std::string& text) override;
    void subjectFinished(const std::string& text) override;
    void subjectProgressed(const std::string& text) override;
    void subjectProgressed(unsigned int current, unsigned int total) override;

public slots:
    void cancel() override;

private:
    class Run;

    void start(bool asks);
    void run(bool asks);
    bool initSnakeConfig(bool asks);
    bool askForSnakeConfig();
    void runOverSlice();
    void runOverStack(int reach);
    bool execute(QDialog& dialog);
    void updateSnakeItem();
    bool isPauseDue() const;
    void pause();

    ModelItem* __item = nullptr;
    std::unique_ptr<ModelItem> __snakeItem;
    VRLSnakeConfig __snakeConfig;
    SnakeOperation* __operation = nullptr; // that runs
    QPointer<QDialog> __dialog;            // that is open
    QString __outcome;                     // of the run, for the user
    bool __quiet = false;                  // tells no failure in a message box
    QElapsedTimer __sinceStart;
    QElapsedTimer __sincePause; // for events
    qint64 __rest = 0;          // until the next pause, in milliseconds
};

} // namespace vorlen
