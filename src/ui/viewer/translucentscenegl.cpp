#include "ui/viewer/translucentscenegl.h"

#include <algorithm>
#include <array>

namespace vorlen {

namespace {

constexpr unsigned int numKeys = 1 << 16;

/// The places of the keys in descending order; equal keys stay in order.
std::vector<unsigned int> descending(const std::vector<float>& depths) {
    const auto [low, high] = std::minmax_element(depths.begin(), depths.end());
    const float scale = *high > *low ? float(numKeys - 1) / (*high - *low) : 0;
    std::vector<unsigned int> starts(numKeys + 1, 0);
    std::vector<unsigned short> keys(depths.size());
    for (std::size_t i = 0; i < depths.size(); ++i) {
        keys[i] = static_cast<unsigned short>((*high - depths[i]) * scale);
        ++starts[keys[i] + 1U];
    }
    for (unsigned int key = 0; key < numKeys; ++key)
        starts[key + 1] += starts[key];
    std::vector<unsigned int> order(depths.size());
    for (std::size_t i = 0; i < depths.size(); ++i)
        order[starts[keys[i]]++] = static_cast<unsigned int>(i);
    return order;
}

std::vector<float> valuesOf(const TranslucentSceneGL::Eye& eye) {
    std::vector<float> values(eye.center, eye.center + 3);
    values.push_back(eye.distance);
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            values.push_back(eye.rotation[i][j]);
    return values;
}

} // namespace

void TranslucentSceneGL::glDraw(const std::vector<const PainterGL<float>*>& painters, const Eye& eye) const {
    std::vector<std::pair<const PainterGL<float>*, std::uint64_t>> present;
    present.reserve(painters.size());
    for (const PainterGL<float>* painter : painters)
        present.emplace_back(painter, painter->revision());
    if (present != __gathered) {
        gather(painters);
        __gathered.swap(present);
        __view.clear();
    }
    for (const PainterGL<float>* painter : __others)
        painter->glDraw();
    if (__corners.empty())
        return;
    std::vector<float> view = valuesOf(eye);
    if (view != __view) {
        order(eye);
        __view.swap(view);
    }
    drawTriangles();
}

void TranslucentSceneGL::gather(const std::vector<const PainterGL<float>*>& painters) const {
    __gathered.clear(); // for the case that a painter fails
    __triangles.clear();
    __others.clear();
    for (const PainterGL<float>* painter : painters)
        if (!painter->addTriangles(__triangles))
            __others.push_back(painter);
    __corners = __triangles.array.indexes;
    const std::vector<float>& positions = __triangles.array.positions;
    __middles.assign(__corners.size(), 0);
    for (std::size_t t = 0; t < __corners.size() / 3; ++t)
        for (std::size_t corner = 0; corner < 3; ++corner)
            for (std::size_t k = 0; k < 3; ++k)
                __middles[3 * t + k] += positions[3 * std::size_t(__corners[3 * t + corner]) + k] / 3;
}

/// By distance from the eye in perspective, by depth otherwise.
void TranslucentSceneGL::order(const Eye& eye) const {
    const std::size_t n = __corners.size() / 3;
    std::vector<float> depths(n);
    for (std::size_t t = 0; t < n; ++t) {
        std::array<float, 3> seen = {0, 0, -eye.distance};
        for (int i = 0; i < 3; ++i)
            for (int j = 0; j < 3; ++j)
                seen[std::size_t(i)] += eye.rotation[i][j] * (__middles[3 * t + std::size_t(j)] - eye.center[j]);
        depths[t] = eye.distance > 0 ? seen[0] * seen[0] + seen[1] * seen[1] + seen[2] * seen[2] : -seen[2];
    }
    __order = descending(depths);
    std::vector<unsigned int>& indexes = __triangles.array.indexes;
    for (std::size_t t = 0; t < n; ++t)
        std::copy_n(__corners.begin() + std::ptrdiff_t(3 * std::size_t(__order[t])), 3,
                    indexes.begin() + std::ptrdiff_t(3 * t));
    __triangles.array.invalidateIndexes();
}

/// In runs of one look.
void TranslucentSceneGL::drawTriangles() const {
    const std::size_t n = __order.size();
    for (std::size_t first = 0; first < n;) {
        const unsigned short material = __triangles.materials[__order[first]];
        std::size_t end = first + 1;
        while (end < n && (__triangles.looks.size() == 1 || __triangles.materials[__order[end]] == material))
            ++end;
        glPushAttrib(GL_LIGHTING_BIT | GL_CURRENT_BIT | GL_ENABLE_BIT);
        __triangles.looks[material].glApply();
        __triangles.array.drawLit(GL_TRIANGLES, 3 * first, 3 * (end - first));
        glPopAttrib();
        first = end;
    }
}

} // namespace vorlen
