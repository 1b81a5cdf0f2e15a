#pragma once

#include <memory>
#include <thread>

#include <QObject>
#include <QString>

#include "progress/progresssubject.h"
#include "spots/spotlabels.h"

namespace vorlen {

/// Looks for the spots of a volume at one threshold after the other, on a thread of its own, while the window lives on.
/// A new wish replaces the one that is being worked at.
class SpotSearch : public QObject {
    Q_OBJECT

public:
    /// The volumes are seen, not owned: the one that was filtered, and the grey values to be measured.
    SpotSearch(const VoxelMatrix<float>& filtered, const VoxelMatrix<float>& grey, QObject* parent = nullptr);
    /// Cancels, and waits for the thread.
    ~SpotSearch() override;

    void start(double threshold, const VRLSpotExtractionConfig& config);
    bool isRunning() const { return __worker.joinable(); }

    /// Of the last wish, measured; null while it is being worked at, and when it failed.
    const std::shared_ptr<const SpotLabels>& result() const { return __result; }
    /// Why the last search failed; empty otherwise.
    const QString& failure() const { return __failure; }

signals:
    /// The last wish was fulfilled, or failed.
    void finished();

private:
    void begin();
    void conclude();

    const VoxelMatrix<float>& __filtered;
    const VoxelMatrix<float>& __grey;
    std::thread __worker;
    ProgressSubject __progress;
    double __threshold = 0;
    VRLSpotExtractionConfig __config;
    bool __wishPending = false;
    std::shared_ptr<SpotLabels> __found; // the thread's, until it ends
    std::shared_ptr<const SpotLabels> __result;
    QString __failure;
};

} // namespace vorlen
