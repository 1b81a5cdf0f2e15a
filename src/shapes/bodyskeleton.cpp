#include "shapes/bodyskeleton.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "shapes/voxelbody.h"

namespace vorlen {

namespace {

using Point = std::array<double, 3>;

/// The 27 voxels around one, x first; the middle one is number 13.
constexpr int numAround = 27, middle = 13;

constexpr std::array<int, 3> offsetOf(int k) {
    return {k % 3 - 1, k / 3 % 3 - 1, k / 9 - 1};
}

/// How many of the axes lead from one to the other; 0 when they do not touch.
constexpr int axesBetween(int a, int b) {
    int axes = 0;
    for (int axis = 0; axis < 3; ++axis) {
        const int away = offsetOf(a)[std::size_t(axis)] - offsetOf(b)[std::size_t(axis)];
        if (away > 1 || away < -1)
            return 0;
        axes += away != 0;
    }
    return axes;
}

using Bits = unsigned int;

struct Around {
    std::array<Bits, numAround> touching = {}, facing = {}; // neighbours in the cube, by corners or by faces
    Bits faces = 0, facesAndEdges = 0;                      // of the middle

    constexpr Around() {
        for (int a = 0; a < numAround; ++a)
            for (int b = 0; b < numAround; ++b) {
                const int axes = a == middle || b == middle ? 0 : axesBetween(a, b);
                touching[std::size_t(a)] |= axes > 0 ? 1u << b : 0u;
                facing[std::size_t(a)] |= axes == 1 ? 1u << b : 0u;
            }
        for (int b = 0; b < numAround; ++b) {
            const int axes = axesBetween(middle, b);
            faces |= axes == 1 ? 1u << b : 0u;
            facesAndEdges |= axes == 1 || axes == 2 ? 1u << b : 0u;
        }
    }
};

constexpr Around around;

/// All that hangs together with a bit of the start.
Bits component(Bits start, Bits all, const std::array<Bits, numAround>& neighbours) {
    Bits found = start, rest = start;
    while (rest != 0) {
        const int k = __builtin_ctz(rest);
        rest &= rest - 1;
        const Bits added = neighbours[std::size_t(k)] & all & ~found;
        found |= added;
        rest |= added;
    }
    return found;
}

/// Whether the middle can go without parting or joining anything: what is set around it hangs together, and so does the
/// outside that it faces.
bool isSimple(Bits set) {
    set &= ~(1u << middle);
    if (set == 0 || component(set & (~set + 1), set, around.touching) != set)
        return false;
    const Bits outside = ~set & around.facesAndEdges;
    const Bits faced = outside & around.faces;
    return faced != 0 && (component(faced & (~faced + 1), outside, around.facing) & faced) == faced;
}

class Thinning {
public:
    explicit Thinning(const VoxelBody& body) : __body(body), __set(std::size_t(body.getNumVoxels())) {
        for (int k = 0; k < numAround; ++k) {
            const std::array<int, 3> offset = offsetOf(k);
            __offsets[std::size_t(k)] = offset[0] + offset[1] * body.getStep(1) + offset[2] * body.getStep(2);
        }
        for (int voxel = 0; voxel < body.getNumVoxels(); ++voxel)
            if (body.isInside(voxel)) {
                __lines.push_back(voxel);
                __set[std::size_t(voxel)] = 1;
            }
        while (peel())
            ;
    }

    const std::vector<int>& lines() const { return __lines; }
    bool isSet(int voxel) const { return __set[std::size_t(voxel)] != 0; }
    void remove(int voxel) { __set[std::size_t(voxel)] = 0; }
    void forgetRemoved() {
        std::erase_if(
            __lines, [this](int voxel) { return !isSet(voxel); });
    }

    std::vector<int> neighbours(int voxel) const {
        std::vector<int> found;
        for (int k = 0; k < numAround; ++k)
            if (k != middle && isSet(voxel + __offsets[std::size_t(k)]))
                found.push_back(voxel + __offsets[std::size_t(k)]);
        return found;
    }

    Point placeOf(int voxel) const {
        const auto [width, height, depth] = __body.getSizes();
        static_cast<void>(depth);
        const int column = voxel % width, row = voxel / width % height, plane = voxel / (width * height);
        const double size = __body.getVoxelSize();
        return {size * column, size * row, size * plane};
    }

private:
    /// Takes a layer off, from each of the six sides in turn: of what borders on the outside there, what can go. Voxels
    /// that touch do not go at once, or the end of a slanted line would go on and on. False when nothing could go.
    bool peel() {
        const std::size_t before = __lines.size();
        std::vector<int> border;
        for (const int axis : {2, 1, 0})
            for (const int way : {-1, 1}) {
                border.clear();
                for (const int voxel : __lines)
                    if (!isSet(voxel + way * __body.getStep(axis)) && canGo(voxel))
                        border.push_back(voxel);
                for (int field = 0; field < 8; ++field)
                    for (const int voxel : border)
                        if (fieldOf(voxel) == field && isSet(voxel) && canGo(voxel))
                            remove(voxel);
                forgetRemoved();
            }
        return __lines.size() < before;
    }

