#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

namespace vorlen {

/// Coordinates of vertices of the plane in one block of plain numbers: of 2 bytes where all are whole pixels within
/// 32767, as nearly all in files are, of 4 where all are thousandths of a pixel within two million pixels, else of 8.
/// What is given comes out again, bit by bit.
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
        switch (__form) {
        case Form::Pixels:
            return as<std::int16_t>()[k];
        case Form::Thousandths:
            return as<std::int32_t>()[k] / 1000.0;
        default:
            return as<double>()[k];
        }
    }

    /// x and y of one vertex after the other in pixels, in thousandths of them; null where they are held in another
    /// way.
    const std::int16_t* getPixels() const { return __form == Form::Pixels ? as<std::int16_t>() : nullptr; }
    const std::int32_t* getThousandths() const { return __form == Form::Thousandths ? as<std::int32_t>() : nullptr; }

    /// True when the signed area within the closed line of vertices is negative.
    bool isClockwise() const;

    /// The least (0) and greatest (1) x and y; unchecked: there are vertices.
    void findBounds(double (&x)[2], double (&y)[2]) const;

    void reverse();
    void clear();

private:
    /// What the numbers are.
    enum class Form : std::int8_t { Numbers, Thousandths, Pixels };

    template <class T>
    T* as() const {
        return reinterpret_cast<T*>(__block.get());
    }
    std::size_t numBytes() const;
    template <class T>
    T* allocate(Form form);

    int __size = 0;
    Form __form = Form::Numbers;
    std::unique_ptr<std::byte[]> __block; // aligned for all; null without vertices
};

} // namespace vorlen
