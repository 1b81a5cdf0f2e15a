#include "shapes/vertices.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <ostream>

#include "numerics/exception.h"
#include "shapes/fouriertransform.h"
#include "shapes/nearestsearch.h"
#include "shapes/shapearithmetic.h"
#include "shapes/shapereader.h"
#include "shapes/shapewriter.h"

namespace vorlen {

namespace {

// Below this size a direct correlation is faster than three transforms.
constexpr int directMatchSize = 192;

template <class T>
void checkSpace(const Vertices<T>& a, const Vertices<T>& b, const char* where) {
    if (a.getSpace() != b.getSpace() && a.getNumVertices() > 0 && b.getNumVertices() > 0)
        throw SizeError(where, "The two vectors have different sizes");
}

// Sum over j of a[(j + d) mod n] . b[j], one coordinate after the other.
template <class T>
WideCoordinate<T> matchScore(const T* a, const T* b, int n, int space, int offset) {
    const int head = (n - offset) * space;
    const int tail = offset * space;
    WideCoordinate<T> score = 0;
    const T* p = a + tail;
    for (int k = 0; k < head; ++k)
        score += WideCoordinate<T>(p[k]) * WideCoordinate<T>(b[k]);
    p = b + head;
    for (int k = 0; k < tail; ++k)
        score += WideCoordinate<T>(a[k]) * WideCoordinate<T>(p[k]);
    return score;
}

template <class T>
double norm(const T* a, int n) {
    double sum = 0;
    for (int k = 0; k < n; ++k)
        sum += double(a[k]) * double(a[k]);
    return std::sqrt(sum);
}

// All scores up to a common constant, by the correlation theorem: a in the real and b in the imaginary part share one
// transform. The coordinates are centred, which changes all scores alike. bound gets the rounding error of a score.
template <class T>
std::vector<double> correlate(const T* a, const T* b, int n, int space, double& bound) {
    const FourierTransform<double> transform;
    Vector<double> re(n), im(n), productRe(n), productIm(n);
    productRe.setZeros();
    productIm.setZeros();
    double squaresA = 0;
    double squaresB = 0;
    for (int axis = 0; axis < space; ++axis) {
        double meanA = 0;
        double meanB = 0;
        for (int k = 0; k < n; ++k) {
            meanA += double(a[k * space + axis]);
            meanB += double(b[k * space + axis]);
        }
        meanA /= n;
        meanB /= n;
        for (int k = 0; k < n; ++k) {
            re[k] = double(a[k * space + axis]) - meanA;
            im[k] = double(b[k * space + axis]) - meanB;
            squaresA += re[k] * re[k];
            squaresB += im[k] * im[k];
        }
        transform.computeForward(re, im);
        for (int k = 0; k < n; ++k) {
            const int m = k == 0 ? 0 : n - k;
            // Transforms of the two real signals, from the even and odd parts of the joint one.
            const double aRe = 0.5 * (re[k] + re[m]);
            const double aIm = 0.5 * (im[k] - im[m]);
            const double bRe = 0.5 * (im[k] + im[m]);
            const double bIm = 0.5 * (re[m] - re[k]);
            productRe[k] += aRe * bRe + aIm * bIm;
            productIm[k] += aIm * bRe - aRe * bIm;
        }
    }
    transform.computeBackward(productRe, productIm);
    std::vector<double> scores(productRe.data(), productRe.data() + n);
    for (double& score : scores)
        score /= n;
    const double unit = std::numeric_limits<double>::epsilon();
    // The two signals share a transform, so the larger one's rounding reaches the smaller one.
    bound = unit * 16 * std::log2(double(n)) * (squaresA + squaresB) +
            unit * double(n) * space * norm(a, n * space) * norm(b, n * space);
    return scores;
}

} // namespace

// ---- iterator

template <class T>
Vertices<T>::__ConcreteVertexIterator::__ConcreteVertexIterator(Vertices<T>& vertices) : __vertices(&vertices) {
    rewind();
}

template <class T>
std::unique_ptr<ConcreteVertexIterator<T>> Vertices<T>::__ConcreteVertexIterator::clone() const {
    return std::make_unique<__ConcreteVertexIterator>(*this);
}

template <class T>
const Vector<unsigned int>& Vertices<T>::__ConcreteVertexIterator::locator() const {
    this->__locator.setSize(1);
    this->__locator[0] = static_cast<unsigned int>(__position);
    return this->__locator;
}

template <class T>
int Vertices<T>::__ConcreteVertexIterator::currentServerIndex() const {
    return this->__current ? __vertices->getIndex(__position) : -1;
}

template <class T>
void Vertices<T>::__ConcreteVertexIterator::operator++(int) {
    ++*this;
}

template <class T>
void Vertices<T>::__ConcreteVertexIterator::operator++() {
    if (this->__current) {
        ++__position;
        this->__current = __position < __vertices->getNumVertices() ? &__vertices->vertex(__position) : nullptr;
    }
}

template <class T>
void Vertices<T>::__ConcreteVertexIterator::rewind() {
    __position = 0;
    this->__current = __vertices->getNumVertices() > 0 ? &__vertices->vertex(0) : nullptr;
}

// ---- construction and assignment

template <class T>
Vertices<T>::Vertices(int space, int size, int capacity, int growth)
    : Shape<T>(space, size, capacity, growth), __indexes(std::size_t(std::max(size, 0))) {
    std::iota(__indexes.begin(), __indexes.end(), 0);
}

template <class T>
Vertices<T>::Vertices(const Vertices& other) : Shape<T>(other), __indexes(other.__indexes) {
}

template <class T>
Vertices<T>::Vertices(const std::string& filename) {
    this->load(filename);
}

template <class T>
Vertices<T>::~Vertices() = default;

template <class T>
Vertices<T>& Vertices<T>::operator=(const Vertices& other) {
    this->assign(other);
    return *this;
}

template <class T>
void Vertices<T>::assign(const VertexClient<T>& other) {
    if (this == &other)
        return;
    std::vector<int> list = dynamic_cast<const Vertices&>(other).__indexes;
    VertexClient<T>::assign(other);
    __indexes.swap(list);
}

template <class T>
Vertices<T>* Vertices<T>::clone() const {
    return new Vertices(*this); // the told interface hands the copy to the caller
}

template <class T>
ShapeType Vertices<T>::getShapeType() const {
    return VerticesType;
}

template <class T>
bool Vertices<T>::isComposite() const {
    return false;
}

template <class T>
Vector<T>& Vertices<T>::operator[](const Vector<unsigned int>& locator) {
    return (*this)[int(locator[0])];
}

template <class T>
const Vector<T>& Vertices<T>::operator[](const Vector<unsigned int>& locator) const {
    return (*this)[int(locator[0])];
}

// ---- files

template <class T>
ShapeType Vertices<T>::readVertices(ShapeReader& reader) {
    const ShapeType type = ShapeType(reader.record());
    const int space = reader.space();
    const int n = reader.count(space);
    Vertices fresh(space, n, n, n);
    for (int i = 0; i < n; ++i) {
        T* v = fresh[i].data();
        for (int k = 0; k < space; ++k)
            v[k] = reader.number<T>();
    }
    this->setServer(*fresh.getServer());
    __indexes.swap(fresh.__indexes);
    return type;
}

template <class T>
ShapeType Vertices<T>::read(std::istream& stream) {
    ShapeReader reader(stream, "int Vertices<T>::read(istream&)");
    const ShapeType type = readVertices(reader);
    reader.finish();
    return type;
}

template <class T>
void Vertices<T>::write(std::ostream& stream) const {
    ShapeWriter writer(stream);
    writer.record(int(this->getShapeType()));
    writer.record(this->getSpace());
    writer.record(getNumVertices());
    for (int i = 0; i < getNumVertices(); ++i) {
        const Vector<T>& v = (*this)[i];
        for (int k = 0; k < v.getSize(); ++k) {
            if (k > 0)
                writer.blank();
            writer.number(v[k]);
        }
        writer.newLine();
    }
    writer.finish("void Vertices<T>::write(ostream&) const");
}

template <class T>
void Vertices<T>::print(const std::string& title, std::ostream& stream) const {
    Shape<T>::print(title, stream);
    stream << " Size = " << getNumVertices() << '\n' << " Indexes = " << '\n';
    for (const int index : __indexes)
        stream << "   " << index << '\n';
}

template <class T>
std::unique_ptr<ConcreteVertexIterator<T>> Vertices<T>::vertexIterator() {
    return std::make_unique<__ConcreteVertexIterator>(*this);
}

template <class T>
std::unique_ptr<ConcreteVertexIterator<T>> Vertices<T>::vertexIterator() const {
    // One kind of iterator walks both; the const handle gives no way to change a vertex.
    return std::make_unique<__ConcreteVertexIterator>(const_cast<Vertices&>(*this));
}

// ---- the list

template <class T>
void Vertices<T>::setSize(int n, bool sequence) {
    const std::size_t old = __indexes.size();
    int next = old > 0 ? __indexes.back() + 1 : 0;
    __indexes.resize(std::size_t(std::max(n, 0)), 0);
    if (sequence)
        for (std::size_t i = old; i < __indexes.size(); ++i)
            __indexes[i] = next++;
}

template <class T>
int Vertices<T>::addToServer(const Vector<T>& v, const char* where) {
    if (!this->getServer())
        this->setServer(*new VertexServer<T>(v.getSize(), 0, 16, 16)); // counted from here on
    else if (this->getSpace() != v.getSize())
        throw SizeError(where, "Incompatible vertex dimensions");
    VertexServer<T>& server = *this->getServer();
    const int n = server.getSize();
    server.setSize(n + 1);
    server[n] = v;
    return n;
}

template <class T>
void Vertices<T>::append(const Vector<T>& v) {
    __indexes.push_back(addToServer(v, "void Vertices<T>::append(const Vector<T>&)"));
}

template <class T>
void Vertices<T>::prepend(const Vector<T>& v) {
    __indexes.insert(__indexes.begin(), addToServer(v, "void Vertices<T>::prepend(const Vector<T>&)"));
}

template <class T>
void Vertices<T>::insert(int i, const Vector<T>& v) {
    __indexes.insert(__indexes.begin() + i, addToServer(v, "void Vertices<T>::insert(const int,const Vector<T>&)"));
}

template <class T>
void Vertices<T>::append(const Vertices& other) {
    const std::vector<int> list = other.__indexes;
    if (list.empty())
        return;
    if (this->getServer() == other.getServer()) {
        __indexes.insert(__indexes.end(), list.begin(), list.end());
        return;
    }
    if (!this->getServer())
        this->setServer(*new VertexServer<T>(other.getSpace(), 0, 0, 0)); // counted from here on
    else if (this->getSpace() != other.getSpace())
        throw SizeError("void Vertices<T>::append(const Vertices&)", "Incompatible vertex dimensions");
    VertexServer<T>& server = *this->getServer();
    const VertexServer<T>& source = *other.getServer();
    int n = server.getSize();
    server.setSize(n + int(list.size()));
    __indexes.reserve(__indexes.size() + list.size());
    for (const int index : list) {
        server[n] = source[index];
        __indexes.push_back(n++);
    }
}

template <class T>
void Vertices<T>::remove(int i) {
    __indexes.erase(__indexes.begin() + i);
}

template <class T>
void Vertices<T>::remove(int first, int last) {
    if (first <= last)
        __indexes.erase(__indexes.begin() + first, __indexes.begin() + last + 1);
}

template <class T>
void Vertices<T>::removeOutside(int first, int last) {
    if (first <= last) {
        __indexes.erase(__indexes.begin() + last + 1, __indexes.end());
        __indexes.erase(__indexes.begin(), __indexes.begin() + first);
    }
}

template <class T>
void Vertices<T>::reverse() {
    std::reverse(__indexes.begin(), __indexes.end());
}

template <class T>
void Vertices<T>::setOrigin(int i) {
    if (i > 0 && !__indexes.empty())
        std::rotate(__indexes.begin(), __indexes.begin() + i % getNumVertices(), __indexes.end());
}

// ---- searches

template <class T>
int Vertices<T>::findMax(int k) const {
    int best = 0;
    for (int i = 1; i < getNumVertices(); ++i)
        if ((*this)[i][k] > (*this)[best][k])
            best = i;
    return best;
}

template <class T>
int Vertices<T>::findMin(int k) const {
    int best = 0;
    for (int i = 1; i < getNumVertices(); ++i)
        if ((*this)[i][k] < (*this)[best][k])
            best = i;
    return best;
}

template <class T>
void Vertices<T>::closestPoints(const Vertices& other, int& i, int& j) const {
    checkSpace(*this, other, "T Vector<T>::sdistance(const Vector&) const");
    i = j = -1;
    if (getNumVertices() == 0 || other.getNumVertices() == 0)
        return;
    const Vector<T> coordinates = other.toVector();
    const NearestSearch<T> search(coordinates.data(), other.getNumVertices(), other.getSpace());
    typename NearestSearch<T>::Distance best = 0;
    for (int k = 0; k < getNumVertices(); ++k) {
        typename NearestSearch<T>::Distance distance;
        const int rank = search.nearest((*this)[k].data(), -1, distance);
        if (k == 0 || distance < best) {
            best = distance;
            i = k;
            j = rank;
        }
    }
}

template <class T>
Vector<int> Vertices<T>::closestPointMap(const Vertices& other) const {
    checkSpace(*this, other, "T Vector<T>::sdistance(const Vector&) const");
    const Vector<T> coordinates = other.toVector();
    const NearestSearch<T> search(coordinates.data(), other.getNumVertices(), other.getSpace());
    Vector<int> map(getNumVertices());
    for (int k = 0; k < getNumVertices(); ++k) {
        typename NearestSearch<T>::Distance distance;
        map[k] = search.nearest((*this)[k].data(), -1, distance);
    }
    return map;
}

template <class T>
int Vertices<T>::findMatch(const Vertices& other) const {
    const int n = getNumVertices();
    if (n != other.getNumVertices())
        throw SizeError("int Vertices<T>::findMatch(const Vertices&) const", "Size mismatch");
    if (n < 2)
        return 0;
    checkSpace(*this, other, "T Vector<T>::scalarProduct(const Vector&) const");
    const int space = this->getSpace();
    const Vector<T> own = this->toVector();
    const Vector<T> others = other.toVector();
    std::vector<double> approximate;
    double threshold = -std::numeric_limits<double>::infinity();
    if (n >= directMatchSize) {
        double bound = 0;
        approximate = correlate(own.data(), others.data(), n, space, bound);
        threshold = *std::max_element(approximate.begin(), approximate.end()) - 2 * bound;
    }
    int best = 0;
    WideCoordinate<T> bestScore = 0;
    bool found = false;
    for (int d = 0; d < n; ++d) {
        if (!approximate.empty() && !(approximate[d] >= threshold))
            continue;
        const WideCoordinate<T> score = matchScore(own.data(), others.data(), n, space, d);
        if (!found || score > bestScore) {
            found = true;
            best = d;
            bestScore = score;
        }
    }
    return best;
}

template <class T>
void Vertices<T>::match(const Vertices& other) {
    setOrigin(findMatch(other));
}

template <class T>
Vector<T> Vertices<T>::meanDirection(const Vector<T>& centre, bool weighted) const {
    using Wide = WideCoordinate<T>;
    if (this->getSpace() != 2)
        throw ProgramError("Vector<T> Vertices<T>::meanDirectionVector(...) const", "Space dimension is not 2");
    if (centre.getSize() != 2)
        throw SizeError("Vector<T> Vertices<T>::meanDirectionVector(...) const", "Incompatible vector dimensions");
    Wide s = 0;
    Wide c = 0;
    Wide w = 0;
    for (int i = 0; i < getNumVertices(); ++i) {
        const Wide dx = Wide((*this)[i][0]) - Wide(centre[0]);
        const Wide dy = Wide((*this)[i][1]) - Wide(centre[1]);
        const Wide r = std::sqrt(dx * dx + dy * dy);
        if (!(r > 0))
            continue;
        const Wide weight = weighted ? r : 1;
        // Sine and cosine of twice the angle, straight from the direction.
        s += weight * 2 * (dx / r) * (dy / r);
        c += weight * ((dx / r) * (dx / r) - (dy / r) * (dy / r));
        w += weight;
    }
    Vector<T> mean(2);
    mean.setZeros();
    if (w > 0) {
        s /= w;
        c /= w;
        const Wide length = std::sqrt(s * s + c * c);
        const Wide angle = Wide(0.5) * std::atan2(s, c);
        mean[0] = toCoordinate<T>(length * std::cos(angle));
        mean[1] = toCoordinate<T>(length * std::sin(angle));
    }
    return mean;
}

template <class T>
Vector<T> Vertices<T>::meanDirection(bool weighted) const {
    return meanDirection(this->cog(), weighted);
}

template class Vertices<int>;
template class Vertices<float>;
template class Vertices<double>;
template class Vertices<long double>;

} // namespace vorlen
