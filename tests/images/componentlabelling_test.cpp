#include "images/regions/componentlabelling.h"

#include <limits>
#include <queue>
#include <random>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "images/rasters/pixelmatrix.h"
#include "images/volumes/voxelmatrix.h"
#include "support/failures.h"
#include "support/recordingmonitor.h"
#include "support/volumes.h"

namespace vorlen {

namespace {

using Place = std::tuple<int, int, int>;

// Places in the order in which regions are numbered.
std::vector<Place> scanOrder(int rows, int columns, int planes) {
    std::vector<Place> order;
    const auto addRow = [&](int i, int k) {
        for (int j = 0; j < columns; ++j)
            order.emplace_back(i, j, k);
    };
    for (int i = 0; i < rows; ++i)
        addRow(i, 0);
    for (int k = 1; k < planes; ++k)
        addRow(0, k);
    for (int k = 1; k < planes; ++k)
        for (int i = 1; i < rows; ++i)
            addRow(i, k);
    return order;
}

// From each element of the scan without a number yet a flood over the six neighbours.
template <class T>
int floodLabels(VoxelMatrix<T>& volume) {
    VoxelMatrix<int> labels(volume.getSize1(), volume.getSize2(), volume.getSize3());
    labels.setZeros();
    int regions = 0;
    std::queue<Place> front;
    const auto visit = [&](int i, int j, int k) {
        if (volume.contains(i, j, k) && volume(i, j, k) != T(0) && labels(i, j, k) == 0) {
            labels(i, j, k) = regions;
            front.emplace(i, j, k);
        }
    };
    for (const auto& [row, column, plane] : scanOrder(volume.getSize1(), volume.getSize2(), volume.getSize3())) {
        if (volume(row, column, plane) == T(0) || labels(row, column, plane) != 0)
            continue;
        ++regions;
        visit(row, column, plane);
        for (; !front.empty(); front.pop()) {
            const auto [i, j, k] = front.front();
            for (const int step : {-1, 1}) {
                visit(i + step, j, k);
                visit(i, j + step, k);
                visit(i, j, k + step);
            }
        }
    }
    volume = volumeOf<T>(volume.getSize1(), volume.getSize2(), volume.getSize3(),
                         [&](int i, int j, int k) { return labels(i, j, k); });
    return regions;
}

template <class T>
VoxelMatrix<T> randomVolume(int rows, int columns, int planes, double density, unsigned int seed) {
    std::mt19937 engine(seed);
    std::bernoulli_distribution isForeground(density);
    return volumeOf<T>(rows, columns, planes, [&](int, int, int) { return isForeground(engine) ? 7 : 0; });
}

template <class T>
class ComponentLabellingOf : public testing::Test {};
using Types = testing::Types<short, unsigned short, int, unsigned int, float, double, long double>;
TYPED_TEST_SUITE(ComponentLabellingOf, Types);

} // namespace

// Sizes around the 64 columns that are handled at a time; densities from scattered voxels to one region with holes.
TYPED_TEST(ComponentLabellingOf, numbersTheRegionsThatAFloodFinds) {
    unsigned int seed = 1;
    ComponentLabelling<TypeParam> labelling;
    for (const auto& [rows, columns, planes] :
         {std::tuple(1, 1, 1), std::tuple(9, 11, 7), std::tuple(1, 70, 5), std::tuple(20, 1, 6), std::tuple(6, 63, 4),
          std::tuple(7, 64, 3), std::tuple(5, 65, 4), std::tuple(12, 200, 3), std::tuple(40, 40, 1)})
        for (const double density : {0.0, 0.1, 0.3, 0.5, 0.7, 0.95, 1.0}) {
            const auto volume = randomVolume<TypeParam>(rows, columns, planes, density, seed++);
            auto labelled = volume, expected = volume;
            labelling.apply(labelled);
            EXPECT_EQ(labelling.getNumLabels(), floodLabels(expected));
            EXPECT_TRUE(labelled == expected) << rows << " " << columns << " " << planes << " " << density;

            VoxelMatrix<TypeParam> plane(rows, columns, 1);
            plane[0] = volume[planes - 1];
            PixelMatrix<TypeParam> pixels = plane[0];
            labelling.apply(pixels);
            EXPECT_EQ(labelling.getNumLabels(), floodLabels(plane));
            EXPECT_TRUE(pixels == plane[0]) << rows << " " << columns << " " << density;
        }
}

TEST(ComponentLabelling, joinsTheArmsOfRegionsAndSplitsDiagonals) {
    auto matrix = matrixOf<int>({{5, 0, 9, 0, 1, 0, 1}, //
                                 {5, 0, 9, 0, 1, 0, 1},
                                 {5, 5, 9, 0, 1, 1, 1},
                                 {0, 0, 0, 2, 0, 0, 0},
                                 {-3, 0, 2, 0, 2, 2, 2}});
    ComponentLabelling<int> labelling;
    labelling.apply(matrix);
    EXPECT_EQ(labelling.getNumLabels(), 6);
    EXPECT_TRUE(matrix == matrixOf<int>({{1, 0, 1, 0, 2, 0, 2},
                                         {1, 0, 1, 0, 2, 0, 2},
                                         {1, 1, 1, 0, 2, 2, 2},
                                         {0, 0, 0, 3, 0, 0, 0},
                                         {4, 0, 5, 0, 6, 6, 6}}));
    VoxelMatrix<int> corners(2, 2, 2);
    corners.setZeros();
    corners(0, 0, 0) = corners(1, 1, 0) = corners(1, 0, 1) = 1; // along an edge, and at a corner
    labelling.apply(corners);
    EXPECT_EQ(labelling.getNumLabels(), 3);
}

// A spiral one pixel wide, wound inwards, keeps many runs apart until its last rows.
TEST(ComponentLabelling, followsASpiral) {
    constexpr int side = 151;
    PixelMatrix<int> matrix(side, side);
    matrix.setZeros();
    const auto isFree = [&](int i, int j) { return !matrix.contains(i, j) || matrix[i][j] == 0; };
    int i = 0, j = 0, di = 0, dj = 1, turns = 0, length = 1;
    matrix[i][j] = 1;
    while (turns < 2) {
        if (matrix.contains(i + di, j + dj) && isFree(i + di, j + dj) && isFree(i + 2 * di, j + 2 * dj)) {
            i += di;
            j += dj;
            matrix[i][j] = 1;
            ++length;
            turns = 0;
        } else {
            std::tie(di, dj) = std::pair(dj, -di);
            ++turns;
        }
    }
    ASSERT_GT(length, side * side / 3);
    PixelMatrix<int> expected = matrix;
    ComponentLabelling<int> labelling;
    labelling.apply(matrix);
    EXPECT_EQ(labelling.getNumLabels(), 1);
    EXPECT_TRUE(matrix == expected);
}

TEST(ComponentLabelling, takesNotANumberForForegroundAndMinusZeroForBackground) {
    auto matrix = matrixOf<float>({{std::numeric_limits<float>::quiet_NaN(), 0.0f, -0.0f, 1e-40f}});
    ComponentLabelling<float> labelling;
    labelling.apply(matrix);
    EXPECT_EQ(labelling.getNumLabels(), 2);
    EXPECT_TRUE(matrix == matrixOf<float>({{1, 0, 0, 2}}));
}

TEST(ComponentLabelling, findsNothingWhereThereIsNothing) {
    ComponentLabelling<short> labelling;
    PixelMatrix<short> point(1, 1);
    point.setOnes();
    labelling.apply(point);
    EXPECT_EQ(labelling.getNumLabels(), 1);
    for (const auto& [rows, columns, planes] :
         {std::tuple(0, 0, 0), std::tuple(0, 3, 2), std::tuple(3, 0, 2), std::tuple(2, 3, 0)}) {
        VoxelMatrix<short> volume(rows, columns, planes);
        labelling.apply(point);
        labelling.apply(volume);
        EXPECT_EQ(labelling.getNumLabels(), 0);
        PixelMatrix<short> matrix(planes == 0 ? 0 : rows, columns);
        labelling.apply(point);
        labelling.apply(matrix);
        EXPECT_EQ(labelling.getNumLabels(), 0);
    }
}

// 32767 single pixels fit, one more does not; the teeth of a comb are the one region they are.
TEST(ComponentLabelling, refusesMoreRegionsThanTheElementsCanNumber) {
    ComponentLabelling<short> labelling;
    for (const int regions : {32767, 32768}) {
        PixelMatrix<short> row(1, 2 * regions);
        for (int j = 0; j < row.getSize2(); ++j)
            row[0][j] = static_cast<short>(j % 2 * 3);
        const PixelMatrix<short> before = row;
        if (regions == 32767) {
            labelling.apply(row);
            EXPECT_EQ(row[0][2 * regions - 1], 32767);
        } else {
            expectFailure<RangeError>([&] { labelling.apply(row); }, "void ComponentLabelling<T>::apply(...)",
                                      "There are more regions than the elements can number");
            EXPECT_TRUE(row == before);
        }
    }
    PixelMatrix<short> comb(2, 100001);
    for (int j = 0; j < comb.getSize2(); ++j) {
        comb[0][j] = static_cast<short>(j % 2);
        comb[1][j] = 1;
    }
    const PixelMatrix<short> allOnes = comb;
    labelling.apply(comb);
    EXPECT_EQ(labelling.getNumLabels(), 1);
    EXPECT_TRUE(comb == allOnes);
}

namespace {

// Asks the subject to stop when so many numbers have been reported.
class Stopper : public RecordingMonitor {
public:
    explicit Stopper(unsigned int when) : __when(when) {}
    using RecordingMonitor::subjectProgressed;
    void subjectProgressed(unsigned int current, unsigned int total) override {
        RecordingMonitor::subjectProgressed(current, total);
        if (current == __when)
            currentSubject()->cancel();
    }

private:
    unsigned int __when;
};

} // namespace

TEST(ComponentLabelling, reportsPlanesAndStopsBetweenThem) {
    VoxelMatrix<float> volume(3, 4, 3);
    volume.fill(9.0f);
    RecordingMonitor monitor;
    ComponentLabelling<float> labelling;
    labelling.addMonitor(monitor);
    VoxelMatrix<float> work = volume;
    labelling.apply(work);
    PixelMatrix<float> plane = volume[0];
    labelling.apply(plane);
    EXPECT_EQ(monitor.heard,
              (std::vector<std::string>{"started ", "1/3", "2/3", "3/3", "finished ", "started ", "finished "}));
    for (const unsigned int planes : {1u, 2u, 3u}) {
        Stopper stopper(planes);
        ComponentLabelling<float> stopped;
        stopped.addMonitor(stopper);
        work = volume;
        stopped.apply(work);
        EXPECT_EQ(stopper.heard.size(), planes + 1);
        EXPECT_EQ(stopper.heard.back(), std::to_string(planes) + "/3");
        for (int k = 0; k < 3; ++k)
            EXPECT_EQ(work(2, 3, k), k < static_cast<int>(planes) ? 1.0f : 9.0f) << planes << " " << k;
    }
}

} // namespace vorlen
