#include "shapes/selfcontact.h"

#include <algorithm>
#include <cmath>
#include <set>

namespace vorlen {

namespace {

/// Exact products of differences of whole coordinates.
using Wide = long double;

struct PlanePoint {
    double x = 0;
    double y = 0;

    bool operator==(const PlanePoint&) const = default;
    bool operator<(const PlanePoint& other) const { return x < other.x || (x == other.x && y < other.y); }
};

/// Of the turn from a over b to c: 1 to the left, -1 to the right, 0 for none.
int turnOf(const PlanePoint& a, const PlanePoint& b, const PlanePoint& c) {
    const Wide product = (Wide(b.x) - a.x) * (Wide(c.y) - a.y) - (Wide(b.y) - a.y) * (Wide(c.x) - a.x);
    return product > 0 ? 1 : product < 0 ? -1 : 0;
}

/// Whether p, which lies on the line through a and b, lies between them or on them.
bool isBetween(const PlanePoint& a, const PlanePoint& b, const PlanePoint& p) {
    return std::min(a.x, b.x) <= p.x && p.x <= std::max(a.x, b.x) && std::min(a.y, b.y) <= p.y &&
           p.y <= std::max(a.y, b.y);
}

/// Lines without doubled vertices, and their edges, each numbered by its first point.
class EdgeLine {
public:
    EdgeLine() = default;
    EdgeLine(const std::vector<double>& coordinates, bool closed) { add(coordinates, closed); }

    /// Another line. An open one is to be the last: its last point begins no edge.
    void add(const std::vector<double>& coordinates, bool closed) {
        const std::size_t n = coordinates.size() / 2;
        __first = int(__points.size());
        __points.reserve(__points.size() + n);
        __vertices.reserve(__vertices.size() + n);
        for (std::size_t i = 0; i < n; ++i) {
            const PlanePoint point{coordinates[2 * i], coordinates[2 * i + 1]};
            if (size() > 0 && __points.back() == point)
                continue;
            __points.push_back(point);
            __vertices.push_back(int(i));
        }
        while (closed && size() > 1 && __points.back() == __points[std::size_t(__first)]) {
            __points.pop_back();
            __vertices.pop_back();
        }
        __isRing = closed && size() > 2;
        join();
    }

    int numEdges() const { return int(__points.size()) - (__isRing || __points.empty() ? 0 : 1); }
    const PlanePoint& start(int edge) const { return __points[std::size_t(edge)]; }
    const PlanePoint& end(int edge) const { return __points[std::size_t(__following[std::size_t(edge)])]; }
    const PlanePoint& low(int edge) const { return std::min(start(edge), end(edge)); }
    const PlanePoint& high(int edge) const { return std::max(start(edge), end(edge)); }

    /// Of the only line.
    bool isRing() const { return __isRing; }

    /// The edge before or behind; -1 at the ends of an open line.
    int previous(int edge) const { return __preceding[std::size_t(edge)]; }
    int next(int edge) const {
        const int point = __following[std::size_t(edge)];
        return point < numEdges() ? point : -1;
    }

    SelfContact contact(int one, int other, bool crosses, double x, double y) const {
        const auto [first, second] = std::minmax(one, other);
        return {crosses, __vertices[std::size_t(first)], __vertices[std::size_t(second)], x, y};
    }

private:
    /// Of the line that is being added.
    int size() const { return int(__points.size()) - __first; }

    /// Tells the points of the line that is being added which ones come before and behind them.
    void join() {
        const int last = int(__points.size()) - 1;
        for (int k = __first; k <= last; ++k) {
            __preceding.push_back(k > __first ? k - 1 : __isRing ? last : -1);
            __following.push_back(k < last || !__isRing ? k + 1 : __first);
        }
    }

