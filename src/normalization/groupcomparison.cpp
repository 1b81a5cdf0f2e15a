#include "normalization/groupcomparison.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "images/volumes/voxelmatrix.h"
#include "normalization/relabelling.h"
#include "numerics/exception.h"
#include "reconstruction/marchingcubes.h"

namespace vorlen {

GroupComparison::GroupComparison(ComparisonSettings settings) : __settings(std::move(settings)) {
}

GroupComparison::~GroupComparison() = default;

bool GroupComparison::prepare() {
    const SpecimenList& specimens = __settings.specimens;
    // Groups that cannot be compared are told before maps are made.
    __dealings = std::make_unique<Relabelling>(specimens.groups, __settings.permutations, __settings.seed);
    if (__settings.forms && __settings.clusterThreshold > 0)
        throw UsageError("bool GroupComparison::prepare()", "Clusters are looked for in maps alone");
    __values = readValues(specimens, __settings.forms, __settings.mapping, *this);
    if (isCanceled())
        return false;
    const std::vector<int> sizes = specimens.groupSizes();
    __statistic =
        __values.isForm ? newDisplacementStatistic(__values.values, sizes) : newMeanStatistic(__values.values, sizes);
    __test = std::make_unique<PermutationTest>(*__statistic, *__dealings);
    if (__settings.clusterThreshold > 0)
        __test->findClusters(__settings.clusterThreshold, __values.lattice->getSize(0), __values.lattice->getSize(1),
                             __values.lattice->getSize(2));
    __test->addMonitor(*this);
    return !isCanceled();
}

std::uint64_t GroupComparison::numPermutations() const {
    return __dealings->getNumber();
}

PermutationMaxima GroupComparison::maxima(std::uint64_t first, std::uint64_t count) {
    return __test->maxima(first, count);
}

void GroupComparison::conclude(std::vector<PermutationMaxima> stretches) {
    __result = __test->conclude(std::move(stretches), __settings.alpha);
}

bool GroupComparison::run() {
    if (!__test && !prepare())
        return false;
    notifyProgressed("Permuting the specimens...");
    std::vector<PermutationMaxima> all;
    all.push_back(maxima(0, numPermutations()));
    if (isCanceled())
        return false;
    conclude(std::move(all));
    return true;
}

std::size_t GroupComparison::numSignificant() const {
    return std::size_t(std::count_if(
        __result.p.begin(), __result.p.end(), [this](float p) { return double(p) <= __settings.alpha; }));
}

std::vector<float> GroupComparison::meanDifferences() const {
    const std::vector<int> sizes = __settings.specimens.groupSizes();
    if (sizes.size() != 2 || __values.values.empty())
        return {};
    std::vector<float> differences(__values.values.front().size());
    for (std::size_t p = 0; p < differences.size(); ++p) {
        double sums[2] = {};
        for (std::size_t s = 0; s < __values.values.size(); ++s)
            sums[__settings.specimens.groups[s]] += double(__values.values[s][p]);
        differences[p] = float(sums[1] / sizes[1] - sums[0] / sizes[0]);
    }
    return differences;
}

std::array<double, 3> GroupComparison::placeOf(std::size_t number) const {
    const MapLattice<float>& lattice = *__values.lattice;
    const auto rows = std::size_t(lattice.getSize(0)), columns = std::size_t(lattice.getSize(1));
    return {double(lattice.position(0, int(number / columns % rows))),
            double(lattice.position(1, int(number % columns))),
            double(lattice.position(2, int(number / (columns * rows))))};
}

VoxelMatrix<float> GroupComparison::mapOf(const std::vector<float>& values) const {
    VoxelMatrix<float> map;
    map.setSize(__values.lattice->getSize());
    std::size_t place = 0;
    for (int k = 0; k < map.getSize3(); ++k)
        for (int i = 0; i < map.getSize1(); ++i)
            for (int j = 0; j < map.getSize2(); ++j)
                map(i, j, k) = values[place++];
    return map;
}

std::optional<TriMesh<float>> GroupComparison::significantSurface(int sign) const {
    if (!__values.lattice || numSignificant() == 0 || !std::isfinite(__result.critical))
        return std::nullopt;
    std::vector<float> sizes(__result.statistic.size());
    std::transform(__result.statistic.begin(), __result.statistic.end(), sizes.begin(),
                   [sign](float value) { return sign == 0 ? std::abs(value) : float(sign) * value; });
    MarchingCubes<float> cubes;
    TriMesh<float> surface = cubes.buildMesh(mapOf(sizes), __result.critical, true);
    if (surface.getNumVertices() == 0)
        return std::nullopt;
    __values.lattice->toCoordinates(surface);
    return surface;
}

// The thread that works passes it on to what it waits for.
void GroupComparison::cancel() {
    ProgressSubject::cancel(); // NOLINT(bugprone-parent-virtual-call)
}

void GroupComparison::subjectProgressed(unsigned int current, unsigned int total) {
    if (isCanceled() && currentSubject() != nullptr)
        currentSubject()->cancel();
    ProgressProxy::subjectProgressed(current, total);
}

} // namespace vorlen
