#include "ui/imageserver/vrlimagereader.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <memory>
#include <new>
#include <optional>
#include <stop_token>

#include "images/rasters/colormapexpansion.h"
#include "images/rasters/image.h"
#include "images/sections/imagebands.h"
#include "images/sections/sectionsource.h"
#include "numerics/exception.h"
#include "values/imagesource.h"

namespace vorlen {

namespace {

std::string sentence(const std::string& name, const std::string& reason) {
    const std::string subject = name.empty() ? "An image" : "The image \"" + name + "\"";
    return subject + " could not be read: " + reason + ".";
}

} // namespace

VRLImageReader::VRLImageReader(QObject* parent) : VRLProgressProxy(parent) {
}

void VRLImageReader::setImage(Image& image) {
    __image = &image;
}

void VRLImageReader::setImageSource(const ImageSource& source) {
    __source = &source;
}

bool VRLImageReader::hasEnded() const {
    return __ended.load(std::memory_order_acquire);
}

const std::string& VRLImageReader::getFailure() const {
    return __failure;
}

std::string VRLImageReader::sourceName(const ImageSource& source) {
    const std::vector<std::string> files = source.getFilenames();
    return files.empty() ? std::string() : files.front();
}

void VRLImageReader::removeImageColormap(Image& image) {
    ColormapExpansion::removeColormap(image);
}

void VRLImageReader::run() {
    VRLProgressProxy::notifyStarted("");
    __running = true;
    if (__image != nullptr && __source != nullptr && !isCanceled())
        __read();
    __running = false;
    const bool canceled = isCanceled();
    __ended.store(true, std::memory_order_release);
    if (canceled)
        VRLProgressProxy::notifyCanceled("");
    else
        VRLProgressProxy::notifyFinished("");
}

// No error may leave the thread, whatever its family: it would end the process.
void VRLImageReader::__read() {
    try {
        __numParts = std::max(1u, static_cast<unsigned int>(__source->getFilenames().size()));
        if (!__readOverview() && !__readSamples() && !__readReduced() && !isCanceled())
            read(*__image, *__source);
        if (isCanceled())
            return;
        if (__image->getData() == nullptr)
            __failure = sentence(sourceName(*__source), "it holds no image");
        else
            removeImageColormap(*__image);
    } catch (const FileError& error) {
        __failure = sentence(error.getFile().empty() ? sourceName(*__source) : error.getFile(), error.getWhat());
    } catch (const Exception& error) {
        __failure = sentence(sourceName(*__source), error.getWhat());
    } catch (const std::bad_alloc&) {
        __failure = sentence(sourceName(*__source), "there is not enough memory");
    } catch (const std::exception& error) {
        __failure = sentence(sourceName(*__source), error.what());
    } catch (...) {
        __failure = sentence(sourceName(*__source), "unknown error");
    }
}

/// False for a source that is to be read as a whole.
bool VRLImageReader::__readOverview() {
    const std::unique_ptr<TiledSection> section = openLargeSection(*__source);
    if (section == nullptr)
        return false;
    std::stop_source stop;
    if (section->getLevels().empty()) {
        try {
            section->build(stop.get_token(), [&](double done) {
                notifyProgressed(static_cast<unsigned int>(100 * done), 100u);
                if (isCanceled())
                    stop.request_stop();
            });
        } catch (const FileWriteError&) { // no room to keep it: as long as memory suffices
            return false;
        }
    }
    // Without levels some pixels here and there must do at first.
    constexpr std::chrono::milliseconds patience(400);
    section->readOverview(*__image, overviewSide, patience, stop.get_token());
    return true;
}

/// False for a source that is to be read as a whole.
bool VRLImageReader::__readSamples() {
    const int side = thumbnailSamples * __thumbnailSide;
    if (side == 0 || __source->getSize1() < 2 * side || __source->getSize2() < 2 * side)
        return false;
    constexpr std::chrono::milliseconds patience(800);
    try {
        const std::unique_ptr<TiledSection> section = openSection(*__source);
        return section != nullptr && section->readOverview(*__image, side, patience);
    } catch (const Exception&) {
        return false; // whoever reads all of it tells why
    }
}

/// A picture that can only be decoded from its beginning: by its rows, of which few are in memory at a time. False for
/// a source that is to be read as a whole.
bool VRLImageReader::__readReduced() {
    const int side = thumbnailSamples * __thumbnailSide;
    const auto place = side == 0 || __source->getSize1() < 2 * side || __source->getSize2() < 2 * side
                           ? std::nullopt
                           : filePageOf(*__source);
    if (!place)
        return false;
    try {
        return readReduced(*__image, place->filename, place->page, place->channel, side, [this](double done) {
            notifyProgressed(static_cast<unsigned int>(100 * done), 100u);
            return !isCanceled();
        });
    } catch (const Exception&) {
        return false; // whoever reads all of it tells why
    }
}

// A mosaic reports the start and end of each tile beside its own.
// What goes on from here is therefore the start and the end of run() alone.

void VRLImageReader::notifyStarted(const std::string& text) {
    if (!__running)
        VRLProgressProxy::notifyStarted(text);
}

void VRLImageReader::notifyFinished(const std::string& text) {
    if (!__running)
        VRLProgressProxy::notifyFinished(text);
    else
        ++__partsDone;
}

void VRLImageReader::notifyCanceled(const std::string& text) {
    if (!__running)
        VRLProgressProxy::notifyCanceled(text);
}

// A report for each row would flood the queue of the other thread.
void VRLImageReader::notifyProgressed(unsigned int current, unsigned int total) {
    if (!__running) {
        VRLProgressProxy::notifyProgressed(current, total);
        return;
    }
    if (total == 0)
        return;
    const unsigned long long part = 100ull * std::min(current, total) / total;
    const unsigned long long all = (100ull * __partsDone + part) / __numParts;
    const unsigned int percentage = static_cast<unsigned int>(std::min(all, 100ull));
    if (percentage <= __percentage)
        return;
    __percentage = percentage;
    VRLProgressProxy::notifyProgressed(percentage, 100u);
}

} // namespace vorlen
