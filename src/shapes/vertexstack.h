#pragma once

#include <memory>
#include <vector>

#include "shapes/vertices.h"

namespace vorlen {

/// Vertices in levels. A vertex is located by (level, position in level).
///
/// The levels usually lie on the stack's own server; a level inserted from elsewhere keeps the server it came with,
/// until detach() gathers all of them.
template <class T>
class VertexStack : public Shape<T> {
public:
    /// Walks the vertices of all levels, from the lowest level up.
    class __ConcreteVertexIterator : public ConcreteVertexIterator<T> {
    public:
        explicit __ConcreteVertexIterator(VertexStack<T>& stack);
        std::unique_ptr<ConcreteVertexIterator<T>> clone() const override;
        const Vector<unsigned int>& locator() const override;
        int currentServerIndex() const override;
        void operator++(int) override;
        void operator++() override;
        void rewind() override;

    private:
        void settle();

        VertexStack<T>* __stack;
        int __level = 0;
        int __position = 0;
        int __size = 0; // of the level
    };

    VertexStack() = default;
    /// height levels of width vertices on one server, numbered from level to level. A capacity or growth below 1 means
    /// height times width. The coordinates are not set. Throws SizeError on negative or too large sizes.
    VertexStack(int space, int height, int width, int capacity, int growth);
    /// Levels of its own that share the coordinates.
    VertexStack(const VertexStack& other);
    /// Loads a stack file. Throws FileReadError, FileFormatError.
    explicit VertexStack(const std::string& filename);
    ~VertexStack() override;

    using Shape<T>::operator=;
    VertexStack& operator=(const VertexStack& other);

    /// Takes the server and copies the levels of a VertexStack; another client raises std::bad_cast.
    void assign(const VertexClient<T>& other) override;

    /// Gathers all vertices on a new server of its own, level after level, unless the levels already have one alone.
    void detach() override;

    VertexStack* clone() const override;
    int getSpace() const override;
    int getNumVertices() const override;
    ShapeType getShapeType() const override;
    bool isComposite() const override;

    Vector<T>& operator[](const Vector<unsigned int>& locator) override;
    const Vector<T>& operator[](const Vector<unsigned int>& locator) const override;

    ShapeType read(std::istream& stream) override;
    void write(std::ostream& stream) const override;
    void print(const std::string& title, std::ostream& stream) const override;

    std::unique_ptr<ConcreteVertexIterator<T>> vertexIterator() override;
    std::unique_ptr<ConcreteVertexIterator<T>> vertexIterator() const override;

    /// Levels in turn, in the order of the argument.
    virtual void append(const VertexStack& stack);
    virtual void prepend(const VertexStack& stack);
    virtual void append(const Vertices<T>& level);
    virtual void prepend(const Vertices<T>& level);

    /// A copy of the level, on the level's own server, goes in front of level pos. A stack without a server takes that
    /// of the level. Throws RangeError when pos is above the height.
    virtual void insert(unsigned int pos, const Vertices<T>& level);

    /// A new empty level of the kind that this stack holds.
    virtual std::unique_ptr<Vertices<T>> newLevel() const;

    int getHeight() const { return int(__levels.size()); }
    Vertices<T>& operator[](int i) { return *__levels[i]; }
    const Vertices<T>& operator[](int i) const { return *__levels[i]; }

    /// Throws RangeError when there is no such level.
    void remove(unsigned int pos);

    void reverse();

    /// Ascending by the coordinate of each level's first vertex; equal levels keep their order, empty ones go last.
    void sort(int axis);

    /// Copies of all vertices, level after level, on a server of their own.
    Vertices<T> cat() const;

    /// For each vertex (level, position) of the argument's nearest vertex, the first of several; (-1, -1) when it has
    /// none. Same level sizes, space 2.
    VertexStack closestPointMap(const VertexStack& other) const;

protected:
    /// Writes the closest-point map into a stack that has this stack's level sizes.
    void fillClosestPointMap(const VertexStack& other, VertexStack& map) const;

    /// Lays out height levels, as newLevel() gives them, on a new server; sizes tells their vertices.
    void setLevels(int space, const std::vector<int>& sizes, int capacity, int growth);

    std::vector<std::unique_ptr<Vertices<T>>> __levels;
};

} // namespace vorlen
