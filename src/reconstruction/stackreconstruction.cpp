#include "reconstruction/stackreconstruction.h"

#include <algorithm>
#include <cmath>
#include <iostream>
#include <vector>

#include "document/model.h"
#include "document/modelitem.h"
#include "document/stack.h"
#include "numerics/exception.h"
#include "shapes/curvestack.h"
#include "shapes/pixelsteps.h"

namespace vorlen {

namespace {

template <class T>
struct ImageSize {
    T width = 0;
    T height = 0;
};

template <class T>
ImageSize<T> imageSize(const StackSlice& slice) {
    if (!slice.hasImageSource())
        return {};
    const ImageSource& source = slice.getImageSource();
    return {T(source.getSize2()), T(source.getSize1())};
}

} // namespace

template <class T>
StackReconstruction<T>::StackReconstruction(const Stack& stack) {
    setStack(stack);
}

template <class T>
void StackReconstruction<T>::setStack(const Stack& stack) {
    __stack = &stack;
    computeMaps();
}

template <class T>
void StackReconstruction<T>::computeMaps() {
    if (__stack == nullptr)
        throw UsageError("void StackReconstruction<T>::computeMaps()", "No stack has been set");

    const int numSlices = __stack->getNumSlices();
    const std::vector<double> positions = __stack->getAbsolutePositions();
    __maps.setZeros(numSlices, 6);
    __zMap.setSize(numSlices);

    T angle = 0, c = 1, s = 0, tx = 0, ty = 0;
    for (int i = 0; i < numSlices; ++i) {
        const StackSlice& slice = __stack->getSlice(i);
        const Registration& registration = slice.getRegistration();
        const T pixelWidth = slice.getPixelCalibration().getPixelWidth();
        const T pixelHeight = slice.getPixelCalibration().getPixelHeight();
        const ImageSize<T> size = imageSize<T>(slice);

        // The shift is told in the frame of the slice before, whose cosine and sine still stand here.
        const T shiftX = T(registration.getHorShift()) * pixelWidth;
        const T shiftY = -T(registration.getVerShift()) * pixelHeight;
        tx += c * shiftX - s * shiftY;
        ty += s * shiftX + c * shiftY;
        angle -= T(registration.getRotationAngle()) * T(3.14159265358979323846264338327950288L) / T(180);
        s = std::sin(angle);
        c = std::cos(angle);

        __zMap[i] = T(positions[std::size_t(i)]);
        const T halfWidth = pixelWidth * (size.width / 2), halfHeight = pixelHeight * (size.height / 2);
        Vector<T>& map = __maps[i];
        map[0] = pixelWidth * c;
        map[1] = pixelHeight * s;
        map[2] = -halfWidth * c - halfHeight * s + tx;
        map[3] = pixelWidth * s;
        map[4] = -pixelHeight * c;
        map[5] = -halfWidth * s + halfHeight * c + ty;
    }
}

template <class T>
const StackSlice& StackReconstruction<T>::getSlice(int i) const {
    return __stack->getSlice(i);
}

template <class T>
void StackReconstruction<T>::map(Vertices<T>& out, const ModelItem& item) const {
    if (__stack == nullptr)
        throw UsageError("void StackReconstruction<T>::map(Vertices<T>&, const ModelItem&) const",
                         "No stack has been set");
    const int i = item.getSlice() == nullptr ? -1 : __stack->findSlice(*item.getSlice());
    if (i < 0 || i >= __zMap.getSize()) {
        std::cerr << "invalid stack/item pair in StackReconstruction (ignored)" << std::endl;
        return;
    }
    mapFromSlice(out, item.getVertices(), i);
}

template <class T>
void StackReconstruction<T>::mapFromSlice(Vertices<T>& out, const Vertices<double>& pixels, int slice) const {
    const int size = pixels.getNumVertices();
    out.setServer(*new VertexServer<T>(3, size, size, 1)); // the client's count deletes it
    out.setSize(0, false);
    out.setSize(size, true);
    const Vector<T>& map = __maps[slice];
    const T z = __zMap[slice];
    for (int k = 0; k < size; ++k) {
        const Vector<double>& pixel = pixels[k];
        const T u = T(pixel[0]), v = T(pixel[1]);
        Vector<T>& world = out[k];
        world[0] = map[0] * u + map[1] * v + map[2];
        world[1] = map[3] * u + map[4] * v + map[5];
        world[2] = z;
    }
}

template <class T>
void StackReconstruction<T>::map(int slice, const double* pixels, int n, std::vector<T>& out) const {
    const T* const map = mapOf(slice).data();
    const T z = __zMap[slice];
    const std::size_t before = out.size();
    out.resize(before + 3 * static_cast<std::size_t>(n));
    T* world = out.data() + before;
    for (int k = 0; k < n; ++k, world += 3) {
        const T u = T(pixels[2 * k]), v = T(pixels[2 * k + 1]);
        world[0] = map[0] * u + map[1] * v + map[2];
        world[1] = map[3] * u + map[4] * v + map[5];
        world[2] = z;
    }
}

template <class T>
const Vector<T>& StackReconstruction<T>::mapOf(int slice) const {
    if (slice < 0 || slice >= __zMap.getSize())
        throw RangeError("const Vector<T>& StackReconstruction<T>::mapOf(int) const", "There is no such slice");
    return __maps[slice];
}

template <class T>
Vector<T> StackReconstruction<T>::toWorld(int slice, T u, T v) const {
    const Vector<T>& map = mapOf(slice);
    Vector<T> world(2);
    world[0] = map[0] * u + map[1] * v + map[2];
    world[1] = map[3] * u + map[4] * v + map[5];
    return world;
}

template <class T>
Vector<T> StackReconstruction<T>::toPixels(int slice, T x, T y) const {
    const Vector<T>& map = mapOf(slice);
    const T determinant = map[0] * map[4] - map[1] * map[3];
    const T dx = x - map[2], dy = y - map[5];
    Vector<T> place(2);
    place[0] = (map[4] * dx - map[1] * dy) / determinant;
    place[1] = (map[0] * dy - map[3] * dx) / determinant;
    return place;
}

template <class T>
std::unique_ptr<Shape<T>> StackReconstruction<T>::apply(const ModelItem& item) const {
    std::unique_ptr<Vertices<T>> shape;
    if (item.isConnected())
        shape = std::make_unique<Curve<T>>(3, 0, 0, 0, !item.isClosed());
    else
        shape = std::make_unique<Vertices<T>>(3, 0, 0, 0);
    map(*shape, item);
    return shape;
}

template <class T>
std::unique_ptr<Shape<T>> StackReconstruction<T>::apply(const Model& model, OutlineSteps steps) const {
    if (__stack == nullptr)
        throw UsageError("Shape<T>* StackReconstruction<T>::apply(const Model&) const", "No stack has been set");

    const MPrimitive geometry = model.getProperties().getGeometry();
    const bool open = geometry == PolylinePrimitive;
    std::unique_ptr<Vertices<T>> level;
    std::unique_ptr<VertexStack<T>> result;
    if (geometry == PolypointPrimitive) {
        level = std::make_unique<Vertices<T>>(3, 0, 0, 0);
        result = std::make_unique<VertexStack<T>>(3, 0, 0, 0, 0);
    } else {
        level = std::make_unique<Curve<T>>(3, 0, 0, 0, open);
        result = std::make_unique<CurveStack<T>>(3, 0, 0, 0, 0, open);
    }
    for (const auto& [slice, item] : itemsOf(model)) {
        const bool removed = steps == OutlineSteps::Removed && item->isConnected();
        mapFromSlice(*level, removed ? withoutPixelSteps(item->getVertices(), item->isClosed()) : item->getVertices(),
                     slice);
        result->append(static_cast<const Vertices<T>&>(*level));
    }
    result->detach();
    return result;
}

template <class T>
std::vector<std::pair<int, const ModelItem*>> StackReconstruction<T>::itemsOf(const Model& model) const {
    if (__stack == nullptr)
        throw UsageError("StackReconstruction<T>::itemsOf(const Model&) const", "No stack has been set");
    std::vector<std::pair<int, const ModelItem*>> items;
    for (int k = 0; k < model.getNumItems(); ++k) {
        const ModelItem& item = model.getItem(k);
        const int slice = item.getSlice() == nullptr ? -1 : __stack->findSlice(*item.getSlice());
        if (slice >= 0 && slice < __zMap.getSize())
            items.emplace_back(slice, &item);
    }
    std::stable_sort(items.begin(), items.end(), [](const auto& a, const auto& b) {
        if (a.first != b.first)
            return a.first < b.first;
        const StackSlice& slice = *a.second->getSlice();
        return slice.placeOf(*a.second) < slice.placeOf(*b.second);
    });
    return items;
}

template class StackReconstruction<float>;
template class StackReconstruction<double>;
template class StackReconstruction<long double>;

} // namespace vorlen
