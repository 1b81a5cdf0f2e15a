#include "shapes/pixelsteps.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <vector>

namespace vorlen {

namespace {

struct GridPoint {
    double along = 0, across = 0;
};

/// Places with ascending coordinates along; whether a straight line comes nearer than half a pixel to each of them,
/// along the other axis.
///
/// Such a line lies below all upper ends and above all lower ends of the pixels, so that its slope is less than that
/// from each lower end to each upper end behind it, and more than that from each upper end to each lower end. Only ends
/// on the convex hulls count.
class Strip {
public:
    /// Forgets the places, not their store.
    void clear() {
        __lower.clear();
        __upper.clear();
        __least = -std::numeric_limits<double>::infinity();
        __most = std::numeric_limits<double>::infinity();
    }

    /// False when there is no such line any more.
    bool add(const GridPoint& point) {
        if (!__lower.empty() && point.along <= __lower.back().along)
            return false;
        const GridPoint upper = {point.along, point.across + half}, lower = {point.along, point.across - half};
        if (!__lower.empty()) {
            __most = std::min(__most, extreme(__lower, upper, 1));
            __least = std::max(__least, -extreme(__upper, lower, -1));
        }
        append(__lower, lower, 1);
        append(__upper, upper, -1);
        return __least < __most;
    }

    /// Of the steepest and the flattest line the mean.
    double slope() const { return (__least + __most) / 2; }

private:
    static constexpr double half = 0.5;

    /// Above 0 when the slope from c to d is greater than that from a to b, which are both ways forward. Exact, as
    /// places are on a grid.
    static double turn(const GridPoint& a, const GridPoint& b, const GridPoint& c, const GridPoint& d) {
        return (b.along - a.along) * (d.across - c.across) - (b.across - a.across) * (d.along - c.along);
    }

    static double slope(const GridPoint& from, const GridPoint& to) {
        return (to.across - from.across) / (to.along - from.along);
    }

    /// The hull that bends with the sign: the upper one of lower ends for 1.
    static void append(std::vector<GridPoint>& hull, const GridPoint& point, int sign) {
        const auto isWithin = [&] {
            const GridPoint &first = hull[hull.size() - 2], &second = hull.back();
            return sign * turn(first, second, second, point) >= 0;
        };
        while (hull.size() > 1 && isWithin())
            hull.pop_back();
        hull.push_back(point);
    }

    /// The least of sign times the slopes to the point, which has one valley along the hull.
    static double extreme(const std::vector<GridPoint>& hull, const GridPoint& point, int sign) {
        std::size_t first = 0, last = hull.size() - 1;
        while (first < last) {
            const std::size_t middle = (first + last) / 2;
            if (sign * turn(hull[middle], point, hull[middle + 1], point) >= 0)
                last = middle;
            else
                first = middle + 1;
        }
        return sign * slope(hull[first], point);
    }

    std::vector<GridPoint> __lower, __upper;
    double __least = -std::numeric_limits<double>::infinity();
    double __most = std::numeric_limits<double>::infinity();
};

/// A way to look at a stretch: its coordinate along is a x + b y, that across c x + d y.
struct View {
    int a, b, c, d;
    bool alongAxesOnly;

    GridPoint of(const GridPoint& place) const {
        return {a * place.along + b * place.across, c * place.along + d * place.across};
    }
    GridPoint back(const GridPoint& seen) const {
        const double determinant = a * d - b * c;
        return {(d * seen.along - b * seen.across) / determinant, (a * seen.across - c * seen.along) / determinant};
    }
};

constexpr std::array<View, 8> views = {{{1, 0, 0, 1, false},
                                        {-1, 0, 0, 1, false},
                                        {0, 1, 1, 0, false},
                                        {0, -1, 1, 0, false},
                                        {1, 1, 0, 1, true},
                                        {1, -1, 0, 1, true},
                                        {-1, 1, 0, 1, true},
                                        {-1, -1, 0, 1, true}}};

/// Edges of an outline, from one vertex on, that make one straight line.
struct Segment {
    int first = 0, length = 1; // in edges
    const View* view = nullptr;
    double slope = 0, offset = 0; // of the line, in the view; none for the edge itself

