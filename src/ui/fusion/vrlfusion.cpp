#include "ui/fusion/vrlfusion.h"

#include <QMutexLocker>
#include <QThread>

#include "ui/models/guarded.h"

namespace vorlen {

VRLFusion::VRLFusion(QObject* parent) : VRLProgressProxy(parent) {
    __pipeline.addMonitor(static_cast<ProgressMonitor&>(*this));
}

VRLFusion::~VRLFusion() {
    __pipeline.removeMonitor(static_cast<ProgressMonitor&>(*this));
}

void VRLFusion::cancel() {
    const QMutexLocker locker(&__mutex);
    VRLProgressProxy::cancel();
    __pipeline.cancel();
}

void VRLFusion::run() {
    QString reason;
    bool done = false;
    try {
        done = __pipeline.run();
    } catch (...) {
        reason = currentFailure();
    }
    if (!reason.isEmpty())
        emit failed(reason);
    else if (done)
        emit completed();
    else
        emit stopped();
    thread()->quit();
}

} // namespace vorlen