    /// No two voxels of one field touch.
    int fieldOf(int voxel) const {
        const int width = __body.getSizes()[0], height = __body.getSizes()[1];
        return voxel % width % 2 + 2 * (voxel / width % height % 2) + 4 * (voxel / width / height % 2);
    }

    bool canGo(int voxel) const {
        const Bits set = setAround(voxel);
        return numSet(set) > 1 && isSimple(set);
    }

    /// The neighbours that are set.
    Bits setAround(int voxel) const {
        Bits bits = 0;
        for (int k = 0; k < numAround; ++k)
            if (k != middle && isSet(voxel + __offsets[std::size_t(k)]))
                bits |= 1u << k;
        return bits;
    }

    static int numSet(Bits bits) { return __builtin_popcount(bits); }

    const VoxelBody& __body;
    std::vector<unsigned char> __set;
    std::array<int, numAround> __offsets = {};
    std::vector<int> __lines;
};

/// Voxels of a line from node to node; a node is an end or a cluster of voxels where more than two ways meet.
struct Branch {
    std::vector<int> voxels;
    int first = -1, last = -1; // nodes
};

class Graph {
public:
    Graph(Thinning& thinning, const VoxelBody& body)
        : __thinning(thinning), __body(body), __numbers(std::size_t(body.getNumVoxels()), unseen) {
        do {
            find();
        } while (prune());
    }

    int numEnds() const { return int(std::count(__degrees.begin(), __degrees.end(), 1)); }
    int numForks() const {
        return int(std::count_if(
            __degrees.begin(), __degrees.end(), [](int degree) { return degree > 2; }));
    }
    int numBranches() const { return int(__branches.size()); }

    double length() const {
        double sum = 0;
        for (const Branch& branch : __branches) {
            sum += lengthOf(branch);
            for (const int node : {branch.first, branch.last})
                if (node >= 0 && __degrees[std::size_t(node)] == 1)
                    sum += depthOf(node);
        }
        return sum;
    }

private:
    void find() {
        __branches.clear();
        __nodes.clear();
        for (const int voxel : __thinning.lines())
            __numbers[std::size_t(voxel)] = unseen;
        findNodes();
        __degrees.assign(__nodes.size(), 0);
        for (int node = 0; node < int(__nodes.size()); ++node)
            for (const int voxel : __nodes[std::size_t(node)])
                for (const int next : __thinning.neighbours(voxel))
                    follow(node, voxel, next);
        for (const int voxel : __thinning.lines())
            if (__numbers[std::size_t(voxel)] == unseen && __thinning.neighbours(voxel).size() == 2)
                followRing(voxel);
        // A way around a hole is at least as long as that through the middle of the body beside it.
        std::erase_if(__branches, [this](const Branch& branch) {
            return branch.first >= 0 && branch.first == branch.last && lengthOf(branch) < 6 * depthOf(branch.first);
        });
        for (const Branch& branch : __branches)
            for (const int node : {branch.first, branch.last})
                if (node >= 0)
                    ++__degrees[std::size_t(node)];
    }

    /// Of the body around a node: the distance to the surface.
    double depthOf(int node) const {
        double depth = 0;
        for (const int voxel : __nodes[std::size_t(node)])
            depth = std::max(depth, __body.getDepth(voxel));
        return depth;
    }

    void findNodes() {
        for (const int start : __thinning.lines()) {
            const std::size_t degree = __thinning.neighbours(start).size();
            if (degree == 2 || degree == 0 || __numbers[std::size_t(start)] != unseen)
                continue;
            const int number = int(__nodes.size());
            std::vector<int>& voxels = __nodes.emplace_back(std::vector<int>{start});
            __numbers[std::size_t(start)] = number;
            for (std::size_t k = 0; degree > 2 && k < voxels.size(); ++k)
                for (const int next : __thinning.neighbours(voxels[k]))
                    if (__numbers[std::size_t(next)] == unseen && __thinning.neighbours(next).size() > 2) {
                        __numbers[std::size_t(next)] = number;
                        voxels.push_back(next);
                    }
        }
    }

