#pragma once

#include <atomic>
#include <string>

#include "images/files/imagereader.h"
#include "ui/progress/vrlprogressproxy.h"

namespace vorlen {

class Image;
class ImageSource;

/// Reads one image on a worker thread.
///
/// However a source is put together, run() reports one start and, as the very last thing that it does, one finish or
/// one cancellation; in between, progress out of 100, each percentage once. An error of any kind ends the reading as
/// finished, with a sentence in getFailure() and without an image. The wish to cancel is looked at before each row and
/// each tile of a mosaic.
///
/// Of a section that is too large to be read as a whole the image is an overview, of at most overviewSide pixels in
/// width and height. A file that gives no parts of itself is read once for it, and kept in reduced sizes.
///
/// For a thumbnail of a file that gives parts of itself, and is twice thumbnailSamples times as wide and high, or more,
/// some pixels here and there are read, thumbnailSamples along each side of one of the thumbnail's, or as many as 0.8
/// seconds allow: all of a large one would take longer. What can't be read so is read as a whole.
///
/// Image and source are seen, not owned, and must outlive run(). Nobody else touches the image until hasEnded().
class VRLImageReader : public VRLProgressProxy, public ImageReader {
    Q_OBJECT

public:
    static constexpr int overviewSide = 2048;
    static constexpr int thumbnailSamples = 4;

    explicit VRLImageReader(QObject* parent = nullptr);

    void setImage(Image& image);
    void setImageSource(const ImageSource& source);

    /// The image is to be reduced to this side, in pixels; 0, the default, when it is wanted itself.
    void setThumbnailSide(int side) { __thumbnailSide = side; }

    /// True once run() has written its last; what the worker wrote can be seen by who has read true here.
    bool hasEnded() const;

    /// Why there is no image, naming the file; empty when there is one, and after a cancellation.
    const std::string& getFailure() const;

    /// What to call the image of a source: the name of its first file; empty for one without files.
    static std::string sourceName(const ImageSource& source);

    /// Makes an indexed image plain: 8 bits for gray colours, else 24 bits. Leaves other images alone.
    static void removeImageColormap(Image& image);

    using VRLProgressProxy::notifyProgressed;
    void notifyStarted(const std::string& text) override;
    void notifyFinished(const std::string& text) override;
    void notifyCanceled(const std::string& text) override;
    void notifyProgressed(unsigned int current, unsigned int total) override;

public slots:
    void run();

private:
    void __read();
    bool __readOverview();
    bool __readSamples();
    bool __readReduced();

    Image* __image = nullptr;
    const ImageSource* __source = nullptr;
    int __thumbnailSide = 0;
    std::string __failure;
    std::atomic<bool> __ended = false;

    bool __running = false;      // reports of the reading's steps are kept back
    unsigned int __numParts = 1; // files that make the image
    unsigned int __partsDone = 0;
    unsigned int __percentage = 0; // last reported
};

} // namespace vorlen
