#include "images/regions/componentlabelling.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>
#include <vector>

#include "images/filters/parallelwork.h"
#include "images/rasters/pixelmatrix.h"
#include "images/volumes/voxelmatrix.h"
#include "numerics/exception.h"
#include "numerics/widevectors.h"

namespace vorlen {

namespace {

using Word = std::uint64_t;
constexpr int wordLength = 64;

const char* const where = "void ComponentLabelling<T>::apply(...)";

// Eight bytes of 0 or 1 as the bits of a number, the first byte the lowest bit.
Word gatherBits(const unsigned char* flags) {
    static_assert(std::endian::native == std::endian::little);
    Word bytes;
    std::memcpy(&bytes, flags, sizeof bytes);
    return bytes * 0x0102040810204080U >> 56;
}

// Bit j of the words tells whether element j is not 0; bits behind the row are 0.
template <class T>
void markForeground(const Vector<T>& row, Word* words) {
    const T* const values = row.data();
    const int columns = row.getSize();
    for (int first = 0; first < columns; first += wordLength) {
        unsigned char flags[wordLength] = {};
        if (columns - first >= wordLength)
            for (int j = 0; j < wordLength; ++j)
                flags[j] = values[first + j] != T(0);
        else
            for (int j = 0; j < columns - first; ++j)
                flags[j] = values[first + j] != T(0);
        Word word = 0;
        for (int part = 0; part < wordLength; part += 8)
            word |= gatherBits(flags + part) << part;
        *words++ = word;
    }
}

// The runs of foreground that begin in a word, by their first bits; before is the word to the left.
Word runStarts(Word word, Word before) {
    return word & ~(word << 1 | before >> (wordLength - 1));
}

VORLEN_WIDE int countRuns(const Word* words, int numWords) {
    int count = 0;
    Word before = 0;
    for (int w = 0; w < numWords; before = words[w++])
        count += std::popcount(runStarts(words[w], before));
    return count;
}

// Of each run one of the same region, never a later one; a root holds itself.
class Equivalence {
public:
    void append(int runs) {
        const std::size_t needed = static_cast<std::size_t>(__size) + static_cast<std::size_t>(runs);
        if (needed > static_cast<std::size_t>(std::numeric_limits<int>::max()))
            throw RangeError(where, "There are too many runs of elements");
        if (needed > __runs.size())
            __runs.resize(std::max(needed, 2 * __runs.size()));
        for (; __size < static_cast<int>(needed); ++__size)
            __runs[static_cast<std::size_t>(__size)] = __size;
    }

    int size() const { return __size; }
    int operator[](int run) const { return __runs[static_cast<std::size_t>(run)]; }

    void join(int a, int b) {
        int* const runs = __runs.data();
        a = root(runs, a);
        b = root(runs, b);
        runs[std::max(a, b)] = std::min(a, b);
    }

    /// Replaces the entries by numbers of regions, from 1 in the order of their first runs; returns how many.
    int resolve() {
        int* const runs = __runs.data();
        int labels = 0;
        for (int r = 0; r < __size; ++r)
            runs[r] = runs[r] == r ? ++labels : runs[runs[r]];
        return labels;
    }

private:
    static int root(int* runs, int r) {
        while (runs[r] != r) {
            runs[r] = runs[runs[r]]; // halves the way for the next time
            r = runs[r];
        }
        return r;
    }

    std::vector<int> __runs;
    int __size = 0;
};

// Joins the runs of two rows that have columns in common. The columns in common form runs themselves, each of which
// lies in one run of either row: that with the number of starts up to there.
VORLEN_WIDE void joinRows(const Word* row, int firstRun, const Word* neighbour, int firstNeighbourRun, int numWords,
                          Equivalence& equivalence) {
    Word before = 0, neighbourBefore = 0;
    int runs = firstRun - 1, neighbourRuns = firstNeighbourRun - 1;
    for (int w = 0; w < numWords; ++w) {
        const Word starts = runStarts(row[w], before);
        const Word neighbourStarts = runStarts(neighbour[w], neighbourBefore);
        Word common = runStarts(row[w] & neighbour[w], before & neighbourBefore);
        for (; common != 0; common &= common - 1) {
            const Word upToHere = common ^ (common - 1);
            equivalence.join(runs + std::popcount(starts & upToHere),
                             neighbourRuns + std::popcount(neighbourStarts & upToHere));
        }
        runs += std::popcount(starts);
        neighbourRuns += std::popcount(neighbourStarts);
        before = row[w];
        neighbourBefore = neighbour[w];
    }
}

// Rows of equal length: which elements are foreground, a bit for each, and the numbers of runs. Rows are marked in any
// order, also several at once, and then numbered one after the other.
class RunTable {
public:
    RunTable(std::size_t rows, int columns)
        : __numWords((columns + wordLength - 1) / wordLength), __words(rows * static_cast<std::size_t>(__numWords)),
          __firstRuns(rows, unnumbered), __counts(rows) {}

