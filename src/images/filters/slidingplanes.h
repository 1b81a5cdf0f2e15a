#pragma once

#include <algorithm>
#include <cstddef>
#include <utility>
#include <vector>

#include "images/rasters/pixelmatrix.h"
#include "images/volumes/voxelmatrix.h"

namespace vorlen {

/// Replaces the planes of a volume by what is worked out from the planes around them, without a second volume: planes
/// are taken in batches, and only those that have been replaced, but are still needed, are kept beside the volume.
///
/// A batch begins with the planes' originals moved aside and other memory, of any contents, in their place. Results of
/// the batch go to row(); originals of all planes within reach of the batch are read from original().
///
/// Whoever stops before finish() gets the planes of the present batch back as they were; those of earlier batches are
/// replaced, unless all originals are kept.
template <class T>
class SlidingPlanes {
public:
    /// For results of plane k that need the planes k - reach to k + reach. batch is the number of planes that are
    /// replaced together; with keepAll the originals of all planes stay until the end.
    SlidingPlanes(VoxelMatrix<T>& volume, int reach, int batch, bool keepAll = false)
        : __volume(volume), __reach(std::min(reach, volume.getSize3())), __batch(std::max(batch, 1)) {
        const long long needed = static_cast<long long>(__reach) + __batch;
        const int slots = keepAll ? volume.getSize3() : int(std::min<long long>(needed, volume.getSize3()));
        __kept.reserve(std::size_t(slots));
        for (int slot = 0; slot < slots; ++slot)
            __kept.emplace_back(volume.getSize1(), volume.getSize2());
    }
    ~SlidingPlanes() {
        const bool all = static_cast<int>(__kept.size()) == __volume.getSize3();
        for (int k = all ? __begin : __first; !__finished && k < __last; ++k)
            slot(k).swap(__volume[k]);
    }
    SlidingPlanes(const SlidingPlanes&) = delete;
    SlidingPlanes& operator=(const SlidingPlanes&) = delete;

    /// A batch that costs little memory beside a volume of so many planes: a 32nd of them, at most 16.
    static int thinBatch(int planes) { return std::clamp(planes / 32, 1, 16); }

    /// Calls work(first, last) for the batches of the planes from first to last - 1, as long as it returns true; then
    /// the results stand. False when it did not.
    template <class Work>
    bool replace(int first, int last, Work work) {
        for (int k = first; k < last; k += __batch) {
            begin(k, last - k < __batch ? last : k + __batch);
            if (!work(__first, __last))
                return false;
        }
        __finished = true;
        return true;
    }

    /// Row i of plane k as it was, for planes within reach of the batch.
    const T* original(int i, int k) const {
        return k < __last && k >= __begin ? slot(k)[i].data() : constVolume()[k][i].data();
    }
    /// Row i of plane k of the batch, for the result.
    T* row(int i, int k) { return __volume[k][i].data(); }

private:
    void begin(int first, int last) {
        if (__last == 0)
            __begin = first;
        __first = first;
        for (__last = first; __last < last; ++__last)
            slot(__last).swap(__volume[__last]);
    }
    PixelMatrix<T>& slot(int k) { return __kept[std::size_t(k) % __kept.size()]; }
    const PixelMatrix<T>& slot(int k) const { return __kept[std::size_t(k) % __kept.size()]; }
    const VoxelMatrix<T>& constVolume() const { return __volume; }

    VoxelMatrix<T>& __volume;
    int __reach;
    int __batch;
    int __begin = 0; ///< first plane of the first batch
    int __first = 0;
    int __last = 0;
    bool __finished = false;
    std::vector<PixelMatrix<T>> __kept; ///< originals of the last planes before __last
};

} // namespace vorlen
