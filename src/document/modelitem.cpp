#include "document/modelitem.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <limits>
#include <memory>
#include <mutex>

#include "document/lineshape.h"
#include "document/model.h"
#include "document/stackslice.h"
#include "numerics/exception.h"

namespace vorlen {

namespace {

// Capacity that a store grows by when vertices are appended while the user draws.
constexpr int storeGrowth = 64;

/// Coordinates come from files and may be any number; sums stay at the ends of int.
int saturatedSum(int a, std::int64_t b) {
    return int(std::clamp<std::int64_t>(a + b, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
}

/// A size without its fraction; sizes come from files too.
int truncated(float size) {
    return size == size ? int(std::clamp(size, -1e6f, 1e6f)) : 0;
}

/// The whole numbers around the box.
BoundingBox<int> pixelsAround(const Vector<double>& lower, const Vector<double>& upper) {
    constexpr double least = std::numeric_limits<int>::min(), greatest = std::numeric_limits<int>::max();
    Vector<int> low(2), high(2);
    for (int k = 0; k < 2; ++k) {
        low[k] = int(std::clamp(std::floor(lower[k]), least, greatest));
        high[k] = int(std::clamp(std::ceil(upper[k]), least, greatest));
    }
    return BoundingBox<int>(low, high);
}

// Differences and products of coordinates are exact for all whole pixel coordinates below 2^26, and do not overflow for
// any that a file may hold.

double squaredDistance(const Vector<double>& p, const Vector<double>& q) {
    const double x = p[0] - q[0];
    const double y = p[1] - q[1];
    return x * x + y * y;
}

/// From the segment between two vertices.
double squaredDistance(const Vector<double>& a, const Vector<double>& b, const Vector<double>& point) {
    return lineshape::squaredDistance(a[0], a[1], b[0], b[1], point[0], point[1]);
}

/// Coordinates of a polygon, one vertex after the other.
struct Outline {
    explicit Outline(const Vertices<double>& vertices) {
        const int n = vertices.getNumVertices();
        x.reserve(std::size_t(n));
        y.reserve(std::size_t(n));
        for (int i = 0; i < n; ++i) {
            x.push_back(vertices[i][0]);
            y.push_back(vertices[i][1]);
        }
        if (n > 0) {
            const auto [left, right] = std::minmax_element(x.begin(), x.end());
            const auto [low, high] = std::minmax_element(y.begin(), y.end());
            minX = *left, maxX = *right, minY = *low, maxY = *high;
        }
    }

    /// Parity of the edges crossed on one side of the point; a vertex of the outline is inside.
    bool contains(double px, double py) const {
        const std::size_t n = x.size();
        if (n < 2 || px < minX || px > maxX || py < minY || py > maxY)
            return false;
        bool inside = false;
        for (std::size_t k = 0; k < n; ++k) {
            const std::size_t next = k + 1 < n ? k + 1 : 0;
            if (x[k] == px && y[k] == py)
                return true;
            const double s = (y[k] - py) * (x[next] - px) - (x[k] - px) * (y[next] - py);
            if (y[next] <= py && py < y[k])
                inside ^= s >= 0;
            else if (y[k] <= py && py < y[next])
                inside ^= s <= 0;
        }
        return inside;
    }

    std::vector<double> x, y;
    double minX = 0, maxX = 0, minY = 0, maxY = 0;
};

} // namespace

ModelItem::ModelItem() = default;

ModelItem::ModelItem(const ModelItem& other)
    : UnreadText(other), __model(other.__model), __slice(other.__slice), __packed(other.__packed),
      __revision(other.__revision), __extent(other.__extent), __extentKnown(other.__extentKnown),
      __updatesAll(other.__updatesAll), __updateBox(other.__updateBox), __selection(other.__selection),
      __properties(other.__properties) {
    const Vertices<double>* const vertices = other.__vertices.load(std::memory_order_acquire);
    if (__packed.getSize() > 0 || vertices == nullptr)
        return;
    auto own = std::make_unique<Vertices<double>>(*vertices);
    own->detach();
    __vertices = own.release();
}

ModelItem::~ModelItem() {
    while (!__owners.isEmpty())
        std::prev(__owners.end())->owner->removeItem(*this);
    delete __vertices.load(std::memory_order_relaxed);
}

void ModelItem::setModel(Model* model) {
    detachFromModel();
    __model = model;
}

void ModelItem::setSlice(StackSlice* slice) {
    __slice = slice;
}

void ModelItem::attachToModel() {
    if (__model != nullptr)
        __model->addItem(*this);
}

void ModelItem::attachToSlice() {
    if (__slice != nullptr)
        __slice->addItem(*this);
}

// On both lists or, where there is no memory for one of them, on those that it was on before.
void ModelItem::attach() {
    const bool wasOnModel = __model == nullptr || __model->placeOf(*this) != 0;
    attachToModel();
    try {
        attachToSlice();
    } catch (...) {
        if (!wasOnModel)
            detachFromModel();
        throw;
    }
}

void ModelItem::detachFromModel() {
    if (__model != nullptr)
        __model->removeItem(*this);
}

void ModelItem::detachFromSlice() {
    if (__slice != nullptr)
        __slice->removeItem(*this);
}

void ModelItem::detach() {
    detachFromModel();
    detachFromSlice();
}

void ModelItem::setProperties(const ModelItemProperties& properties) {
    __properties = properties;
}

MPrimitive ModelItem::getGeometry() const {
    return __model != nullptr && __model->getProperties().definesGeometry() ? __model->getProperties().getGeometry()
                                                                            : UnknownPrimitive;
}

bool ModelItem::isConnected() const {
    const MPrimitive geometry = getGeometry();
    return geometry == PolygonPrimitive || geometry == PolylinePrimitive;
}

bool ModelItem::isClosed() const {
    return getGeometry() == PolygonPrimitive;
}

void ModelItem::setVertices(const Vertices<double>& vertices) {
    // A store of just these vertices: the one they come from may hold many more.
    const int n = vertices.getNumVertices();
    Vertices<double> own(2, n, n, storeGrowth);
    for (int i = 0; i < n; ++i)
        own[i] = vertices[i];
    takeVertices(own);
}

void ModelItem::setVertices(const double* coordinates, int n) {
    if (__vertices.load(std::memory_order_relaxed) == nullptr) {
        __packed = PackedVertices(coordinates, n);
        verticesTaken();
        return;
    }
    Vertices<double> own(2, n, n, storeGrowth);
    for (int i = 0; i < n; ++i) {
        double* const vertex = own[i].data();
        vertex[0] = coordinates[2 * i];
        vertex[1] = coordinates[2 * i + 1];
    }
    takeVertices(own);
}

/// The vertices have a store that nobody else keeps.
void ModelItem::takeVertices(const Vertices<double>& taken) {
    Vertices<double>* const present = __vertices.load(std::memory_order_relaxed);
    if (present != nullptr)
        *present = taken;
    else if (taken.getNumVertices() > 0)
        __vertices = new Vertices<double>(taken);
    __packed.clear();
    verticesTaken();
}

void ModelItem::verticesTaken() {
    verticesChanged();
    __selection.reset(getSize());
    __updatesAll = true;
}

int ModelItem::getSize() const {
    if (__packed.getSize() > 0)
        return __packed.getSize();
    const Vertices<double>* const vertices = __vertices.load(std::memory_order_acquire);
    return vertices == nullptr ? 0 : vertices->getNumVertices();
}

double ModelItem::getCoordinate(int i, int axis) const {
    return __packed.getSize() > 0 ? __packed.getCoordinate(i, axis) : getVertices()[i][axis];
}

const Vertices<double>& ModelItem::getVertices() const {
    const Vertices<double>* const vertices = __vertices.load(std::memory_order_acquire);
    return vertices != nullptr ? *vertices : unpack();
}

// The plain numbers stay, as others may be reading them, until the item is changed.
const Vertices<double>& ModelItem::unpack() const {
    static std::mutex mutex;
    const std::lock_guard lock(mutex);
    if (const Vertices<double>* const vertices = __vertices.load(std::memory_order_acquire))
        return *vertices; // another thread was faster
    const int n = __packed.getSize();
    auto made = std::make_unique<Vertices<double>>(2, n, n, storeGrowth);
    for (int i = 0; i < n; ++i)
        for (const int axis : {0, 1})
            (*made)[i][axis] = __packed.getCoordinate(i, axis);
    Vertices<double>* const vertices = made.release();
    __vertices.store(vertices, std::memory_order_release);
    return *vertices;
}

/// To be changed.
Vertices<double>& ModelItem::vertices() {
    getVertices();
    __packed.clear();
    return *__vertices.load(std::memory_order_relaxed);
}

void ModelItem::verticesChanged() {
    static std::atomic<std::uint64_t> last = 0;
    __revision = ++last;
    __extentKnown = false;
}

void ModelItem::appendVertex(const Vector<double>& vertex) {
    const int n = getSize();
    vertices().append(Vector<double>(vertex));
    verticesChanged();
    setUpdateBox(n > 0 ? pixelsOf(n - 1).merge(pixelsOf(n)) : pixelsOf(n));
    __selection.reset(n + 1);
}

void ModelItem::appendVertices(const Vertices<double>& vertices) {
    const int n = vertices.getNumVertices();
    if (n == 0)
        return;
    if (getSize() == 0) {
        setVertices(vertices);
        return;
    }
    // One by one and through a copy, since the vertices may be the item's own.
    Vertices<double>& own = this->vertices();
    for (int i = 0; i < n; ++i)
        own.append(Vector<double>(vertices[i]));
    verticesChanged();
    __selection.reset(getSize());
    setUpdateBox(boundingBox());
}

void ModelItem::insertVertex(int i, const Vector<double>& vertex) {
    vertices().insert(i, Vector<double>(vertex));
    verticesChanged();
    __selection.insert(i, false);
    computeVertexUpdateBox(i);
}

void ModelItem::removeVertex(int i) {
    computeVertexUpdateBox(i);
    vertices().remove(i);
    verticesChanged();
    __selection.remove(i);
}

void ModelItem::removeVertices(int first, int last) {
    if (first > last)
        return;
    setUpdateBox(boundingBox());
    vertices().remove(first, last);
    verticesChanged();
    __selection.remove(first, last);
}

void ModelItem::moveVertex(int i, const Vector<double>& vertex) {
    computeVertexUpdateBox(i);
    const BoundingBox<int> before = __updateBox.toBox();
    vertices()[i] = vertex;
    verticesChanged();
    computeVertexUpdateBox(i);
    setUpdateBox(before.merge(__updateBox.toBox()));
}

void ModelItem::setSelection(const ModelItemSelection& selection) {
    if (selection.getNumBits() != getSize())
        throw SizeError("void ModelItem::setSelection(const ModelItemSelection&)",
                        "The selection does not have one bit for each vertex");
    __selection = selection;
}

Vertices<double> ModelItem::verticesBySelection(bool selected) const {
    const int n = getSize();
    const int numBits = __selection.getNumBits();
    std::vector<int> chosen;
    for (int i = 0; i < n; ++i)
        if ((i < numBits && __selection.isSelected(i)) == selected)
            chosen.push_back(i);
    const int size = int(chosen.size());
    Vertices<double> vertices(2, size, size, storeGrowth);
    for (int i = 0; i < size; ++i)
        vertices[i] = getVertices()[chosen[std::size_t(i)]];
    return vertices;
}

Vertices<double> ModelItem::selectedVertices() const {
    return verticesBySelection(true);
}

Vertices<double> ModelItem::unselectedVertices() const {
    return verticesBySelection(false);
}

void ModelItem::removeSelectedVertices() {
    if (__selection.isEmpty())
        return;
    setUpdateBox(boundingBox());
    vertices() = unselectedVertices();
    verticesChanged();
    __selection.reset(getSize());
}

void ModelItem::removeUnselectedVertices() {
    if (__selection.isComplete())
        return;
    setUpdateBox(boundingBox());
    vertices() = selectedVertices();
    verticesChanged();
    __selection.reset(getSize());
}

// False only where no vertex and no segment can lie within the tolerance; a pixel more covers all rounding.
bool ModelItem::isNear(const Vector<double>& point, float tolerance) const {
    const BoundingBox<double>& box = extent();
    if (!box.isValid())
        return false;
    const double reach = std::abs(double(tolerance)) + 1;
    for (int k = 0; k < 2; ++k)
        if (point[k] < box.getVertex1()[k] - reach || point[k] > box.getVertex2()[k] + reach)
            return false;
    return true;
}

int ModelItem::findNearestVertex(const Vector<double>& point, float tolerance) const {
    if (!isNear(point, tolerance))
        return -1;
    double best = double(tolerance) * tolerance;
    int nearest = -1;
    const int n = getSize();
    const Vertices<double>& vertices = getVertices();
    for (int i = 0; i < n; ++i) {
        const double distance = squaredDistance(vertices[i], point);
        if (nearest < 0 ? distance <= best : distance < best) {
            best = distance;
            nearest = i;
        }
    }
    return nearest;
}

int ModelItem::findNearVertex(const Vector<double>& point, float tolerance) const {
    if (!isNear(point, tolerance))
        return -1;
    const int n = getSize();
    const Vertices<double>& vertices = getVertices();
    switch (getGeometry()) {
    case PolypointPrimitive:
        for (int i = 0; i < n; ++i)
            if (squaredDistance(vertices[i], point) <= double(tolerance) * tolerance)
                return i;
        return -1;
    case PolygonPrimitive:
        if (n > 0 && pointNearSegment(vertices[n - 1], vertices[0], point, tolerance, true))
            return 0;
        [[fallthrough]];
    case PolylinePrimitive:
        for (int i = 1; i < n; ++i)
            if (pointNearSegment(vertices[i - 1], vertices[i], point, tolerance, true))
                return i;
        return -1;
    case UnknownPrimitive:
        break;
    }
    return -1;
}

int ModelItem::findInsertion(const Vector<double>& point, float tolerance) const {
    const int n = getSize();
    const Vertices<double>& vertices = getVertices();
    const MPrimitive geometry = getGeometry();
    if (geometry == PolypointPrimitive)
        return n;
    if (geometry == UnknownPrimitive || !isNear(point, tolerance))
        return -1;
    int nearest = -1;
    double best = std::numeric_limits<double>::infinity();
    for (int i = 1; i < n + (geometry == PolygonPrimitive ? 1 : 0); ++i) {
        const Vector<double>& end = vertices[i % n];
        if (!pointNearSegment(vertices[i - 1], end, point, tolerance, false))
            continue;
        const double distance = squaredDistance(vertices[i - 1], end, point);
        if (distance < best) {
            best = distance;
            nearest = i;
        }
    }
    return nearest;
}

double ModelItem::distanceTo(const Vector<double>& point) const {
    const int n = getSize();
    const Vertices<double>& vertices = getVertices();
    const MPrimitive geometry = getGeometry();
    double best = std::numeric_limits<double>::infinity();
    for (int i = 0; i < n; ++i)
        best = std::min(best, squaredDistance(vertices[i], point));
    if (geometry == PolygonPrimitive || geometry == PolylinePrimitive)
        for (int i = geometry == PolygonPrimitive ? 0 : 1; i < n; ++i)
            best = std::min(best, squaredDistance(vertices[(i + n - 1) % n], vertices[i], point));
    return std::sqrt(best);
}

BoundingBox<double> ModelItem::extent() const {
    if (__extentKnown)
        return __extent.toBox();
    const int n = getSize();
    __extent = PackedBox<double>();
    if (n > 0) {
        double x[2], y[2];
        if (__packed.getSize() > 0) {
            __packed.findBounds(x, y);
        } else {
            const Vertices<double>& vertices = getVertices();
            lineshape::findBounds(
                n, [&vertices](int i, int axis) { return vertices[i][axis]; }, x, y);
        }
        __extent = PackedBox<double>(x, y);
    }
    __extentKnown = true;
    return __extent.toBox();
}

BoundingBox<int> ModelItem::boundingBox() const {
    if (getSize() == 0)
        return BoundingBox<int>();
    const BoundingBox<double> box = extent();
    return rectifyBox(pixelsAround(box.getVertex1(), box.getVertex2()));
}

BoundingBox<int> ModelItem::updateBox() const {
    return rectifyBox(__updatesAll ? boundingBox() : __updateBox.toBox());
}

void ModelItem::setUpdateBox(const BoundingBox<int>& box) {
    __updateBox = PackedBox<int>(box);
    __updatesAll = false;
}

BoundingBox<int> ModelItem::rectifyBox(const BoundingBox<int>& box) const {
    ModelItemProperties look;
    if (__model != nullptr)
        look = __model->getItemProperties();
    look.update(__properties);
    const int lineWidth = look.definesLineWidth() ? truncated(look.getLineWidth()) : 0;
    const int pointSize = look.definesPointSize() ? truncated(look.getPointSize()) : 0;
    const std::int64_t margin = std::max(lineWidth, pointSize);

    Vector<int> lower = box.getVertex1();
    Vector<int> upper = box.getVertex2();
    for (int k = 0; k < lower.getSize(); ++k)
        lower[k] = saturatedSum(lower[k], -margin);
    for (int k = 0; k < upper.getSize(); ++k)
        upper[k] = saturatedSum(upper[k], margin + 1);
    return BoundingBox<int>(lower, upper);
}

BoundingBox<int> ModelItem::pixelsOf(int i) const {
    Vector<double> place(2);
    for (int k = 0; k < 2; ++k)
        place[k] = getCoordinate(i, k);
    return pixelsAround(place, place);
}

void ModelItem::computeVertexUpdateBox(int i) {
    BoundingBox<int> box = pixelsOf(i);
    if (isConnected()) {
        const int n = getSize();
        const bool closed = isClosed();
        if (i > 0 || closed)
            box = box.merge(pixelsOf(i > 0 ? i - 1 : n - 1));
        if (i + 1 < n || closed)
            box = box.merge(pixelsOf(i + 1 < n ? i + 1 : 0));
    }
    setUpdateBox(box);
}

bool ModelItem::isClockwise() const {
    const int n = getSize();
    if (!isClosed() || n < 3)
        return false;
    if (__packed.getSize() > 0)
        return __packed.isClockwise();
    const Vertices<double>& vertices = getVertices();
    return lineshape::isClockwise(n, [&vertices](int i, int axis) { return vertices[i][axis]; });
}

void ModelItem::setClockwise(bool clockwise) {
    if (!isClosed() || isClockwise() == clockwise)
        return;
    if (__vertices.load(std::memory_order_relaxed) == nullptr)
        __packed.reverse();
    else
        vertices().reverse();
    verticesChanged();
    const ModelItemSelection before = __selection;
    const int n = before.getNumBits();
    for (int i = 0; i < n; ++i)
        __selection.set(before.isSelected(n - 1 - i), i, false);
}

bool ModelItem::partiallyContains(const ModelItem& other) const {
    if (!isClosed() || __slice != other.__slice)
        return false;
    const Outline outline(getVertices());
    const int n = other.getSize();
    for (int i = 0; i < n; ++i)
        if (outline.contains(other.getCoordinate(i, 0), other.getCoordinate(i, 1)))
            return true;
    return false;
}

bool ModelItem::pointNearSegment(const Vector<double>& a, const Vector<double>& b, const Vector<double>& point,
                                 float tolerance, bool includeEnds) {
    const double dx = b[0] - a[0];
    const double dy = b[1] - a[1];
    const double qx = point[0] - a[0];
    const double qy = point[1] - a[1];
    const double reach = double(tolerance) * tolerance;
    const double dot = dx * qx + dy * qy;
    const double squaredLength = dx * dx + dy * dy;
    if (dot > 0 && dot < squaredLength) {
        const double cross = dx * qy - dy * qx;
        if (reach >= cross * (cross / squaredLength))
            return true;
    }
    return includeEnds && (squaredDistance(a, point) <= reach || squaredDistance(b, point) <= reach);
}

std::uint64_t ModelItem::placeBy(const ModelItemOwner& owner) const {
    for (const Listing& listing : __owners)
        if (listing.owner == &owner)
            return listing.place;
    return 0;
}

} // namespace vorlen
