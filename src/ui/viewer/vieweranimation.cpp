#include "ui/viewer/vieweranimation.h"

#include <algorithm>

#include "ui/viewer/shapeviewerpaintergl.h"

namespace vorlen {

namespace {

void showShape(PainterGL<float>& painter, bool shown) {
    auto* const viewer = dynamic_cast<ShapeViewerPainterGL*>(&painter);
    if (viewer == nullptr || viewer->getProxy() == nullptr)
        return;
    ShapePainterAttributesGL attributes = viewer->getProxy()->getAttributes();
    attributes.setVisibility(shown);
    viewer->getProxy()->setAttributes(attributes);
}

} // namespace

ViewerAnimation::ViewerAnimation(QObject* parent) : QObject(parent), __show(showShape) {
    __timer.setInterval(50);
    connect(&__timer, &QTimer::timeout, this, &ViewerAnimation::makeOneStep);
}

void ViewerAnimation::setTimeout(int timeout) {
    __timer.setInterval(std::max(0, timeout));
}

void ViewerAnimation::setCurrentIndex(int index) {
    const int n = int(__painters.size());
    if (index >= 0 && index < n) {
        __index = index;
    } else if (index >= n) {
        __index = __circular ? 0 : std::max(0, n - 2);
        __forward = __forward && __circular;
    } else {
        __index = __circular ? std::max(0, n - 1) : 0;
        __forward = __forward || !__circular;
    }
    // The step size may be any number.
    const long long end = static_cast<long long>(__index) + __stepSize;
    for (int p = 0; p < n; ++p)
        __show(*__painters[std::size_t(p)], p >= __index && p < end);
    emit currentIndexChanged(__index);
}

void ViewerAnimation::toggle() {
    if (isRunning())
        return __timer.stop();
    setCurrentIndex(0);
    __forward = true;
    __timer.start();
}

void ViewerAnimation::makeOneStep() {
    const long long next =
        static_cast<long long>(__index) + (__forward ? __stepSize : -static_cast<long long>(__stepSize));
    setCurrentIndex(int(std::clamp(next, -1LL, static_cast<long long>(__painters.size()))));
}

} // namespace vorlen
