#include "ui/imageserver/vrlimageserverdata.h"

#include <QMutexLocker>
#include <QPointer>

#include "ui/imageserver/vrlimageproxy.h"
#include "ui/imageserver/vrlimageserver.h"
#include "values/imagesource.h"

namespace vorlen {

VRLImageServerData::VRLImageServerData(VRLImageServer& server, const ImageSource& source)
    : VRLProgressProxy(&server), __server(&server), __key(&source), __source(source.clone()) {
    addMonitor(server);
}

VRLImageServerData::~VRLImageServerData() {
    if (__reader)
        __reader->cancel();
    if (__resizer)
        __resizer->cancel();
    __join();
    for (VRLImageProxy* proxy : getProxies()) {
        proxy->clearImage();
        detachProxy(*proxy);
    }
}

VRLImageServerData::State VRLImageServerData::getState() const {
    return __state;
}

const ImageSource* VRLImageServerData::key() const {
    return __key;
}

bool VRLImageServerData::describes(const ImageSource& source) const {
    return __source->isSameImage(source);
}

void VRLImageServerData::attachProxy(VRLImageProxy& proxy) {
    const QMutexLocker locker(&__mutex);
    if (__proxies.contains(&proxy))
        return;
    __proxies.append(&proxy);
    addMonitor(proxy);
}

bool VRLImageServerData::detachProxy(VRLImageProxy& proxy) {
    const QMutexLocker locker(&__mutex);
    if (!__proxies.removeOne(&proxy))
        return false;
    removeMonitor(proxy);
    proxy.removeMonitor(*this);
    return true;
}

bool VRLImageServerData::hasProxies() const {
    const QMutexLocker locker(&__mutex);
    return !__proxies.isEmpty();
}

QList<VRLImageProxy*> VRLImageServerData::getProxies() const {
    const QMutexLocker locker(&__mutex);
    return __proxies;
}

void VRLImageServerData::handOver(VRLImageProxy& proxy) {
    if (__imageShown)
        proxy.setImage(*__image);
    else if (hasFailed())
        proxy.setFailure(__failure);
}

void VRLImageServerData::run() {
    __runReader();
}

void VRLImageServerData::cancel() {
    if (isCanceled())
        return;
    // Whom to cancel besides the state tells, not who speaks.
    ProgressSubject::cancel(); // NOLINT(bugprone-parent-virtual-call)
    if (__state == Reading && __reader)
        __reader->cancel();
    else if (__state == Resizing && __resizer)
        __resizer->cancel();
    else
        __endCanceled();
}

bool VRLImageServerData::hasFailed() const {
    return !__failure.isEmpty();
}

std::size_t VRLImageServerData::getNumImageBytes() const {
    std::size_t sum = __imageShown ? __image->dataLength() : 0;
    for (const auto& image : __reducedImages)
        sum += image->dataLength();
    return sum;
}

void VRLImageServerData::subjectFinished(const std::string&) {
    if (__state == Reading)
        __readerEnded();
    else if (__state == Resizing)
        __resizerEnded();
}

// A worker that was cancelled after its last look at the flag reports finished: both ways lead to the same places.
void VRLImageServerData::subjectCanceled(const std::string& text) {
    subjectFinished(text);
}

void VRLImageServerData::notifyProxysUpdateImage() {
    if (isCanceled())
        return;
    __imageShown = true;
    __tellProxies([this](VRLImageProxy& proxy) { proxy.setImage(*__image); });
}

void VRLImageServerData::reducedImageAvailable(Image*) {
    QList<Image*> taken;
    if (!__takeReducedImages(taken) || isCanceled())
        return;
    const QPointer<VRLImageServerData> self(this);
    for (Image* reduced : taken) {
        if (!self)
            return;
        __tellProxies([reduced](VRLImageProxy& proxy) { proxy.setImage(*reduced); });
    }
}

void VRLImageServerData::__runReader() {
    __state = Reading;
    __image = std::make_unique<Image>();
    __reader = std::make_unique<VRLImageReader>();
    __workerThread = std::make_unique<QThread>();
    __reader->setImage(*__image);
    __reader->setImageSource(*__source);
    __reader->setThumbnailSide(__server->getBaseSize().width());
    __reader->addMonitor(*this);
    __reader->moveToThread(__workerThread.get());
    connect(__workerThread.get(), &QThread::started, __reader.get(), &VRLImageReader::run);
    __workerThread->start(QThread::InheritPriority);
    // Without a thread nobody would report. As from a worker, the report comes by way of the event loop.
    if (!__workerThread->isRunning())
        QMetaObject::invokeMethod(
            this, [this] { subjectFinished(std::string()); }, Qt::QueuedConnection);
}

void VRLImageServerData::__runResizer() {
    __state = Resizing;
    __resizer = std::make_unique<VRLImageResizer>();
    __workerThread = std::make_unique<QThread>();
    __resizer->setImage(*__image);
    __resizer->setTargetSize(__server->getBaseSize());
    __resizer->addMonitor(*this);
    __resizer->moveToThread(__workerThread.get());
    connect(__workerThread.get(), &QThread::started, __resizer.get(), &VRLImageResizer::run);
    connect(__resizer.get(), qOverload<>(&VRLImageResizer::imageAvailable), this,
            &VRLImageServerData::notifyProxysUpdateImage, Qt::QueuedConnection);
    connect(__resizer.get(), qOverload<Image*>(&VRLImageResizer::imageAvailable), this,
            &VRLImageServerData::reducedImageAvailable, Qt::QueuedConnection);
    __workerThread->start(QThread::InheritPriority);
    if (!__workerThread->isRunning())
        QMetaObject::invokeMethod(
            this, [this] { subjectFinished(std::string()); }, Qt::QueuedConnection);
}

void VRLImageServerData::__readerEnded() {
    __join();
    const std::unique_ptr<VRLImageReader> reader = std::move(__reader);
    if (isCanceled()) {
        __endCanceled();
        return;
    }
    if (!reader->hasEnded()) {
        __fail("could not be read", "the system gives no more threads");
        return;
    }
    if (!reader->getFailure().empty()) {
        __fail(QString::fromStdString(reader->getFailure()));
        return;
    }
    __runResizer();
    // The halving only looks at the image, which can be shown meanwhile. Fitting in place changes it.
    if (__resizer->getTargetSize() == QSize(0, 0))
        notifyProxysUpdateImage();
}

void VRLImageServerData::__resizerEnded() {
    __join();
    const std::unique_ptr<VRLImageResizer> resizer = std::move(__resizer);
    if (isCanceled()) {
        __endCanceled();
        return;
    }
    if (!__imageShown) {
        const std::string reason =
            resizer->hasEnded() ? resizer->getFailure() : std::string("the system gives no more threads");
        __fail("could not be reduced", reason);
        return;
    }
    __finish();
}

void VRLImageServerData::__join() {
    if (!__workerThread)
        return;
    __workerThread->quit();
    __workerThread->wait();
    __workerThread.reset();
}

void VRLImageServerData::__finish() {
    __state = Done;
    VRLProgressProxy::subjectFinished(std::string());
}

void VRLImageServerData::__fail(const QString& message) {
    __failure = message;
    __image.reset();
    __finish();
    __tellProxies([message](VRLImageProxy& proxy) { proxy.setFailure(message); });
}

void VRLImageServerData::__fail(const std::string& what, const std::string& reason) {
    const std::string name = VRLImageReader::sourceName(*__source);
    __fail(QString::fromStdString("The image \"" + name + "\" " + what + ": " + reason + "."));
}

void VRLImageServerData::__endCanceled() {
    __state = Canceled;
    VRLProgressProxy::subjectCanceled(std::string());
}

bool VRLImageServerData::__takeReducedImages(QList<Image*>& taken) {
    if (__resizer)
        for (std::unique_ptr<Image>& image : __resizer->takeReducedImages()) {
            taken.append(image.get());
            __reducedImages.push_back(std::move(image));
        }
    return !taken.isEmpty();
}

/// The operation on each proxy, whose slots may attach, detach and destroy proxies, and destroy this object.
template <class Operation>
void VRLImageServerData::__tellProxies(Operation operation) {
    const QPointer<VRLImageServerData> self(this);
    const QList<VRLImageProxy*> proxies = getProxies();
    for (VRLImageProxy* proxy : proxies) {
        if (!self || isCanceled())
            return;
        if (getProxies().contains(proxy))
            operation(*proxy);
    }
}

} // namespace vorlen
