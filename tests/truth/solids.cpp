#include "truth/solids.h"

#include <algorithm>
#include <cmath>

#include "document/model.h"
#include "document/modelitem.h"
#include "document/subpixel.h"
#include "reconstruction/measurementtable.h"

namespace vorlen {

namespace {

constexpr double pi = 3.14159265358979323846;
constexpr int fine = 2400; // corners of an outline before it is drawn

/// Simpson's rule.
double integral(double from, double to, const std::function<double(double)>& f, int pieces = 2000) {
    const double h = (to - from) / pieces;
    double sum = f(from) + f(to);
    for (int k = 1; k < pieces; ++k)
        sum += f(from + k * h) * (k % 2 == 1 ? 4 : 2);
    return sum * h / 3;
}

SolidOutline ellipse(double x, double y, double a, double b) {
    SolidOutline points;
    points.reserve(fine);
    for (int k = 0; k < fine; ++k)
        points.push_back({x + a * std::cos(2 * pi * k / fine), y + b * std::sin(2 * pi * k / fine)});
    return points;
}

double ellipseLength(double a, double b) {
    return integral(0, 2 * pi, [&](double t) { return std::hypot(a * std::sin(t), b * std::cos(t)); });
}

Solid ball(double outer, double inner) {
    const auto radius = [](double r, double z) { return std::sqrt(std::max(0.0, r * r - z * z)); };
    return {inner > 0 ? "hollow ball" : "ball",
            -outer,
            outer,
            2 * outer,
            4.0 / 3 * pi * (std::pow(outer, 3) - std::pow(inner, 3)),
            4 * pi * (outer * outer + inner * inner),
            {0, 0, 0},
            [=](double z) {
                std::vector<SolidOutline> outlines = {ellipse(0, 0, radius(outer, z), radius(outer, z))};
                if (radius(inner, z) > 0)
                    outlines.push_back(ellipse(0, 0, radius(inner, z), radius(inner, z)));
                return outlines;
            },
            [=](double z) { return 2 * pi * (radius(outer, z) + radius(inner, z)); }};
}

/// Prolate, lying on its side.
Solid ellipsoid(double a, double b) {
    const double e = std::sqrt(1 - b * b / (a * a));
    const auto scale = [b](double z) { return std::sqrt(std::max(0.0, 1 - z * z / (b * b))); };
    return {"ellipsoid",
            -b,
            b,
            2 * a,
            4.0 / 3 * pi * a * b * b,
            2 * pi * b * b * (1 + a / (b * e) * std::asin(e)),
            {0, 0, 0},
            [=](double z) { return std::vector<SolidOutline>{ellipse(0, 0, a * scale(z), b * scale(z))}; },
            [=](double z) { return ellipseLength(a, b) * scale(z); }};
}

/// A tube or cone of elliptic sections that shrink and move evenly with the height, with flat ends.
Solid slanted(const std::string& name, double a, double b, double shrink, double shift, double height) {
    const auto scale = [=](double z) { return 1 - shrink * z / height; };
    // The side at angle t: its normal's length by the cross product of both derivatives.
    const auto strip = [=](double z) {
        return integral(
            0, 2 * pi,
            [&](double t) {
                const double u = -a * std::sin(t) * scale(z), v = b * std::cos(t) * scale(z);
                const double px = shift / height - shrink / height * a * std::cos(t);
                const double py = -shrink / height * b * std::sin(t);
                return std::hypot(u, v, u * py - v * px);
            },
            400);
    };
    const double last = 1 - shrink;
    const double moment = 1 + last + last * last;
    // Height and shift of the centroid are those of a cone's frustum.
    const double share = (1 + 2 * last + 3 * last * last) / (4 * moment);
    return {
        name,
        0,
        height,
        std::max({2 * a, height, shift}),
        pi * a * b * height / 3 * moment,
        integral(0, height, strip, 100) + pi * a * b * (1 + last * last),
        {shift * share, 0, height * share},
        [=](double z) { return std::vector<SolidOutline>{ellipse(shift * z / height, 0, a * scale(z), b * scale(z))}; },
        [=](double z) { return ellipseLength(a, b) * scale(z); }};
}

/// A ring about the axis Y through (x, 0, 0), so that sections cut it lengthwise.
std::vector<SolidOutline> standingRing(double x, double ring, double tube, double z) {
    const double outer = ring + tube, inner = ring - tube;
    if (std::fabs(z) >= outer)
        return {};
    const double right = std::sqrt(outer * outer - z * z);
    const double left = std::fabs(z) < inner ? std::sqrt(inner * inner - z * z) : -right;
    SolidOutline outline;
    outline.reserve(fine);
    for (int k = 0; k < fine; ++k) {
        const double at = (left + right) / 2 - (right - left) / 2 * std::cos(2 * pi * k / fine);
        const double d = std::hypot(at, z) - ring, half = std::sqrt(std::max(0.0, tube * tube - d * d));
        outline.push_back({at, k < fine / 2 ? -half : half});
    }
    std::vector<SolidOutline> outlines = {outline};
    if (std::fabs(z) < inner) {
        for (auto& p : outline)
            p[0] = -p[0];
        outlines.push_back(outline);
    }
    for (SolidOutline& own : outlines)
        for (auto& p : own)
            p[0] += x;
    return outlines;
}

double lengthOf(const std::vector<SolidOutline>& outlines) {
    double sum = 0;
    for (const SolidOutline& outline : outlines)
        for (std::size_t k = 0; k < outline.size(); ++k) {
            const auto &p = outline[k], &q = outline[k + 1 < outline.size() ? k + 1 : 0];
            sum += std::hypot(q[0] - p[0], q[1] - p[1]);
        }
    return sum;
}

Solid standingTorus(double ring, double tube) {
    const auto at = [=](double z) { return standingRing(0, ring, tube, z); };
    return {"torus cut lengthwise",
            -ring - tube,
            ring + tube,
            2 * (ring + tube),
            2 * pi * pi * ring * tube * tube,
            4 * pi * pi * ring * tube,
            {0, 0, 0},
            at,
            [=](double z) { return lengthOf(at(z)); }};
}

Solid linkedRings(double ring, double tube) {
    const auto at = [=](double z) {
        std::vector<SolidOutline> outlines = standingRing(0, ring, tube, z);
        if (std::fabs(z) < tube) {
            const double half = std::sqrt(tube * tube - z * z);
            for (const double radius : {ring + half, ring - half})
                outlines.push_back(ellipse(ring, 0, radius, radius));
        }
        return outlines;
    };
    return {"linked rings",
            -ring - tube,
            ring + tube,
            3 * ring + 2 * tube,
            4 * pi * pi * ring * tube * tube,
            8 * pi * pi * ring * tube,
            {ring / 2, 0, 0},
            at,
            [=](double z) { return lengthOf(at(z)); },
            tube / (ring + tube)};
}

/// A tube of upright circular sections along a helix.
Solid helix(double coil, double tube, double height, double turns) {
    const double winding = 2 * pi * turns / height;
    // Seen from the middle of its section, the side at angle t has the slope of the way across it.
    const double side = integral(0, 2 * pi, [&](double t) {
        const double slope = coil * winding * std::sin(t);
        return tube * std::sqrt(1 + slope * slope);
    });
    const double x = coil * std::sin(2 * pi * turns) / (2 * pi * turns);
    const double y = coil * (1 - std::cos(2 * pi * turns)) / (2 * pi * turns);
    return {"helix",
            0,
            height,
            std::max(height, 2 * (coil + tube)),
            pi * tube * tube * height,
            side * height + 2 * pi * tube * tube,
            {x, y, height / 2},
            [=](double z) {
                return std::vector<SolidOutline>{
                    ellipse(coil * std::cos(winding * z), coil * std::sin(winding * z), tube, tube)};
            },
            [=](double) { return 2 * pi * tube; }};
}

/// Two discs of one radius that move apart along X, or along Y, as a piece of a tree: as one outline or two.
struct Fork {
    double x, y, apart; // of the discs from the middle
    bool alongY;

