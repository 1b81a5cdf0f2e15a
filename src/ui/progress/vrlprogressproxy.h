#pragma once

#include <QObject>
#include <QString>

#include "progress/progressproxy.h"

namespace vorlen {

/// Carries the progress scheme across threads.
///
/// What a proxy is notified of goes to its direct monitors on the caller's thread, and by queued signals to the proxies
/// that were added as monitors, whose slots run on the thread they live on. The signals carry no text but that of a
/// progress text, so a queued monitor gets empty texts on start, finish and cancel, and knows no current subject.
class VRLProgressProxy : public QObject, public ProgressProxy {
    Q_OBJECT

public:
    explicit VRLProgressProxy(QObject* parent = nullptr);

    using ProgressProxy::addMonitor;
    using ProgressProxy::removeMonitor;

    /// Queued connections of the five signals to the five slots of the monitor. Adding a proxy twice connects it once.
    void addMonitor(VRLProgressProxy& monitor);
    void removeMonitor(VRLProgressProxy& monitor);

    void notifyStarted(const std::string& text) override;
    void notifyFinished(const std::string& text) override;
    void notifyCanceled(const std::string& text) override;
    void notifyProgressed(unsigned int current, unsigned int total) override;
    void notifyProgressed(const std::string& text) override;

    using ProgressProxy::subjectCanceled;
    using ProgressProxy::subjectFinished;
    using ProgressProxy::subjectProgressed;
    using ProgressProxy::subjectStarted;

public slots:
    void subjectStarted();
    void subjectFinished();
    void subjectCanceled();
    void subjectProgressed(const QString& text);
    void subjectProgressed(const unsigned int current, const unsigned int total) override;

signals:
    void started();
    void finished();
    void canceled();
    void progressed(const QString& text);
    void progressed(const unsigned int current, const unsigned int total);
};

} // namespace vorlen