    template <class T>
    void mark(std::size_t n, const Vector<T>& row) {
        markForeground(row, __wordsOf(n));
        __counts[n] = countRuns(__wordsOf(n), __numWords);
    }

    void number(std::size_t n) {
        __firstRuns[n] = __equivalence.size();
        __equivalence.append(__counts[n]);
    }

    /// Both rows have been numbered.
    void connect(std::size_t n, std::size_t neighbour) {
        joinRows(__wordsOf(n), __firstRuns[n], __wordsOf(neighbour), __firstRuns[neighbour], __numWords, __equivalence);
    }

    int resolve() { return __equivalence.resolve(); }

    /// After resolve(). Leaves a row alone that has not been numbered.
    template <class T>
    void write(std::size_t n, Vector<T>& row) const {
        if (__firstRuns[n] == unnumbered)
            return;
        const Word* const words = __words.data() + n * static_cast<std::size_t>(__numWords);
        int run = __firstRuns[n] - 1;
        Word before = 0;
        for (int w = 0; w < __numWords; ++w) {
            const Word starts = runStarts(words[w], before);
            for (Word rest = words[w]; rest != 0;) {
                const int first = std::countr_zero(rest);
                run += static_cast<int>(starts >> first & 1);
                T* const values = row.data() + w * wordLength + first;
                std::fill_n(values, std::countr_one(rest >> first), static_cast<T>(__equivalence[run]));
                rest &= rest + (Word(1) << first); // carries through the ones of the run
            }
            before = words[w];
        }
    }

private:
    Word* __wordsOf(std::size_t n) { return __words.data() + n * static_cast<std::size_t>(__numWords); }

    static constexpr int unnumbered = -1;

    int __numWords;
    std::vector<Word> __words;
    std::vector<int> __firstRuns;
    std::vector<int> __counts;
    Equivalence __equivalence;
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

// A subject that nobody cancels.
class Uncancelled : public ProgressSubject {};

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
    RunTable table(static_cast<std::size_t>(rows), matrix.getSize2());
    for (int i = 0; i < rows; ++i) {
        const auto n = static_cast<std::size_t>(i);
        table.mark(n, matrix[i]);
        table.number(n);
        if (i > 0)
            table.connect(n, n - 1);
    }
    __labels = resolve<T>(table);
    for (int i = 0; i < rows; ++i)
        table.write(static_cast<std::size_t>(i), matrix[i]);
    this->notifyFinished("");
}

template <class T>
void ComponentLabelling<T>::apply(VoxelMatrix<T>& volume) {
    const int rows = volume.getSize1();
    const int planes = volume.getSize3();
    const auto height = static_cast<std::size_t>(rows);
    this->notifyStarted("");
    RunTable table(height * static_cast<std::size_t>(planes), volume.getSize2());
    const auto place = [height](int i, int k) {
        return static_cast<std::size_t>(k) * height + static_cast<std::size_t>(i);
    };
    // To mark rows and to write numbers is most of the work, and goes on all threads.
    ParallelWork work(*this, static_cast<unsigned long long>(planes));
    bool canceled = !work.run(planes, 0, [&](int k, int) {
        for (int i = 0; i < rows && !work.isCanceled(); ++i)
            table.mark(place(i, k), volume[k][i]);
    });
    const auto scanRow = [&](int i, int k) {
        const std::size_t n = place(i, k);
        table.number(n);
        if (i > 0)
            table.connect(n, n - 1);
        if (k > 0)
            table.connect(n, n - height);
    };
    for (int k = 0; k < planes && !canceled; ++k) {
        for (int i = k == 0 ? 0 : 1; i < rows; ++i)
            scanRow(i, k);
        this->notifyProgressed(static_cast<unsigned int>(k) + 1, static_cast<unsigned int>(planes));
        canceled = this->isCanceled();
        for (int later = 1; k == 0 && !canceled && rows > 0 && later < planes; ++later)
            scanRow(0, later);
    }
    __labels = resolve<T>(table);
    const auto writePlane = [&](int k, int) {
        for (int i = 0; i < rows; ++i)
            table.write(place(i, k), volume[k][i]);
    };
    // From here on a cancel comes too late: all of the volume gets its numbers, or else none of it would be of use.
    Uncancelled writing;
    ParallelWork(writing, 0).run(planes, 0, writePlane);
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

} // namespace vorlen
