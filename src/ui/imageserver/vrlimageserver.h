#pragma once

#include <cstddef>
#include <optional>

#include <QList>
#include <QMutex>
#include <QObject>
#include <QSize>

#include "progress/progressmonitor.h"

namespace vorlen {

class ImageSource;
class VRLImageProxy;
class VRLImageServerData;

/// Reads images for views, each source once for all views that ask for it, one source after the other in the order of
/// asking, on a worker thread of its own.
///
/// With the base size (0, 0) the views of a source get its full image, and behind it images of half the size each.
/// Of a section too large for memory that is an overview, as VRLImageReader has it.
/// With any other base size they get the one image fitted into that size, once it is small: until then the image is
/// the worker's alone, so that no paint ever meets the fitting in place.
///
/// With auto delete on, an image that no view shows is dropped, and a reading that nobody waits for is cancelled. With
/// auto delete off, images stay until the server goes. A reading that failed is not kept beyond its last view in either
/// case, so that a view which asks again makes it read again.
///
/// With an idle limit, images that no view looks at stay only as far as they fit into it, the one longest out of view
/// going first, and a reading that has not begun when its last view leaves is given up.
///
/// The next reading begins when a cancelled one has reported its end; the main thread does not wait for it. So there is
/// one worker and one image on its way at any time, however fast views change their sources.
///
/// A source is found again by its address and by what it names: its kind, size and files. A view with a source that
/// merely stands where another one died, or that names another file by now, gets a reading of its own. Readings work
/// on a copy of the source, which may therefore die as soon as its proxies are given another.
///
/// All operations belong to the main thread. Neither mutex, the server's first and the reading's second, is held while
/// views are told, so that a slot may attach, detach or destroy whatever it likes. The destructor cancels and joins the
/// worker, takes the images back from all proxies and deletes them.
class VRLImageServer : public QObject, public ProgressMonitor {
    Q_OBJECT

public:
    explicit VRLImageServer(QObject* parent = nullptr);
    ~VRLImageServer() override;

    /// (0, 0) at first. Holds for images whose reading has not ended yet. Throws SizeError unless both sides are 0 or
    /// both are greater.
    void setBaseSize(const QSize& size);
    const QSize& getBaseSize() const;

    /// On at first.
    void setAutoDelete(bool autoDelete);
    bool isAutoDelete() const;

    /// In bytes; without effect with auto delete on. None at first.
    void setIdleLimit(std::size_t bytes);

    /// For VRLImageProxy, with its source set: begins, or shares, a reading; hands an image over that is there already.
    void attachProxy(VRLImageProxy& proxy);
    void detachProxy(VRLImageProxy& proxy);

    /// Sources that wait, that are read or resized (at most one), that are done, and that were cancelled and whose
    /// worker has not reported its end yet (at most one).
    int getNumPending() const;
    int getNumRunning() const;
    int getNumDone() const;
    int getNumCanceled() const;

    /// Bytes of the images that views may look at, and of those that nobody wants and that are about to be deleted.
    std::size_t getNumImageBytes() const;

    using ProgressMonitor::subjectCanceled;
    using ProgressMonitor::subjectFinished;
    /// The reports of the readings.
    void subjectFinished(const std::string& text) override;
    void subjectCanceled(const std::string& text) override;

private:
    VRLImageServerData* __find(const ImageSource* key) const;
    VRLImageServerData* __newData(const ImageSource& source);
    bool __take(VRLImageServerData* data);
    VRLImageServerData* __replace(VRLImageServerData* stale, const ImageSource& source);
    void __runNextPendingData();
    void __dropIdle();

    mutable QMutex __mutex; // guards the lists
    QList<VRLImageServerData*> __pending;
    QList<VRLImageServerData*> __running;
    QList<VRLImageServerData*> __done;
    QList<VRLImageServerData*> __canceled;
    QSize __baseSize{0, 0};
    bool __autoDelete = true;
    std::optional<std::size_t> __idleLimit;
};

} // namespace vorlen
