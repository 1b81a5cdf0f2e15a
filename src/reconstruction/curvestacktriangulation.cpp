#include "reconstruction/curvestacktriangulation.h"

#include <algorithm>
#include <cmath>
#include <iostream>
#include <numeric>

#include "numerics/exception.h"
#include "reconstruction/bandtiling.h"

namespace vorlen {

namespace {

/// Four times the area of a triangle from its squared sides, by Heron's formula on squared lengths.
template <class T>
T fourfoldArea(T e, T p, T q) {
    const T difference = p - q;
    const T r = e * (2 * p + 2 * q - e) - difference * difference;
    return r > 0 ? std::sqrt(r) : T(0);
}

template <class T>
bool isAcute(T a, T b, T c) {
    return a < b + c && b < a + c && c < a + b;
}

} // namespace

template <class T>
CurveStackTriangulation<T>::CurveStackTriangulation(const CurveStack<T>& stack, int method, Placement placement)
    : __method(method) {
    if (!check(stack))
        return;

    const int numVertices = stack.getNumVertices();
    __space = stack.getSpace();
    __triMesh = TriMesh<T>(__space, numVertices, numVertices, numVertices);
    __contours.resize(stack.getHeight());
    int number = 0;
    for (int l = 0; l < stack.getHeight(); ++l) {
        const Curve<T>& level = stack[l];
        Contour& contour = __contours[l];
        contour.size = level.getNumVertices();
        contour.points.reserve(std::size_t(contour.size) * __space);
        contour.numbers.resize(contour.size);
        for (int k = 0; k < contour.size; ++k) {
            const Vector<T>& vertex = level[k];
            if (int(vertex.getSize()) != __space) {
                throw SizeError("CurveStackTriangulation<T>::CurveStackTriangulation(const CurveStack<T>&, int)",
                                "Incompatible vector dimensions");
            }
            contour.points.insert(contour.points.end(), vertex.data(), vertex.data() + __space);
            contour.numbers[k] = number;
            __triMesh[number++] = vertex;
        }
        if (placement == Placement::Centred && stack.isClosed())
            BandTiling::centre(contour.points.data(), contour.size, __space);
    }

    if (stack.isOpen())
        triangulateOpenCurveStackMethod1();
    else if (__method == 1)
        triangulateClosedCurveStackMethod1();
    else if (__method == 2)
        closedCaseGanapathy(stack);
    else if (__method == 3)
        triangulateClosedCurveStackMethod3();
    else if (__method == 4)
        optimal();
    else
        std::cerr << "no such method" << std::endl;
    __contours.clear();

    __triMesh.computeNormals();
}

template <class T>
void CurveStackTriangulation<T>::setMethod(int method) {
    __method = method;
}

template <class T>
bool CurveStackTriangulation<T>::check(const CurveStack<T>& stack) const {
    return stack.getHeight() >= 2;
}

template <class T>
void CurveStackTriangulation<T>::triangulateClosedCurveStackMethod1() {
    for (int l = 1; l < int(__contours.size()); ++l) {
        int i = 0, j = 0;
        alignment(l - 1, l, i, j);
        const Contour a = rotated(l - 1, i), b = rotated(l, j);
        walk(a, b, [&](const T* pa, const T* pb) {
            return !(squaredDistance(pa, pb + __space) > squaredDistance(pb, pa + __space));
        });
        closeBand(a, b);
    }
}

template <class T>
void CurveStackTriangulation<T>::closedCaseGanapathy(const CurveStack<T>& stack) {
    T lowerLength = stack[0].length();
    BandTiling::ArcLengthWalk<T> byLength;
    for (int l = 1; l < int(__contours.size()); ++l) {
        int i = 0, j = 0;
        alignment(l - 1, l, i, j);
        const Contour a = rotated(l - 1, i), b = rotated(l, j);
        const T upperLength = stack[l].length();
        byLength.run(a.points.data(), a.size, lowerLength, b.points.data(), b.size, upperLength, __space,
                     [&](int p, int q, bool upper) {
                         __triMesh.addTriangle(b.numbers[q], a.numbers[p], upper ? b.numbers[q + 1] : a.numbers[p + 1]);
                     });
        closeBand(a, b);
        lowerLength = upperLength;
    }
}

template <class T>
void CurveStackTriangulation<T>::triangulateClosedCurveStackMethod3() {
    std::cout << "closed case, method 3" << std::endl;
    for (int l = 1; l < int(__contours.size()); ++l) {
        int i = 0, j = 0;
        alignment(l - 1, l, i, j);
        const Contour a = rotated(l - 1, i), b = rotated(l, j);
        walk(a, b, [&](const T* pa, const T* pb) {
            const T shared = squaredDistance(pa, pb);
            const T alongUpper = squaredDistance(pb + __space, pb), acrossUpper = squaredDistance(pa, pb + __space);
            const T alongLower = squaredDistance(pa + __space, pa), acrossLower = squaredDistance(pb, pa + __space);
            const bool acuteUpper = isAcute(shared, alongUpper, acrossUpper);
            const bool acuteLower = isAcute(shared, alongLower, acrossLower);
            // With just one acute candidate the other one is taken, whatever the costs.
            if (acuteUpper != acuteLower)
                return acuteLower;
            return shared + alongLower + acrossLower > shared + alongUpper + acrossUpper;
        });
        closeBand(a, b);
    }
}

template <class T>
void CurveStackTriangulation<T>::optimal() {
    for (int l = 1; l < int(__contours.size()); ++l) {
        int i = 0, j = 0;
        alignment(l, l - 1, i, j);
        optimalBand(rotated(l, i), rotated(l - 1, j));
    }
}

/// Every entry of the cost table depends on the entries above and left of it alone, so that one row of costs serves;
/// the choices are kept, a byte for each entry.
template <class T>
void CurveStackTriangulation<T>::optimalBand(const Contour& upper, const Contour& lower) {
    const int nu = upper.size, nl = lower.size;
    if (nu == 0 || nl == 0)
        return;
    const auto u = [&](int i) { return upper.points.data() + std::size_t(i == nu ? 0 : i) * __space; };
    const auto v = [&](int j) { return lower.points.data() + std::size_t(j == nl ? 0 : j) * __space; };

    std::vector<T> sideLower(nl + 1), across(nl + 1), acrossBefore(nl + 1), cost(nl + 1);
    std::vector<unsigned char> choice(std::size_t(nu + 1) * (nl + 1));
    for (int j = 0; j <= nl; ++j)
        acrossBefore[j] = squaredDistance(u(0), v(j));
    cost[0] = 0;
    for (int j = 1; j <= nl; ++j) {
        sideLower[j] = squaredDistance(v(j), v(j - 1));
        cost[j] = cost[j - 1] + fourfoldArea(sideLower[j], acrossBefore[j - 1], acrossBefore[j]);
    }
    for (int i = 1; i <= nu; ++i) {
        const T* const point = u(i);
        const T sideUpper = squaredDistance(point, u(i - 1));
        for (int j = 0; j <= nl; ++j)
            across[j] = squaredDistance(point, v(j));
        unsigned char* const row = choice.data() + std::size_t(i) * (nl + 1);
        cost[0] += fourfoldArea(sideUpper, acrossBefore[0], across[0]);
        row[0] = 1;
        for (int j = 1; j <= nl; ++j) {
            const T byUpper = cost[j] + fourfoldArea(sideUpper, acrossBefore[j], across[j]);
            const T byLower = cost[j - 1] + fourfoldArea(sideLower[j], across[j - 1], across[j]);
            const bool upperAdvances = byLower >= byUpper;
            cost[j] = upperAdvances ? byUpper : byLower;
            row[j] = upperAdvances;
        }
        acrossBefore.swap(across);
    }

    int i = nu, j = nl;
    int currentUpper = upper.numbers[0], currentLower = lower.numbers[0];
    while (i > 0 || j > 0) {
        if (i > 0 && (j == 0 || choice[std::size_t(i) * (nl + 1) + j] == 1)) {
            --i;
            __triMesh.addTriangle(currentUpper, currentLower, upper.numbers[i]);
            currentUpper = upper.numbers[i];
        } else {
            --j;
            __triMesh.addTriangle(currentUpper, currentLower, lower.numbers[j]);
            currentLower = lower.numbers[j];
        }
    }
}

template <class T>
void CurveStackTriangulation<T>::triangulateOpenCurveStackMethod1() {
    for (std::size_t l = 1; l < __contours.size(); ++l) {
        const Contour &a = __contours[l - 1], &b = __contours[l];
        walk(a, b, [&](const T* pa, const T* pb) {
            return !(squaredDistance(pa, pb + __space) > squaredDistance(pb, pa + __space));
        });
    }
}

/// Walks along both contours from their first to their last vertices; the rule is asked while both can advance. It gets
/// the current vertices of the lower and the upper contour, each followed by its successor.
template <class T>
template <class Rule>
void CurveStackTriangulation<T>::walk(const Contour& a, const Contour& b, Rule&& advancesUpper) {
    if (a.size == 0 || b.size == 0)
        return;
    int i = 0, j = 0;
    while (i < a.size - 1 || j < b.size - 1) {
        const bool upper =
            i == a.size - 1 || (j < b.size - 1 && advancesUpper(a.points.data() + std::size_t(i) * __space,
                                                                b.points.data() + std::size_t(j) * __space));
        if (upper) {
            __triMesh.addTriangle(b.numbers[j], a.numbers[i], b.numbers[j + 1]);
            ++j;
        } else {
            __triMesh.addTriangle(b.numbers[j], a.numbers[i], a.numbers[i + 1]);
            ++i;
        }
    }
}

/// Closes a band by the quadrilateral between the last and the first vertices, cut along its shorter diagonal.
template <class T>
void CurveStackTriangulation<T>::closeBand(const Contour& a, const Contour& b) {
    if (a.size == 0 || b.size == 0)
        return;
    const int a0 = a.numbers.front(), a1 = a.numbers.back(), b0 = b.numbers.front(), b1 = b.numbers.back();
    if (BandTiling::closesFromFirst(a.points.data(), a.size, b.points.data(), b.size, __space)) {
        __triMesh.addTriangle(a1, a0, b1);
        __triMesh.addTriangle(a0, b0, b1);
    } else {
        __triMesh.addTriangle(a1, b0, b1);
        __triMesh.addTriangle(a1, a0, b0);
    }
}

template <class T>
typename CurveStackTriangulation<T>::Contour CurveStackTriangulation<T>::rotated(int level, int start) const {
    Contour contour = __contours[level];
    std::rotate(contour.numbers.begin(), contour.numbers.begin() + start, contour.numbers.end());
    std::rotate(contour.points.begin(), contour.points.begin() + std::ptrdiff_t(start) * __space, contour.points.end());
    return contour;
}

template <class T>
void CurveStackTriangulation<T>::alignment(int first, int second, int& i, int& j) const {
    const Contour &a = __contours[first], &b = __contours[second];
    i = j = 0;
    if (a.size == 0 || b.size == 0)
        return;
    BandTiling::ClosestPair<T> pair;
    pair.find(a.points.data(), a.size, b.points.data(), b.size, __space);
    i = pair.first;
    j = pair.second;
}

template <class T>
T CurveStackTriangulation<T>::squaredDistance(const T* p, const T* q) const {
    return BandTiling::squaredDistance(p, q, __space);
}

template <class T>
void CurveStackTriangulation<T>::print(const std::string& title, std::ostream& stream) const {
    if (!title.empty())
        stream << title << '\n';
    stream << "NFacets: " << __triMesh.getNumTriangles() << '\n';
    stream << "Normals:\n";
    for (int i = 0; i < __triMesh.getNumVertices(); ++i)
        __triMesh.getNormal(i).print("", stream);
}

template class CurveStackTriangulation<float>;
template class CurveStackTriangulation<double>;
template class CurveStackTriangulation<long double>;

} // namespace vorlen
