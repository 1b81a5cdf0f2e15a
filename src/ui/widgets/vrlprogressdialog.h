#pragma once

#include <QProgressDialog>

#include "progress/progressmonitor.h"

namespace vorlen {

/// Modal dialog with the progress of work on the main thread; its button cancels the work.
class VRLProgressDialog : public QProgressDialog, public ProgressMonitor {
    Q_OBJECT

public:
    explicit VRLProgressDialog(QWidget* parent = nullptr);

    using ProgressMonitor::subjectProgressed;
    void subjectProgressed(const std::string& text) override;
    void subjectProgressed(unsigned int current, unsigned int total) override;

public slots:
    /// Cancels the subject that speaks, if there is one.
    void cancelCurrentSubject();
};

} // namespace vorlen
