#include "normalization/groupstatistic.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <utility>

#include "numerics/exception.h"

namespace vorlen {

namespace {

using Rows = std::vector<std::vector<float>>;

/// Takes the mean over the specimens off at each place, and what is not finite away.
void centre(Rows& values, const char* where) {
    if (values.empty())
        throw UsageError(where, "There is no specimen");
    for (const std::vector<float>& row : values)
        if (row.size() != values.front().size())
            throw SizeError(where, "The specimens have different numbers of values");
    for (std::size_t p = 0; p < values.front().size(); ++p) {
        double sum = 0;
        for (std::vector<float>& row : values) {
            if (!std::isfinite(row[p]))
                row[p] = 0;
            sum += double(row[p]);
        }
        const double mean = sum / double(values.size());
        for (std::vector<float>& row : values)
            row[p] = float(double(row[p]) - mean);
    }
}

int degreesWithin(const Rows& values, const std::vector<int>& sizes, const char* where) {
    const int degrees = static_cast<int>(values.size()) - static_cast<int>(sizes.size());
    if (degrees < 1)
        throw UsageError(where, "A comparison needs more specimens than groups");
    return degrees;
}

/// The median of those above 0; 0 when there is none.
double medianAboveZero(std::vector<float> values) {
    values.erase(std::remove_if(values.begin(), values.end(), [](float v) { return !(v > 0); }), values.end());
    if (values.empty())
        return 0;
    const auto middle = values.begin() + std::ptrdiff_t(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return double(*middle);
}

void addRow(const float* from, std::size_t count, float* to) {
    for (std::size_t i = 0; i < count; ++i)
        to[i] += from[i];
}

/// Numerator over denominator: 0 where there is no difference, without bound where there is no spread.
float ratio(float numerator, float denominator) {
    if (denominator > 0)
        return numerator / denominator;
    return numerator == 0 ? 0.0f : std::copysign(std::numeric_limits<float>::max(), numerator);
}

/// Sum of squares over the specimens at each place of centred values.
std::vector<float> squares(const Rows& values) {
    std::vector<float> sums(values.front().size(), 0.0f);
    for (std::size_t p = 0; p < sums.size(); ++p) {
        double sum = 0;
        for (const std::vector<float>& row : values)
            sum += double(row[p]) * double(row[p]);
        sums[p] = float(sum);
    }
    return sums;
}

std::vector<float> spreads(const std::vector<float>& squares, std::size_t numSpecimens) {
    std::vector<float> result(squares.size());
    std::transform(squares.begin(), squares.end(), result.begin(),
                   [&](float square) { return float(std::sqrt(double(square) / double(numSpecimens - 1))); });
    return result;
}

/// Student's t of two groups. As values are centred, the sum of the first group is that of the second turned round.
class MeanDifference : public GroupStatistic {
public:
    MeanDifference(Rows values, const std::vector<int>& sizes, int degrees)
        : GroupStatistic(int(values.size()), values.front().size()), __values(std::move(values)),
          __squares(squares(__values)), __weight(float(1.0 / sizes[0] + 1.0 / sizes[1])), __degrees(float(degrees)),
          __extra(float(medianAboveZero(spreads(__squares, __values.size())))) {}

    bool isSigned() const override { return true; }
    const char* name() const override { return "standardised difference of means (t)"; }

    void evaluate(const std::vector<int>& dealing, std::size_t first, std::size_t last, float* out) const override {
        const std::size_t count = last - first;
        std::fill(out, out + count, 0.0f);
        for (std::size_t s = 0; s < dealing.size(); ++s)
            if (dealing[s] == 1)
                addRow(__values[s].data() + first, count, out);
        const float* const square = __squares.data() + first;
        const float root = std::sqrt(__weight);
        for (std::size_t i = 0; i < count; ++i) {
            const float sum = out[i];
            const float within = std::max(0.0f, square[i] - __weight * sum * sum) / __degrees;
            out[i] = ratio(sum * root, std::sqrt(within) + __extra);
        }
    }

private:
    Rows __values;
    std::vector<float> __squares;
    float __weight; // from the sum of a group to the difference of the means
    float __degrees;
    float __extra;
};

/// F of any number of groups.
class VarianceRatio : public GroupStatistic {
public:
    VarianceRatio(Rows values, const std::vector<int>& sizes, int degrees)
        : GroupStatistic(int(values.size()), values.front().size()), __values(std::move(values)),
          __squares(squares(__values)), __sizes(sizes), __degrees(float(degrees)) {
        const double extra = medianAboveZero(spreads(__squares, __values.size()));
        __extra = float(extra * extra);
    }

    const char* name() const override { return "variance between groups to that within (F)"; }

    void evaluate(const std::vector<int>& dealing, std::size_t first, std::size_t last, float* out) const override {
        const std::size_t count = last - first;
        std::fill(out, out + count, 0.0f);
        std::vector<float> sums(count);
        for (int group = 0; group < int(__sizes.size()); ++group) {
            std::fill(sums.begin(), sums.end(), 0.0f);
            for (std::size_t s = 0; s < dealing.size(); ++s)
                if (dealing[s] == group)
                    addRow(__values[s].data() + first, count, sums.data());
            const float share = 1.0f / float(__sizes[std::size_t(group)]);
            for (std::size_t i = 0; i < count; ++i)
                out[i] += share * sums[i] * sums[i];
        }
        const float between = float(__sizes.size()) - 1;
        for (std::size_t i = 0; i < count; ++i) {
            const float within = std::max(0.0f, __squares[first + i] - out[i]) / __degrees;
            out[i] = ratio(out[i] / between, within + __extra);
        }
    }

private:
    Rows __values;
    std::vector<float> __squares;
    std::vector<int> __sizes;
    float __degrees;
    float __extra = 0;
};

/// Hotelling's T^2. With the scatter W about the mean of all, that within the groups is W - w s s' for the sum s of a
/// group, so that by the formula of Sherman and Morrison u = s' W^-1 s tells all that a dealing changes.
class Displacement : public GroupStatistic {
public:
    Displacement(Rows values, const std::vector<int>& sizes, int degrees)
        : GroupStatistic(int(values.size()), values.front().size() / 3), __values(std::move(values)),
          __inverses(6 * getNumPlaces()), __weight(float(1.0 / sizes[0] + 1.0 / sizes[1])), __degrees(float(degrees)) {
        const std::vector<float> square = squares(__values);
        std::vector<float> traces(getNumPlaces());
        for (std::size_t p = 0; p < traces.size(); ++p)
            traces[p] = (square[3 * p] + square[3 * p + 1] + square[3 * p + 2]) / 3;
        const double extra = medianAboveZero(traces);
        for (std::size_t p = 0; p < traces.size(); ++p)
            invertScatter(p, extra);
    }

    const char* name() const override { return "Hotelling's T^2 of the displacements"; }

    void evaluate(const std::vector<int>& dealing, std::size_t first, std::size_t last, float* out) const override {
        const std::size_t count = last - first;
        std::vector<float> sums(3 * count, 0.0f);
        for (std::size_t s = 0; s < dealing.size(); ++s)
            if (dealing[s] == 1)
                addRow(__values[s].data() + 3 * first, 3 * count, sums.data());
        for (std::size_t i = 0; i < count; ++i) {
            const float* const m = __inverses.data() + 6 * (first + i);
            const float x = sums[3 * i], y = sums[3 * i + 1], z = sums[3 * i + 2];
            const float u = x * (m[0] * x + 2 * (m[1] * y + m[2] * z)) + y * (m[3] * y + 2 * m[4] * z) + m[5] * z * z;
            out[i] = ratio(__degrees * __weight * u, std::max(0.0f, 1 - __weight * u));
        }
    }

private:
    void invertScatter(std::size_t p, double extra) {
        double w[6] = {extra, 0, 0, extra, 0, extra};
        for (const std::vector<float>& row : __values) {
            const double x = double(row[3 * p]), y = double(row[3 * p + 1]), z = double(row[3 * p + 2]);
            w[0] += x * x;
            w[1] += x * y;
            w[2] += x * z;
            w[3] += y * y;
            w[4] += y * z;
            w[5] += z * z;
        }
        const double c0 = w[3] * w[5] - w[4] * w[4], c1 = w[2] * w[4] - w[1] * w[5], c2 = w[1] * w[4] - w[2] * w[3];
        const double determinant = w[0] * c0 + w[1] * c1 + w[2] * c2;
        if (!(determinant > 0))
            return; // no specimen moves: the statistic is 0
        const double inverse[6] = {
            c0, c1, c2, w[0] * w[5] - w[2] * w[2], w[1] * w[2] - w[0] * w[4], w[0] * w[3] - w[1] * w[1]};
        for (std::size_t k = 0; k < 6; ++k)
            __inverses[6 * p + k] = float(inverse[k] / determinant);
    }

    Rows __values;
    std::vector<float> __inverses; // of the scatters: xx, xy, xz, yy, yz, zz
    float __weight;
    float __degrees;
};

} // namespace

std::unique_ptr<GroupStatistic> newMeanStatistic(std::vector<std::vector<float>> values,
                                                 const std::vector<int>& groupSizes) {
    const char* const where = "newMeanStatistic(vector<vector<float>>, const vector<int>&)";
    const int degrees = degreesWithin(values, groupSizes, where);
    centre(values, where);
    if (groupSizes.size() == 2)
        return std::make_unique<MeanDifference>(std::move(values), groupSizes, degrees);
    return std::make_unique<VarianceRatio>(std::move(values), groupSizes, degrees);
}

std::unique_ptr<GroupStatistic> newDisplacementStatistic(std::vector<std::vector<float>> values,
                                                         const std::vector<int>& groupSizes) {
    const char* const where = "newDisplacementStatistic(vector<vector<float>>, const vector<int>&)";
    if (groupSizes.size() != 2)
        throw UsageError(where, "Displacements are compared between two groups");
    const int degrees = degreesWithin(values, groupSizes, where);
    centre(values, where);
    if (values.front().size() % 3 != 0)
        throw SizeError(where, "A displacement has three components");
    return std::make_unique<Displacement>(std::move(values), groupSizes, degrees);
}

} // namespace vorlen
