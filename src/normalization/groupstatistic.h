#pragma once

#include <cstddef>
#include <memory>
#include <vector>

namespace vorlen {

/// A statistic at each place of a map or a surface that tells groups of specimens apart, for any dealing of the
/// specimens to the groups.
///
/// What no dealing changes is worked out once; evaluate() then costs an addition for each specimen and place. The
/// spread at a place is made larger by the median over all places, so that places where specimens hardly differ do not
/// stand out by chance: V. G. Tusher, R. Tibshirani, G. Chu, PNAS 98, 2001. Values that are not finite count as 0.
/// evaluate() may be called on several threads at once, and gives the same bits however the places are cut.
class GroupStatistic {
public:
    virtual ~GroupStatistic() = default;
    GroupStatistic(const GroupStatistic&) = delete;
    GroupStatistic& operator=(const GroupStatistic&) = delete;

    std::size_t getNumPlaces() const { return __numPlaces; }
    int getNumSpecimens() const { return __numSpecimens; }

    /// Whether the sign tells a direction; else the statistic is 0 or above.
    virtual bool isSigned() const { return false; }
    /// What the statistic is, for people.
    virtual const char* name() const = 0;

    /// The statistic at the places from first to last - 1 under a dealing, the group of each specimen.
    virtual void evaluate(const std::vector<int>& dealing, std::size_t first, std::size_t last, float* out) const = 0;

protected:
    GroupStatistic(int numSpecimens, std::size_t numPlaces) : __numSpecimens(numSpecimens), __numPlaces(numPlaces) {}

private:
    int __numSpecimens;
    std::size_t __numPlaces;
};

/// For one value at each place: values[s][p] of specimen s at place p, sizes of the groups.
///
/// With two groups the difference of the means, second less first, over its standard error with the pooled variance
/// (Student's t, its spread enlarged); with more the ratio of the variance between to that within the groups (F).
/// Throws SizeError when specimens have different numbers of values, UsageError when there is no specimen more than
/// groups.
std::unique_ptr<GroupStatistic> newMeanStatistic(std::vector<std::vector<float>> values,
                                                 const std::vector<int>& groupSizes);

/// For a displacement at each place: values[s][3 p + a], component a. Two groups only.
///
/// Hotelling's T^2: n1 n2 / (n1 + n2) d' S^-1 d, for the difference d of the mean displacements and the pooled
/// covariance S, to which a multiple of the identity is added as told above: H. Hotelling, Annals of Mathematical
/// Statistics 2, 1931. Throws as newMeanStatistic(), and UsageError for another number of groups.
std::unique_ptr<GroupStatistic> newDisplacementStatistic(std::vector<std::vector<float>> values,
                                                         const std::vector<int>& groupSizes);

} // namespace vorlen
