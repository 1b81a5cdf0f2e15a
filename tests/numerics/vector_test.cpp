#include "numerics/vector.h"

#include <cmath>
#include <cstdint>
#include <iostream>
#include <limits>
#include <random>
#include <sstream>
#include <vector>

#include <gtest/gtest.h>

#include "numerics/exception.h"
#include "numerics/matrix.h"
#include "numerics/numbers.h"
#include "numerics/numericio.h"
#include "support/failures.h"
#include "support/vectors.h"

namespace vorlen {

// Incomplete here; the vector is compiled for pointers to it.
class Model;

namespace {

const char* const shallowSentence = "This is a shallow vector (cannot be resized)";
const double notANumber = std::numeric_limits<double>::quiet_NaN();

template <class T>
Vector<T> randomVector(int n, unsigned int seed) {
    std::mt19937 engine(seed);
    std::uniform_real_distribution<double> uniform(-1, 1);
    Vector<T> v(static_cast<unsigned int>(n));
    for (T& x : v)
        x = static_cast<T>(uniform(engine));
    return v;
}

// Restores the print settings, which belong to the process.
class PrintSettings {
public:
    ~PrintSettings() {
        NumericIO::setIOWidth(7);
        NumericIO::setIOPrecision(2);
        NumericIO::setIOEpsilon(0);
        NumericIO::setIOTranspose(false);
    }
};

double twice(double x) {
    return 2 * x;
}

} // namespace

TEST(VectorStorage, aDefaultVectorIsEmptyDeepAndHasNoData) {
    const Vector<int> v;
    EXPECT_EQ(0, v.getSize());
    EXPECT_EQ(nullptr, v.data());
    EXPECT_FALSE(v.isShallow());
    EXPECT_EQ(nullptr, Vector<int>(0).data());
}

TEST(VectorStorage, setSizeKeepsTheContentsOnlyForTheSameSize) {
    Vector<int> v = vectorOf({1, 2, 3});
    v.setSize(3);
    EXPECT_EQ(vectorOf({1, 2, 3}), v);
    for (const int n : {9, 4, 5, 1, 0, 7}) {
        v.setSize(n);
        ASSERT_EQ(n, v.getSize());
        v.fill(n);
        EXPECT_EQ(n * n, n == 0 ? 0 : v.sum());
    }
    v.setSize(-3);
    EXPECT_EQ(0, v.getSize());
    EXPECT_EQ(nullptr, v.data());
}

TEST(VectorStorage, copiesAreIndependentForSizesInsideAndOutsideTheObject) {
    for (unsigned int n = 0; n <= 9; ++n) {
        Vector<int> a(n);
        a.setSequence(1, 2);
        Vector<int> b(a);
        Vector<int> c;
        c = a;
        a.fill(-1);
        for (int i = 0; i < static_cast<int>(n); ++i) {
            EXPECT_EQ(1 + 2 * i, b[i]);
            EXPECT_EQ(1 + 2 * i, c[i]);
        }
        const Vector<int>& self = c;
        c = self;
        EXPECT_EQ(b, c);
    }
}

TEST(VectorStorage, movesAndSwapsWorkForEveryPairOfSizes) {
    for (unsigned int n = 0; n <= 7; ++n) {
        for (unsigned int m = 0; m <= 7; ++m) {
            Vector<int> a(n);
            Vector<int> b(m);
            a.setSequence(10, 1);
            b.setSequence(50, 1);
            const Vector<int> oldA(a);
            const Vector<int> oldB(b);
            a.swap(b);
            EXPECT_EQ(oldB, a);
            EXPECT_EQ(oldA, b);
            a = std::move(b);
            EXPECT_EQ(oldA, a);
            const Vector<int> c(std::move(a));
            EXPECT_EQ(oldA, c);
            a = oldB; // a vector that was moved from is usable
            EXPECT_EQ(oldB, a);
            a.swap(a);
            EXPECT_EQ(oldB, a);
        }
    }
}

TEST(VectorStorage, aViewWritesThroughAndRefusesEveryChangeOfSize) {
    int array[] = {1, 2, 3, 4, 5, 6};
    Vector<int> view = Vector<int>::view(array, 6);
    EXPECT_TRUE(view.isShallow());
    EXPECT_EQ(array, view.data());
    const std::string setSize = "void Vector<T>::setSize(const int)";
    expectFailure<UsageError>([&] { view.setSize(2); }, setSize, shallowSentence);
    expectFailure<UsageError>([&] { view.setZeros(7); }, setSize, shallowSentence);
    expectFailure<UsageError>([&] { view.setOnes(7); }, setSize, shallowSentence);
    expectFailure<UsageError>([&] { view = Vector<int>(5); }, setSize, shallowSentence);
    expectFailure<UsageError>([&] { view.append(view); }, "void Vector<T>::append(const Vector&)", shallowSentence);
    expectFailure<UsageError>([&] { view.prepend(view); }, "void Vector<T>::prepend(const Vector&)", shallowSentence);
    EXPECT_EQ(vectorOf({1, 2, 3, 4, 5, 6}), view);

    view = vectorOf({6, 5, 4, 3, 2, 1});
    EXPECT_EQ(6, array[0]);
    EXPECT_EQ(1, array[5]);
    EXPECT_TRUE(view.isShallow());
}

TEST(VectorStorage, copyingOrMovingFromAViewLeavesTheArrayToItsOwner) {
    int array[] = {1, 2, 3, 4, 5, 6};
    Vector<int> view = Vector<int>::view(array, 6);
    Vector<int> copied(view);
    Vector<int> moved(std::move(view));
    Vector<int> assigned(9);
    assigned = std::move(view);
    for (const Vector<int>* v : {&copied, &moved, &assigned}) {
        EXPECT_FALSE(v->isShallow());
        EXPECT_NE(array, v->data());
        EXPECT_EQ(vectorOf({1, 2, 3, 4, 5, 6}), *v);
    }
    EXPECT_EQ(array, view.data());
}

TEST(VectorStorage, swapWithAViewExchangesElementsAndNeedsEqualSizes) {
    int array[] = {1, 2, 3, 4, 5};
    Vector<int> view = Vector<int>::view(array, 5);
    Vector<int> deep = vectorOf({9, 8, 7, 6, 5});
    deep.swap(view);
    EXPECT_EQ(vectorOf({1, 2, 3, 4, 5}), deep);
    EXPECT_EQ(9, array[0]);
    EXPECT_EQ(array, view.data());
    EXPECT_FALSE(deep.isShallow());
    Vector<int> other(4);
    expectFailure<UsageError>([&] { other.swap(view); }, "void Vector<T>::swap(Vector&)",
                              "Vector size differ and at least one of them is shallow");
}

TEST(VectorStorage, toTypeConvertsElementByElement) {
    EXPECT_EQ(vectorOf({1, -1, 2}), vectorOf({1.9, -1.9, 2.0}).toType<int>());
    EXPECT_EQ(vectorOf({1.5L}), vectorOf({1.5f}).toType<long double>());
}

TEST(VectorStorage, vectorsOfPointersAreArrays) {
    using Pointer = Model*;
    int targets[3];
    const auto at = [&targets](int i) { return reinterpret_cast<Pointer>(targets + i); };
    Vector<Pointer> v(2);
    v[0] = at(2);
    v[1] = at(0);
    v.append(v);
    EXPECT_EQ(4, v.getSize());
    EXPECT_EQ(1, v.find(at(0)));
    v.sort();
    EXPECT_EQ(at(0), v[1]);
    EXPECT_EQ(at(2), v[2]);
}

TEST(VectorFilling, sequencesCanonicalAndApply) {
    Vector<double> v(4);
    v.setSequence(0.5);
    EXPECT_EQ(vectorOf({0.0, 0.5, 1.0, 1.5}), v);
    v.setSequence(3, -1);
    EXPECT_EQ(vectorOf({3.0, 2.0, 1.0, 0.0}), v);
    v.apply(twice);
    EXPECT_EQ(vectorOf({6.0, 4.0, 2.0, 0.0}), v);
    v.setCanonical(2);
    EXPECT_EQ(vectorOf({0.0, 0.0, 1.0, 0.0}), v);
    v.setOnes(2);
    EXPECT_EQ(vectorOf({1.0, 1.0}), v);
    v.setZeros(5);
    EXPECT_EQ(Vector<double>(v), vectorOf({0.0, 0.0, 0.0, 0.0, 0.0}));
}

TEST(VectorParts, copyPasteAppendPrepend) {
    const Vector<int> v = vectorOf({1, 2, 3, 4, 5, 6});
    EXPECT_EQ(vectorOf({2, 3, 4}), v.copy(1, 3));
    EXPECT_EQ(0, v.copy(2, 1).getSize());
    Vector<int> w(v);
    w.paste(4, vectorOf({9, 8}));
    EXPECT_EQ(vectorOf({1, 2, 3, 4, 9, 8}), w);
    expectFailure<SizeError>(
        [&] {
            w.paste(5, vectorOf({0, 0}));
        },
        "Vector Vector<T>::paste(...)", "Vector to large to be pasted at specified position");
    EXPECT_EQ(vectorOf({1, 2, 3, 4, 9, 8}), w);
    Vector<int> joined = vectorOf({1, 2, 3});
    joined.append(joined);
    EXPECT_EQ(vectorOf({1, 2, 3, 1, 2, 3}), joined);
    joined.prepend(vectorOf({0}));
    EXPECT_EQ(vectorOf({0, 1, 2, 3, 1, 2, 3}), joined);
    Vector<int> empty;
    empty.append(vectorOf({4}));
    empty.append(Vector<int>());
    EXPECT_EQ(vectorOf({4}), empty);
}

TEST(VectorStatistics, ofAnEmptyVectorFailWithTheirOwnPlace) {
    const Vector<double> v;
    const std::string what = "This vector is empty.";
    expectFailure<SizeError>([&] { v.min(); }, "T Vector<T>::min() const", what);
    expectFailure<SizeError>([&] { v.max(); }, "T Vector<T>::max() const", what);
    expectFailure<SizeError>([&] { v.range(); }, "Vector<T> Vector<T>::range() const", what);
    expectFailure<SizeError>([&] { v.find(0); }, "int Vector<T>::find(const T&) const", what);
    expectFailure<SizeError>([&] { v.minPos(); }, "int Vector<T>::minPos() const", what);
    expectFailure<SizeError>([&] { v.maxPos(); }, "int Vector<T>::maxPos() const", what);
    expectFailure<SizeError>([&] { v.sum(); }, "T Vector<T>::sum() const", what);
    expectFailure<SizeError>([&] { v.prod(); }, "T Vector<T>::prod() const", what);
    expectFailure<SizeError>([&] { v.mean(); }, "T Vector<T>::mean() const", what);
    expectFailure<SizeError>([&] { v.median(); }, "T Vector<T>::median() const", what);
    expectFailure<SizeError>([&] { v.mad(); }, "T Vector<T>::median() const", what);
    expectFailure<SizeError>([&] { v.sse(); }, "T Vector<T>::sse() const", what);
    expectFailure<SizeError>([&] { v.var(); }, "T Vector<T>::var() const", what);
    expectFailure<SizeError>([&] { v.std(); }, "T Vector<T>::var() const", what);
    expectFailure<SizeError>([&] { v.sem(false); }, "T Vector<T>::sem(const bool) const", what);
    expectFailure<SizeError>([&] { v.percentile(50); }, "bool Vector<T>::isIncreasing() const", what);
    expectFailure<SizeError>([&] { v.isDecreasing(); }, "bool Vector<T>::isDecreasing() const", what);
    EXPECT_EQ(0, v.csum().getSize());
    EXPECT_EQ(0, v.cprod().getSize());
    EXPECT_EQ(0, v.scalarProduct(v));
    EXPECT_EQ(0, v.sdistance(v));
    EXPECT_TRUE(v == Vector<double>());
    Vector<double> w;
    w.normalize();
    EXPECT_EQ(0, w.getSize());
}

TEST(VectorStatistics, ofASmallSampleByHand) {
    const Vector<double> v = vectorOf({4.0, 1.0, 4.0, 3.0, 1.0});
    EXPECT_EQ(vectorOf({1.0, 4.0}), v.range());
    EXPECT_EQ(1, v.minPos());
    EXPECT_EQ(0, v.maxPos());
    EXPECT_EQ(3, v.find(3));
    EXPECT_EQ(-1, v.find(2));
    EXPECT_EQ(13, v.sum());
    EXPECT_EQ(48, v.prod());
    EXPECT_DOUBLE_EQ(2.6, v.mean());
    EXPECT_EQ(3, v.median());
    EXPECT_NEAR(9.2, v.sse(), 1e-12); // 1.96 + 2.56 + 1.96 + 0.16 + 2.56
    EXPECT_NEAR(1.84, v.var(), 1e-12);
    EXPECT_NEAR(std::sqrt(1.84), v.std(), 1e-12);
    EXPECT_EQ(1, v.mad()); // of 1 2 1 0 2
    EXPECT_NEAR(std::sqrt(9.2 / 20), v.sem(true), 1e-12);
    EXPECT_NEAR(std::sqrt(9.2) / 5, v.sem(false), 1e-12);
    EXPECT_EQ(vectorOf({4.0, 5.0, 9.0, 12.0, 13.0}), v.csum());
    EXPECT_EQ(vectorOf({4.0, 4.0, 16.0, 48.0, 48.0}), v.cprod());
    const Numbers<double> numbers = v.numbers();
    EXPECT_EQ(5u, numbers.getCount());
    EXPECT_EQ(1, numbers.getMinimum());
    EXPECT_EQ(4, numbers.getMaximum());
    EXPECT_EQ(3, numbers.getMedian());
    EXPECT_EQ(13, numbers.getSum());
    EXPECT_DOUBLE_EQ(2.6, numbers.getMean());
    EXPECT_FALSE(numbers.hasStddev());
    expectFailure<UsageError>([&] { numbers.getStddev(); }, "T Numbers<T>::getStddev() const",
                              "This value is not set.");
}

TEST(VectorStatistics, theSampleFormOfSemNeedsTwoValues) {
    const Vector<double> v = vectorOf({3.0});
    expectFailure<SizeError>([&] { v.sem(true); }, "T Vector<T>::sem(const bool) const",
                             "This vector contains a single value.");
    EXPECT_EQ(0, v.sem(false));
}

TEST(VectorStatistics, theMedianOfEvenSizesIsTheMeanOfTheMiddleTwo) {
    EXPECT_EQ(2.5, vectorOf({4.0, 1.0, 2.0, 3.0}).median());
    EXPECT_EQ(1.5f, vectorOf({2.0f, 1.0f}).median());
    EXPECT_EQ(2, vectorOf({4, 1, 2, 3}).median());
    EXPECT_EQ(-1, vectorOf({-1, -2}).median()); // -3/2 is cut towards zero
    const int big = std::numeric_limits<int>::max();
    EXPECT_EQ(big, vectorOf({big, big}).median());
    Vector<double> v = vectorOf({3.0, 1.0, 2.0});
    v.median();
    EXPECT_EQ(vectorOf({3.0, 1.0, 2.0}), v);
}

TEST(VectorStatistics, theMedianAgreesWithSortingForManySizes) {
    for (int n = 1; n < 60; ++n) {
        const Vector<double> v = randomVector<double>(n, static_cast<unsigned int>(n));
        std::vector<double> sorted(v.begin(), v.end());
        std::sort(sorted.begin(), sorted.end());
        EXPECT_EQ(0.5 * (sorted[(n - 1) / 2] + sorted[n / 2]), v.median());
    }
}

TEST(VectorStatistics, diffLeavesZerosAtTheEnd) {
    EXPECT_EQ(vectorOf({3, 5, 0, 0}), vectorOf({1, 2, 4, 7}).diff(2));
    EXPECT_EQ(vectorOf({0, 0}), vectorOf({1, 2}).diff(0));
    const std::string where = "Vector<T> Vector<T>::diff(const int) const";
    expectFailure<SizeError>([] { vectorOf({1, 2}).diff(2); }, where, "This vector does not contain enough elements");
    EXPECT_THROW(vectorOf({1, 2}).diff(-1), UsageError);
}

TEST(VectorStatistics, percentilesOfASortedVector) {
    const Vector<double> v = vectorOf({10.0, 20.0, 30.0, 40.0});
    EXPECT_EQ(10, v.percentile(0));
    EXPECT_EQ(30, v.percentile(50));
    EXPECT_EQ(40, v.percentile(100));
    EXPECT_EQ(10, v.percentile(-400));
    EXPECT_EQ(40, v.percentile(400));
    EXPECT_EQ(10, v.percentile(static_cast<float>(notANumber)));
    expectFailure<UsageError>(
        [] {
            vectorOf({2, 1}).percentile(50);
        },
        "T Vector::percentile(const float) const", "This vector is not sorted in increasing order");
}

TEST(VectorStatistics, anIntegerTypeRefusesWhatItCannotAnswer) {
    Vector<int> v = vectorOf({1, 2});
    const std::string what = "Method not available for type 'int'";
    expectFailure<TypeError>([&] { Vector<int>::epsilon(); }, "int Vector<int>::epsilon()", what);
    expectFailure<TypeError>([&] { v.norm(); }, "int Vector<int>::norm() const", what);
    expectFailure<TypeError>([&] { v.normalize(); }, "void Vector<int>::normalize()", what);
    expectFailure<TypeError>([&] { v.mean(); }, "int Vector<int>::mean()", what);
    expectFailure<TypeError>([&] { v.sse(); }, "int Vector<int>::sse() const", what);
    expectFailure<TypeError>([&] { v.var(); }, "int Vector<int>::var() const", what);
    expectFailure<TypeError>([&] { v.std(); }, "int Vector<int>::std() const", what);
    expectFailure<TypeError>([&] { v.sem(true); }, "int Vector<int>::sem(const bool) const", what);
    expectFailure<TypeError>([&] { v.distance(v); }, "int Vector<int>::distance(const Vector&) const", what);
    int beta = 0;
    expectFailure<TypeError>([&] { v.householderVector(beta); }, "void Vector<int>::houseHolderVector(...)", what);
    EXPECT_EQ(0, v.mad()); // median 1, deviations 0 1, median 0
    Vector<unsigned int> u(2);
    u.setSequence(1);
    expectFailure<TypeError>([&] { u.mad(); }, "unsigned int Vector<unsigned int>::mad() const",
                             "Method not available for type 'unsigned int'");
    Vector<char> c(2);
    c.setOnes();
    expectFailure<TypeError>([&] { c.var(); }, "char Vector<char>::mean()", "Method not available for type 'char'");
    EXPECT_EQ(0, c.distance(c));
    Vector<bool> b(2);
    b.setOnes();
    EXPECT_TRUE(b.norm());
    EXPECT_TRUE(b.mean());
}

TEST(VectorHistogram, anEdgeBelongsToTheBinAboveIt) {
    const Vector<double> v = vectorOf({-5.0, 0.0, 0.999, 1.0, 2.0, 3.0, 99.0});
    EXPECT_EQ(vectorOf({3u, 1u, 3u}), v.histogram(0, 1, 3));
    EXPECT_EQ(vectorOf({1u, 0u, 2u}), v.histogram(0, 1, 3, vectorOf({1.0, 0.0, 0.0, 0.0, 0.0, -2.0, 1.0})));
    EXPECT_EQ(vectorOf({0u, 0u}), Vector<double>().histogram(0, 1, 2));
    EXPECT_EQ(0, v.histogram(0, 1, 0).getSize());
    expectFailure<SizeError>([&] { v.histogram(0, 1, 3, Vector<double>(2)); }, "Vectorui Vector<T>::histogram(...)",
                             "Incompatible mask size");
}

TEST(VectorHistogram, agreesWithTheSearchOverTheEdgesForAwkwardWidths) {
    Vector<float> v = randomVector<float>(3000, 5);
    v *= 3;
    v[7] = std::numeric_limits<float>::infinity();
    v[8] = -v[7];
    v[9] = std::numeric_limits<float>::quiet_NaN();
    for (const float width : {0.1f, 1e-9f, 0.0f, 1e30f, -0.25f}) {
        for (const int bins : {1, 2, 7, 40}) {
            for (int k = 10; k < 50; ++k)
                v[k] = -1.3f + static_cast<float>(k - 10) * width; // values on the edges
            Vector<unsigned int> expected;
            expected.setZeros(bins);
            for (const float x : v) {
                int lo = 0;
                int hi = bins;
                while (lo + 1 < hi) {
                    const int mid = (lo + hi) / 2;
                    if (-1.3f + static_cast<float>(mid) * width > x)
                        hi = mid;
                    else
                        lo = mid;
                }
                ++expected[lo];
            }
            EXPECT_EQ(expected, v.histogram(-1.3f, width, bins)) << width << " " << bins;
        }
    }
}

// Values on, just below and just above the edges, and far away, against the last edge that is not above the value.
TEST(VectorHistogram, binsOfWidthOneAgreeWithTheSearchOverTheEdges) {
    const float infinity = std::numeric_limits<float>::infinity();
    for (const float first : {-0.5f, 0.0f, -1.0f, -37.0f, 1000.5f, 0.3f}) {
        for (const int bins : {1, 3, 256, 2000}) {
            Vector<float> v(5000);
            for (int i = 0; i < v.getSize(); ++i) {
                const float edge = first + static_cast<float>(i / 5 % (bins + 2) - 1);
                const float around[] = {edge, std::nextafter(edge, -infinity), std::nextafter(edge, infinity),
                                        edge + 0.49999997f, i % 2 == 0 ? -1e-30f : 1e30f};
                v[i] = around[i % 5];
            }
            v[0] = infinity;
            v[1] = -infinity;
            v[2] = std::numeric_limits<float>::quiet_NaN();
            Vector<unsigned int> expected;
            expected.setZeros(bins);
            for (const float x : v) {
                int bin = std::isnan(x) ? bins - 1 : 0;
                while (bin + 1 < bins && first + static_cast<float>(bin + 1) <= x)
                    ++bin;
                ++expected[bin];
            }
            EXPECT_EQ(expected, v.histogram(first, 1, bins)) << first << " " << bins;
        }
    }
}

TEST(VectorHistogram, binsOfWidthOneReachTheEndsOfTheIntegers) {
    constexpr int lowest = std::numeric_limits<int>::min(), highest = std::numeric_limits<int>::max();
    const Vector<int> v = vectorOf({lowest, lowest + 1, -1, 0, 1, highest - 1, highest});
    EXPECT_EQ(vectorOf({1u, 6u}), v.histogram(lowest, 1, 2));
    EXPECT_EQ(vectorOf({6u, 1u}), v.histogram(highest - 1, 1, 2));
    EXPECT_EQ(vectorOf({6u, 1u, 0u}), v.histogram(highest - 1, 1, 3)); // the last edge is no int
    EXPECT_EQ(vectorOf({2u, 1u}), vectorOf<unsigned short>({0, 65534, 65535}).histogram(65534, 1, 2));
}

TEST(VectorHistogram, edgesOfSmallIntegersDoNotWrap) {
    Vector<unsigned char> v(256);
    for (int i = 0; i < 256; ++i)
        v[i] = static_cast<unsigned char>(i);
    EXPECT_EQ(vectorOf({100u, 100u, 56u, 0u}), v.histogram(0, 100, 4));
}

TEST(VectorOrder, sortIsAscendingWithNaNsLast) {
    Vector<double> v = vectorOf({3.0, notANumber, 1.0, notANumber, 2.0});
    v.sort();
    EXPECT_EQ(vectorOf({1.0, 2.0, 3.0}), v.copy(0, 2));
    EXPECT_TRUE(std::isnan(v[3]) && std::isnan(v[4]));
    v.reverse();
    EXPECT_EQ(vectorOf({3.0, 2.0, 1.0}), v.copy(2, 4));
    Vector<bool> b(3);
    b[0] = true;
    b[1] = false;
    b[2] = true;
    b.sort();
    EXPECT_FALSE(b[0]);
    EXPECT_TRUE(b[1] && b[2]);
}

TEST(VectorOrder, increasingAndDecreasingLetEqualNeighboursPass) {
    EXPECT_TRUE(vectorOf({1, 1, 2}).isIncreasing());
    EXPECT_FALSE(vectorOf({1, 2, 1}).isIncreasing());
    EXPECT_TRUE(vectorOf({2, 1, 1}).isDecreasing());
    EXPECT_FALSE(vectorOf({1, 1, 2}).isDecreasing());
    EXPECT_TRUE(vectorOf({1}).isIncreasing() && vectorOf({1}).isDecreasing());
}

TEST(VectorOrder, symmetries) {
    EXPECT_TRUE(Vector<int>().isSymmetrical());
    EXPECT_TRUE(vectorOf({1, 5, 1}).isSymmetrical());
    EXPECT_FALSE(vectorOf({1, 5, 2}).isSymmetrical());
    EXPECT_FALSE(vectorOf({1, 5, 6, 1}).isSymmetrical());
    EXPECT_FALSE(vectorOf({0}).isAntiSymmetrical());
    EXPECT_TRUE(vectorOf({1, 5, -1}).isAntiSymmetrical());
    EXPECT_FALSE(vectorOf({1, 5, 1}).isAntiSymmetrical());
    EXPECT_TRUE(vectorOf({1, 5, -5, -1}).isAntiSymmetrical());
}

TEST(VectorOrder, equalityNeedsSizesAndElements) {
    EXPECT_TRUE(vectorOf({1, 2}) == vectorOf({1, 2}));
    EXPECT_TRUE(vectorOf({1, 2}) != vectorOf({1, 3}));
    EXPECT_TRUE(vectorOf({1, 2}) != vectorOf({1, 2, 3}));
}

TEST(VectorArithmetic, worksElementByElement) {
    const Vector<double> a = vectorOf({6.0, 8.0});
    const Vector<double> b = vectorOf({2.0, 4.0});
    EXPECT_EQ(vectorOf({-6.0, -8.0}), -a);
    EXPECT_EQ(vectorOf({8.0, 12.0}), a + b);
    EXPECT_EQ(vectorOf({4.0, 4.0}), a - b);
    EXPECT_EQ(vectorOf({3.0, 2.0}), a / b);
    EXPECT_EQ(vectorOf({12.0, 32.0}), a.pointwiseProduct(b));
    EXPECT_EQ(vectorOf({7.0, 9.0}), a + 1);
    EXPECT_EQ(vectorOf({5.0, 7.0}), a - 1);
    EXPECT_EQ(vectorOf({12.0, 16.0}), a * 2);
    EXPECT_EQ(vectorOf({3.0, 4.0}), a / 2);
    Vector<double> c(a);
    c += b;
    c -= vectorOf({1.0, 2.0});
    c /= vectorOf({7.0, 5.0});
    EXPECT_EQ(vectorOf({1.0, 2.0}), c);
    c += 1;
    c *= 3;
    c -= 3;
    c /= 2;
    EXPECT_EQ(vectorOf({1.5, 3.0}), c);
    Vector<unsigned short> u(1);
    u[0] = 65535;
    EXPECT_EQ(1, u.pointwiseProduct(u)[0]); // modulo 65536
}

TEST(VectorArithmetic, ofDifferentSizesFailsAndChangesNothing) {
    Vector<double> a = vectorOf({1.0, 2.0});
    const Vector<double> b(3);
    const std::string what = "Incompatible vector dimensions";
    expectFailure<SizeError>([&] { a + b; }, "Vector Vector<T>::operator+(const Vector&) const", what);
    expectFailure<SizeError>([&] { a - b; }, "Vector<T> Vector<T>::operator-(const Vector&) const", what);
    expectFailure<SizeError>([&] { a / b; }, "Vector<T> Vector<T>::operator/(const Vector&) const", what);
    expectFailure<SizeError>([&] { a += b; }, "void Vector<T>::operator+=(const Vector&)", what);
    expectFailure<SizeError>([&] { a -= b; }, "void Vector<T>::operator-=(const Vector&)", what);
    expectFailure<SizeError>([&] { a /= b; }, "void Vector<T>::operator/=(const Vector&)", what);
    const std::string different = "The two vectors have different sizes";
    expectFailure<SizeError>([&] { a.pointwiseProduct(b); }, "Vector pointwiseProduct(const Vector&) const", different);
    expectFailure<SizeError>([&] { a.scalarProduct(b); }, "T Vector<T>::scalarProduct(const Vector&) const", different);
    expectFailure<SizeError>([&] { a.sdistance(b); }, "T Vector<T>::sdistance(const Vector&) const", different);
    expectFailure<SizeError>([&] { a.distance(b); }, "T Vector<T>::sdistance(const Vector&) const", different);
    expectFailure<SizeError>([&] { a.angle(b); }, "T Vector<T>::scalarProduct(const Vector&) const", different);
    expectFailure<SizeError>([&] { a.vectorProduct(b); }, "Vector vectorProduct(const Vector&) const",
                             "At least one vector have a size different from 3");
    EXPECT_EQ(vectorOf({1.0, 2.0}), a);
}

TEST(VectorGeometry, productsAndDistancesByHand) {
    const Vector<double> x = vectorOf({1.0, 2.0, 3.0});
    const Vector<double> y = vectorOf({4.0, -5.0, 6.0});
    EXPECT_EQ(vectorOf({27.0, 6.0, -13.0}), x.vectorProduct(y));
    EXPECT_EQ(12, x.scalarProduct(y));
    EXPECT_EQ(14, x.snorm());
    EXPECT_DOUBLE_EQ(std::sqrt(14.0), x.norm());
    EXPECT_EQ(9 + 49 + 9, x.sdistance(y));
    EXPECT_DOUBLE_EQ(std::sqrt(67.0), x.distance(y));
    EXPECT_DOUBLE_EQ(std::acos(12 / std::sqrt(14.0 * 77.0)), x.angle(y));
    const Matrix<double> outer = x.outerProduct(vectorOf({10.0, 1.0}));
    EXPECT_EQ(3, outer.getSize1());
    EXPECT_EQ(vectorOf({20.0, 2.0}), outer[1]);
    EXPECT_EQ(vectorOf({30.0, 3.0}), outer[2]);
}

TEST(VectorGeometry, theAngleOfParallelVectorsIsNotLostToRounding) {
    const Vector<float> v = randomVector<float>(3, 11);
    for (int k = 1; k < 200; ++k) {
        EXPECT_NEAR(0, v.angle(v * static_cast<float>(k)), 1e-3);
        EXPECT_NEAR(3.14159265, v.angle(v * static_cast<float>(-k)), 1e-3);
    }
    EXPECT_TRUE(std::isnan(v.angle(v * 0)));
}

TEST(VectorGeometry, normalizeLeavesANullVectorAlone) {
    Vector<double> v = vectorOf({3.0, -4.0});
    v.normalize();
    EXPECT_EQ(vectorOf({0.6, -0.8}), v);
    v.setZeros();
    v.normalize();
    EXPECT_EQ(vectorOf({0.0, 0.0}), v);
}

TEST(VectorGeometry, closestAxisTakesTheFirstOfEquals) {
    EXPECT_EQ(1, vectorOf({1, -3, 3}).closestAxis());
    EXPECT_EQ(0, vectorOf({std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}).closestAxis());
    EXPECT_EQ(-1, Vector<int>().closestAxis());
}

TEST(VectorGeometry, longProductsAgreeWithThePlainSum) {
    for (const int n : {15, 16, 17, 31, 1000}) {
        const Vector<double> a = randomVector<double>(n, 1);
        const Vector<double> b = randomVector<double>(n, 2);
        double product = 0;
        double distance = 0;
        for (int i = 0; i < n; ++i) {
            product += a[i] * b[i];
            distance += (a[i] - b[i]) * (a[i] - b[i]);
        }
        EXPECT_NEAR(product, a.scalarProduct(b), 1e-11);
        EXPECT_NEAR(distance, a.sdistance(b), 1e-10);
    }
}

TEST(VectorSignal, correlationDropsWhatFallsOutside) {
    const Vector<double> v = vectorOf({1.0, 2.0, 3.0, 4.0});
    const Vector<double> kernel = vectorOf({1.0, 10.0, 100.0});
    EXPECT_EQ(vectorOf({210.0, 321.0, 432.0, 43.0}), v.corr(kernel));
    EXPECT_EQ(vectorOf({12.0, 123.0, 234.0, 340.0}), v.conv(kernel));
}

TEST(VectorSignal, correlationAgreesWithItsDefinitionAcrossBlocks) {
    const int n = 2500;
    const Vector<double> v = randomVector<double>(n, 3);
    for (const int p : {1, 3, 9, 31}) {
        const Vector<double> kernel = randomVector<double>(p, 4);
        const Vector<double> result = v.corr(kernel);
        for (int i = 0; i < n; ++i) {
            double expected = 0;
            for (int q = 0; q < p; ++q)
                if (i + q - p / 2 >= 0 && i + q - p / 2 < n)
                    expected += v[i + q - p / 2] * kernel[q];
            ASSERT_EQ(expected, result[i]) << i;
        }
    }
}

TEST(VectorSignal, aKernelLongerThanTheVectorIsHarmless) {
    const Vector<double> kernel = vectorOf({1.0, 1.0, 1.0, 1.0, 1.0, 1.0, 1.0});
    EXPECT_EQ(vectorOf({3.0, 3.0}), vectorOf({1.0, 2.0}).corr(kernel));
    EXPECT_EQ(0, Vector<double>().corr(kernel).getSize());
    EXPECT_EQ(vectorOf({0.0, 0.0}), vectorOf({1.0, 2.0}).corr(Vector<double>()));
}

TEST(VectorSignal, theMaskedCorrelationGivesAnAbsentSamplesWeightToItsPartner) {
    const Vector<double> v = vectorOf({1.0, 2.0, 3.0, 4.0, 5.0});
    const Vector<double> kernel = vectorOf({1.0, 10.0, 100.0});
    // Element 0 lacks its left, 2 lacks its right, 4 has no neighbour; 3 is masked.
    EXPECT_EQ(vectorOf({10.0 + 202, 20.0 + 1 + 300, 30.0 + 202, 4.0, 50.0}),
              v.corr(kernel, vectorOf({1.0, 1.0, 1.0, 0.0, 1.0})));
    EXPECT_EQ(vectorOf({20.0 + 100 + 3}), v.conv(kernel, vectorOf({1.0, 1.0, 1.0, 1.0, 1.0})).copy(1, 1));
    expectFailure<SizeError>([&] { v.corr(kernel, kernel); },
                             "Vector<T> Vector<T>::corr(const Vector&, const Vector&) const",
                             "The mask is not the same length as this vector");
}

TEST(VectorSignal, theHouseholderReflectionZeroesAllButTheFirstElement) {
    for (const double x0 : {3.0, -3.0, 0.0, 1e-9}) {
        const Vector<double> x = vectorOf({x0, 1.0, -2.0, 0.5, 4.0});
        Vector<double> v;
        double beta = 0;
        x.householderVector(v, beta);
        EXPECT_EQ(1, v[0]);
        const Vector<double> reflected = x - v * (beta * v.scalarProduct(x));
        EXPECT_NEAR(x.norm(), reflected[0], 1e-12);
        for (int i = 1; i < 5; ++i)
            EXPECT_NEAR(0, reflected[i], 1e-12);
    }
    double beta = -1;
    Vector<double> v = vectorOf({-2.0, 0.0});
    v.householderVector(beta);
    EXPECT_EQ(2, beta);
    EXPECT_EQ(vectorOf({1.0, 0.0}), v);
    v = vectorOf({2.0, 0.0});
    v.householderVector(beta);
    EXPECT_EQ(0, beta);
    Vector<double> empty;
    empty.householderVector(beta);
    EXPECT_EQ(0, empty.getSize());
}

TEST(VectorPrint, writesFixedPointOnOneLineOrOneElementOnALine) {
    const PrintSettings restore;
    testing::internal::CaptureStdout();
    vectorOf({1, -2}).print("v", std::cout);
    NumericIO::setIOTranspose(true);
    NumericIO::setIOWidth(4);
    NumericIO::setIOPrecision(1);
    NumericIO::setIOEpsilon(0.3f);
    vectorOf({0.26, -0.2, 1.25}).print("w", std::cout);
    EXPECT_EQ("v   1.00  -2.00\nw\n 0.0\n 0.0\n 1.2\n", testing::internal::GetCapturedStdout());
}

TEST(VectorPrint, theElementsGoToTheStandardErrorForOtherStreams) {
    std::ostringstream stream;
    testing::internal::CaptureStderr();
    vectorOf({3, 4}).print("v", stream);
    EXPECT_EQ("   3.00   4.00", testing::internal::GetCapturedStderr());
    EXPECT_EQ("v\n", stream.str());
}

TEST(VectorEpsilon, followsTheType) {
    EXPECT_EQ(1e-6f, Vector<float>::epsilon());
    EXPECT_EQ(1e-15, Vector<double>::epsilon());
    EXPECT_EQ(1e-18L, Vector<long double>::epsilon());
}

// A float that sums a million values by itself is 1% off.
TEST(Vector, sumsOfManyFloatsKeepTheirDigits) {
    Vector<float> values(1000000u);
    for (int i = 0; i < values.getSize(); ++i)
        values[i] = i % 2 == 0 ? 1000.0f : 1001.0f;
    EXPECT_EQ(values.mean(), 1000.5f);
    EXPECT_EQ(values.sum(), 1000500000.0f);
    EXPECT_EQ(values.var(), 0.25f);
}

} // namespace vorlen
