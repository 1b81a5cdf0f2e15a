#include "ui/imageserver/vrlimageresizer.h"

#include <exception>
#include <new>
#include <utility>

#include "images/filters/meanfilter.h"
#include "images/filters/resizexform.h"
#include "numerics/exception.h"

namespace vorlen {

namespace {

constexpr int smallestSide = 64;

/// Hands the resizer's wish to cancel to the transformation at the start of each channel, on the thread of the work.
class CancelRelay : public ProgressMonitor {
public:
    explicit CancelRelay(const ProgressSubject& resizer) : __resizer(resizer) {}
    using ProgressMonitor::subjectStarted;
    void subjectStarted(const std::string&) override {
        if (__resizer.isCanceled())
            currentSubject()->cancel();
    }

private:
    const ProgressSubject& __resizer;
};

} // namespace

VRLImageResizer::VRLImageResizer(QObject* parent) : VRLProgressProxy(parent) {
}

void VRLImageResizer::setImage(Image& image) {
    __image = &image;
}

void VRLImageResizer::setTargetSize(const QSize& size) {
    __targetSize = size;
}

const QSize& VRLImageResizer::getTargetSize() const {
    return __targetSize;
}

std::vector<std::unique_ptr<Image>> VRLImageResizer::takeReducedImages() {
    const std::lock_guard<std::mutex> lock(__mutex);
    return std::exchange(__reducedImages, {});
}

bool VRLImageResizer::hasEnded() const {
    return __ended.load(std::memory_order_acquire);
}

const std::string& VRLImageResizer::getFailure() const {
    return __failure;
}

void VRLImageResizer::computeReducedImages(const Image& image) {
    CancelRelay relay(*this);
    const Image* present = &image;
    while (!isCanceled() && present->getWidth() >= smallestSide && present->getHeight() >= smallestSide) {
        auto reduced = std::make_unique<Image>();
        ResizeXForm resizer;
        resizer.addMonitor(relay);
        resizer.halve(*reduced, *present);
        if (isCanceled() || reduced->getData() == nullptr)
            return;
        Image* const made = reduced.get();
        {
            const std::lock_guard<std::mutex> lock(__mutex);
            __reducedImages.push_back(std::move(reduced));
        }
        present = made;
        emit imageAvailable(made);
    }
}

void VRLImageResizer::reduceImage(Image& image) {
    ResizeXForm resizer;
    resizer.setAspectFriendly(true);
    resizer.setSize(__targetSize.width(), __targetSize.height());
    int width = image.getWidth();
    int height = image.getHeight();
    resizer.convertSize(width, height);
    if (isCanceled())
        return;
    if (width > 0 && image.getWidth() > 2 * width) {
        MeanFilter filter;
        filter.setHalfSize(image.getWidth() / (2 * width));
        filter.apply(image);
    }
    if (isCanceled())
        return;
    resizer.apply(image);
}

// No error may leave the thread, whatever its family: it would end the process.
void VRLImageResizer::run() {
    notifyStarted("");
    const bool inPlace = __targetSize != QSize(0, 0);
    try {
        if (__image != nullptr && !isCanceled()) {
            if (inPlace)
                reduceImage(*__image);
            else
                computeReducedImages(*__image);
        }
    } catch (const Exception& error) {
        __failure = error.getWhat();
    } catch (const std::bad_alloc&) {
        __failure = "there is not enough memory";
    } catch (const std::exception& error) {
        __failure = error.what();
    } catch (...) {
        __failure = "unknown error";
    }
    const bool canceled = isCanceled();
    __ended.store(true, std::memory_order_release);
    if (canceled) {
        notifyCanceled("");
        return;
    }
    if (inPlace && __failure.empty())
        emit imageAvailable();
    notifyFinished("");
}

} // namespace vorlen
