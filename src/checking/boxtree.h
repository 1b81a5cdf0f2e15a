#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>
#include <vector>

namespace vorlen {

/// Upright boxes of the plane in a tree that tells which of them meet a given one, in about log n steps and one for
/// each that does.
class BoxTree {
public:
    /// Begins empty, and grows by what is added.
    struct Box {
        double left = HUGE_VAL, top = HUGE_VAL, right = -HUGE_VAL, bottom = -HUGE_VAL;

        void add(double x, double y) {
            left = std::min(left, x);
            right = std::max(right, x);
            top = std::min(top, y);
            bottom = std::max(bottom, y);
        }
        void add(const Box& other) {
            add(other.left, other.top);
            add(other.right, other.bottom);
        }
        /// Whether the two have more than a border in common.
        bool overlaps(const Box& other) const {
            return left < other.right && other.left < right && top < other.bottom && other.top < bottom;
        }
        bool meets(const Box& other) const {
            return left <= other.right && other.left <= right && top <= other.bottom && other.top <= bottom;
        }
    };

    explicit BoxTree(std::vector<Box> boxes) : __boxes(std::move(boxes)), __order(__boxes.size()) {
        for (std::size_t k = 0; k < __order.size(); ++k)
            __order[k] = k;
        if (!__order.empty())
            build(0, __order.size());
    }

    const Box& getBox(std::size_t number) const { return __boxes[number]; }

    /// Calls visit(number) for the boxes that meet this one, until one of the calls gives true, which it gives then.
    template <class Visit>
    bool any(const Box& box, const Visit& visit) const {
        std::vector<std::size_t> open;
        if (!__nodes.empty())
            open.push_back(0);
        while (!open.empty()) {
            const std::size_t k = open.back();
            open.pop_back();
            const Node& node = __nodes[k];
            if (!node.box.meets(box))
                continue;
            if (node.second != 0) {
                open.push_back(node.second);
                open.push_back(k + 1);
                continue;
            }
            for (std::size_t i = node.first; i < node.last; ++i)
                if (__boxes[__order[i]].meets(box) && visit(__order[i]))
                    return true;
        }
        return false;
    }

private:
    static constexpr std::size_t leafSize = 8;

    /// Of the boxes at some places of the order. Its first child stands behind it; second is 0 for a leaf.
    struct Node {
        Box box;
        std::size_t first, last, second;
    };

    void build(std::size_t first, std::size_t last) {
        const std::size_t own = __nodes.size();
        Box box;
        for (std::size_t i = first; i < last; ++i)
            box.add(__boxes[__order[i]]);
        __nodes.push_back({box, first, last, 0});
        if (last - first <= leafSize)
            return;
        const std::size_t middle = first + (last - first) / 2;
        const bool isWide = box.right - box.left > box.bottom - box.top;
        const auto place = [&](std::size_t number) {
            const Box& each = __boxes[number];
            return isWide ? each.left + each.right : each.top + each.bottom;
        };
        const auto at = [&](std::size_t k) { return __order.begin() + std::ptrdiff_t(k); };
        std::nth_element(at(first), at(middle), at(last),
                         [&](std::size_t one, std::size_t other) { return place(one) < place(other); });
        build(first, middle);
        __nodes[own].second = __nodes.size();
        build(middle, last);
    }

    std::vector<Box> __boxes;
    std::vector<std::size_t> __order;
    std::vector<Node> __nodes;
};

} // namespace vorlen
