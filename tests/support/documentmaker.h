#pragma once

#include <cmath>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "document/model.h"
#include "document/modelitem.h"
#include "document/stack.h"

namespace vorlen {

/// Short makers of documents for tests.

inline Vector<double> point(double x, double y) {
    Vector<double> p(2);
    p[0] = x;
    p[1] = y;
    return p;
}

/// A pixel of an image.
inline Vector<int> pixel(int x, int y) {
    Vector<int> p(2);
    p[0] = x;
    p[1] = y;
    return p;
}

inline Vertices<double> makeVertices(const std::vector<std::pair<int, int>>& points) {
    const int n = int(points.size());
    Vertices<double> vertices(2, n, n, 1);
    for (int i = 0; i < n; ++i)
        vertices[i] = point(points[std::size_t(i)].first, points[std::size_t(i)].second);
    return vertices;
}

/// Vertices between the pixels.
inline Vertices<double> makeDecimals(const std::vector<std::pair<double, double>>& points) {
    const int n = int(points.size());
    Vertices<double> vertices(2, n, n, 1);
    for (int i = 0; i < n; ++i)
        vertices[i] = point(points[std::size_t(i)].first, points[std::size_t(i)].second);
    return vertices;
}

inline std::vector<std::pair<double, double>> decimals(const Vertices<double>& vertices) {
    std::vector<std::pair<double, double>> points;
    for (int i = 0; i < vertices.getNumVertices(); ++i)
        points.emplace_back(vertices[i][0], vertices[i][1]);
    return points;
}

/// Of vertices that are expected to lie on whole numbers. Throws std::domain_error where one does not.
inline std::vector<std::pair<int, int>> coordinates(const Vertices<double>& vertices) {
    std::vector<std::pair<int, int>> points;
    for (const auto& [x, y] : decimals(vertices)) {
        if (x != std::floor(x) || y != std::floor(y))
            throw std::domain_error("A vertex lies between the pixels");
        points.emplace_back(int(x), int(y));
    }
    return points;
}

/// Left, top, right, bottom.
template <class T>
std::vector<T> corners(const BoundingBox<T>& box) {
    if (!box.isValid())
        return {};
    return {box.getVertex1()[0], box.getVertex1()[1], box.getVertex2()[0], box.getVertex2()[1]};
}

/// A stack of n slices named "s0", "s1", ... that follow the default spacing.
inline void addSlices(Stack& stack, int n) {
    for (int i = 0; i < n; ++i) {
        auto* slice = new StackSlice;
        std::string name = std::to_string(i);
        name.insert(name.begin(), 's');
        slice->setName(name);
        stack.addSlice(slice);
    }
}

inline Model& addModel(Stack& stack, const std::string& name, MPrimitive geometry = PolygonPrimitive) {
    auto* model = new Model;
    model->setName(name);
    model->getProperties().setGeometry(geometry);
    stack.addModel(model);
    return *model;
}

/// An item of the model on the slice, attached to both.
inline ModelItem& addItem(Model& model, StackSlice& slice, const std::vector<std::pair<int, int>>& points = {}) {
    auto* item = new ModelItem;
    item->setModel(&model);
    item->setSlice(&slice);
    item->setVertices(makeVertices(points));
    item->attach();
    return *item;
}

} // namespace vorlen
