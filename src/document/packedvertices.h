#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

namespace vorlen {

/// Coordinates of vertices of the plane in one block of plain numbers: of 4 bytes where all are thousandths of a pixel
/// within two million pixels, as nearly all in files are, else of 8. What is given comes out again, bit by bit.
class PackedVertices {
public:
    PackedVertices() = default;
    /// Of n vertices, x and y of one after the other.
    PackedVertices(const double* coordinates, int n);
    PackedVertices(const PackedVertices& other);
    PackedVertices(PackedVertices&& other) noexcept;
    /// By value, for copies and moves.
    PackedVertices& operator=(PackedVertices other) noexcept;
    ~PackedVertices() = default;

    int getSize() const { return __size; }

    /// x for axis 0, y for 1; unchecked.
    double getCoordinate(int i, int axis) const {
        const std::size_t k = 2 * std::size_t(i) + std::size_t(axis);
        return __thousandths ? __thousandths[k] / 1000.0 : __numbers[k];
    }

    /// x and y of one vertex after the other in thousandths of a pixel; null where they are held in the other way.
    const std::int32_t* getThousandths() const { return __thousandths.get(); }

    /// True when the signed area within the closed line of vertices is negative.
    bool isClockwise() const;

    /// The least (0) and greatest (1) x and y; unchecked: there are vertices.
    void findBounds(double (&x)[2], double (&y)[2]) const;

    void reverse();
    void clear();

private:
    int __size = 0;
    std::unique_ptr<std::int32_t[]> __thousandths; // or null
    std::unique_ptr<double[]> __numbers;           // or null
};

} // namespace vorlen
