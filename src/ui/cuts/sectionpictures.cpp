#include "ui/cuts/sectionpictures.h"

#include <algorithm>
#include <cmath>

#include "document/stack.h"
#include "images/rasters/image.h"
#include "numerics/exception.h"
#include "ui/cuts/greyimage.h"

namespace vorlen {

namespace {

constexpr double mostBytes = 64e6;

/// Longest side of the small pictures of so many slices.
int smallSide(int numSlices) {
    return int(std::clamp(std::sqrt(mostBytes / std::max(1, numSlices)), 64.0, 400.0));
}

/// Null for an image that can't be read.
std::shared_ptr<Image> smallPictureOf(const Slice& slice, int side) {
    auto picture = std::make_shared<Image>();
    try {
        loadGrey(slice, *picture);
        const double ratio = std::max(picture->getWidth(), picture->getHeight()) / double(side);
        const int width = std::max(1, int(picture->getWidth() / std::max(1.0, ratio)));
        const int height = std::max(1, int(picture->getHeight() / std::max(1.0, ratio)));
        smoothToSize(*picture, width, height);
        resizeTo(*picture, width, height);
    } catch (const std::exception&) {
        picture.reset();
    } catch (const Exception&) {
        picture.reset();
    }
    return picture;
}

} // namespace

SectionPictures::SectionPictures(QObject* parent) : StackTask(parent) {
}

SectionPictures::~SectionPictures() {
    stop();
}

void SectionPictures::readMissing(const Stack& stack) {
    if (isRunning())
        return;
    std::vector<int> places;
    for (int i = 0; i < stack.getNumSlices(); ++i)
        if (__pictures.count(&stack.getSlice(i)) == 0)
            places.push_back(i);
    if (!places.empty())
        read(stack, places, smallSide(stack.getNumSlices()));
}

// Pictures that come late, of a stack or an image that is shown no more, are dropped.
void SectionPictures::read(const Stack& stack, const std::vector<int>& places, int side) {
    start(
        stack,
        [this, places, side, generation = __generation](const Stack& copy, ProgressSubject& progress) {
            for (const int place : places) {
                if (progress.isCanceled())
                    return;
                const std::shared_ptr<Image> picture = smallPictureOf(copy.getSlice(place), side);
                tell([this, slice = original(place), picture, generation] {
                    if (generation != __generation)
                        return;
                    __pictures[slice] = picture;
                    emit pictureRead();
                });
            }
        });
}

void SectionPictures::forget() {
    cancel();
    __pictures.clear();
    ++__generation;
}

bool SectionPictures::isComplete(const Stack& stack) const {
    for (int i = 0; i < stack.getNumSlices(); ++i)
        if (__pictures.count(&stack.getSlice(i)) == 0)
            return false;
    return true;
}

const Image* SectionPictures::pictureOf(const StackSlice& slice) const {
    const auto found = __pictures.find(&slice);
    return found == __pictures.end() ? nullptr : found->second.get();
}

} // namespace vorlen
