#pragma once

#include <algorithm>
#include <limits>
#include <vector>

namespace vorlen {

/// Binary tree of the bounding boxes of runs of a planar chain: of its vertices, or of its edges.
///
/// Neighbours on a chain lie close, so the boxes of runs are small and no sorting is needed. Node 1 is the root, the
/// children of node k are 2k and 2k + 1; leaf l, at node leaves() + l, holds the items runLength * l and following.
template <class W>
class RunBoxes {
public:
    static constexpr int runLength = 8;

    /// Bounding box of some items; empty until it has grown over one.
    struct Box {
        W lowX = std::numeric_limits<W>::infinity();
        W lowY = std::numeric_limits<W>::infinity();
        W highX = -std::numeric_limits<W>::infinity();
        W highY = -std::numeric_limits<W>::infinity();

        void add(W x, W y) {
            lowX = std::min(lowX, x);
            lowY = std::min(lowY, y);
            highX = std::max(highX, x);
            highY = std::max(highY, y);
        }
        void add(const Box& b) {
            lowX = std::min(lowX, b.lowX);
            lowY = std::min(lowY, b.lowY);
            highX = std::max(highX, b.highX);
            highY = std::max(highY, b.highY);
        }
        bool isEmpty() const { return lowX > highX; }
        bool overlaps(const Box& b, W margin) const {
            return lowX <= b.highX + margin && b.lowX <= highX + margin && lowY <= b.highY + margin &&
                   b.lowY <= highY + margin;
        }
    };

    /// addItem(i, box) puts item i into the box.
    template <class AddItem>
    RunBoxes(int n, AddItem addItem) : __size(n) {
        const int runs = (n + runLength - 1) / runLength;
        while (__leaves < runs)
            __leaves *= 2;
        __boxes.resize(std::size_t(__leaves) * 2);
        for (int i = 0; i < n; ++i)
            addItem(i, __boxes[std::size_t(__leaves) + std::size_t(i / runLength)]);
        for (int k = __leaves - 1; k >= 1; --k) {
            __boxes[k] = __boxes[2 * std::size_t(k)];
            __boxes[k].add(__boxes[2 * std::size_t(k) + 1]);
        }
    }

    int leaves() const { return __leaves; }
    int size() const { return __size; }
    const Box& box(int node) const { return __boxes[node]; }

    /// Calls visit(i) in ascending order for the items from first on in the runs whose boxes come within margin of the
    /// box, until it returns false; tells whether it never did.
    template <class Visit>
    bool visit(const Box& query, W margin, int first, Visit visit) const {
        int stack[64];
        int depth = 0;
        stack[depth++] = 1;
        while (depth > 0) {
            const int node = stack[--depth];
            if (!__boxes[node].overlaps(query, margin))
                continue;
            if (node < __leaves) {
                stack[depth++] = 2 * node + 1;
                stack[depth++] = 2 * node;
                continue;
            }
            const int start = (node - __leaves) * runLength;
            const int end = std::min(start + runLength, __size);
            for (int i = std::max(start, first); i < end; ++i)
                if (!visit(i))
                    return false;
        }
        return true;
    }

private:
    int __size;
    int __leaves = 1;
    std::vector<Box> __boxes;
};

} // namespace vorlen