    /// From a node's voxel on along the line that begins with next.
    void follow(int node, int voxel, int next) {
        Branch branch = {{voxel}, node};
        int before = voxel;
        while (__numbers[std::size_t(next)] == unseen) {
            __numbers[std::size_t(next)] = seen;
            branch.voxels.push_back(next);
            int onward = -1; // the other one of two neighbours
            for (const int other : __thinning.neighbours(next))
                if (other != before)
                    onward = other;
            if (onward < 0)
                break;
            before = next;
            next = onward;
        }
        const int end = __numbers[std::size_t(next)];
        const bool isLine = branch.voxels.size() > 1;
        if (end < 0 || (!isLine && end <= node)) // seen from the other side, or within the node
            return;
        branch.voxels.push_back(next);
        if (end == node && branch.voxels.size() < 4) // a voxel beside the node
            return;
        branch.last = end;
        __branches.push_back(std::move(branch));
    }

    void followRing(int start) {
        Branch ring = {{start}};
        __numbers[std::size_t(start)] = seen;
        for (bool goesOn = true; goesOn;) {
            goesOn = false;
            for (const int next : __thinning.neighbours(ring.voxels.back()))
                if (!goesOn && __numbers[std::size_t(next)] == unseen) {
                    __numbers[std::size_t(next)] = seen;
                    ring.voxels.push_back(next);
                    goesOn = true;
                }
        }
        ring.voxels.push_back(start);
        __branches.push_back(std::move(ring));
    }

    /// Takes the shortest branch off that ends within the body's own thickness, or a line without forks that is shorter
    /// than that. False when there is none.
    bool prune() {
        const Branch* shortest = nullptr;
        double least = 0;
        for (const Branch& branch : __branches) {
            if (branch.first < 0 || branch.last < 0)
                continue;
            const bool firstEnds = __degrees[std::size_t(branch.first)] == 1;
            const bool lastEnds = __degrees[std::size_t(branch.last)] == 1;
            if (!firstEnds && !lastEnds)
                continue;
            const int fork = firstEnds ? branch.last : branch.first, end = firstEnds ? branch.first : branch.last;
            const double reach = lengthOf(branch) + depthOf(end);
            const double thick = lastEnds && firstEnds ? 2 * std::max(depthOf(end), depthOf(fork)) : 2 * depthOf(fork);
            if (reach < thick && (shortest == nullptr || reach < least)) {
                shortest = &branch;
                least = reach;
            }
        }
        if (shortest == nullptr)
            return false;
        for (const int voxel : shortest->voxels)
            if (const int number = __numbers[std::size_t(voxel)]; number < 0 || __degrees[std::size_t(number)] == 1)
                __thinning.remove(voxel);
        __thinning.forgetRemoved();
        return true;
    }

    /// Of the line whose places are means over a few neighbours, its ends kept.
    double lengthOf(const Branch& branch) const {
        constexpr int reach = 4;
        const int n = int(branch.voxels.size());
        const bool isRing = branch.first < 0;
        std::vector<Point> places;
        places.reserve(std::size_t(n));
        for (const int voxel : branch.voxels)
            places.push_back(__thinning.placeOf(voxel));
        const auto smooth = [&](int k) {
            const int near = isRing ? reach : std::min({reach, k, n - 1 - k});
            Point sum = {};
            for (int i = k - near; i <= k + near; ++i)
                for (std::size_t axis = 0; axis < 3; ++axis)
                    sum[axis] +=
                        places[std::size_t(isRing ? (i % (n - 1) + n - 1) % (n - 1) : i)][axis] / (2 * near + 1);
            return sum;
        };
        double length = 0;
        Point before = smooth(0);
        for (int k = 1; k < n; ++k) {
            const Point place = smooth(k);
            length += std::hypot(place[0] - before[0], place[1] - before[1], place[2] - before[2]);
            before = place;
        }
        return length;
    }

    static constexpr int unseen = -1, seen = -2;

    Thinning& __thinning;
    const VoxelBody& __body;
    std::vector<std::vector<int>> __nodes;
    std::vector<int> __degrees; // branches at each node
    std::vector<int> __numbers; // of the node of each voxel, unseen or seen
    std::vector<Branch> __branches;
};

} // namespace

BodySkeleton::BodySkeleton(const VoxelBody& body) {
    Thinning thinning(body);
    const Graph graph(thinning, body);
    numBranches = graph.numBranches();
    numEnds = graph.numEnds();
    numForks = graph.numForks();
    length = graph.length();
}

} // namespace vorlen
