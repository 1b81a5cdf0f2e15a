#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include <QList>
#include <QMutex>
#include <QString>
#include <QThread>

#include "images/rasters/image.h"
#include "ui/imageserver/vrlimagereader.h"
#include "ui/imageserver/vrlimageresizer.h"
#include "ui/progress/vrlprogressproxy.h"

namespace vorlen {

class ImageSource;
class VRLImageProxy;
class VRLImageServer;

/// What a server knows of one source: the views that want it, its images, and the worker that makes them.
///
/// It goes from pending to reading, resizing and done, or is cancelled out of any of these. It is a child of its
/// server, which hears of the end of each by the progress scheme: finished when done, cancelled when it can be deleted.
///
/// A worker reports its end by a queued signal as the last of its doings, so that the join that follows is short. The
/// destructor cancels a worker at work and joins it.
class VRLImageServerData : public VRLProgressProxy {
    Q_OBJECT

public:
    enum State { Pending, Reading, Resizing, Done, Canceled };

    /// Keeps a copy of the source and its address. The server becomes parent and monitor.
    VRLImageServerData(VRLImageServer& server, const ImageSource& source);
    ~VRLImageServerData() override;

    State getState() const;

    /// Address of the source; what it points to may have died.
    const ImageSource* key() const;
    /// Whether the source is still what it was when this object was made.
    bool describes(const ImageSource& source) const;

    /// Puts the proxy on the list and lets it hear the progress; images come by handOver().
    void attachProxy(VRLImageProxy& proxy);
    /// False when the proxy is not on the list.
    bool detachProxy(VRLImageProxy& proxy);
    bool hasProxies() const;
    QList<VRLImageProxy*> getProxies() const;

    /// Gives the full image, or the failure, to the proxy when there is one. The last step of its caller: a slot of
    /// the proxy may destroy this object.
    void handOver(VRLImageProxy& proxy);

    /// Starts the reading.
    void run();

    /// Stops the worker, who then reports; without one, reports at once that this object can be deleted.
    void cancel() override;

    bool hasFailed() const;
    std::size_t getNumImageBytes() const;

    using VRLProgressProxy::subjectCanceled;
    using VRLProgressProxy::subjectFinished;
    /// The reports of reader and resizer.
    void subjectFinished(const std::string& text) override;
    void subjectCanceled(const std::string& text) override;

public slots:
    void notifyProxysUpdateImage();
    void reducedImageAvailable(Image* image);

private:
    void __runReader();
    void __runResizer();
    void __readerEnded();
    void __resizerEnded();
    void __join();
    void __finish();
    void __fail(const QString& message);
    void __fail(const std::string& what, const std::string& reason);
    void __endCanceled();
    bool __takeReducedImages(QList<Image*>& taken);
    template <class Operation>
    void __tellProxies(Operation operation);

    VRLImageServer* __server;
    const ImageSource* __key;
    std::unique_ptr<const ImageSource> __source;
    State __state = Pending;
    mutable QMutex __mutex; // guards the list of proxies
    QList<VRLImageProxy*> __proxies;
    std::unique_ptr<Image> __image;
    bool __imageShown = false; // the image is no worker's any more, and given to proxies
    std::vector<std::unique_ptr<Image>> __reducedImages;
    QString __failure;
    // Made when needed and gone with the work: most records of a long stack wait or are done.
    std::unique_ptr<VRLImageReader> __reader;
    std::unique_ptr<VRLImageResizer> __resizer;
    std::unique_ptr<QThread> __workerThread; // of the reader first, then another of the resizer
};

} // namespace vorlen
