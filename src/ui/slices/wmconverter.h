#pragma once

#include <string>

#include "numerics/vector.h"

namespace vorlen {

class Registration;
template <class T>
class BoundingBox;
template <class T>
class Vertices;

/// Converts whole pixel positions between two rectangles, the world and the model, so that first pixels meet and last
/// pixels meet. In the slice views the world is the part of an image that is shown, and the model its place on screen.
///
/// Results are rounded to the nearest pixel, halves upwards; the way to the world and back is not always the identity.
/// A conversion needs sides of at least 2 pixels. Decision: on a shorter side every position goes to the start of the
/// other rectangle, and a length on a side of 0 stays as it is; results beyond the range of int stop at its ends.
class WMConverter {
public:
    WMConverter() = default;
    WMConverter(const WMConverter&) = default;
    WMConverter& operator=(const WMConverter&) = default;
    virtual ~WMConverter();

    /// All zero at first. A negative start is given as the unsigned number of the same bits.
    void setWorld(unsigned int x, unsigned int y, unsigned int width, unsigned int height);
    void setModel(unsigned int x, unsigned int y, unsigned int width, unsigned int height);

    int getWorldX() const { return worldX; }
    int getWorldY() const { return worldY; }
    int getWorldWidth() const { return worldWidth; }
    int getWorldHeight() const { return worldHeight; }
    int getModelX() const { return modelX; }
    int getModelY() const { return modelY; }
    int getModelWidth() const { return modelWidth; }
    int getModelHeight() const { return modelHeight; }

    int xToModel(int x) const;
    int yToModel(int y) const;
    int xToWorld(int x) const;
    int yToWorld(int y) const;

    /// Of (x, y). Throws SizeError for a vector of another size than 2.
    Vector<int> toModel(const Vector<int>& position) const;
    Vector<int> toWorld(const Vector<int>& position) const;

    /// Corner by corner; a default box stays one.
    BoundingBox<int> toModel(const BoundingBox<int>& box) const;
    BoundingBox<int> toWorld(const BoundingBox<int>& box) const;

    /// The angle stays; the shifts are rounded and converted like positions.
    Registration toModel(const Registration& registration) const;
    Registration toWorld(const Registration& registration) const;

    /// New vertices with a server of their own, of space 2.
    Vertices<int> toModel(const Vertices<int>& vertices) const;
    Vertices<int> toWorld(const Vertices<int>& vertices) const;

    /// Of a length along either axis, by the ratio of the widths, rounded down.
    unsigned int lengthToModel(unsigned int length) const;
    unsigned int lengthToWorld(unsigned int length) const;

    /// Writes title and both rectangles to the standard output.
    void print(const std::string& title) const;

protected:
    int worldX = 0;
    int worldY = 0;
    int worldHeight = 0;
    int worldWidth = 0;
    int modelX = 0;
    int modelY = 0;
    int modelHeight = 0;
    int modelWidth = 0;
};

} // namespace vorlen
