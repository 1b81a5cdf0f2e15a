#pragma once

#include <QFrame>

#include "progress/progressmonitor.h"

class QProgressBar;
class QStatusBar;

namespace vorlen {

/// Status bar of the windows beside the root window: a message and a progress bar. Monitors work on the main thread.
class VRLStatusBar : public QFrame, public ProgressMonitor {
    Q_OBJECT

public:
    explicit VRLStatusBar(QWidget* parent = nullptr);

    /// Shows the message until the next one, or for so many milliseconds.
    void setMessage(const QString& message, int timeout = 0);
    QString message() const;

    QProgressBar& progressBar() { return *__progressBar; }

    using ProgressMonitor::subjectFinished;
    using ProgressMonitor::subjectProgressed;
    void subjectFinished(const std::string& text) override;
    void subjectProgressed(const std::string& text) override;
    void subjectProgressed(unsigned int current, unsigned int total) override;

private:
    QStatusBar* __statusBar;
    QProgressBar* __progressBar;
};

} // namespace vorlen
