#include "ui/comparison/vrlcomparisonrun.h"

#include <QFile>
#include <QThread>

#include "numerics/exception.h"
#include "ui/models/guarded.h"

namespace vorlen {

VRLComparisonRun::VRLComparisonRun(const ComparisonSettings& settings) : __comparison(settings) {
    __comparison.addMonitor(static_cast<ProgressMonitor&>(*this));
}

VRLComparisonRun::~VRLComparisonRun() {
    __comparison.removeMonitor(static_cast<ProgressMonitor&>(*this));
}

// The subject that speaks is that of the other thread; the flag of the comparison is all that may be touched.
void VRLComparisonRun::cancel() {
    __comparison.cancel();
}

void VRLComparisonRun::run() {
    QString reason;
    bool done = false;
    try {
        done = __comparison.run();
    } catch (const FileError& failure) {
        reason = QFile::decodeName(failure.getFile().c_str()) + ": " + QString::fromStdString(failure.getWhat());
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
