#pragma once

#include <QElapsedTimer>
#include <QFrame>

#include "progress/progressmonitor.h"

class QAction;
class QLabel;
class QLineEdit;
class QProgressBar;
class QStatusBar;
class QToolButton;

namespace vorlen {

class VRLSliceEditWidgetStatusBar;

/// Status bar of a root window: the current stack and slice, messages, what the slice view tells, and progress.
///
/// A message that has no room ends in three dots; its tip is the whole.
/// While a subject reports, the window keeps painting and no command can start.
class VRLRootStatusBar : public QFrame, public ProgressMonitor {
    Q_OBJECT

public:
    explicit VRLRootStatusBar(QWidget* parent = nullptr);

    /// The commands of the buttons beside the names.
    void setStackAnnotationAction(QAction* action);
    void setSliceAnnotationAction(QAction* action);

    /// With the path of its file, for the tip.
    void setStack(const QString& name, const QString& path);
    void setSlice(const QString& name);

    /// Until the next message, or for so many milliseconds.
    void setMessage(const QString& message);
    void setMessage(const QString& message, int timeoutMilliseconds);
    QString message() const;

    /// A sentence that stays until it is replaced by an empty one, behind a sign that a tool tip explains.
    void setWarning(const QString& warning);

    VRLSliceEditWidgetStatusBar& getSliceEditWidgetStatusBar() { return *__sliceStatusBar; }
    QProgressBar& progressBar() { return *__progressBar; }

    using ProgressMonitor::subjectFinished;
    using ProgressMonitor::subjectProgressed;
    using ProgressMonitor::subjectStarted;
    void subjectStarted(const std::string& text) override;
    void subjectFinished(const std::string& text) override;
    void subjectProgressed(const std::string& text) override;
    void subjectProgressed(unsigned int current, unsigned int total) override;

private:
    QLineEdit* __stack;
    QToolButton* __annotateStack;
    QLineEdit* __slice;
    QToolButton* __annotateSlice;
    QStatusBar* __statusBar; // keeps the message and its time; is not seen itself
    QLabel* __warning;
    VRLSliceEditWidgetStatusBar* __sliceStatusBar;
    QProgressBar* __progressBar;
    QString __step;               // of a task, as told last; goes with its end
    QElapsedTimer __sinceEvents;  // that passed
    QElapsedTimer __sincePicture; // of the progress bar
    qint64 __rest = 0;            // to the next one, in milliseconds
};

} // namespace vorlen
