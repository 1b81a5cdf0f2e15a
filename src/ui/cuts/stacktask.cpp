#include "ui/cuts/stacktask.h"

#include <utility>

#include "document/stack.h"
#include "progress/progressmonitor.h"
#include "ui/models/guarded.h"

namespace vorlen {

namespace {

/// Slices with their images, sizes of pixels, positions and registrations, and nothing that is drawn on them.
std::shared_ptr<Stack> copyOfSlices(const Stack& stack) {
    auto copy = std::make_shared<Stack>();
    copy->setDefaultSliceSpacing(stack.getDefaultSliceSpacing());
    for (int i = 0; i < stack.getNumSlices(); ++i) {
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

/// Carries the progress from the thread of the work to that of the window.
class StackTask::Relay : public ProgressMonitor {
public:
    explicit Relay(StackTask& owner) : __owner(owner) { __owner.__progress.addMonitor(*this); }
    ~Relay() override { __owner.__progress.removeMonitor(*this); }

    using ProgressMonitor::subjectProgressed;
    void subjectProgressed(unsigned int current, unsigned int total) override {
        StackTask* const owner = &__owner;
        __owner.tell([owner, current, total] { emit owner->progressed(current, total); });
    }

private:
    StackTask& __owner;
};

StackTask::StackTask(QObject* parent) : QObject(parent) {
}

StackTask::~StackTask() {
    stop();
}

void StackTask::stop() {
    cancel();
    if (__worker.joinable())
        __worker.join();
}

bool StackTask::start(const Stack& stack, Work work) {
    if (isRunning())
        return false;
    __failure.clear();
    __canceled = false;
    __progress.reset();
    __originals.clear();
    __originals.reserve(static_cast<std::size_t>(stack.getNumSlices()));
    for (int i = 0; i < stack.getNumSlices(); ++i)
        __originals.push_back(&stack.getSlice(i));
    __worker = std::thread([this, copy = copyOfSlices(stack), task = std::move(work)] {
        const Relay relay(*this);
        try {
            task(*copy, __progress);
        } catch (...) {
            __failure = currentFailure().toStdString();
        }
        tell([this] { conclude(); });
    });
    return true;
}

void StackTask::tell(std::function<void()> news) {
    QMetaObject::invokeMethod(this, std::move(news), Qt::QueuedConnection);
}

void StackTask::cancel() {
    __progress.cancel();
}

void StackTask::wait() {
    conclude();
}

void StackTask::conclude() {
    if (!__worker.joinable())
        return; // somebody has waited for it
    __worker.join();
    __canceled = __progress.isCanceled();
    emit finished();
}

} // namespace vorlen