    std::vector<PlanePoint> __points;
    std::vector<int> __preceding, __following;
    std::vector<int> __vertices; // of the line as it was given
    int __first = 0;             // of the last line
    bool __isRing = false;       // the last line
};

/// True for a ring that goes round its vertices' mean once, always the same way: it can't meet itself. Most outlines
/// do, and need no sweep.
bool isStar(const EdgeLine& line) {
    const int n = line.numEdges();
    Wide x = 0, y = 0, reach = 0;
    for (int i = 0; i < n; ++i) {
        x += line.start(i).x / n;
        y += line.start(i).y / n;
    }
    for (int i = 0; i < n; ++i)
        reach = std::max({reach, std::abs(line.start(i).x - x), std::abs(line.start(i).y - y)});
    int numLeft = 0, numRight = 0, rises = 0;
    for (int i = 0; i < n; ++i) {
        const Wide fromX = line.start(i).x - x, fromY = line.start(i).y - y;
        const Wide toX = line.end(i).x - x, toY = line.end(i).y - y;
        const Wide turn = fromX * toY - fromY * toX;
        if (std::abs(turn) <= Wide(1e-12) * reach * reach)
            return false;
        numLeft += turn > 0;
        numRight += turn < 0;
        rises += (fromY < 0) != (toY < 0) && (turn > 0) == (toY >= 0);
    }
    return (numLeft == n || numRight == n) && rises == 1;
}

/// Whether the two branches through p pass through each other: a comes from aFrom and goes to aTo, b likewise. Branches
/// of one direction do not.
bool passThrough(const PlanePoint& p, const PlanePoint& aFrom, const PlanePoint& aTo, const PlanePoint& bFrom,
                 const PlanePoint& bTo) {
    if (turnOf(p, aTo, aFrom) == 0 && !isBetween(aFrom, aTo, p))
        return false; // a spike
    // Counter-clockwise from aTo to aFrom, ends excluded.
    const auto isLeft = [&](const PlanePoint& q) {
        const int corner = turnOf(p, aTo, aFrom);
        const int fromTo = turnOf(p, aTo, q), toFrom = turnOf(p, q, aFrom);
        if (corner > 0)
            return fromTo > 0 && toFrom > 0;
        if (corner < 0)
            return fromTo > 0 || toFrom > 0;
        return fromTo > 0; // straight on
    };
    const auto isAlong = [&](const PlanePoint& q, const PlanePoint& branch) {
        return turnOf(p, branch, q) == 0 && (isBetween(p, branch, q) || isBetween(p, q, branch));
    };
    for (const PlanePoint& q : {bFrom, bTo})
        if (isAlong(q, aFrom) || isAlong(q, aTo))
            return false;
    return isLeft(bFrom) != isLeft(bTo);
}

/// The way that the line takes through a point of an edge.
struct Passage {
    const PlanePoint* from;
    const PlanePoint* to;
};

/// Null at an end of an open line, which passes through nothing.
std::optional<Passage> passageAt(const EdgeLine& line, int edge, const PlanePoint& p) {
    if (p == line.start(edge)) {
        const int previous = line.previous(edge);
        return previous < 0 ? std::nullopt : std::optional(Passage{&line.start(previous), &line.end(edge)});
    }
    if (p == line.end(edge)) {
        const int next = line.next(edge);
        return next < 0 ? std::nullopt : std::optional(Passage{&line.start(edge), &line.end(next)});
    }
    return Passage{&line.start(edge), &line.end(edge)};
}

bool crossesAt(const EdgeLine& line, int i, int j, const PlanePoint& p) {
    const std::optional<Passage> one = passageAt(line, i, p), other = passageAt(line, j, p);
    return one && other && passThrough(p, *one->from, *one->to, *other->from, *other->to);
}

/// The contact of two edges; of neighbours, beyond their joint.
std::optional<SelfContact> contactOf(const EdgeLine& line, int i, int j) {
    const PlanePoint &a = line.start(i), &b = line.end(i), &c = line.start(j), &d = line.end(j);
    const int atC = turnOf(a, b, c), atD = turnOf(a, b, d);
    if (atC * atD > 0)
        return std::nullopt;
    const int atA = turnOf(c, d, a), atB = turnOf(c, d, b);
    if (atA * atB > 0)
        return std::nullopt;
    const bool areNeighbours = line.next(i) == j || line.next(j) == i;
    if (atC * atD < 0 && atA * atB < 0) {
        const double s = double(((Wide(c.x) - a.x) * (Wide(d.y) - c.y) - (Wide(c.y) - a.y) * (Wide(d.x) - c.x)) /
                                ((Wide(b.x) - a.x) * (Wide(d.y) - c.y) - (Wide(b.y) - a.y) * (Wide(d.x) - c.x)));
        return line.contact(i, j, true, a.x + s * (b.x - a.x), a.y + s * (b.y - a.y));
    }
    std::optional<SelfContact> touch;
    const auto meet = [&](bool lies, const PlanePoint& from, const PlanePoint& to, const PlanePoint& p) {
        if (!lies || !isBetween(from, to, p))
            return;
        const bool isJoint =
            areNeighbours && ((line.next(i) == j && p == b && p == c) || (line.next(j) == i && p == d && p == a));
        if (!isJoint && (!touch || !touch->crosses))
            touch = line.contact(i, j, !areNeighbours && crossesAt(line, i, j, p), p.x, p.y);
    };
    meet(atC == 0, a, b, c);
    meet(atD == 0, a, b, d);
    meet(atA == 0, c, d, a);
    meet(atB == 0, c, d, b);
    return touch;
}

/// Edges that the sweep has reached, from below to above. Strict as long as none of them have met.
struct BelowAtSweep {
    const EdgeLine* line;

