#pragma once

#include <vector>

#include "shapes/shape.h"

namespace vorlen {

class ShapeReader;

/// Ordered list of vertices: numbers into the shared VertexServer.
///
/// Position i of the list is the shape's vertex number; the same server number may stand twice. Removing a vertex takes
/// it from the list, the server keeps it. Positions given to an operation are the caller's contract and not checked.
///
/// A list without a server that gets a vertex makes a server of that vertex's space. Vertices of another space than the
/// server's are refused with SizeError.
template <class T>
class Vertices : public Shape<T> {
public:
    /// Walks the vertices in the order of their ranks.
    class __ConcreteVertexIterator : public ConcreteVertexIterator<T> {
    public:
        explicit __ConcreteVertexIterator(Vertices<T>& vertices);
        std::unique_ptr<ConcreteVertexIterator<T>> clone() const override;
        const Vector<unsigned int>& locator() const override;
        int currentServerIndex() const override;
        void operator++(int) override;
        void operator++() override;
        void rewind() override;

    private:
        Vertices<T>* __vertices;
        int __position = 0;
    };

    Vertices() = default;
    /// A new server; the list is 0, 1, ..., size - 1. The coordinates are not set.
    Vertices(int space, int size, int capacity, int growth);
    /// Shares the server.
    Vertices(const Vertices& other);
    /// Loads a shape file. Throws FileReadError, FileFormatError.
    explicit Vertices(const std::string& filename);
    ~Vertices() override;

    using Shape<T>::operator=;
    Vertices& operator=(const Vertices& other);

    /// Takes the server and the list of a Vertices; another client raises std::bad_cast.
    void assign(const VertexClient<T>& other) override;

    Vertices* clone() const override;
    int getNumVertices() const override { return int(__indexes.size()); }
    ShapeType getShapeType() const override;
    bool isComposite() const override;

    void setIndex(int i, int serverIndex) { __indexes[i] = serverIndex; }
    int getIndex(int i) const { return __indexes[i]; }

    Vector<T>& operator[](int i) { return (*this->getServer())[__indexes[i]]; }
    const Vector<T>& operator[](int i) const { return (*this->getServer())[__indexes[i]]; }
    Vector<T>& vertex(int i) { return (*this)[i]; }
    const Vector<T>& vertex(int i) const { return (*this)[i]; }
    Vector<T>& operator[](const Vector<unsigned int>& locator) override;
    const Vector<T>& operator[](const Vector<unsigned int>& locator) const override;

    ShapeType read(std::istream& stream) override;
    void write(std::ostream& stream) const override;
    void print(const std::string& title, std::ostream& stream) const override;

    std::unique_ptr<ConcreteVertexIterator<T>> vertexIterator() override;
    std::unique_ptr<ConcreteVertexIterator<T>> vertexIterator() const override;

    /// Resizes the list only. New entries are 0, or count up from the last entry plus one (from 0) with sequence true.
    void setSize(int n, bool sequence);

    /// Adds a vertex at the end of the server and its number to the list.
    void append(const Vector<T>& v);
    void prepend(const Vector<T>& v);
    void insert(int i, const Vector<T>& v);

    /// On the same server appends the other list; else appends copies of the other's vertices.
    virtual void append(const Vertices& other);

    void remove(int i);
    /// Removes the entries first to last, both included.
    void remove(int first, int last);
    /// Keeps the entries first to last only, both included; does nothing when first is above last.
    void removeOutside(int first, int last);

    void reverse();

    /// Rotates the list so that position i becomes position 0; 0 or below does nothing.
    void setOrigin(int i);

    /// Position of the largest, smallest coordinate k; the lowest of several, 0 for fewer than two vertices.
    int findMax(int k) const;
    int findMin(int k) const;

    /// Positions of the closest pair, the first in the order of this list, then of the other. Both are -1 when one of
    /// the shapes is empty.
    void closestPoints(const Vertices& other, int& i, int& j) const;

    /// For each vertex the position in other of its nearest vertex, the lowest of several; -1 when other is empty.
    Vector<int> closestPointMap(const Vertices& other) const;

    /// Offset d, from 0, with the greatest sum over j of this[(j + d) mod n] . other[j]; the smallest of several.
    ///
    /// The sums run in double for float and int, in T else. Long lists are correlated by Fourier transform, and the
    /// offsets that its rounding cannot tell apart are summed directly: n log n instead of n squared.
    /// Throws SizeError when the sizes differ.
    int findMatch(const Vertices& other) const;

    /// Rotates the list to the best match.
    void match(const Vertices& other);

    /// Axial mean of the directions from centre to the vertices: a direction and its opposite count as one. The length,
    /// 0 to 1, tells how concentrated they are; weighted counts each vertex by its distance. A vertex at the centre has
    /// no direction and is left out; without directions the result is null.
    /// Space 2 only, else ProgramError. Truncated for int.
    Vector<T> meanDirection(const Vector<T>& centre, bool weighted) const;
    /// The same around cog().
    Vector<T> meanDirection(bool weighted) const;

protected:
    /// Reads the three header records and the vertices into a new server; returns the type code.
    ShapeType readVertices(ShapeReader& reader);

    std::vector<int>& indexes() { return __indexes; }
    const std::vector<int>& indexes() const { return __indexes; }

private:
    int addToServer(const Vector<T>& v, const char* where);

    std::vector<int> __indexes;
};

} // namespace vorlen
