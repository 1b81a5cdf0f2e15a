#pragma once

#include <QString>

#include "normalization/groupcomparison.h"
#include "ui/progress/vrlprogressproxy.h"

namespace vorlen {

/// A comparison for a thread of its own: the object is moved to its thread, whose started() signal calls run(). run()
/// always ends with one of completed(), stopped() and failed(), and then lets its thread end. Nobody else may look at
/// the comparison before.
class VRLComparisonRun : public VRLProgressProxy {
    Q_OBJECT

public:
    explicit VRLComparisonRun(const ComparisonSettings& settings);
    ~VRLComparisonRun() override;

    const GroupComparison& getComparison() const { return __comparison; }

    /// From any thread; takes effect within a part of the work.
    void cancel() override;

public slots:
    void run();

signals:
    void completed();
    /// It was cancelled.
    void stopped();
    void failed(const QString& reason);

private:
    GroupComparison __comparison;
};

} // namespace vorlen
