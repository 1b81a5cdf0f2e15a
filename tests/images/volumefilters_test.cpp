#include <algorithm>
#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <malloc.h>
#include <string>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

#include "images/filters/derichegradient.h"
#include "images/filters/gaussianfilter.h"
#include "images/filters/isotropyfilter.h"
#include "images/filters/maxfilter.h"
#include "images/filters/medianfilter.h"
#include "images/filters/minfilter.h"
#include "images/filters/sumfilter.h"
#include "images/filters/voxelmatrixdilatation.h"
#include "images/filters/voxelmatrixerosion.h"
#include "images/regions/componentlabelling.h"
#include "images/regions/isodatathresholding.h"
#include "images/regions/thresholding.h"
#include "images/volumes/volumehistogramexpansion.h"
#include "images/volumes/volumeresize.h"
#include "support/countingmonitor.h"
#include "support/heldmemory.h"
#include "support/threads.h"
#include "support/volumes.h"

namespace vorlen {

namespace {

template <class T>
struct NamedFilter {
    const char* name;
    int reach; ///< half size of the window
    std::function<void(VoxelMatrix<T>&, ProgressMonitor*)> apply;
    bool ordersInfinity = false; ///< takes an infinity for one value among others
};

template <class T, class Filter, class... Arguments>
NamedFilter<T> filterOf(const char* name, int reach, void (*setUp)(Filter&), Arguments... arguments) {
    return {name, reach,
            [=](VoxelMatrix<T>& volume, ProgressMonitor* monitor) {
                Filter filter(arguments...);
                if constexpr (requires { filter.setHalfSize(1); })
                    filter.setHalfSize(reach);
                setUp(filter);
                if (monitor != nullptr)
                    filter.addMonitor(*monitor);
                filter.apply(volume);
            },
            std::is_base_of_v<GreyMorphology<T, false>, Filter> || std::is_base_of_v<GreyMorphology<T, true>, Filter> ||
                std::is_base_of_v<ExtremumFilter<T, false>, Filter> ||
                std::is_base_of_v<ExtremumFilter<T, true>, Filter>};
}

template <class Filter>
void asItIs(Filter&) {
}

template <class T, class Filter>
void flat(Filter& filter) {
    VoxelMatrix<T> element(3, 3, 3);
    element.fill(T(4));
    filter.setStructElt(element);
}

template <class T, class Filter>
void ramp(Filter& filter) {
    filter.setStructElt(numberedVolume<T>(3, 3, 3));
}

template <class T>
std::vector<NamedFilter<T>> windowFilters() {
    const auto ball = [](SumFilter<T>& filter) { filter.setBallMode(true); };
    return {
        filterOf<T, SumFilter<T>>("sum", 2, asItIs),
        filterOf<T, SumFilter<T>>("ball sum", 2, ball),
        filterOf<T, GaussianFilter<T>>("gaussian", 2, asItIs, T(1)),
        filterOf<T, MinFilter<T>>("minimum", 2, asItIs),
        filterOf<T, MaxFilter<T>>("maximum", 1, asItIs),
        filterOf<T, IsotropyFilter<T>>("isotropy", 1, asItIs),
        filterOf<T, VoxelMatrixErosion<T>>("erosion", 1, ramp<T>),
        filterOf<T, VoxelMatrixDilatation<T>>("dilatation", 1, ramp<T>),
        filterOf<T, VoxelMatrixErosion<T>>("flat erosion", 1, flat<T>),
    };
}

template <class T>
std::vector<NamedFilter<T>> allFilters() {
    std::vector<NamedFilter<T>> filters = windowFilters<T>();
    for (const int h : {1, 2, 3})
        filters.push_back(filterOf<T, MedianFilter<T>>("median", h, asItIs));
    filters.push_back({"gradient", 0, [](VoxelMatrix<T>& volume, ProgressMonitor* monitor) {
                           DericheGradient<T> gradient(0.8f);
                           if (monitor != nullptr)
                               gradient.addMonitor(*monitor);
                           gradient.apply(volume);
                       }});
    filters.push_back({"gradient along the planes", 0, [](VoxelMatrix<T>& volume, ProgressMonitor* monitor) {
                           DericheGradient<T> gradient(0.8f);
                           if (monitor != nullptr)
                               gradient.addMonitor(*monitor);
                           gradient.gradient3(volume);
                       }});
    filters.push_back({"isodata", 0, [](VoxelMatrix<T>& volume, ProgressMonitor* monitor) {
                           IsodataThresholding<T> threshold;
                           threshold.setBins(T(0), T(1), 128);
                           if (monitor != nullptr)
                               threshold.addMonitor(*monitor);
                           threshold.apply(volume);
                       }});
    filters.push_back(filterOf<T, VolumeHistogramExpansion<T>>("expansion", 0, asItIs));
    for (const int shape : {0, 1, 2})
        filters.push_back({"resize", 0, [shape](VoxelMatrix<T>& volume, ProgressMonitor* monitor) {
                               VolumeResize<T> resize;
                               const auto sized = [shape](int axis, int size) {
                                   return shape == 0 || (shape == 2 && axis == 1) ? size * 3 / 2 : size / 2;
                               };
                               Vector<int> size = volume.getSize();
                               for (int axis = 0; axis < 3; ++axis)
                                   size[axis] = sized(axis, size[axis]);
                               resize.setSize(size);
                               resize.setInterpolationMode(LinearInterpolationMode);
                               if (monitor != nullptr)
                                   resize.addMonitor(*monitor);
                               resize.apply(volume);
                           }});
    if constexpr (!std::is_same_v<T, long double>)
        filters.push_back({"threshold", 0, [](VoxelMatrix<T>& volume, ProgressMonitor* monitor) {
                               Thresholding<T> threshold;
                               threshold.setThreshold(T(40));
                               if (monitor != nullptr)
                                   threshold.addMonitor(*monitor);
                               threshold.apply(volume);
                           }});
    return filters;
}

template <class T>
bool sameBits(const VoxelMatrix<T>& a, const VoxelMatrix<T>& b) {
    for (int k = 0; k < a.getSize3(); ++k)
        for (int i = 0; i < a.getSize1(); ++i)
            if (std::memcmp(a[k][i].data(), b[k][i].data(), sizeof(T) * std::size_t(a.getSize2())) != 0)
                return false;
    return a.sameSizeAs(b);
}

bool isNear(int i, int j, int k, const int (&place)[3], int reach) {
    return std::abs(i - place[0]) <= reach && std::abs(j - place[1]) <= reach && std::abs(k - place[2]) <= reach;
}

// Looks at the memory that is held, and cancels after a tenth of the way, when all that a filter needs is there.
class MemoryMonitor : public ProgressMonitor {
public:
    using ProgressMonitor::subjectProgressed;
    void subjectProgressed(unsigned int current, unsigned int total) override {
        most = std::max(most, heldMemory());
        if (current >= total / 10)
            currentSubject()->cancel();
    }
    long most = 0;
};

template <class T>
class VolumeFilters : public testing::Test {};

using SmallReals = testing::Types<float, double>;
TYPED_TEST_SUITE(VolumeFilters, SmallReals);

} // namespace

// Odd sizes, more planes than a batch, more rows and columns than a block; values of many sizes, so that sums in
// another order would show.
TYPED_TEST(VolumeFilters, giveTheSameBitsForAnyNumberOfThreads) {
    using T = TypeParam;
    VoxelMatrix<T> volume = randomVolume<T>(67, 66, 21, 3, 1, 1000000);
    volume *= T(1e-3);
    for (const NamedFilter<T>& filter : allFilters<T>()) {
        VoxelMatrix<T> alone = volume;
        {
            const Threads chosen(1);
            filter.apply(alone, nullptr);
        }
        for (const int threads : {2, 5}) {
            const Threads chosen(threads);
            VoxelMatrix<T> together = volume;
            filter.apply(together, nullptr);
            EXPECT_TRUE(sameBits(alone, together)) << filter.name << " " << threads;
        }
    }
}

// One element that is not finite, in the midst and at a border: results whose window holds it are not finite, and all
// others have the bits that they have without it.
TYPED_TEST(VolumeFilters, keepANaNWhereItsWindowIs) {
    using T = TypeParam;
    const VoxelMatrix<T> volume = randomVolume<T>(14, 15, 13, 3, 1, 1000); // whole numbers, whose sums are exact
    const int places[3][3] = {{6, 7, 5}, {3, 14, 6}, {5, 2, 4}};
    const T infinity = std::numeric_limits<T>::infinity();
    for (const NamedFilter<T>& filter : windowFilters<T>())
        for (const T bad : {std::numeric_limits<T>::quiet_NaN(), infinity, -infinity})
            for (const int(&place)[3] : places) {
                if (std::isinf(bad) && filter.ordersInfinity)
                    continue;
                VoxelMatrix<T> expected = volume, filtered = volume;
                filtered(place[0], place[1], place[2]) = bad;
                filter.apply(expected, nullptr);
                filter.apply(filtered, nullptr);
                int wrong = 0, lasting = 0;
                for (int k = 0; k < 13; ++k)
                    for (int i = 0; i < 14; ++i)
                        for (int j = 0; j < 15; ++j) {
                            const bool isFinite = std::isfinite(filtered(i, j, k));
                            lasting += !isFinite;
                            if (!isNear(i, j, k, place, filter.reach))
                                wrong += filtered(i, j, k) != expected(i, j, k);
                        }
                EXPECT_EQ(wrong, 0) << filter.name << " " << bad << " at " << place[1];
                EXPECT_GE(lasting, 1) << filter.name << " " << bad;
                const int side = 2 * filter.reach + 1;
                EXPECT_LE(lasting, side * side * side) << filter.name << " " << bad;
                EXPECT_FALSE(std::isfinite(filtered(place[0], place[1], place[2]))) << filter.name << " " << bad;
            }
}

// Opposite infinities in one window have no sum; beyond them there is one again.
TEST(SumFilter, letsInfinitiesGoAgain) {
    PixelMatrix<double> matrix(1, 30);
    matrix.setOnes();
    matrix[0][10] = std::numeric_limits<double>::infinity();
    matrix[0][12] = -std::numeric_limits<double>::infinity();
    SumFilter<double>().apply(matrix);
    const double infinity = std::numeric_limits<double>::infinity();
    for (int j = 0; j < 30; ++j) {
        if (j == 9 || j == 10) {
            EXPECT_EQ(matrix[0][j], infinity) << j;
        } else if (j == 11) {
            EXPECT_TRUE(std::isnan(matrix[0][j]));
        } else if (j == 12 || j == 13) {
            EXPECT_EQ(matrix[0][j], -infinity) << j;
        } else {
            EXPECT_EQ(matrix[0][j], 9.0) << j;
        }
    }
}

// A NaN of a recursion reaches as far as its weight counts, not to the ends of the lines.
TYPED_TEST(VolumeFilters, keepANaNOfAGradientWithinItsReach) {
    using T = TypeParam;
    DericheGradient<T> gradient(4.0f);
    const int reach = std::is_same_v<T, float> ? 5 : 10; // (1 + 4 d) exp(-4 d) falls below epsilon
    VoxelMatrix<T> volume = randomVolume<T>(40, 41, 39, 3, -100, 100);
    const int place[3] = {20, 22, 19};
    const auto compare = [&](const VoxelMatrix<T>& with, const VoxelMatrix<T>& without) {
        const T tolerance = T(1000) * Vector<T>::epsilon();
        for (int k = 0; k < with.getSize3(); ++k)
            for (int i = 0; i < 40; ++i)
                for (int j = 0; j < 41; ++j) {
                    if (isNear(i, j, k, place, reach)) {
                        ASSERT_TRUE(std::isnan(with(i, j, k))) << i << " " << j << " " << k;
                    } else {
                        ASSERT_NEAR(with(i, j, k), without(i, j, k), tolerance) << i << " " << j << " " << k;
                    }
                }
    };
    VoxelMatrix<T> without = volume, with = volume;
    with(place[0], place[1], place[2]) = std::numeric_limits<T>::quiet_NaN();
    gradient.apply(without);
    gradient.apply(with);
    compare(with, without);
    without = with = volume;
    with(place[0], place[1], place[2]) = std::numeric_limits<T>::infinity();
    gradient.gradient2(without);
    gradient.gradient2(with);
    compare(with, without);
    PixelMatrix<T> flat = volume[place[2]], holed = flat;
    holed[place[0]][place[1]] = std::numeric_limits<T>::quiet_NaN();
    gradient.norm(flat);
    gradient.norm(holed);
    for (int i = 0; i < 40; ++i)
        for (int j = 0; j < 41; ++j)
            EXPECT_EQ(std::isnan(holed[i][j]), isNear(i, j, 0, {place[0], place[1], 0}, reach)) << i << " " << j;
}

// Where the algorithm has no need of it there is no second volume.
TEST(LeanVolumeFilters, needLittleMemoryBesideTheVolume) {
    const Threads chosen(2);
    constexpr int rows = 128, columns = 128, planes = 160;
    VoxelMatrix<float> volume = randomVolume<float>(rows, columns, planes, 3, 1, 100);
    const double bytes = double(sizeof(float)) * rows * columns * planes;
    for (const NamedFilter<float>& filter : allFilters<float>()) {
        if (filter.name == std::string("gradient") || filter.name == std::string("resize")) {
            continue; // the norm of three derivatives, each of which needs whole lines; a volume of another size
        }
        VoxelMatrix<float> small = randomVolume<float>(9, 9, 9, 3, 1, 100);
        filter.apply(small, nullptr); // its code counts for memory, too, from here on
        ::malloc_trim(0);
        MemoryMonitor monitor;
        const long before = heldMemory();
        filter.apply(volume, &monitor);
        EXPECT_GT(monitor.most, 0) << filter.name;
        EXPECT_LE(double(monitor.most - before), 0.15 * bytes) << filter.name << " " << filter.reach;
    }
}

// A cancel at a third of the way: told as such, no step after it, and planes that are not filtered in part where planes
// are exchanged.
TYPED_TEST(VolumeFilters, stopWhenCancelled) {
    using T = TypeParam;
    const VoxelMatrix<T> volume = randomVolume<T>(20, 14, 40, 3, 1, 100);
    for (const NamedFilter<T>& filter : allFilters<T>())
        for (const int threads : {1, 2}) {
            const Threads chosen(threads);
            CountingMonitor whole, monitor;
            VoxelMatrix<T> filtered = volume, stopped = volume;
            filter.apply(filtered, &whole);
            EXPECT_EQ(whole.finished, 1) << filter.name;
            EXPECT_EQ(whole.last, whole.lastTotal) << filter.name;
            monitor.cancelAt = whole.steps / 3;
            filter.apply(stopped, &monitor);
            EXPECT_EQ(monitor.steps, monitor.cancelAt) << filter.name;
            // Another thread may have done all the rest before this one could report it.
            EXPECT_EQ(monitor.canceled + monitor.finished, 1) << filter.name;
            EXPECT_TRUE(monitor.canceled == 1 || (threads > 1 && sameBits(stopped, filtered))) << filter.name;
            const bool exchanges = filter.name == std::string("median") || filter.name == std::string("ball sum");
            for (int k = 0; exchanges && k < 40; ++k)
                EXPECT_TRUE(stopped[k] == volume[k] || stopped[k] == filtered[k]) << filter.name << " " << k;
        }
}

} // namespace vorlen
