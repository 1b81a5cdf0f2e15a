#pragma once

#include <cmath>
#include <cstdint>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "numerics/squarematrix.h"
#include "shapes/quadmesh.h"
#include "shapes/shapeset.h"
#include "support/testmeshes.h"

namespace vorlen {

/// A rigid motion for tests.
template <class T>
struct Motion {
    SquareMatrix<T> rotation;
    Vector<T> translation;

    Vector<T> operator()(const Vector<T>& v) const {
        Vector<T> image = rotation * v;
        image += translation;
        return image;
    }
};

/// Turns by these angles about z, then y, then x, in radians, then shifts.
template <class T>
Motion<T> motionOf(double aboutX, double aboutY, double aboutZ, double x, double y, double z) {
    const double ca = std::cos(aboutX), sa = std::sin(aboutX), cb = std::cos(aboutY), sb = std::sin(aboutY),
                 cc = std::cos(aboutZ), sc = std::sin(aboutZ);
    const double rows[3][3] = {{cb * cc, -cb * sc, sb},
                               {sa * sb * cc + ca * sc, -sa * sb * sc + ca * cc, -sa * cb},
                               {-ca * sb * cc + sa * sc, ca * sb * sc + sa * cc, ca * cb}};
    Motion<T> motion;
    motion.rotation.setSize(3);
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) {
            motion.rotation[i][j] = T(rows[i][j]);
        }
    }
    motion.translation = vectorOf<T>({T(x), T(y), T(z)});
    return motion;
}

/// Turns by up to maxAngle about each axis, shifts by up to maxShift along each. Numbers are drawn in a fixed order.
template <class T>
Motion<T> randomMotion(std::mt19937& random, double maxAngle, double maxShift) {
    double draws[6];
    for (double& draw : draws) {
        draw = 2 * (double(random()) / 4294967295.0) - 1;
    }
    return motionOf<T>(maxAngle * draws[0], maxAngle * draws[1], maxAngle * draws[2], maxShift * draws[3],
                       maxShift * draws[4], maxShift * draws[5]);
}

/// Moves the vertices and those of the caps.
template <class T>
void move(Shape<T>& shape, const Motion<T>& motion) {
    for (VertexIterator<T> it(shape); it.current(); ++it) {
        *it.current() = motion(*it.current());
    }
    for (int i = 0; shape.hasExtensions() && i < shape.getExtensions().getSize(); ++i) {
        move(*shape.getExtensions()[i], motion);
    }
}

/// A closed surface without any symmetry: a tube whose radius varies with angle and height.
template <class T>
std::unique_ptr<QuadMesh<T>> bumpyTube(int height, int width, double radius, double phase = 0, bool caps = false) {
    auto mesh = std::make_unique<QuadMesh<T>>(3, height, width, 0, 0, false);
    for (int r = 0; r < height; ++r) {
        for (int c = 0; c < width; ++c) {
            const double angle = 2 * 3.14159265358979323846 * c / width;
            const double wave = 1 + 0.3 * std::cos(angle + phase) + 0.15 * std::sin(2 * angle + 0.4 * r + phase);
            (*mesh)[r][c] = vectorOf<T>({T(radius * wave * std::cos(angle) + 0.2 * r),
                                         T(0.7 * radius * wave * std::sin(angle)), T(radius * 0.3 * r)});
        }
    }
    if (caps) {
        mesh->buildCaps();
    }
    return mesh;
}

/// Adds normal deviates of this standard deviation to all coordinates, but not to the caps.
template <class T>
void jitter(Shape<T>& shape, double sigma, std::mt19937& random) {
    std::normal_distribution<double> noise(0, sigma);
    for (VertexIterator<T> it(shape); it.current(); ++it) {
        for (int k = 0; k < it.current()->getSize(); ++k) {
            (*it.current())[k] += T(noise(random));
        }
    }
}

/// Turns all levels so that vertex shift comes first.
template <class T>
void turn(QuadMesh<T>& mesh, int shift) {
    for (int r = 0; r < mesh.getHeight(); ++r) {
        mesh[r].setOrigin(shift);
    }
}

/// A shape set that destroys its shapes.
template <class T>
class OwnedSet : public ShapeSet<T> {
public:
    OwnedSet() = default;
    explicit OwnedSet(const ShapeSet<T>& set) : ShapeSet<T>(set) {}
    OwnedSet(const OwnedSet&) = delete;
    OwnedSet& operator=(const OwnedSet&) = delete;
    ~OwnedSet() { this->clear(); }

    void add(std::unique_ptr<Shape<T>> shape, bool reference) { this->addShape(shape.release(), reference); }
};

/// Two bumpy references of these dimensions and a follower of 5 points in space.
template <class T>
std::unique_ptr<OwnedSet<T>> specimen(int height = 6, int width = 16, bool caps = false) {
    auto set = std::make_unique<OwnedSet<T>>();
    set->add(bumpyTube<T>(height, width, 20, 0, caps), true);
    auto points = std::make_unique<Vertices<T>>(3, 5, 5, 5);
    for (int i = 0; i < 5; ++i) {
        (*points)[i] = vectorOf<T>({T(3 * i), T(40 - i * i), T(5 + 2 * i)});
    }
    set->add(std::move(points), false);
    auto second = bumpyTube<T>(height, width, 8, 1.3, caps);
    move(*second, motionOf<T>(0.2, -0.1, 0.5, 30, -12, 4));
    set->add(std::move(second), true);
    return set;
}

/// All coordinates of a shape without its extensions.
template <class T>
std::vector<T> coordinatesOf(const Shape<T>& shape) {
    const Vector<T> v = shape.toVector();
    return {v.begin(), v.end()};
}

template <class T>
double greatestDifference(const std::vector<T>& a, const std::vector<T>& b) {
    double greatest = a.size() == b.size() ? 0 : 1e300;
    for (std::size_t i = 0; i < a.size() && i < b.size(); ++i) {
        greatest = std::max(greatest, std::abs(double(a[i]) - double(b[i])));
    }
    return greatest;
}

/// How far a matrix is from a rotation: of its transposed product from the identity, and its determinant from 1.
template <class T>
double rotationDefect(const SquareMatrix<T>& r) {
    double defect = std::abs(double(r.det()) - 1);
    for (int i = 0; i < r.getSize(); ++i) {
        for (int j = 0; j < r.getSize(); ++j) {
            double product = i == j ? -1 : 0;
            for (int k = 0; k < r.getSize(); ++k) {
                product += double(r[k][i]) * double(r[k][j]);
            }
            defect = std::max(defect, std::abs(product));
        }
    }
    return defect;
}

} // namespace vorlen
