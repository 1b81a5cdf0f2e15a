#include "document/stack.h"
#include "document/stackgreyscale.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "document/modelitem.h"
#include "document/uniquenames.h"
#include "images/rasters/image.h"
#include "images/volumes/voxelmatrix.h"
#include "numerics/exception.h"

namespace vorlen {

Stack::Stack() {
    __defaultPixelCalibration.setLengthUnit(LengthUnit(-6));
}

Stack::~Stack() {
    clear();
}

void Stack::setName(const std::string& name) {
    __name = name;
}

void Stack::setAnnotation(const std::string& annotation) {
    __annotation = annotation;
}

void Stack::setImagesPath(const std::string& path) {
    __imagesPath = path;
    // An empty path means the directory at hand; a separator would make it the root directory.
    if (!path.empty() && path.back() != '/')
        __imagesPath += '/';
}

void Stack::setAbsoluteImagesPathPolicy(bool absolute) {
    __absoluteImagesPathPolicy = absolute;
}

void Stack::setDefaultSliceSpacing(double spacing) {
    __defaultRelativePosition = spacing;
}

void Stack::setDefaultRelativePosition(double position) {
    setDefaultSliceSpacing(position);
}

void Stack::setDefaultSliceThickness(float thickness) {
    __defaultSliceThickness = thickness;
}

void Stack::setDefaultPixelCalibration(const PixelCalibration& calibration) {
    __defaultPixelCalibration = calibration;
}

void Stack::setLastSegmentedSlice(const std::string& name) {
    __lastSegmentedSlice = name;
}

void Stack::setLastRegisteredSlice(const std::string& name) {
    __lastRegisteredSlice = name;
}

const LengthUnit& Stack::getLengthUnit() const {
    return __defaultPixelCalibration.getLengthUnit();
}

void Stack::setLengthUnit(const LengthUnit& unit) {
    // A copy, because the argument may be the one that changes.
    const LengthUnit newUnit = unit;
    __defaultPixelCalibration.setLengthUnit(newUnit);
    for (const auto& slice : __slices)
        slice->getPixelCalibration().setLengthUnit(newUnit);
}

int Stack::findSlice(const std::string& name) const {
    for (int i = 0; i < getNumSlices(); ++i)
        if (__slices[std::size_t(i)]->getName() == name)
            return i;
    return -1;
}

std::string Stack::uniqueSliceName(const std::string& name) const {
    UniqueNames names;
    for (const auto& slice : __slices)
        names.take(slice->getName());
    return names.take(name);
}

std::string Stack::uniqueModelName(const std::string& name) const {
    UniqueNames names;
    for (const auto& model : __models)
        names.take(model->getName());
    return names.take(name);
}

int Stack::findSlice(const StackSlice& slice) const {
    const int hint = slice.__indexHint;
    if (hint < getNumSlices() && __slices[std::size_t(hint)].get() == &slice)
        return hint;
    return -1;
}

void Stack::addSlice(StackSlice* slice) {
    insertSlice(slice, getNumSlices());
}

void Stack::addSlice(StackSlice* slice, int i) {
    insertSlice(slice, i);
}

/// For one element more, so that nothing fails when it comes. The room doubles, as it does by itself.
template <class Element>
static void makeRoom(std::vector<Element>& elements) {
    if (elements.size() == elements.capacity())
        elements.reserve(2 * elements.size() + 1);
}

// Whoever gives something over keeps it where there is no memory to take it.
void Stack::insertSlice(StackSlice* slice, int i) {
    if (findSlice(*slice) >= 0)
        return;
    makeRoom(__slices);
    __slices.emplace(__slices.begin() + i, slice);
    slice->setStack(this);
    renumberSlices(i);
}

void Stack::renumberSlices(int first) {
    for (int i = first; i < getNumSlices(); ++i)
        __slices[std::size_t(i)]->__indexHint = i;
}

std::unique_ptr<StackSlice> Stack::takeSlice(int i) {
    if (i > 0 && i < getNumSlices() - 1 && getSlice(i + 1).useRelativePosition())
        getSlice(i + 1).setRelativePosition(absolutePosition(i + 1) - absolutePosition(i - 1));
    std::unique_ptr<StackSlice> slice = std::move(__slices[std::size_t(i)]);
    __slices.erase(__slices.begin() + i);
    renumberSlices(i);
    return slice;
}

void Stack::deleteSlice(int i) {
    takeSlice(i).reset();
}

StackSlice* Stack::removeSlice(int i) {
    return takeSlice(i).release();
}

void Stack::reorderSlices(const std::vector<int>& order) {
    std::vector<bool> named(__slices.size(), false);
    for (const int i : order)
        if (i >= 0 && i < getNumSlices())
            named[std::size_t(i)] = true;
    if (order.size() != __slices.size() || std::find(named.begin(), named.end(), false) != named.end())
        throw SizeError("void Stack::reorderSlices(const std::vector<int>&)",
                        "The order does not name each slice once");
    std::vector<std::unique_ptr<StackSlice>> slices(__slices.size());
    for (std::size_t i = 0; i < slices.size(); ++i)
        slices[i] = std::move(__slices[std::size_t(order[i])]);
    __slices = std::move(slices);
    renumberSlices(0);
}

StackSlice& Stack::getNextSlice(StackSlice& slice) const {
    const int i = findSlice(slice);
    return i < 0 || i + 1 == getNumSlices() ? slice : *__slices[std::size_t(i + 1)];
}

const StackSlice& Stack::getNextSlice(const StackSlice& slice) const {
    const int i = findSlice(slice);
    return i < 0 || i + 1 == getNumSlices() ? slice : *__slices[std::size_t(i + 1)];
}

StackSlice& Stack::getPreviousSlice(StackSlice& slice) const {
    const int i = findSlice(slice);
    return i <= 0 ? slice : *__slices[std::size_t(i - 1)];
}

const StackSlice& Stack::getPreviousSlice(const StackSlice& slice) const {
    const int i = findSlice(slice);
    return i <= 0 ? slice : *__slices[std::size_t(i - 1)];
}

/// Distance of a relatively placed slice to the one before.
double Stack::relativeStep(const StackSlice& slice) const {
    return slice.__defaultRelativePosition ? __defaultRelativePosition : slice.__position;
}

double Stack::absolutePosition(int i) const {
    // Back to where the position is known, and forth again: the sums of the recursion, without its depth.
    int known = i;
    while (known > 0 && getSlice(known).__useRelativePosition)
        --known;
    double position = getSlice(known).__useRelativePosition ? 0 : getSlice(known).__position;
    for (int k = known + 1; k <= i; ++k)
        position = relativeStep(getSlice(k)) + position;
    return position;
}

std::vector<double> Stack::getAbsolutePositions() const {
    std::vector<double> positions;
    positions.reserve(__slices.size());
    for (const auto& slice : __slices)
        if (!slice->__useRelativePosition)
            positions.push_back(slice->__position);
        else
            positions.push_back(positions.empty() ? 0 : relativeStep(*slice) + positions.back());
    return positions;
}

bool Stack::isRegular() const {
    const int n = getNumSlices();
    if (n < 2)
        return n == 1;
    const auto size = [](const StackSlice& slice) {
        return !slice.hasImageSource() ? std::pair(0, 0) : std::pair(slice.height(), slice.width());
    };
    const auto firstSize = size(getSlice(0));
    const std::vector<double> positions = getAbsolutePositions();
    const auto relativePosition = [&](int i) {
        const StackSlice& slice = getSlice(i);
        return slice.useRelativePosition() ? relativeStep(slice)
                                           : positions[std::size_t(i)] - positions[std::size_t(i - 1)];
    };
    // Steps of 0.1 between absolute positions differ by the rounding of these.
    const double spacing = relativePosition(1);
    const auto isStep = [&](int i) {
        const double farther = std::max(std::abs(positions[std::size_t(i)]), std::abs(positions[std::size_t(i - 1)]));
        const double rounding =
            2 * double(std::numeric_limits<float>::epsilon()) * std::max(farther, std::abs(positions[1]));
        return std::abs(relativePosition(i) - spacing) <= rounding;
    };
    for (int i = 1; i < n; ++i)
        if (size(getSlice(i)) != firstSize || !getSlice(i).getRegistration().isNull() || !isStep(i))
            return false;
    return true;
}

int Stack::findModel(const std::string& name) const {
    for (int i = 0; i < getNumModels(); ++i)
        if (__models[std::size_t(i)]->getName() == name)
            return i;
    return -1;
}

int Stack::findModel(const Model& model) const {
    for (int i = 0; i < getNumModels(); ++i)
        if (__models[std::size_t(i)].get() == &model)
            return i;
    return -1;
}

void Stack::addModel(Model* model) {
    if (findModel(*model) >= 0)
        return;
    addModel(model, getNumModels());
}

void Stack::addModel(Model* model, int i) {
    if (findModel(*model) >= 0)
        return;
    makeRoom(__models);
    __models.emplace(__models.begin() + i, model);
    try {
        for (int k = 0; k < model->getNumItems(); ++k)
            model->getItem(k).attachToSlice();
    } catch (...) {
        removeModel(*model);
        throw;
    }
}

void Stack::removeModel(Model& model) {
    const int i = findModel(model);
    if (i < 0)
        return;
    model.withdrawItems();
    // The caller owns it from here.
    static_cast<void>(__models[std::size_t(i)].release());
    __models.erase(__models.begin() + i);
}

void Stack::deleteModel(int i) {
    __models.erase(__models.begin() + i);
}

void Stack::deleteAllModels() {
    while (!__models.empty())
        __models.pop_back();
}

bool Stack::hasGeometryModels(MPrimitive geometry) const {
    for (const auto& model : __models)
        if (model->getProperties().definesGeometry() && model->getProperties().getGeometry() == geometry)
            return true;
    return false;
}

bool Stack::hasGeometryModelItems(MPrimitive geometry) const {
    for (const auto& model : __models)
        if (model->getNumItems() > 0 && model->getProperties().definesGeometry() &&
            model->getProperties().getGeometry() == geometry)
            return true;
    return false;
}

void Stack::addStandardImage(StandardImage* image) {
    __standardImages.emplace_back(image);
}

CalibrationCurve* Stack::getCalibration(int i) const {
    return __standardImages[std::size_t(i)]->getCalibrationCurve();
}

CalibrationCurve* Stack::getCalibration(const std::string& name) const {
    for (const auto& image : __standardImages)
        if (image->getName() == name)
            return image->getCalibrationCurve();
    return nullptr;
}

ImageColorContent Stack::colorContent() const {
    ImageColorContent common = UndefinedContent;
    for (int i = 0; i < getNumSlices(); ++i) {
        Image image;
        getSlice(i).load(image);
        const ImageColorContent content = image.colorContent();
        if (i == 0)
            common = content;
        else if (content != common)
            return MixedContent;
    }
    return common;
}

template <class T>
VoxelMatrix<T> Stack::toVoxelMatrix(ImageColorContent content) const {
    VoxelMatrix<T> volume;
    VoxelCalibration calibration;
    calibration.setLengthUnit(__defaultPixelCalibration.getLengthUnit());
    calibration.setVoxelWidth(__defaultPixelCalibration.getPixelWidth());
    calibration.setVoxelHeight(__defaultPixelCalibration.getPixelHeight());
    calibration.setVoxelDepth(float(__defaultRelativePosition));
    volume.setVoxelCalibration(calibration);
    stackToVolume(*this, volume, content);
    return volume;
}

void Stack::clear() {
    // All items at once: slice by slice, each would look through the lists of all models.
    ModelItemOwner::deleteItems([this](auto&& act) {
        for (const auto& slice : __slices)
            act(*slice);
        for (const auto& model : __models)
            act(*model);
    });
    __slices.clear();
    __models.clear();
    __standardImages.clear();
    __lastSegmentedSlice.clear();
    __lastRegisteredSlice.clear();
    __greyScale.reset();
}

/// Values as bytes, where the white of the scale is 255: one factor for all images of a stack.
static void bringToBytes(Image& image, const GreyScale& scale) {
    PixelMatrix<float> values;
    values.convertGreyFromImage(image);
    values.convertToImage(image, 0, scale.white, 0, 255);
}

template <class T>
void stackToVolume(const Stack& stack, VoxelMatrix<T>& volume, ImageColorContent content) {
    const int depth = stack.getNumSlices();
    if (depth == 0) {
        volume.setSize(0, 0, 0);
        return;
    }
    const int width = stack.getFirstSlice().width();
    const int height = stack.getFirstSlice().height();
    if (volume.getSize1() != height || volume.getSize2() != width || volume.getSize3() != depth) {
        volume.setSize(height, width, depth);
        volume.setZeros();
    }
    std::optional<GreyScale> scale;
    for (int k = 0; k < depth; ++k) {
        const StackSlice& slice = stack.getSlice(k);
        if (slice.width() != width || slice.height() != height)
            throw SizeError("void stackToVolume(const Stack&, VoxelMatrix<T>&, ImageColorContent)",
                            "Slice " + slice.getName() + " does not have the size of the first slice");
        Image image;
        slice.load(image);
        if (image.getWidth() != width || image.getHeight() != height)
            throw SizeError("void stackToVolume(const Stack&, VoxelMatrix<T>&, ImageColorContent)",
                            "The image of slice " + slice.getName() + " does not have the size of the first slice");
        switch (content) {
        case GrayContent:
            if (std::is_same_v<T, unsigned char> && hasGreyScale(image)) {
                if (!scale)
                    scale = findGreyScale(stack);
                bringToBytes(image, scale.value_or(GreyScale()));
            }
            volume[k].convertGreyFromImage(image);
            break;
        case RedContent:
            volume[k].convertFromImage(image, RedChannel);
            break;
        case GreenContent:
            volume[k].convertFromImage(image, GreenChannel);
            break;
        case BlueContent:
            volume[k].convertFromImage(image, BlueChannel);
            break;
        case MixedContent:
        case UndefinedContent:
            break;
        }
    }
}

template VoxelMatrix<unsigned char> Stack::toVoxelMatrix(ImageColorContent) const;
template VoxelMatrix<int> Stack::toVoxelMatrix(ImageColorContent) const;
template VoxelMatrix<float> Stack::toVoxelMatrix(ImageColorContent) const;
template VoxelMatrix<double> Stack::toVoxelMatrix(ImageColorContent) const;
template VoxelMatrix<long double> Stack::toVoxelMatrix(ImageColorContent) const;

template void stackToVolume(const Stack&, VoxelMatrix<unsigned char>&, ImageColorContent);
template void stackToVolume(const Stack&, VoxelMatrix<int>&, ImageColorContent);
template void stackToVolume(const Stack&, VoxelMatrix<float>&, ImageColorContent);
template void stackToVolume(const Stack&, VoxelMatrix<double>&, ImageColorContent);
template void stackToVolume(const Stack&, VoxelMatrix<long double>&, ImageColorContent);

} // namespace vorlen
