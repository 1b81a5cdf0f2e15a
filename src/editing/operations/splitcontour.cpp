#include "editing/operations/splitcontour.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "document/modelitem.h"
#include "document/subpixel.h"
#include "editing/actions/vrlitemdeletionaction.h"
#include "editing/operations/onestep.h"

namespace vorlen {

namespace {

struct Point {
    double x = 0, y = 0;
};

/// The contour as a ring of nodes, with one more at each crossing.
struct Node {
    Point place;
    int next = 0;        // what follows; behind a crossing that cuts, on the other side of the line
    double along = -1;   // of a crossing: how far along the line, 0 to 1
    bool isDone = false; // is in a piece
};

class Splitter {
public:
    Splitter(const Curve<double>& contour, const Curve<double>& line)
        : __contour(contour), __line{at(line, 0), at(line, 1)} {
        makeRing();
        cut();
    }

    std::vector<Curve<double>> pieces() {
        std::vector<Curve<double>> found;
        for (std::size_t first = 0; first < __ring.size(); ++first)
            if (!__ring[first].isDone)
                found.push_back(pieceFrom(first));
        return found;
    }

private:
    static Point at(const Curve<double>& curve, int k) { return {curve[k][0], curve[k][1]}; }

    /// Twice the area of the triangle of the line and the point: on which side the point lies.
    double side(const Point& point) const {
        const auto& [a, b] = __line;
        return (b.x - a.x) * (point.y - a.y) - (b.y - a.y) * (point.x - a.x);
    }

    double along(const Point& point) const {
        const auto& [a, b] = __line;
        const double x = b.x - a.x, y = b.y - a.y;
        return ((point.x - a.x) * x + (point.y - a.y) * y) / (x * x + y * y);
    }

    void add(const Point& place, double along) { __ring.push_back({place, int(__ring.size()) + 1, along}); }

    /// A crossing stands twice, as the end of what comes before it and as the start of what follows.
    void addCrossing(const Point& place, double where) {
        if (where < 0 || where > 1)
            return add(place, -1);
        __crossings.push_back(int(__ring.size()));
        add(place, where);
        add(place, where);
    }

    void makeRing() {
        const int n = __contour.getSize();
        for (int k = 0; k < n; ++k) {
            const Point here = at(__contour, k), next = at(__contour, (k + 1) % n);
            const double s = side(here), t = side(next);
            if (s == 0 && t != 0 && changesSides(k, t))
                addCrossing(here, along(here));
            else
                add(here, -1);
            if ((s < 0 && t > 0) || (s > 0 && t < 0)) {
                const double share = s / (s - t);
                const Point place = {here.x + share * (next.x - here.x), here.y + share * (next.y - here.y)};
                const double where = along(place);
                if (where >= 0 && where <= 1)
                    addCrossing({subpixel(place.x), subpixel(place.y)}, where);
            }
        }
        if (n > 0)
            __ring.back().next = 0;
    }

    /// Whether what comes before the vertex, which lies on the line, is on the other side than what follows.
    bool changesSides(int k, double after) const {
        const int n = __contour.getSize();
        for (int back = 1; back < n; ++back)
            if (const double before = side(at(__contour, (k - back + n) % n)); before != 0)
                return (before < 0) != (after < 0);
        return false;
    }

    /// By the even-odd rule; the point lies on no edge.
    bool isInside(const Point& point) const {
        const int n = __contour.getSize();
        bool inside = false;
        for (int k = 0; k < n; ++k) {
            const Point a = at(__contour, k), b = at(__contour, (k + 1) % n);
            if ((a.y > point.y) != (b.y > point.y))
                inside ^= point.x < a.x + (point.y - a.y) * (b.x - a.x) / (b.y - a.y);
        }
        return inside;
    }

    /// Joins the crossings two by two, as they follow each other along the line, where the line between them is inside.
    void cut() {
        std::sort(__crossings.begin(), __crossings.end(),
                  [this](int a, int b) { return node(a).along < node(b).along; });
        const auto& [a, b] = __line;
        for (std::size_t i = 0; i + 1 < __crossings.size(); ++i) {
            const int enters = __crossings[i], leaves = __crossings[i + 1];
            const double middle = (node(enters).along + node(leaves).along) / 2;
            if (!isInside({a.x + middle * (b.x - a.x), a.y + middle * (b.y - a.y)}))
                continue;
            std::swap(node(enters).next, node(leaves).next);
            ++i; // a crossing bounds one cut
        }
    }

    Node& node(int k) { return __ring[static_cast<std::size_t>(k)]; }

    Curve<double> pieceFrom(std::size_t first) {
        std::vector<std::pair<double, double>> vertices;
        for (int k = int(first); !node(k).isDone; k = node(k).next) {
            node(k).isDone = true;
            const std::pair vertex(node(k).place.x, node(k).place.y);
            if (vertices.empty() || vertices.back() != vertex)
                vertices.push_back(vertex);
        }
        while (vertices.size() > 1 && vertices.front() == vertices.back())
            vertices.pop_back();
        const int n = int(vertices.size());
        Curve<double> piece(2, n, n, 1, false);
        for (int k = 0; k < n; ++k) {
            piece[k][0] = vertices[static_cast<std::size_t>(k)].first;
            piece[k][1] = vertices[static_cast<std::size_t>(k)].second;
        }
        return piece;
    }

    const Curve<double>& __contour;
    std::pair<Point, Point> __line;
    std::vector<Node> __ring;
    std::vector<int> __crossings; // the first of the two nodes
};

} // namespace

std::vector<Curve<double>> splitPieces(const Curve<double>& contour, const Curve<double>& line) {
    return Splitter(contour, line).pieces();
}

bool isSplitBy(const ModelItem& item, const Curve<double>& line) {
    return splitPieces(Curve<double>(item.getVertices(), false), line).size() > 1;
}

Outcome splitContour(VRLStack& stack, ModelItem& item, const Curve<double>& line) {
    const std::vector<Curve<double>> pieces = splitPieces(Curve<double>(item.getVertices(), false), line);
    if (pieces.size() < 2)
        return Outcome::refused("Nothing was split: the line has to enter the contour and to leave it again.");
    if (std::any_of(pieces.begin(), pieces.end(), [](const Curve<double>& piece) { return piece.getSize() < 3; }))
        return Outcome::refused("Cannot split the contour there: a piece of less than 3 vertices would remain.\n\n"
                                "Draw the line elsewhere.");
    return inOneStep(stack, {}, [&](EditStep& step) {
        for (const Curve<double>& piece : pieces) {
            auto part = std::make_unique<ModelItem>();
            part->setModel(item.getModel());
            part->setSlice(item.getSlice());
            part->setProperties(item.getProperties());
            part->setVertices(piece);
            applyCreation(step, std::move(part));
        }
        step.apply(std::make_unique<VRLItemDeletionAction>(item));
    });
}

} // namespace vorlen
