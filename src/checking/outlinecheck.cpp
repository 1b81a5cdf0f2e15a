#include "checking/outlinecheck.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <string>
#include <utility>

#include "document/model.h"
#include "document/modelitem.h"
#include "document/stackslice.h"
#include "shapes/selfcontact.h"

namespace vorlen {

namespace {

double x(const ModelItem& item, int i) {
    return item.getCoordinate(i, 0);
}

double y(const ModelItem& item, int i) {
    return item.getCoordinate(i, 1);
}

bool isSameVertex(const ModelItem& one, int i, const ModelItem& other, int j) {
    return x(one, i) == x(other, j) && y(one, i) == y(other, j);
}

/// Whether a line of one point is part of a path through several slices, which has one point on each.
bool isOnPath(const ModelItem& item) {
    const Model* const model = item.getModel();
    if (item.getSize() != 1 || model == nullptr || model->getNumItems() < 2)
        return false;
    for (int i = 0; i < model->getNumItems(); ++i)
        if (model->getItem(i).getSize() != 1 ||
            (model->getItem(i).getSlice() == item.getSlice() && &model->getItem(i) != &item))
            return false;
    return true;
}

/// The place of the least vertex, from which a polygon is compared; the start of others.
int firstPlace(const ModelItem& item) {
    int least = 0;
    for (int i = 1; item.isClosed() && i < item.getSize(); ++i)
        if (std::pair(x(item, i), y(item, i)) < std::pair(x(item, least), y(item, least)))
            least = i;
    return least;
}

/// Of slice and vertices.
std::uint64_t hashOf(const ModelItem& item) {
    std::uint64_t hash = reinterpret_cast<std::uintptr_t>(item.getSlice());
    const auto mix = [&hash](double value) {
        hash = (hash ^ std::hash<double>()(value)) * 0x9E3779B97F4A7C15u;
        hash ^= hash >> 29;
    };
    const int n = item.getSize(), first = firstPlace(item);
    for (int k = 0; k < n; ++k) {
        mix(x(item, (first + k) % n));
        mix(y(item, (first + k) % n));
    }
    return hash;
}

std::string number(double value) {
    char digits[40];
    return std::string(digits, std::to_chars(digits, digits + sizeof digits, value, std::chars_format::general, 6).ptr);
}

std::string place(double column, double row) {
    return "(" + number(column) + ", " + number(row) + ")";
}

bool isPolygon(const ModelItem& item) {
    return item.getGeometry() == PolygonPrimitive;
}

bool isPoints(const ModelItem& item) {
    return item.getGeometry() == PolypointPrimitive;
}

/// How many vertices lie outside of the slice's image; 0 when its size is not known.
int numOutside(const ModelItem& item) {
    const StackSlice& slice = *item.getSlice();
    if (!slice.hasImageSource())
        return 0;
    const int width = slice.width(), height = slice.height();
    int outside = 0;
    for (int i = 0; width > 0 && height > 0 && i < item.getSize(); ++i)
        outside += x(item, i) < -0.5 || y(item, i) < -0.5 || x(item, i) > width - 0.5 || y(item, i) > height - 0.5;
    return outside;
}

bool liesOnALine(const ModelItem& item) {
    const int n = item.getSize();
    int other = 1;
    while (other < n && isSameVertex(item, 0, item, other))
        ++other;
    if (other >= n)
        return true;
    const long double dx = x(item, other) - x(item, 0), dy = y(item, other) - y(item, 0);
    for (int i = other + 1; i < n; ++i)
        if (dx * (y(item, i) - y(item, 0)) != dy * (x(item, i) - x(item, 0)))
            return false;
    return true;
}

int numEqualPoints(const ModelItem& item) {
    std::vector<std::pair<double, double>> points;
    points.reserve(std::size_t(item.getSize()));
    for (int i = 0; i < item.getSize(); ++i)
        points.emplace_back(x(item, i), y(item, i));
    std::sort(points.begin(), points.end());
    return int(points.end() - std::unique(points.begin(), points.end()));
}

std::vector<double> coordinatesOf(const ModelItem& item) {
    std::vector<double> coordinates;
    coordinates.reserve(2 * std::size_t(item.getSize()));
    for (int i = 0; i < item.getSize(); ++i) {
        coordinates.push_back(x(item, i));
        coordinates.push_back(y(item, i));
    }
    return coordinates;
}

} // namespace

std::vector<StackProblem> OutlineCheck::check(const ModelItem& item) {
    std::vector<StackProblem> problems;
    const auto add = [&](ProblemCode code, const std::string& message) { problems.emplace_back(code, message); };
    const int n = item.getSize();
    const std::string what = isPolygon(item) ? "polygon" : isPoints(item) ? "group of points" : "polyline";
    if (n == 0) {
        add(ProblemCode::OutlineEmpty, "The " + what + " has no vertices.");
        return problems;
    }
    const int least = isPolygon(item) ? 3 : isPoints(item) || isOnPath(item) ? 1 : 2;
    const bool isShort = n < least;
    if (isShort)
        add(ProblemCode::OutlineShort, "The " + what + " has " + std::to_string(n) + " of the " +
                                           std::to_string(least) + " vertices that it needs.");
    if (const int outside = numOutside(item); outside > 0)
        add(ProblemCode::OutlineOutside,
            (outside == n ? "All " + std::to_string(n) : std::to_string(outside) + " of " + std::to_string(n)) +
                " vertices lie outside of the image, which has " + std::to_string(item.getSlice()->width()) + " x " +
                std::to_string(item.getSlice()->height()) + " pixels.");
    const bool isSecond = isRepeated(item);
    if (isSecond)
        add(ProblemCode::OutlineDuplicate, "The " + what + " stands on its slice already.");
    if (isPoints(item)) {
        if (const int equal = numEqualPoints(item); equal > 0)
            add(ProblemCode::PointDoubled,
                std::to_string(equal) + " of " + std::to_string(n) + " points stand where another one is.");
        return problems;
    }
    if (const int doubled = numDoubled(item); doubled > 0)
        add(ProblemCode::VerticesDoubled,
            std::to_string(doubled) + " of " + std::to_string(n) + " vertices stand on the one before them.");
    if (isShort)
        return problems;
    if (isPolygon(item) && liesOnALine(item)) {
        add(ProblemCode::OutlineFlat, "The vertices lie on one line: the polygon has no area.");
        return problems;
    }
    const auto contact = findSelfContact(coordinatesOf(item), isPolygon(item));
    if (contact)
        add(contact->crosses ? ProblemCode::OutlineCrossing : ProblemCode::OutlineTouching,
            "The " + what + (contact->crosses ? " crosses" : " touches") + " itself at " +
                place(contact->x, contact->y) + ", behind vertices " + std::to_string(contact->first + 1) + " and " +
                std::to_string(contact->second + 1) + ".");
    if (!isPolygon(item) || isSecond || (contact && contact->crosses))
        return problems;
    addToOverlaps(item);
    return problems;
}

std::vector<std::vector<StackProblem>> OutlineCheck::check(const Model& model) {
    std::vector<std::vector<StackProblem>> problems;
    OutlineCheck outlines;
    for (int i = 0; i < model.getNumItems(); ++i) {
        outlines.__place = std::size_t(i);
        problems.push_back(model.getItem(i).getSlice() == nullptr ? std::vector<StackProblem>()
                                                                  : outlines.check(model.getItem(i)));
    }
    for (const OutlineOverlaps::Overlap& overlap : outlines.__overlaps.find())
        problems[outlines.__places[overlap.number]].emplace_back(
            ProblemCode::OutlineOverlapping, "The polygon crosses another one of its model: the " +
                                                 number(overlap.area) +
                                                 " square pixels that both enclose count as a hole.");
    return problems;
}

bool OutlineCheck::isRepeated(const ModelItem& item) {
    const std::uint64_t hash = hashOf(item);
    const auto [begin, end] = __seen.equal_range(hash);
    const bool repeated = std::any_of(begin, end, [&](const auto& seen) { return isSameOutline(*seen.second, item); });
    if (!repeated)
        __seen.emplace(hash, &item);
    return repeated;
}

bool OutlineCheck::isSameOutline(const ModelItem& one, const ModelItem& other) {
    const int n = one.getSize();
    if (n != other.getSize() || one.getSlice() != other.getSlice() || one.getModel() != other.getModel())
        return false;
    const int i = firstPlace(one), j = firstPlace(other);
    for (int k = 0; k < n; ++k)
        if (!isSameVertex(one, (i + k) % n, other, (j + k) % n))
            return false;
    return true;
}

int OutlineCheck::numDoubled(const ModelItem& item) {
    const int n = item.getSize();
    int doubled = 0;
    for (int i = 1; i < n; ++i)
        doubled += isSameVertex(item, i - 1, item, i);
    if (item.isClosed() && n > 1 && doubled < n - 1)
        doubled += isSameVertex(item, n - 1, item, 0);
    return doubled;
}

} // namespace vorlen
