#include "ui/registration/automaticregistration.h"

#include <exception>

#include "document/stack.h"
#include "editing/operations/sliceoperations.h"
#include "numerics/exception.h"
#include "progress/progressmonitor.h"

namespace vorlen {

namespace {

/// Slices with their images, sizes of pixels, positions and registrations, and nothing that is drawn on them.
std::unique_ptr<Stack> copyOfSlices(const Stack& stack, int first, int last) {
    auto copy = std::make_unique<Stack>();
    copy->setDefaultSliceSpacing(stack.getDefaultSliceSpacing());
    for (int i = first; i <= last; ++i) {
        const StackSlice& slice = stack.getSlice(i);
        auto* const twin = new StackSlice; // the copy's
        twin->setName(slice.getName());
        if (!slice.isEmpty())
            twin->setImageSource(slice.getImageSource());
        twin->setPixelCalibration(slice.getPixelCalibration());
        twin->setPlacement(slice.getPlacement());
        twin->setRegistration(slice.getRegistration());
        copy->addSlice(twin);
    }
    return copy;
}

} // namespace

/// Carries the progress from the thread of the run to that of the window.
class AutomaticRegistration::Relay : public ProgressMonitor {
public:
    explicit Relay(AutomaticRegistration& owner) : __owner(owner) {}

    using ProgressMonitor::subjectProgressed;
    void subjectProgressed(unsigned int current, unsigned int total) override {
        AutomaticRegistration* const owner = &__owner;
        QMetaObject::invokeMethod(
            owner, [owner, current, total] { emit owner->progressed(current, total); }, Qt::QueuedConnection);
    }

private:
    AutomaticRegistration& __owner;
};

AutomaticRegistration::AutomaticRegistration(QObject* parent) : QObject(parent) {
}

AutomaticRegistration::~AutomaticRegistration() {
    cancel();
    if (__worker.joinable())
        __worker.join();
}

void AutomaticRegistration::start(const Stack& stack, int first, int last, const std::vector<bool>& locked) {
    if (isRunning())
        return;
    __placements.clear();
    __failure.clear();
    __canceled = false;
    __progress.reset();
    __worker = std::thread([this, copy = std::shared_ptr<Stack>(copyOfSlices(stack, first - 1, last)), first, locked] {
        run(*copy, first, locked);
        QMetaObject::invokeMethod(this, [this] { conclude(); }, Qt::QueuedConnection);
    });
}

void AutomaticRegistration::cancel() {
    __progress.cancel();
}

void AutomaticRegistration::wait() {
    conclude();
}

void AutomaticRegistration::run(const Stack& stack, int first, const std::vector<bool>& locked) {
    Relay relay(*this);
    __progress.addMonitor(relay);
    try {
        const FoundRegistrations found = findRegistrations(stack, false, __progress);
        for (std::size_t k = 1; k < found.registrations.size(); ++k) {
            SlicePlacement placement;
            placement.slice = first + int(k) - 1;
            placement.registration = found.registrations[k];
            placement.found = true;
            for (const int unplaced : found.unplaced)
                if (std::size_t(unplaced) == k) {
                    placement.found = false;
                    placement.remark = "it or the slice before it is blank";
                }
            if (std::size_t(placement.slice) < locked.size() && locked[std::size_t(placement.slice)])
                placement.found = false;
            if (!placement.found)
                placement.registration = stack.getSlice(int(k)).getRegistration();
            __placements.push_back(placement);
        }
    } catch (const Exception& error) {
        __failure = error.getWhat();
    } catch (const std::exception& error) {
        __failure = error.what();
    }
    __progress.removeMonitor(relay);
}

void AutomaticRegistration::conclude() {
    if (!__worker.joinable())
        return; // somebody has waited for it
    __worker.join();
    __canceled = __progress.isCanceled();
    emit finished();
}

} // namespace vorlen
