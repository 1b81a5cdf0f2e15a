#pragma once

#include <QObject>
#include <QSocketNotifier>

namespace vorlen {

/// Turns the signals by which a system ends a program (SIGTERM, SIGHUP, SIGINT) into a Qt signal on the thread of this
/// object, so that the work can be brought to safety first. One object at a time.
class TerminationSignals : public QObject {
    Q_OBJECT

public:
    /// Throws ProgramError when the system has no descriptors left.
    explicit TerminationSignals(QObject* parent = nullptr);
    /// The signals end the program again.
    ~TerminationSignals() override;

signals:
    void terminated(int signal);

private:
    void take();

    QSocketNotifier* __notifier;
};

} // namespace vorlen
