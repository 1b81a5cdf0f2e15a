#include "images/regions/distancetransform.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <utility>

#include <gtest/gtest.h>

#include "numerics/exception.h"

namespace vorlen {

// Against all pairs, for few marks and many, on pixels of any shape, and with one object for all rasters.
TEST(DistanceTransform, findsTheNearestMarkOfEachElement) {
    std::uint32_t seed = 7;
    for (const auto& [aspect, step] : {std::pair(1.0, 1.0), {1.0, 2.0}, {2.5, 2.0}, {0.3, 2.0}}) {
        DistanceTransform transform(aspect * step, step);
        for (const std::array<int, 3>& raster :
             {std::array{1, 1, 1}, {1, 40, 9}, {33, 1, 5}, {17, 23, 60}, {31, 20, 4}, {1, 3000, 50}}) {
            const int rows = raster[0], columns = raster[1], every = raster[2];
            std::vector<unsigned char> marks(std::size_t(rows * columns));
            for (unsigned char& mark : marks)
                mark = ((seed = seed * 1664525u + 1013904223u) >> 16) % unsigned(every) == 0;
            marks[marks.size() / 2] = 3; // one at least
            transform.run(rows, columns, marks);
            const auto square = [&, aspect = aspect, step = step](int i, int j) {
                const double dr = (i / columns - j / columns) * aspect * step, dc = (i % columns - j % columns) * step;
                return dr * dr + dc * dc;
            };
            for (int i = 0; i < rows * columns; ++i) {
                double least = std::numeric_limits<double>::infinity();
                for (int j = 0; j < rows * columns; ++j)
                    if (marks[std::size_t(j)] != 0)
                        least = std::min(least, square(i, j));
                ASSERT_NEAR(transform.getSquaredDistances()[std::size_t(i)], least, 1e-6 * least) << i;
                const int nearest = transform.getNearest()[std::size_t(i)];
                ASSERT_TRUE(nearest >= 0 && marks[std::size_t(nearest)] != 0);
                ASSERT_NEAR(square(i, nearest), least, 1e-9 * least);
            }
        }
    }
}

TEST(DistanceTransform, isInfiniteWithoutMarks) {
    DistanceTransform transform;
    transform.run(2, 3, std::vector<unsigned char>(6));
    for (std::size_t i = 0; i < 6; ++i) {
        EXPECT_TRUE(std::isinf(transform.getSquaredDistances()[i]));
        EXPECT_EQ(transform.getNearest()[i], -1);
    }
    transform.run(0, 0, {});
    EXPECT_TRUE(transform.getNearest().empty());
    EXPECT_THROW(transform.run(2, 2, std::vector<unsigned char>(5)), SizeError);
}

} // namespace vorlen
