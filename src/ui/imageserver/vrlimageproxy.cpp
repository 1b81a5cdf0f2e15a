#include "ui/imageserver/vrlimageproxy.h"

#include "images/rasters/image.h"
#include "numerics/exception.h"
#include "ui/imageserver/vrlimageserver.h"
#include "values/imagesource.h"

namespace vorlen {

VRLImageProxy::VRLImageProxy(QObject* parent) : VRLProgressProxy(parent) {
}

VRLImageProxy::~VRLImageProxy() {
    __leaveServer();
}

void VRLImageProxy::setImageServer(VRLImageServer& server) {
    if (__server == &server)
        return;
    __leaveServer();
    __server = &server;
    if (__source != nullptr)
        server.attachProxy(*this);
}

void VRLImageProxy::clearImageServer() {
    __leaveServer();
    __server = nullptr;
}

bool VRLImageProxy::hasImageServer() const {
    return !__server.isNull();
}

VRLImageServer& VRLImageProxy::getImageServer() const {
    if (__server.isNull())
        throw ProgramError("VRLImageServer& VRLImageProxy::getImageServer() const", "This proxy has no image server");
    return *__server;
}

void VRLImageProxy::setImageSource(const ImageSource& source) {
    if (__source == &source)
        return;
    __leaveServer();
    __source = &source;
    __originalSize = QSize(source.getSize2(), source.getSize1());
    if (!__server.isNull())
        __server->attachProxy(*this);
}

bool VRLImageProxy::hasImageSource() const {
    return __source != nullptr;
}

const ImageSource& VRLImageProxy::getImageSource() const {
    if (__source == nullptr)
        throw ProgramError("const ImageSource& VRLImageProxy::getImageSource() const",
                           "This proxy has no image source");
    return *__source;
}

const ImageSource* VRLImageProxy::key() const {
    return __source;
}

void VRLImageProxy::setImage(Image& image) {
    __failure.clear();
    if (!__images.contains(&image))
        __images.append(&image);
    emit imageChanged();
}

bool VRLImageProxy::hasImage() const {
    return !__images.isEmpty();
}

void VRLImageProxy::clearImage() {
    __images.clear();
    __failure.clear();
}

Image& VRLImageProxy::getImage() const {
    if (__images.isEmpty())
        throw ProgramError("Image& VRLImageProxy::getImage() const", "This proxy has no image");
    return *__images.first();
}

Image& VRLImageProxy::getImage(const QSize& size) const {
    if (__images.isEmpty())
        throw ProgramError("Image& VRLImageProxy::getImage(const QSize&) const", "This proxy has no image");
    for (int i = 0; i + 1 < __images.size(); ++i)
        if (__images[i + 1]->getWidth() <= size.width())
            return *__images[i];
    return *__images.last();
}

bool VRLImageProxy::isOverview() const {
    return hasImage() && __server && __server->getBaseSize() == QSize(0, 0) &&
           getImage().getWidth() < __originalSize.width();
}

int VRLImageProxy::getNumImages() const {
    return static_cast<int>(__images.size());
}

void VRLImageProxy::setFailure(const QString& message) {
    __failure = message;
    emit imageFailed(message);
}

bool VRLImageProxy::hasFailed() const {
    return !__failure.isEmpty();
}

const QString& VRLImageProxy::getFailure() const {
    return __failure;
}

void VRLImageProxy::setOriginalImageSize(const QSize& size) {
    __originalSize = size;
}

const QSize& VRLImageProxy::getOriginalImageSize() const {
    return __originalSize;
}

void VRLImageProxy::clearOriginalImageSize() {
    __originalSize = QSize(0, 0);
}

bool VRLImageProxy::hasOriginalImageSize() const {
    return __originalSize.width() != 0 || __originalSize.height() != 0;
}

bool VRLImageProxy::isEmpty() const {
    return !hasOriginalImageSize();
}

void VRLImageProxy::setPixelCalibration(const PixelCalibration& calibration) {
    __pixelCalibration = calibration;
}

const PixelCalibration& VRLImageProxy::getPixelCalibration() const {
    return __pixelCalibration;
}

void VRLImageProxy::clear() {
    clearImageServer();
    clearOriginalImageSize();
    __source = nullptr;
}

// The images go first: whatever the server does on the way, they are not looked at any more.
void VRLImageProxy::__leaveServer() {
    clearImage();
    if (!__server.isNull() && __source != nullptr)
        __server->detachProxy(*this);
}

} // namespace vorlen
