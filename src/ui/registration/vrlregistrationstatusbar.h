#pragma once

#include <QFrame>

#include "progress/progressmonitor.h"

class QProgressBar;
class QStatusBar;

namespace vorlen {

/// Status bar of the registration window: a message and a progress bar.
///
/// A text that is told of stays until the next one, and is painted at once; what the user does meanwhile waits.
class VRLRegistrationStatusBar : public QFrame, public ProgressMonitor {
    Q_OBJECT

public:
    explicit VRLRegistrationStatusBar(QWidget* parent = nullptr);

    /// Until the next one, or for so many milliseconds.
    void setMessage(const QString& message, int timeout = 0);
    QString message() const;

    using ProgressMonitor::subjectFinished;
    using ProgressMonitor::subjectProgressed;
    using ProgressMonitor::subjectStarted;
    void subjectStarted(const std::string& text) override;
    void subjectFinished(const std::string& text) override;
    void subjectProgressed(const std::string& text) override;
    void subjectProgressed(unsigned int current, unsigned int total) override;

private:
    QStatusBar* __statusBar;
    QProgressBar* __progressBar;
};

} // namespace vorlen