    /// The place on the line that is seen at the same place along.
    GridPoint nearest(const GridPoint& place) const {
        if (view == nullptr)
            return place;
        const double along = view->of(place).along;
        return view->back({along, slope * along + offset});
    }
};

class StepRemoval {
public:
    StepRemoval(const double* coordinates, int size, bool closed)
        : __coordinates(coordinates), __size(size), __numEdges(closed ? __size : __size - 1) {
        __steps.reserve(std::size_t(__numEdges));
        for (int k = 0; k < __numEdges; ++k)
            __steps.push_back(stepOf(at(k), at(k + 1)));
    }

    /// From the start on, once around or to the end.
    std::vector<Segment> segmentsFrom(int start) {
        std::vector<Segment> segments;
        segments.reserve(std::size_t(__numEdges));
        for (int k = 0; k < __numEdges; k += segments.back().length)
            segments.push_back(longestFrom(start + k, __numEdges - k));
        const bool closed = __numEdges == __size;
        for (std::size_t k = closed ? 0 : 1; k < segments.size() && (!closed || segments.size() > 2); ++k)
            moveToCorner(segments[(k > 0 ? k : segments.size()) - 1], segments[k]);
        return segments;
    }

    Segment longestFrom(int first, int most) {
        Segment longest = {first};
        if (most < 2 || !isStep(first, false) || !isStep(first + 1, false))
            return longest;
        for (const View& view : views) {
            // Only a longer one counts, and most views end at once.
            if (!goesOn(first, view) || longest.length >= most || !goesOn(first + longest.length, view))
                continue;
            __strip.clear();
            __strip.add(placeOf(first, view));
            double slope = 0;
            int length = 0;
            while (length < most && isStep(first + length, view.alongAxesOnly) &&
                   __strip.add(placeOf(first + length + 1, view))) {
                ++length;
                slope = __strip.slope();
            }
            if (length > longest.length)
                longest = {first, length, &view, slope, 0};
        }
        if (longest.view != nullptr)
            centre(longest);
        return longest;
    }

    /// Vertex k, from the start on or once around.
    GridPoint at(int k) const {
        const double* const place = __coordinates + 2 * std::ptrdiff_t(around(k));
        return {place[0], place[1]};
    }

    /// Without two of them in a row there is nothing to remove.
    static bool hasNeighbouringSteps(const double* coordinates, int size, bool closed) {
        const auto isStep = [&](int k) {
            const double *const p = coordinates + 2 * k, *const q = k + 1 < size ? p + 2 : coordinates;
            return stepOf({p[0], p[1]}, {q[0], q[1]}) != Step::None;
        };
        bool before = closed && isStep(size - 1);
        for (int k = 0; k + 1 < size; ++k) {
            const bool here = isStep(k);
            if (before && here)
                return true;
            before = here;
        }
        return closed && before && isStep(size - 1);
    }

private:
    enum class Step : unsigned char { None, AlongAxis, Diagonal };

    /// Of a number below twice the size; a division would cost more than all else here.
    int around(int k) const { return k < __size ? k : k - __size; }

    GridPoint placeOf(int k, const View& view) const { return view.of(at(k)); }

    /// A segment that is as long as it can be goes a pixel round a corner: where two edges of one direction or more
    /// follow one on two of another, as on no straight line, the joint belongs between the two pairs.
    void moveToCorner(Segment& before, Segment& behind) {
        const int last = before.first + before.length - 1; // edge
        if (before.length < 3 || behind.length < 2 || !areAlike(last, behind.first) ||
            !areAlike(behind.first, behind.first + 1) || areAlike(last - 1, last) || !areAlike(last - 2, last - 1))
            return;
        const Segment longer = longestFrom(around(last), behind.length + 1);
        if (longer.length != behind.length + 1)
            return;
        before = longestFrom(before.first, before.length - 1);
        behind = longer;
    }

