#include "shapes/vertexstack.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <ostream>

#include "numerics/exception.h"
#include "shapes/nearestsearch.h"
#include "shapes/shapereader.h"
#include "shapes/shapewriter.h"

namespace vorlen {

// ---- iterator

template <class T>
VertexStack<T>::__ConcreteVertexIterator::__ConcreteVertexIterator(VertexStack<T>& stack) : __stack(&stack) {
    rewind();
}

template <class T>
std::unique_ptr<ConcreteVertexIterator<T>> VertexStack<T>::__ConcreteVertexIterator::clone() const {
    return std::make_unique<__ConcreteVertexIterator>(*this);
}

template <class T>
const Vector<unsigned int>& VertexStack<T>::__ConcreteVertexIterator::locator() const {
    this->__locator.setSize(2);
    this->__locator[0] = static_cast<unsigned int>(__level);
    this->__locator[1] = static_cast<unsigned int>(__position);
    return this->__locator;
}

template <class T>
int VertexStack<T>::__ConcreteVertexIterator::currentServerIndex() const {
    return this->__current ? __stack->__levels[__level]->getIndex(__position) : -1;
}

template <class T>
void VertexStack<T>::__ConcreteVertexIterator::operator++(int) {
    ++*this;
}

template <class T>
void VertexStack<T>::__ConcreteVertexIterator::operator++() {
    if (this->__current && ++__position < __size)
        this->__current = &__stack->__levels[__level]->vertex(__position);
    else if (this->__current)
        settle();
}

template <class T>
void VertexStack<T>::__ConcreteVertexIterator::rewind() {
    __level = 0;
    __position = 0;
    settle();
}

// Steps over the ends of levels, and over empty ones.
template <class T>
void VertexStack<T>::__ConcreteVertexIterator::settle() {
    const int height = __stack->getHeight();
    __size = __level < height ? __stack->__levels[__level]->getNumVertices() : 0;
    while (__level < height && __position >= __size) {
        ++__level;
        __position = 0;
        __size = __level < height ? __stack->__levels[__level]->getNumVertices() : 0;
    }
    this->__current = __level < height ? &__stack->__levels[__level]->vertex(__position) : nullptr;
}

// ---- construction and assignment

template <class T>
VertexStack<T>::VertexStack(int space, int height, int width, int capacity, int growth) {
    if (height < 0 || width < 0 || std::int64_t(height) * width > std::numeric_limits<int>::max())
        throw SizeError("VertexStack<T>::VertexStack(...)", "Invalid stack dimensions");
    setLevels(space, std::vector<int>(std::size_t(height), width), capacity, growth);
}

template <class T>
VertexStack<T>::VertexStack(const VertexStack& other) : Shape<T>(other) {
    __levels.reserve(other.__levels.size());
    for (const auto& level : other.__levels)
        __levels.push_back(std::make_unique<Vertices<T>>(*level));
}

template <class T>
VertexStack<T>::VertexStack(const std::string& filename) {
    this->load(filename);
}

template <class T>
VertexStack<T>::~VertexStack() = default;

template <class T>
VertexStack<T>& VertexStack<T>::operator=(const VertexStack& other) {
    this->assign(other);
    return *this;
}

template <class T>
void VertexStack<T>::assign(const VertexClient<T>& other) {
    if (this == &other)
        return;
    const VertexStack& stack = dynamic_cast<const VertexStack&>(other);
    std::vector<std::unique_ptr<Vertices<T>>> levels;
    levels.reserve(stack.__levels.size());
    for (const auto& level : stack.__levels) {
        levels.push_back(newLevel());
        levels.back()->assign(*level);
    }
    VertexClient<T>::assign(other);
    __levels.swap(levels);
}

template <class T>
void VertexStack<T>::setLevels(int space, const std::vector<int>& sizes, int capacity, int growth) {
    std::int64_t total = 0;
    for (const int size : sizes)
        total += size;
    if (total > std::numeric_limits<int>::max())
        throw SizeError("VertexStack<T>::VertexStack(...)", "Invalid stack dimensions");
    const int n = int(total);
    std::vector<std::unique_ptr<Vertices<T>>> levels;
    levels.reserve(sizes.size());
    VertexClient<T> store(space, n, capacity < 1 ? n : std::max(capacity, n), growth < 1 ? n : growth);
    int next = 0;
    for (const int size : sizes) {
        levels.push_back(newLevel());
        levels.back()->setServer(*store.getServer());
        levels.back()->setSize(size, false);
        for (int k = 0; k < size; ++k)
            levels.back()->setIndex(k, next++);
    }
    this->setServer(*store.getServer());
    __levels.swap(levels);
}

template <class T>
void VertexStack<T>::detach() {
    bool shared = this->getServer() && this->getServer()->getRefs() != getHeight() + 1;
    for (const auto& level : __levels)
        shared = shared || level->getServer() != this->getServer();
    if (!shared)
        return;
    const int space = getSpace();
    for (const auto& level : __levels)
        if (level->getNumVertices() > 0 && level->getSpace() != space)
            throw SizeError("void VertexStack<T>::detach()", "Incompatible vertex dimensions");
    const int n = getNumVertices();
    VertexClient<T> store(space, n, n, n);
    int next = 0;
    for (const auto& level : __levels) {
        const int size = level->getNumVertices();
        for (int k = 0; k < size; ++k)
            store.getServer()->vertex(next + k) = level->vertex(k);
        for (int k = 0; k < size; ++k)
            level->setIndex(k, next++);
        level->setServer(*store.getServer());
    }
    this->setServer(*store.getServer());
}

template <class T>
VertexStack<T>* VertexStack<T>::clone() const {
    return new VertexStack(*this); // the told interface hands the copy to the caller
}

// ---- the virtual base

template <class T>
int VertexStack<T>::getSpace() const {
    if (this->getServer())
        return Shape<T>::getSpace();
    return __levels.empty() ? 0 : __levels.front()->getSpace();
}

template <class T>
int VertexStack<T>::getNumVertices() const {
    int n = 0;
    for (const auto& level : __levels)
        n += level->getNumVertices();
    return n;
}

template <class T>
ShapeType VertexStack<T>::getShapeType() const {
    return VertexStackType;
}

template <class T>
bool VertexStack<T>::isComposite() const {
    return true;
}

template <class T>
Vector<T>& VertexStack<T>::operator[](const Vector<unsigned int>& locator) {
    return (*__levels[locator[0]])[int(locator[1])];
}

template <class T>
const Vector<T>& VertexStack<T>::operator[](const Vector<unsigned int>& locator) const {
    return (*__levels[locator[0]])[int(locator[1])];
}

template <class T>
ShapeType VertexStack<T>::read(std::istream& stream) {
    ShapeReader reader(stream, "int VertexStack<T>::read(istream&)");
    const ShapeType type = ShapeType(reader.record());
    const int space = reader.space();
    const int height = reader.count(1);
    std::vector<int> sizes;
    std::vector<T> coordinates;
    for (int l = 0; l < height; ++l) {
        sizes.push_back(reader.count(space));
        for (std::int64_t k = std::int64_t(sizes.back()) * space; k > 0; --k)
            coordinates.push_back(reader.number<T>());
    }
    setLevels(space, sizes, 0, 0);
    const T* next = coordinates.data();
    for (const auto& level : __levels)
        for (int k = 0; k < level->getNumVertices(); ++k, next += space)
            std::copy_n(next, space, level->vertex(k).data());
    reader.finish();
    return type;
}

template <class T>
void VertexStack<T>::write(std::ostream& stream) const {
    ShapeWriter writer(stream);
    writer.record(int(this->getShapeType()));
    writer.record(getSpace());
    writer.record(getHeight());
    for (const auto& level : __levels) {
        writer.text("\n\n");
        writer.record(level->getNumVertices());
        for (int k = 0; k < level->getNumVertices(); ++k) {
            const Vector<T>& v = level->vertex(k);
            for (int a = 0; a < v.getSize(); ++a) {
                if (a > 0)
                    writer.blank();
                writer.number(v[a]);
            }
            writer.newLine();
        }
    }
    writer.finish("void VertexStack<T>::write(ostream&) const");
}

template <class T>
void VertexStack<T>::print(const std::string& title, std::ostream& stream) const {
    Shape<T>::print(title, stream);
    stream << " Height = " << getHeight() << '\n';
    for (const auto& level : __levels)
        level->print("", stream);
}

template <class T>
std::unique_ptr<ConcreteVertexIterator<T>> VertexStack<T>::vertexIterator() {
    return std::make_unique<__ConcreteVertexIterator>(*this);
}

template <class T>
std::unique_ptr<ConcreteVertexIterator<T>> VertexStack<T>::vertexIterator() const {
    // One kind of iterator walks both; the const handle gives no way to change a vertex.
    return std::make_unique<__ConcreteVertexIterator>(const_cast<VertexStack&>(*this));
}

// ---- levels

template <class T>
void VertexStack<T>::append(const VertexStack& stack) {
    const int height = stack.getHeight(); // of before: the argument may be this stack
    for (int l = 0; l < height; ++l)
        append(stack[l]);
}

template <class T>
void VertexStack<T>::prepend(const VertexStack& stack) {
    const int height = stack.getHeight();
    const bool itself = &stack == this;
    for (int l = height - 1; l >= 0; --l) {
        // Levels of the stack itself move up by one with each that is put in front.
        prepend(stack[itself ? height - 1 : l]);
    }
}

template <class T>
void VertexStack<T>::append(const Vertices<T>& level) {
    insert(static_cast<unsigned int>(getHeight()), level);
}

template <class T>
void VertexStack<T>::prepend(const Vertices<T>& level) {
    insert(0, level);
}

template <class T>
void VertexStack<T>::insert(unsigned int pos, const Vertices<T>& level) {
    if (pos > __levels.size())
        throw RangeError("void VertexStack<T>::insert(...)", "There is no such level");
    std::unique_ptr<Vertices<T>> copy = newLevel();
    copy->assign(level);
    if (!this->getServer() && copy->getServer())
        this->setServer(*copy->getServer());
    __levels.insert(__levels.begin() + pos, std::move(copy));
}

template <class T>
std::unique_ptr<Vertices<T>> VertexStack<T>::newLevel() const {
    return std::make_unique<Vertices<T>>();
}

template <class T>
void VertexStack<T>::remove(unsigned int pos) {
    if (pos >= __levels.size())
        throw RangeError("void VertexStack<T>::remove(const unsigned int)", "There is no such level");
    __levels.erase(__levels.begin() + pos);
}

template <class T>
void VertexStack<T>::reverse() {
    std::reverse(__levels.begin(), __levels.end());
}

template <class T>
void VertexStack<T>::sort(int axis) {
    // Coordinates that are no numbers have no order; they go last, with the empty levels.
    const auto isPlaced = [axis](const std::unique_ptr<Vertices<T>>& level) {
        return level->getNumVertices() > 0 && level->vertex(0)[axis] == level->vertex(0)[axis];
    };
    const auto end = std::stable_partition(__levels.begin(), __levels.end(), isPlaced);
    std::stable_sort(__levels.begin(), end,
                     [axis](const auto& a, const auto& b) { return a->vertex(0)[axis] < b->vertex(0)[axis]; });
}

template <class T>
Vertices<T> VertexStack<T>::cat() const {
    const int n = getNumVertices();
    Vertices<T> all(getSpace(), n, n, n);
    int next = 0;
    for (ConstVertexIterator<T> it(*this); it.current(); ++it) {
        if (it.current()->getSize() != all.getSpace())
            throw SizeError("Vertices<T> VertexStack<T>::cat() const", "Incompatible vertex dimensions");
        all[next++] = *it.current();
    }
    return all;
}

template <class T>
void VertexStack<T>::fillClosestPointMap(const VertexStack& other, VertexStack& map) const {
    const int space = other.getSpace();
    std::vector<std::pair<int, int>> places;
    for (int l = 0; l < other.getHeight(); ++l)
        for (int k = 0; k < other[l].getNumVertices(); ++k)
            places.emplace_back(l, k);
    const Vector<T> coordinates = other.toVector();
    const NearestSearch<T> search(coordinates.data(), int(places.size()), space);
    VertexIterator<T> out(map);
    for (ConstVertexIterator<T> it(*this); it.current(); ++it, ++out) {
        if (!places.empty() && it.current()->getSize() != space)
            throw SizeError("T Vector<T>::sdistance(const Vector&) const", "The two vectors have different sizes");
        typename NearestSearch<T>::Distance distance;
        const int rank = places.empty() ? -1 : search.nearest(it.current()->data(), -1, distance);
        (*out.current())[0] = T(rank < 0 ? -1 : places[rank].first);
        (*out.current())[1] = T(rank < 0 ? -1 : places[rank].second);
    }
}

template <class T>
VertexStack<T> VertexStack<T>::closestPointMap(const VertexStack& other) const {
    std::vector<int> sizes;
    for (const auto& level : __levels)
        sizes.push_back(level->getNumVertices());
    VertexStack map;
    map.setLevels(2, sizes, 0, 0);
    fillClosestPointMap(other, map);
    return map;
}

template class VertexStack<int>;
template class VertexStack<float>;
template class VertexStack<double>;
template class VertexStack<long double>;

} // namespace vorlen
