#include "ui/spots/spotsearch.h"

#include <exception>

#include "numerics/exception.h"
#include "spots/spotprogress.h"

namespace vorlen {

SpotSearch::SpotSearch(const VoxelMatrix<float>& filtered, const VoxelMatrix<float>& grey, QObject* parent)
    : QObject(parent), __filtered(filtered), __grey(grey) {
}

SpotSearch::~SpotSearch() {
    __progress.cancel();
    if (__worker.joinable())
        __worker.join();
}

void SpotSearch::start(double threshold, const VRLSpotExtractionConfig& config) {
    __threshold = threshold;
    __config = config;
    __result.reset();
    __wishPending = true;
    if (isRunning())
        __progress.cancel();
    else
        begin();
}

void SpotSearch::begin() {
    __wishPending = false;
    __failure.clear();
    __progress.reset();
    __found = std::make_shared<SpotLabels>();
    __worker = std::thread([this, threshold = __threshold, config = __config] {
        QString failure;
        try {
            SpotProgress progress(__progress, 1);
            if (findSpots(__filtered, threshold, config, *__found, progress))
                measureSpots(__grey, *__found);
        } catch (const Exception& error) {
            failure = QString::fromStdString(error.getWhat());
        } catch (const std::bad_alloc&) {
            failure = "There is not enough memory";
        } catch (const std::exception& error) {
            failure = QString::fromUtf8(error.what());
        }
        QMetaObject::invokeMethod(
            this,
            [this, failure] {
                __failure = failure;
                conclude();
            },
            Qt::QueuedConnection);
    });
}

void SpotSearch::conclude() {
    __worker.join();
    if (__wishPending)
        return begin();
    if (__failure.isEmpty())
        __result = __found;
    __found.reset();
    emit finished();
}

} // namespace vorlen
