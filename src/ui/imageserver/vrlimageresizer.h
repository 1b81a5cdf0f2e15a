#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <QSize>

#include "images/rasters/image.h"
#include "ui/progress/vrlprogressproxy.h"

namespace vorlen {

/// Makes the smaller images of one image on a worker thread.
///
/// With the target size (0, 0) these are new images of half the width and height each, as long as the last is at least
/// 64 pixels wide and high; the image itself is only read. With any other target size the image itself is fitted into
/// that size, its aspect kept, and smoothed before when it shrinks to less than half.
///
/// run() reports one start and, as its last, one finish or cancellation. An error ends it as finished: what has been
/// made so far stands, and getFailure() says why there is no more.
///
/// The image is seen, not owned, and must outlive run().
class VRLImageResizer : public VRLProgressProxy {
    Q_OBJECT

public:
    explicit VRLImageResizer(QObject* parent = nullptr);

    void setImage(Image& image);
    void setTargetSize(const QSize& size);
    const QSize& getTargetSize() const;

    /// The images made since the last call, largest first, which the caller owns from here on. They may be looked at
    /// at once, and must not be changed or deleted before run() has ended: the next one is made out of the last.
    std::vector<std::unique_ptr<Image>> takeReducedImages();

    /// True once run() has written its last; what the worker wrote can be seen by who has read true here.
    bool hasEnded() const;
    /// Empty unless an error came up.
    const std::string& getFailure() const;

    void computeReducedImages(const Image& image);
    void reduceImage(Image& image);

public slots:
    void run();

signals:
    /// The image itself has changed for the last time.
    void imageAvailable();
    /// There is a new image to be taken, this one.
    void imageAvailable(Image* image);

private:
    Image* __image = nullptr;
    QSize __targetSize{0, 0};
    std::mutex __mutex; // guards the reduced images
    std::vector<std::unique_ptr<Image>> __reducedImages;
    std::string __failure;
    std::atomic<bool> __ended = false;
};

} // namespace vorlen
