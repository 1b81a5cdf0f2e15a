#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <tuple>
#include <vector>

#include <QRect>

#include "images/rasters/greyscale.h"

namespace vorlen {

class Image;

/// The pixels of images as textures on one OpenGL context: they go there once, and a paint at another place or zoom
/// moves none.
///
/// An image is cut into tiles of at most tileSide columns and rows, of which those that are looked at become textures,
/// so that there is no limit to the size of an image. Values become bytes of the screen on the way (grey scale,
/// contrast, colours of indices); only another look makes the tiles anew. Where a pixel of the screen is larger than so
/// many pixels of the image, only every n-th of these is taken.
///
/// Nothing but OpenGL 1.2 and textures of any size are needed: no shader, no mipmaps. Texels are never mixed, as a user
/// who outlines pixels wants to see them; the smaller images of an image stand for its mipmaps.
///
/// Sending takes time, so that of shared images, which lie over others, only so many tiles are sent in a frame as it
/// has time for; isBehind() tells that another frame is needed for the rest.
///
/// Textures longest out of view go as soon as all together are larger than the budget, never those of the present
/// frame. Images that are shared are known by their owners, so that another one at the address of one that is gone is
/// not taken for it; for the others forgetImages() tells.
///
/// All operations but forgetImages() and the look at numbers need the context current, always the same until clear().
class ImageTextures {
public:
    /// How values become bytes of the screen.
    struct Look {
        bool operator==(const Look& other) const = default;

        GreyScale scale; ///< of images with 16 bits and of real numbers
        float black = 0; ///< of the other ones without colours of their own, as fractions of the range
        float white = 1;
    };

    /// Every so many-th column and row, from the middle of the first ones on.
    struct Steps {
        auto operator<=>(const Steps& other) const = default;

        int columns = 1;
        int rows = 1;
    };

    /// A position in the coordinates of the current matrices for a column or row of texels, counted in steps.
    using Place = std::function<double(int)>;

    static constexpr int tileSide = 512;
    static constexpr int sendingTime = 15;                              ///< milliseconds of a frame
    static constexpr int leastSent = 4;                                 ///< tiles of a frame, whatever they take
    static constexpr std::size_t defaultBudget = std::size_t(64) << 20; // bytes

    explicit ImageTextures(std::size_t budget = defaultBudget) : __budget(budget) {}
    ImageTextures(const ImageTextures&) = delete;
    ImageTextures& operator=(const ImageTextures&) = delete;

    /// Number of texels of so many pixels.
    static int numSteps(int size, int step) { return (size + step - 1) / step; }

    /// Before the images of a paint are drawn.
    void beginFrame();

    /// Draws a rectangle of texels, counted in steps. The owner is null for images that are not shared. False where a
    /// part was left out: the frame has no time for it, see isBehind(), or the graphics system no memory.
    bool draw(const Image& image, const std::shared_ptr<const Image>& owner, const Look& look, const Steps& steps,
              const QRect& texels, const Place& across, const Place& down);

    /// Afterwards: lets go what is beyond the budget.
    void endFrame();

    /// Whether tiles of shared images were left out of the frame for want of time.
    bool isBehind() const { return __isBehind; }

    /// Images without owners are others from here on.
    void forgetImages() { ++__generation; }

    /// Lets go all.
    void clear();

    /// Bytes of all textures.
    std::size_t getNumBytes() const { return __bytes; }
    /// How often a tile has been sent to the graphics system; for tests and measurements.
    std::uint64_t getNumUploads() const { return __numUploads; }

private:
    using Key = std::tuple<const Image*, Steps, int, int>; // of the tile: row, column

    struct Tile {
        unsigned int texture = 0;
        std::weak_ptr<const Image> owner;
        std::uint64_t generation = 0; // of images without owners
        std::uint64_t frame = 0;      // that has used it last
        Look look;
        std::size_t bytes = 0;
    };

    const Tile* tileOf(const Image& image, const std::shared_ptr<const Image>& owner, const Look& look,
                       const Steps& steps, int row, int column);
    static Tile newTile();
    bool upload(const Image& image, const Look& look, const Steps& steps, const QRect& texels);
    const unsigned char* bytesOf(const Image& image, const Look& look, const Steps& steps, const QRect& texels);
    void makeTables(const Look& look);
    void remove(std::map<Key, Tile>::iterator tile);

    std::size_t __budget;
    std::map<Key, Tile> __tiles;
    std::size_t __bytes = 0;
    std::uint64_t __generation = 0;
    std::uint64_t __frame = 0;
    std::uint64_t __numUploads = 0;
    std::uint64_t __numBefore = 0;                   // uploads before this frame
    std::chrono::steady_clock::duration __sending{}; // of this frame
    bool __isBehind = false;
    int __side = 0;                         // of tiles, as the context allows; 0 before the first one
    Look __tableLook;                       // of the tables
    std::vector<unsigned char> __byteTable; // what bytes are shown as
    std::vector<unsigned char> __wordTable; // what values of 16 bits are shown as; empty until one is
    std::vector<unsigned char> __scratch;
};

} // namespace vorlen