    std::vector<SolidOutline> outlines(double r) const {
        const auto place = [&](double along, double across) {
            return alongY ? std::array<double, 2>{x - across, y + along} : std::array<double, 2>{x + along, y + across};
        };
        std::vector<SolidOutline> result(apart < r ? 1 : 2);
        const double hidden = apart < r ? std::acos(apart / r) : 0; // of the right disc, about the other's direction
        const int n = fine / 2;
        for (const int side : {1, -1}) {
            SolidOutline& outline = result[side == 1 || apart < r ? 0 : 1];
            for (int k = 0; k < n; ++k) {
                const double t =
                    -pi + hidden + (2 * pi - 2 * hidden) * (apart < r ? double(k) / (n - 1) : double(k) / n);
                outline.push_back(place(side * (apart + r * std::cos(t)), side * r * std::sin(t)));
            }
        }
        return result;
    }
    double visible(double r) const { return apart < r ? 2 * pi - 2 * std::acos(apart / r) : 2 * pi; }
    double area(double r) const {
        if (apart >= r)
            return 2 * pi * r * r;
        const double t = std::acos(apart / r);
        return 2 * pi * r * r - 2 * r * r * (t - std::sin(t) * std::cos(t));
    }
    /// Of the walls, for each height, when the discs move apart by a slope.
    double wall(double r, double slope) const {
        const double hidden = apart < r ? std::acos(apart / r) : 0;
        return 2 * integral(
                       -pi + hidden, pi - hidden,
                       [&](double t) { return r * std::sqrt(1 + slope * slope * std::cos(t) * std::cos(t)); }, 400);
    }
};

/// A trunk that forks at a height, the two limbs going apart; with twigs, each limb forks again across. All are tubes
/// of one radius, upright circles on each section.
Solid tree(double r, double slope, double trunk, double limbs, double twigs) {
    const double fork = trunk, second = trunk + limbs, top = trunk + limbs + twigs;
    const auto forksAt = [=](double z) {
        std::vector<Fork> forks;
        if (z < fork)
            return forks;
        const double apart = slope * (std::min(z, second) - fork);
        if (z < second)
            forks.push_back({0, 0, apart, false});
        else
            for (const int side : {-1, 1})
                forks.push_back({side * apart, 0, slope * (z - second), true});
        return forks;
    };
    const auto areaAt = [=](double z) {
        double area = z < fork ? pi * r * r : 0;
        for (const Fork& one : forksAt(z))
            area += one.area(r);
        return area;
    };
    const auto wallAt = [=](double z) {
        double wall = z < fork ? 2 * pi * r : 0;
        for (const Fork& one : forksAt(z))
            wall += one.wall(r, slope);
        return wall;
    };
    // Where discs part the integrand has a kink.
    std::vector<double> stops = {
        0, fork, std::min(fork + r / slope, second), second, std::min(second + r / slope, top), top};
    double volume = 0, area = areaAt(0) + areaAt(top), moment = 0;
    for (std::size_t k = 1; k < stops.size(); ++k) {
        if (!(stops[k] > stops[k - 1]))
            continue;
        const double from = stops[k - 1] + 1e-12, to = stops[k] - 1e-12;
        volume += integral(from, to, areaAt, 400);
        area += integral(from, to, wallAt, 400);
        moment += integral(
            from, to, [&](double z) { return z * areaAt(z); }, 400);
    }
    return {twigs > 0 ? "tree of tubes" : "Y-branch",
            0,
            top,
            std::max(top, 2 * (slope * limbs + r)),
            volume,
            area,
            {0, 0, moment / volume},
            [=](double z) {
                std::vector<SolidOutline> outlines;
                if (z < fork)
                    outlines.push_back(ellipse(0, 0, r, r));
                for (const Fork& one : forksAt(z))
                    for (SolidOutline& outline : one.outlines(r))
                        outlines.push_back(std::move(outline));
                return outlines;
            },
            [=](double z) {
                double length = z < fork ? 2 * pi * r : 0;
                for (const Fork& one : forksAt(z))
                    length += 2 * r * one.visible(r);
                return length;
            }};
}

/// A coordinate in pixels as the drawing has it.
double onto(double coordinate, DrawnVertices vertices) {
    return vertices == DrawnVertices::WholePixels ? std::round(coordinate) : subpixel(coordinate);
}

int numSections(const Solid& solid, const Drawing& drawing) {
    return int(std::lround(drawing.sections / solid.thinnest));
}

} // namespace

std::vector<Solid> knownSolids() {
    return {ball(10, 0),
            ellipsoid(15, 9),
            slanted("slanted cone", 10, 10, 0.7, 12, 20),
            slanted("oblique tube", 6, 6, 0, 30, 20),
            slanted("elliptic tube", 10, 5, 0, 15, 20),
            standingTorus(14, 5),
            ball(10, 6),
            tree(5, 0.8, 12, 14, 14),
            tree(6, 0.6, 15, 25, 0),
            linkedRings(12, 4),
            helix(10, 4, 30, 1.25)};
}

std::unique_ptr<Stack> drawn(const Solid& solid, const Drawing& drawing) {
    auto stack = std::make_unique<Stack>();
    auto* model = new Model; // the stack owns it
    model->setName("m");
    model->getProperties().setGeometry(PolygonPrimitive);
    stack->addModel(model);
    const double width = drawing.pixel * solid.diameter * solid.thinnest, height = width * drawing.aspect;
    const int sections = numSections(solid, drawing);
    const double spacing = (solid.top - solid.bottom) / sections;
    PixelCalibration calibration;
    calibration.setPixelWidth(float(width));
    calibration.setPixelHeight(float(height));
    for (int s = 0; s < sections; ++s) {
        auto* slice = new StackSlice; // the stack's
        slice->setName("s" + std::to_string(s));
        slice->setPixelCalibration(calibration);
        stack->addSlice(slice);
        const double z = solid.bottom + (s + 0.5) * spacing;
        slice->setAbsolutePosition(float(z));
        for (const SolidOutline& outline : solid.outlines(z)) {
            const double corners = std::min(lengthOf({outline}) / (4 * width), 64.0);
            const auto step = std::max(std::size_t(1), std::size_t(double(outline.size()) / std::max(corners, 8.0)));
            std::vector<std::array<double, 2>> places;
            for (std::size_t k = 0; k + step <= outline.size(); k += step) {
                const double x = outline[k][0] * std::cos(drawing.angle) - outline[k][1] * std::sin(drawing.angle);
                const double y = outline[k][0] * std::sin(drawing.angle) + outline[k][1] * std::cos(drawing.angle);
                places.push_back({onto(x / width, drawing.vertices), onto(-y / height, drawing.vertices)});
            }
            const int size = int(places.size());
            Vertices<double> vertices(2, size, size, 1);
            for (int k = 0; k < size; ++k) {
                vertices[k][0] = places[std::size_t(k)][0];
                vertices[k][1] = places[std::size_t(k)][1];
            }
            auto* item = new ModelItem;
            item->setModel(model);
            item->setSlice(slice);
            item->setVertices(vertices);
            item->attach();
        }
    }
    return stack;
}

std::vector<Truth> measuredAndTrue(const Solid& solid, const Drawing& drawing) {
    const std::unique_ptr<Stack> stack = drawn(solid, drawing);
    const MeasurementTable models = MeasurementTable::ofModels(*stack);
    std::vector<Truth> truths;
    const auto add = [&](const std::string& measure, const char* column, double truth, double scale) {
        const int place = models.find({column})[0];
        const bool measured = models.getKind(0, place) == MeasurementTable::CellKind::Number;
        truths.push_back({measure, models.getEstimator(0, place), measured ? models.getValue(0, place) : std::nan(""),
                          truth, scale});
    };
    add("volume", "Volume", solid.volume, solid.volume);
    add("volume", "SectionVolume", solid.volume, solid.volume);
    add("area", "ClosedArea", solid.area, solid.area);
    const MeasurementTable items = MeasurementTable::ofItems(*stack);
    const int length = items.find({"Length"})[0];
    double measured = 0, truth = 0;
    for (int row = 0; row < items.getNumRows(); ++row)
        measured += items.getValue(row, length);
    const int sections = numSections(solid, drawing);
    for (int s = 0; s < sections; ++s)
        truth += solid.perimeter(solid.bottom + (s + 0.5) * (solid.top - solid.bottom) / sections);
    truths.push_back({"length of the outlines", items.getEstimator(0, length), measured, truth, truth});
    const double c = std::cos(drawing.angle), s = std::sin(drawing.angle);
    const double centroid[3] = {c * solid.centroid[0] - s * solid.centroid[1],
                                s * solid.centroid[0] + c * solid.centroid[1], solid.centroid[2]};
    const char* const names[3] = {"CentroidX", "CentroidY", "CentroidZ"};
    double far = 0;
    for (int axis = 0; axis < 3; ++axis)
        far = std::hypot(far, models.getValue(0, models.find({names[axis]})[0]) - centroid[axis]);
    truths.push_back({"distance of the barycentre", "closed surface", far, 0, solid.diameter});
    return truths;
}

} // namespace vorlen
