#pragma once

#include <functional>
#include <stop_token>
#include <string>

#include "images/sections/levelstore.h"

namespace vorlen {

class Image;

/// Makes the reduced images of a large picture: each of half the width and height of the one before, rounded up, down
/// to one of at most smallestSide pixels. A pixel is the mean of the two by two that it stands for, of as many as there
/// are at the right and lower end; a NaN doesn't count among others.
///
/// Where parts of the picture can be read, its first reduced image is made of its own level with that number;
/// otherwise the whole is read once from its first to its last row, and kept in full size as the first level.
/// Memory goes with a band of 512 rows of the picture, and is bounded by a band's part of 64 MiB where the file has
/// tiles. It takes the time of reading all pixels once, and half as much for writing: this is for a thread of its own.
class LevelBuilder {
public:
    static constexpr int smallestSide = 1024;
    static constexpr int tileSide = 256;

    /// Page and channel as ImageReader counts them.
    LevelBuilder(const std::string& filename, int page, int channel, int level, const LevelStore& store);

    /// False when a stop was asked for: nothing is kept then. Progress is a fraction from 0 to 1, told on this thread.
    /// Throws as ImageFile::read(), and FileWriteError where the levels can't be kept or take more than the store's
    /// limit.
    bool build(const std::stop_token& stop, const std::function<void(double)>& progress = {});

    /// An image of half the width and height, rounded up. The image must be plain.
    static Image halved(const Image& image);

private:
    class Run;

    std::string __filename;
    int __page, __channel, __level;
    LevelStore __store;
};

} // namespace vorlen