    bool operator()(int i, int j) const {
        if (i == j)
            return false;
        const PlanePoint &lowI = line->low(i), &highI = line->high(i), &lowJ = line->low(j), &highJ = line->high(j);
        // The one that begins later is looked at from the other.
        if (lowI < lowJ) {
            const int side = turnOf(lowI, highI, lowJ);
            return (side != 0 ? side : turnOf(lowI, highI, highJ)) > 0;
        }
        const int side = turnOf(lowJ, highJ, lowI);
        return (side != 0 ? side : turnOf(lowJ, highJ, highI)) < 0;
    }
};

/// Any contact; the first that the sweep from left to right comes upon.
std::optional<SelfContact> sweep(const EdgeLine& line) {
    struct Event {
        PlanePoint at;
        bool begins;
        int edge;
    };
    const int n = line.numEdges();
    std::vector<Event> events;
    events.reserve(2 * std::size_t(n));
    for (int i = 0; i < n; ++i) {
        events.push_back({line.low(i), true, i});
        events.push_back({line.high(i), false, i});
    }
    // At one place edges begin before others end, so that the two meet in the list.
    std::sort(events.begin(), events.end(), [](const Event& one, const Event& other) {
        return !(one.at == other.at) ? one.at < other.at : one.begins && !other.begins;
    });
    std::multiset<int, BelowAtSweep> reached(BelowAtSweep{&line});
    std::vector<std::multiset<int, BelowAtSweep>::iterator> places(std::size_t(n), reached.end());
    std::optional<SelfContact> contact;
    const auto compare = [&](auto one, auto other) {
        if (!contact)
            contact = contactOf(line, *one, *other);
    };
    for (const Event& event : events) {
        auto& place = places[std::size_t(event.edge)];
        if (event.begins) {
            place = reached.insert(event.edge);
            if (place != reached.begin())
                compare(std::prev(place), place);
            if (std::next(place) != reached.end())
                compare(place, std::next(place));
        } else {
            const auto above = std::next(place);
            if (place != reached.begin() && above != reached.end())
                compare(std::prev(place), above);
            reached.erase(place);
        }
        if (contact)
            break;
    }
    return contact;
}

/// A tree of boxes over runs of successive edges, a leaf for each few; the children of node k are 2 k + 1 and 2 k + 2.
class EdgeBoxes {
public:
    explicit EdgeBoxes(const EdgeLine& line) : __line(line), __steps(1000000 + 400LL * line.numEdges()) {
        std::size_t numLeaves = 1;
        while (numLeaves * leafSize < std::size_t(line.numEdges()))
            numLeaves *= 2;
        __boxes.resize(2 * numLeaves - 1);
        __firstLeaf = numLeaves - 1;
        for (int i = 0; i < line.numEdges(); ++i)
            for (const PlanePoint* point : {&line.start(i), &line.end(i)})
                __boxes[__firstLeaf + std::size_t(i) / leafSize].add(*point, *point);
        for (std::size_t k = __firstLeaf; k-- > 0;)
            for (const std::size_t child : {2 * k + 1, 2 * k + 2})
                if (!__boxes[child].isEmpty())
                    __boxes[k].add(__boxes[child].low, __boxes[child].high);
    }

