#include "ui/imageserver/vrlimageserver.h"

#include <QMutexLocker>

#include "numerics/exception.h"
#include "ui/imageserver/vrlimageproxy.h"
#include "ui/imageserver/vrlimageserverdata.h"

namespace vorlen {

VRLImageServer::VRLImageServer(QObject* parent) : QObject(parent) {
}

// The records are children of the server, those that are on no list any more included.
VRLImageServer::~VRLImageServer() {
    for (auto* list : {&__pending, &__running, &__done, &__canceled})
        list->clear();
    const QObjectList records = children();
    for (QObject* record : records)
        delete record;
}

void VRLImageServer::setBaseSize(const QSize& size) {
    if (size != QSize(0, 0) && size.isEmpty())
        throw SizeError("void VRLImageServer::setBaseSize(const QSize&)", "Only one side of the base size is given");
    __baseSize = size;
}

const QSize& VRLImageServer::getBaseSize() const {
    return __baseSize;
}

void VRLImageServer::setAutoDelete(bool autoDelete) {
    __autoDelete = autoDelete;
}

bool VRLImageServer::isAutoDelete() const {
    return __autoDelete;
}

void VRLImageServer::setIdleLimit(std::size_t bytes) {
    __idleLimit = bytes;
    __dropIdle();
}

void VRLImageServer::attachProxy(VRLImageProxy& proxy) {
    const ImageSource& source = proxy.getImageSource();
    VRLImageServerData* stale = nullptr;
    VRLImageServerData* data;
    {
        const QMutexLocker locker(&__mutex);
        data = __find(&source);
        if (data != nullptr && !data->describes(source)) {
            stale = data;
            data = __replace(stale, source);
        } else if (data == nullptr) {
            data = __newData(source);
        }
        data->attachProxy(proxy);
    }
    if (stale != nullptr)
        stale->cancel();
    __runNextPendingData();
    // Last, because a slot that hears of the image may destroy this server.
    data->handOver(proxy);
}

void VRLImageServer::detachProxy(VRLImageProxy& proxy) {
    VRLImageServerData* left = nullptr;
    {
        const QMutexLocker locker(&__mutex);
        VRLImageServerData* const data = __find(proxy.key());
        if (data == nullptr || !data->detachProxy(proxy))
            return;
        const bool givenUp = __idleLimit && __pending.contains(data);
        if (!data->hasProxies() && (__autoDelete || data->hasFailed() || givenUp) && __take(data))
            left = data;
        else if (__done.removeOne(data))
            __done.append(data); // in the order of leaving
    }
    if (left != nullptr)
        left->cancel();
    __dropIdle();
}

int VRLImageServer::getNumPending() const {
    const QMutexLocker locker(&__mutex);
    return static_cast<int>(__pending.size());
}

int VRLImageServer::getNumRunning() const {
    const QMutexLocker locker(&__mutex);
    return static_cast<int>(__running.size());
}

int VRLImageServer::getNumDone() const {
    const QMutexLocker locker(&__mutex);
    return static_cast<int>(__done.size());
}

int VRLImageServer::getNumCanceled() const {
    const QMutexLocker locker(&__mutex);
    return static_cast<int>(__canceled.size());
}

std::size_t VRLImageServer::getNumImageBytes() const {
    std::size_t sum = 0;
    for (const VRLImageServerData* data : findChildren<VRLImageServerData*>(QString(), Qt::FindDirectChildrenOnly))
        sum += data->getNumImageBytes();
    return sum;
}

void VRLImageServer::subjectFinished(const std::string&) {
    auto* const data = dynamic_cast<VRLImageServerData*>(currentSubject());
    {
        const QMutexLocker locker(&__mutex);
        if (data != nullptr && __running.removeOne(data))
            __done.append(data);
    }
    __dropIdle();
    __runNextPendingData();
}

void VRLImageServer::subjectCanceled(const std::string&) {
    auto* const data = dynamic_cast<VRLImageServerData*>(currentSubject());
    if (data != nullptr) {
        const QMutexLocker locker(&__mutex);
        for (auto* list : {&__pending, &__running, &__done, &__canceled})
            list->removeOne(data);
        data->deleteLater();
    }
    __runNextPendingData();
}

VRLImageServerData* VRLImageServer::__find(const ImageSource* key) const {
    for (const auto* list : {&__done, &__running, &__pending})
        for (VRLImageServerData* data : *list)
            if (data->key() == key)
                return data;
    return nullptr;
}

VRLImageServerData* VRLImageServer::__newData(const ImageSource& source) {
    auto* const data = new VRLImageServerData(*this, source); // a child of this server, which deletes it at the latest
    __pending.append(data);
    return data;
}

/// Takes the record off its list, before it is cancelled. While a worker has it, its place counts as occupied.
bool VRLImageServer::__take(VRLImageServerData* data) {
    if (__running.removeOne(data)) {
        __canceled.append(data);
        return true;
    }
    return __done.removeOne(data) || __pending.removeOne(data);
}

/// A new record for the views of one whose source has changed under its address.
VRLImageServerData* VRLImageServer::__replace(VRLImageServerData* stale, const ImageSource& source) {
    VRLImageServerData* const data = __newData(source);
    const QList<VRLImageProxy*> proxies = stale->getProxies();
    for (VRLImageProxy* proxy : proxies) {
        proxy->clearImage();
        stale->detachProxy(*proxy);
        data->attachProxy(*proxy);
    }
    __take(stale);
    return data;
}

void VRLImageServer::__dropIdle() {
    if (!__idleLimit || __autoDelete)
        return;
    QList<VRLImageServerData*> dropped;
    {
        const QMutexLocker locker(&__mutex);
        std::size_t bytes = 0;
        for (qsizetype i = __done.size(); i-- > 0;) {
            VRLImageServerData* const data = __done[i];
            if (data->hasProxies())
                continue;
            bytes += data->getNumImageBytes();
            if (bytes > *__idleLimit)
                dropped.append(__done.takeAt(i));
        }
    }
    for (VRLImageServerData* data : dropped)
        data->cancel();
}

void VRLImageServer::__runNextPendingData() {
    VRLImageServerData* data;
    {
        const QMutexLocker locker(&__mutex);
        if (__pending.isEmpty() || !__running.isEmpty() || !__canceled.isEmpty())
            return;
        data = __pending.takeFirst();
        __running.append(data);
    }
    data->run();
}

} // namespace vorlen
