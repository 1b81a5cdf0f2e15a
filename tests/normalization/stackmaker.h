#pragma once

#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "support/documentmaker.h"

namespace vorlen {

/// What makes one specimen differ from another.
struct SpecimenRecipe {
    int quarters = 0; ///< quarter turns in the plane of the sections
    double angle = 0; ///< another turn, in radians; its pixels are rounded
    int right = 0;    ///< shift, in pixels
    int down = 0;
    double stretch = 1; ///< of the x axis, before the turn
    int jitter = 0;     ///< greatest shift of a vertex, in pixels
    bool over = false;  ///< cut from the other end
};

/// Seven sections 10 apart with pixels of 1: the polygons "body" (24 vertices on each section) and "core" (16, on
/// sections 1 to 5), the points "spots" on sections 2 and 4, and the polyline "rim" on all sections.
inline std::unique_ptr<Stack> specimenStack(const std::string& name, const SpecimenRecipe& recipe = {}) {
    auto stack = std::make_unique<Stack>();
    stack->setName(name);
    stack->setDefaultSliceSpacing(10);
    addSlices(*stack, 7);
    unsigned int state = 12345u + unsigned(recipe.right * 31 + recipe.down * 7 + recipe.quarters);
    const auto noise = [&] {
        state = state * 1664525u + 1013904223u;
        return recipe.jitter > 0 ? int(state >> 16) % (2 * recipe.jitter + 1) - recipe.jitter : 0;
    };
    const auto place = [&](double x, double y) {
        const double c = std::cos(recipe.angle), s = std::sin(recipe.angle);
        const double side = recipe.over ? -x : x;
        int u = int(std::lround(c * recipe.stretch * side - s * y)) + noise();
        int v = int(std::lround(s * recipe.stretch * side + c * y)) + noise();
        for (int q = 0; q < recipe.quarters; ++q) {
            const int w = u;
            u = -v;
            v = w;
        }
        return std::pair<int, int>(u + recipe.right, v + recipe.down);
    };
    const auto ring = [&](int n, double radius, double x, double y, double wave) {
        std::vector<std::pair<int, int>> points;
        for (int k = 0; k < n; ++k) {
            const double angle = 2 * 3.14159265358979323846 * k / n;
            const double r = radius * (1 + 0.35 * std::cos(angle + 0.4) + wave * std::sin(2 * angle));
            points.push_back(place(x + r * std::cos(angle), y + 0.7 * r * std::sin(angle)));
        }
        return points;
    };
    Model& spots = addModel(*stack, "spots", PolypointPrimitive);
    Model& body = addModel(*stack, "body");
    Model& core = addModel(*stack, "core");
    Model& rim = addModel(*stack, "rim", PolylinePrimitive);
    rim.getProperties().setQuadMeshHeight(5);
    rim.getProperties().setQuadMeshWidth(9);
    for (int z = 0; z < 7; ++z) {
        StackSlice& slice = stack->getSlice(recipe.over ? 6 - z : z);
        addItem(body, slice, ring(24, 100 + 6 * z, 0, 0, 0.1));
        if (z > 0 && z < 6) {
            addItem(core, slice, ring(16, 30 - z, 20, -30 + 4 * z, 0.2));
        }
        addItem(rim, slice, {place(-150, 10 * z), place(-140, 0), place(-120, -40)});
        if (z == 2 || z == 4) {
            addItem(spots, slice, {place(40, 10 * z), place(-35, 12)});
        }
    }
    return stack;
}

} // namespace vorlen