    /// Whether two edges go the same way.
    bool areAlike(int one, int other) const {
        const GridPoint a = at(one), b = at(one + 1), c = at(other), d = at(other + 1);
        return b.along - a.along == d.along - c.along && b.across - a.across == d.across - c.across;
    }

    /// Whether the edge may be part of a segment in the view.
    bool goesOn(int edge, const View& view) const {
        return isStep(edge, view.alongAxesOnly) && placeOf(edge + 1, view).along > placeOf(edge, view).along;
    }

    /// Lays the line as far below as above what it stands for.
    void centre(Segment& segment) const {
        double least = std::numeric_limits<double>::infinity(), most = -least;
        for (int k = 0; k <= segment.length; ++k) {
            const GridPoint place = placeOf(segment.first + k, *segment.view);
            const double offset = place.across - segment.slope * place.along;
            least = std::min(least, offset);
            most = std::max(most, offset);
        }
        segment.offset = (least + most) / 2;
    }

    bool isStep(int edge, bool alongAxesOnly) const {
        const Step step = __steps[std::size_t(around(edge))];
        return step == Step::AlongAxis || (!alongAxesOnly && step == Step::Diagonal);
    }

    static Step stepOf(const GridPoint& p, const GridPoint& q) {
        const double x = std::abs(q.along - p.along), y = std::abs(q.across - p.across);
        if (x != 0 && y != 0 && x != y)
            return Step::None;
        const auto isOnGrid = [](double coordinate) { return std::trunc(2 * coordinate) == 2 * coordinate; };
        if (!isOnGrid(p.along) || !isOnGrid(p.across) || !isOnGrid(q.along) || !isOnGrid(q.across))
            return Step::None;
        return x == 0 || y == 0 ? Step::AlongAxis : x == y ? Step::Diagonal : Step::None;
    }

    const double* __coordinates;
    int __size, __numEdges;
    std::vector<Step> __steps; // of the edges
    Strip __strip;             // of the stretch and view that are looked at
};

} // namespace

bool removePixelSteps(const double* coordinates, int size, bool closed, std::vector<double>& out) {
    if (size < (closed ? 4 : 3) || !StepRemoval::hasNeighbouringSteps(coordinates, size, closed))
        return false;
    StepRemoval removal(coordinates, size, closed);
    // Around, the start should not cut a segment in two: the end of the first one is better than any vertex.
    const int start = closed ? removal.longestFrom(0, size).length % size : 0;
    const std::vector<Segment> segments = removal.segmentsFrom(start);
    const int n = int(segments.size());
    if (n == (closed ? size : size - 1) || (closed && n < 3))
        return false;
    out.clear();
    const auto put = [&](const GridPoint& place) { out.insert(out.end(), {place.along, place.across}); };
    for (int k = 0; k < n; ++k) {
        const Segment& segment = segments[std::size_t(k)];
        const GridPoint place = removal.at(segment.first);
        if (k == 0 && !closed) {
            put(place);
            continue;
        }
        const GridPoint before = segments[std::size_t((k + n - 1) % n)].nearest(place), behind = segment.nearest(place);
        put({(before.along + behind.along) / 2, (before.across + behind.across) / 2});
    }
    if (!closed)
        put(removal.at(size - 1));
    return true;
}

Vertices<double> withoutPixelSteps(const Vertices<double>& vertices, bool closed) {
    const int size = vertices.getNumVertices();
    std::vector<double> coordinates, left;
    coordinates.reserve(2 * std::size_t(size));
    for (int k = 0; k < size; ++k)
        coordinates.insert(coordinates.end(), {vertices[k][0], vertices[k][1]});
    if (!removePixelSteps(coordinates.data(), size, closed, left))
        return vertices;
    const int n = int(left.size() / 2);
    Vertices<double> result(2, n, n, 1);
    for (int k = 0; k < n; ++k)
        for (const int axis : {0, 1})
            result[k][axis] = left[std::size_t(2 * k + axis)];
    return result;
}

} // namespace vorlen