    std::optional<SelfContact> findCrossing() {
        std::vector<std::pair<std::size_t, std::size_t>> open = {{0, 0}};
        while (!open.empty() && --__steps > 0) {
            const auto [one, other] = open.back();
            open.pop_back();
            if (!__boxes[one].meets(__boxes[other]))
                continue;
            if (one >= __firstLeaf && other >= __firstLeaf) {
                if (auto crossing = compareLeaves(one - __firstLeaf, other - __firstLeaf))
                    return crossing;
            } else if (one == other) {
                open.insert(open.end(),
                            {{2 * one + 1, 2 * one + 1}, {2 * one + 2, 2 * one + 2}, {2 * one + 1, 2 * one + 2}});
            } else { // both on one level
                for (const std::size_t i : {2 * one + 1, 2 * one + 2})
                    for (const std::size_t j : {2 * other + 1, 2 * other + 2})
                        open.emplace_back(i, j);
            }
        }
        return std::nullopt;
    }

private:
    static constexpr std::size_t leafSize = 4;

    struct Box {
        PlanePoint low{HUGE_VAL, HUGE_VAL};
        PlanePoint high{-HUGE_VAL, -HUGE_VAL};

        bool isEmpty() const { return low.x > high.x; }
        void add(const PlanePoint& lower, const PlanePoint& upper) {
            low = {std::min(low.x, lower.x), std::min(low.y, lower.y)};
            high = {std::max(high.x, upper.x), std::max(high.y, upper.y)};
        }
        bool meets(const Box& other) const {
            return low.x <= other.high.x && other.low.x <= high.x && low.y <= other.high.y && other.low.y <= high.y;
        }
    };

    std::optional<SelfContact> compareLeaves(std::size_t one, std::size_t other) const {
        const int n = __line.numEdges();
        const int firstEnd = std::min(n, int((one + 1) * leafSize)),
                  secondEnd = std::min(n, int((other + 1) * leafSize));
        for (int i = int(one * leafSize); i < firstEnd; ++i)
            for (int j = std::max(i + 1, int(other * leafSize)); j < secondEnd; ++j)
                if (auto contact = contactOf(__line, i, j); contact && contact->crosses)
                    return contact;
        return std::nullopt;
    }

    const EdgeLine& __line;
    std::vector<Box> __boxes;
    std::size_t __firstLeaf = 0;
    long long __steps;
};

} // namespace

std::optional<SelfContact> findSelfContact(const std::vector<double>& coordinates, bool closed) {
    const EdgeLine line(coordinates, closed);
    if (line.numEdges() < 2 || (line.isRing() && isStar(line)))
        return std::nullopt;
    std::optional<SelfContact> contact = sweep(line);
    if (contact && !contact->crosses)
        if (auto crossing = EdgeBoxes(line).findCrossing())
            return crossing;
    return contact;
}

bool areApart(const std::vector<std::vector<double>>& polygons) {
    EdgeLine lines;
    for (const std::vector<double>& polygon : polygons)
        lines.add(polygon, true);
    return !sweep(lines);
}

} // namespace vorlen
