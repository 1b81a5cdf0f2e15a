#include "images/componentlabelling.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <type_traits>
#include <vector>

#include "images/pixelmatrix.h"
#include "images/voxelmatrix.h"
#include "numerics/exception.h"

namespace {

const char* const where = "void ComponentLabelling<T>::apply(...)";

// Elements first to end - 1 of a row, none of which is 0.
struct Run {
    int first;
    int end;
};

// Runs of one row: their numbers from begin to end - 1.
struct RowRuns {
    int begin = 0;
    int end = 0;
};

class RunTable {
public:
    /// Appends the runs of a row.
    template <class T>
    RowRuns scan(const Vector<T>& row) {
        const T* const values = row.data();
        const int columns = row.getSize();
        __makeRoom(columns / 2 + 1);
        const int begin = __count;
        Run* run = __runs.data() + begin;
        int j = 0;
        while (true) {
            while (j < columns && values[j] == T(0))
                ++j;
            if (j == columns)
                break;
            run->first = j;
            while (j < columns && values[j] != T(0))
                ++j;
            run->end = j;
            ++run;
        }
        __count = static_cast<int>(run - __runs.data());
        for (int r = begin; r < __count; ++r)
            __equivalence[static_cast<std::size_t>(r)] = r;
        return {begin, __count};
    }

    /// Joins the runs of two rows that have columns in common.
    void connect(const RowRuns& row, const RowRuns& neighbour) {
        const Run* const runs = __runs.data();
        int a = row.begin, b = neighbour.begin;
        while (a < row.end && b < neighbour.end) {
            if (runs[a].first < runs[b].end && runs[b].first < runs[a].end)
                __join(a, b);
            if (runs[a].end < runs[b].end)
                ++a;
            else
                ++b;
        }
    }

    /// Replaces the joined runs by numbers of regions, from 1 in the order of their first runs; returns their number.
    int resolve() {
        int* const equivalence = __equivalence.data();
        int labels = 0;
        for (int r = 0; r < __count; ++r)
            equivalence[r] = equivalence[r] == r ? ++labels : equivalence[equivalence[r]];
        return labels;
    }

    /// After resolve().
    template <class T>
    void write(const RowRuns& numbers, Vector<T>& row) const {
        T* const values = row.data();
        for (int r = numbers.begin; r < numbers.end; ++r) {
            const Run& run = __runs[static_cast<std::size_t>(r)];
            std::fill(values + run.first, values + run.end, static_cast<T>(__equivalence[static_cast<std::size_t>(r)]));
        }
    }

private:
    void __makeRoom(int runs) {
        const std::size_t needed = static_cast<std::size_t>(__count) + static_cast<std::size_t>(runs);
        if (needed > static_cast<std::size_t>(std::numeric_limits<int>::max()))
            throw RangeError(where, "There are too many runs of elements");
        if (needed > __runs.size()) {
            const std::size_t size = std::max(needed, 2 * __runs.size());
            __runs.resize(size);
            __equivalence.resize(size);
        }
    }

    int __root(int r) {
        int* const equivalence = __equivalence.data();
        while (equivalence[r] != r) {
            equivalence[r] = equivalence[equivalence[r]]; // halves the way for the next time
            r = equivalence[r];
        }
        return r;
    }

    void __join(int a, int b) {
        a = __root(a);
        b = __root(b);
        __equivalence[static_cast<std::size_t>(std::max(a, b))] = std::min(a, b);
    }

    std::vector<Run> __runs;
    std::vector<int> __equivalence; // of each run one of the same region, never a later one; a root holds itself
    int __count = 0;
};

// The largest number up to which T holds all integers.
template <class T>
constexpr int largestLabel() {
    if constexpr (std::is_integral_v<T>)
        return static_cast<int>(std::min<long long>(std::numeric_limits<T>::max(), std::numeric_limits<int>::max()));
    else
        return std::numeric_limits<T>::digits < 31 ? 1 << std::min(std::numeric_limits<T>::digits, 30)
                                                   : std::numeric_limits<int>::max();
}

template <class T>
int resolve(RunTable& table) {
    const int labels = table.resolve();
    if (labels > largestLabel<T>())
        throw RangeError(where, "There are more regions than the elements can number");
    return labels;
}

} // namespace

template <class T>
ComponentLabelling<T>::~ComponentLabelling() = default;

template <class T>
void ComponentLabelling<T>::apply(PixelMatrix<T>& matrix) {
    const int rows = matrix.getSize1();
    this->notifyStarted("");
    RunTable table;
    std::vector<RowRuns> runs(static_cast<std::size_t>(rows));
    for (std::size_t i = 0; i < runs.size(); ++i) {
        runs[i] = table.scan(matrix[static_cast<int>(i)]);
        if (i > 0)
            table.connect(runs[i], runs[i - 1]);
    }
    __labels = resolve<T>(table);
    for (std::size_t i = 0; i < runs.size(); ++i)
        table.write(runs[i], matrix[static_cast<int>(i)]);
    this->notifyFinished("");
}

template <class T>
void ComponentLabelling<T>::apply(VoxelMatrix<T>& volume) {
    const int rows = volume.getSize1();
    const int planes = volume.getSize3();
    const auto total = static_cast<unsigned int>(planes);
    this->notifyStarted("");
    RunTable table;
    // A row that has not been scanned has no runs.
    std::vector<std::vector<RowRuns>> runs(static_cast<std::size_t>(planes),
                                           std::vector<RowRuns>(static_cast<std::size_t>(rows)));
    const auto scanRow = [&](int i, int k) {
        RowRuns& row = runs[k][i];
        row = table.scan(volume[k][i]);
        if (i > 0)
            table.connect(row, runs[k][i - 1]);
        if (k > 0)
            table.connect(row, runs[k - 1][i]);
    };
    bool canceled = false;
    for (int k = 0; k < planes && !canceled; ++k) {
        for (int i = k == 0 ? 0 : 1; i < rows; ++i)
            scanRow(i, k);
        this->notifyProgressed(static_cast<unsigned int>(k) + 1, total);
        canceled = this->isCanceled();
        for (int later = 1; k == 0 && !canceled && rows > 0 && later < planes; ++later)
            scanRow(0, later);
    }
    __labels = resolve<T>(table);
    for (int k = 0; k < planes; ++k)
        for (int i = 0; i < rows; ++i)
            table.write(runs[k][i], volume[k][i]);
    if (!canceled)
        this->notifyFinished("");
}

template class ComponentLabelling<short>;
template class ComponentLabelling<unsigned short>;
template class ComponentLabelling<int>;
template class ComponentLabelling<unsigned int>;
template class ComponentLabelling<float>;
template class ComponentLabelling<double>;
template class ComponentLabelling<long double>;
