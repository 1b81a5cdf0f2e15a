#include "ui/slices/imagetextures.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

#include <QOpenGLContext>
#include <QOpenGLFunctions>

#include "images/rasters/image.h"

namespace vorlen {

namespace {

/// Whether the colours of its indices are to be looked up.
bool hasColors(const Image& image) {
    return image.isIndexed() && !image.getColormap()->isIdentity();
}

/// Bytes of a texel as it is sent.
int numTexelBytes(const Image& image) {
    return hasColors(image) ? 3 : hasGreyScale(image) ? 1 : image.bytesPerPixel();
}

/// What the byte is shown as, as a fraction of the range that is white beyond.
unsigned char stretched(int byte, float black, float white) {
    const float range = std::max(white - black, 1e-4f);
    return static_cast<unsigned char>(std::clamp((float(byte) / 255 - black) / range, 0.0f, 1.0f) * 255 + 0.5f);
}

/// Calls the work with each pixel of a rectangle of texels, row by row.
template <class Work>
void forEachPixel(const Image& image, const ImageTextures::Steps& steps, const QRect& texels, Work&& work) {
    const auto size = static_cast<std::size_t>(image.bytesPerPixel());
    for (int i = 0; i < texels.height(); ++i) {
        const int row = std::min((texels.y() + i) * steps.rows + steps.rows / 2, image.getHeight() - 1);
        const unsigned char* const from = image.getPixels()[row];
        for (int j = 0; j < texels.width(); ++j) {
            const int column = std::min((texels.x() + j) * steps.columns + steps.columns / 2, image.getWidth() - 1);
            work(from + size * static_cast<std::size_t>(column));
        }
    }
}

/// What there is of a look for this image, so that another one is not taken for a change of it.
ImageTextures::Look lookFor(const Image& image, const ImageTextures::Look& look) {
    ImageTextures::Look own;
    if (hasGreyScale(image)) {
        own.scale = look.scale;
    } else if (!hasColors(image)) {
        own.black = look.black;
        own.white = look.white;
    }
    return own;
}

/// The memory that this takes on most systems: three bytes become four.
std::size_t textureBytes(const Image& image, const QRect& texels) {
    const std::size_t size = numTexelBytes(image) == 1 ? 1 : 4;
    return size * static_cast<std::size_t>(texels.width()) * static_cast<std::size_t>(texels.height());
}

} // namespace

void ImageTextures::beginFrame() {
    ++__frame;
    __numBefore = __numUploads;
    __sending = {};
    __isBehind = false;
    if (__side > 0)
        return;
    GLint most = 0;
    glGetIntegerv(GL_MAX_TEXTURE_SIZE, &most);
    __side = std::clamp(int(most), 64, tileSide);
}

bool ImageTextures::draw(const Image& image, const std::shared_ptr<const Image>& owner, const Look& look,
                         const Steps& steps, const QRect& texels, const Place& across, const Place& down) {
    const int width = numSteps(image.getWidth(), steps.columns), height = numSteps(image.getHeight(), steps.rows);
    const QRect seen = texels & QRect(0, 0, width, height);
    if (seen.isEmpty())
        return true;
    QOpenGLContext::currentContext()->functions()->glActiveTexture(GL_TEXTURE0);
    glEnable(GL_TEXTURE_2D);
    glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_REPLACE);
    glColor4f(1, 1, 1, 1); // textures have no alpha
    const Look own = lookFor(image, look);
    bool all = true;
    for (int row = seen.top() / __side; row <= seen.bottom() / __side; ++row)
        for (int column = seen.left() / __side; column <= seen.right() / __side; ++column) {
            const Tile* const tile = tileOf(image, owner, own, steps, row, column);
            if (tile == nullptr) {
                all = false;
                continue;
            }
            const QRect whole = QRect(column * __side, row * __side, __side, __side) & QRect(0, 0, width, height);
            const QRect part = whole & seen;
            const int right = part.x() + part.width(), bottom = part.y() + part.height();
            const double s[] = {double(part.x() - whole.x()) / whole.width(),
                                double(right - whole.x()) / whole.width()};
            const double t[] = {double(part.y() - whole.y()) / whole.height(),
                                double(bottom - whole.y()) / whole.height()};
            const double x[] = {across(part.x()), across(right)}, y[] = {down(part.y()), down(bottom)};
            glBindTexture(GL_TEXTURE_2D, tile->texture);
            glBegin(GL_QUADS);
            for (const auto& [i, j] : {std::pair(0, 0), std::pair(0, 1), std::pair(1, 1), std::pair(1, 0)}) {
                glTexCoord2d(s[i], t[j]);
                glVertex2d(x[i], y[j]);
            }
            glEnd();
        }
    glBindTexture(GL_TEXTURE_2D, 0);
    glDisable(GL_TEXTURE_2D);
    return all;
}

/// Null where it can't be sent, or not in this frame.
const ImageTextures::Tile* ImageTextures::tileOf(const Image& image, const std::shared_ptr<const Image>& owner,
                                                 const Look& look, const Steps& steps, int row, int column) {
    const Key key(&image, steps, row, column);
    auto found = __tiles.find(key);
    if (found != __tiles.end()) {
        Tile& tile = found->second;
        tile.frame = __frame;
        const bool isSame = !tile.owner.owner_before(owner) && !owner.owner_before(tile.owner) &&
                            (owner != nullptr || tile.generation == __generation);
        if (isSame && tile.look == look)
            return &tile;
    }
    if (owner != nullptr && __sending > std::chrono::milliseconds(sendingTime) &&
        __numUploads >= __numBefore + std::uint64_t(leastSent)) {
        __isBehind = true;
        return nullptr;
    }
    const auto start = std::chrono::steady_clock::now();
    if (found == __tiles.end())
        found = __tiles.emplace(key, newTile()).first;
    Tile& tile = found->second;
    tile.frame = __frame;
    tile.owner = owner;
    tile.generation = __generation;
    tile.look = look;
    const QRect texels =
        QRect(column * __side, row * __side, __side, __side) &
        QRect(0, 0, numSteps(image.getWidth(), steps.columns), numSteps(image.getHeight(), steps.rows));
    __bytes -= tile.bytes;
    tile.bytes = textureBytes(image, texels);
    __bytes += tile.bytes;
    glBindTexture(GL_TEXTURE_2D, tile.texture);
    const bool sent = upload(image, look, steps, texels);
    __sending += std::chrono::steady_clock::now() - start;
    if (sent)
        return &tile;
    remove(found);
    return nullptr;
}

ImageTextures::Tile ImageTextures::newTile() {
    Tile tile;
    glGenTextures(1, &tile.texture);
    glBindTexture(GL_TEXTURE_2D, tile.texture);
    for (const GLenum filter : {GL_TEXTURE_MIN_FILTER, GL_TEXTURE_MAG_FILTER})
        glTexParameteri(GL_TEXTURE_2D, filter, GL_NEAREST);
    for (const GLenum wrap : {GL_TEXTURE_WRAP_S, GL_TEXTURE_WRAP_T})
        glTexParameteri(GL_TEXTURE_2D, wrap, GL_CLAMP_TO_EDGE);
    return tile;
}

bool ImageTextures::upload(const Image& image, const Look& look, const Steps& steps, const QRect& texels) {
    const unsigned char* const bytes = bytesOf(image, look, steps, texels);
    const bool isDirect = bytes != __scratch.data();
    const int size = numTexelBytes(image);
    glPushClientAttrib(GL_CLIENT_PIXEL_STORE_BIT);
    glPixelStorei(GL_UNPACK_SWAP_BYTES, GL_FALSE);
    glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    glPixelStorei(GL_UNPACK_ROW_LENGTH, isDirect ? image.getWidth() : 0);
    glPixelStorei(GL_UNPACK_SKIP_PIXELS, 0);
    glPixelStorei(GL_UNPACK_SKIP_ROWS, 0);
    glTexImage2D(GL_TEXTURE_2D, 0, size == 1 ? GL_LUMINANCE8 : GL_RGB8, texels.width(), texels.height(), 0,
                 size == 1   ? GL_LUMINANCE
                 : size == 3 ? GL_RGB
                             : GL_RGBA,
                 GL_UNSIGNED_BYTE, bytes);
    glPopClientAttrib();
    ++__numUploads;
    return glGetError() != GL_OUT_OF_MEMORY;
}

/// The texels one after the other in the scratch memory; or where they lie in the image, where they are as they are
/// shown.
const unsigned char* ImageTextures::bytesOf(const Image& image, const Look& look, const Steps& steps,
                                            const QRect& texels) {
    const bool throughScale = hasGreyScale(image);
    const bool isPlain = !throughScale && !hasColors(image);
    const auto size = static_cast<std::size_t>(numTexelBytes(image));
    if (isPlain && steps == Steps() && look.black == 0 && look.white == 1)
        return image.getPixels()[texels.y()] + size * static_cast<std::size_t>(texels.x());
    makeTables(look);
    __scratch.resize(size * static_cast<std::size_t>(texels.width()) * static_cast<std::size_t>(texels.height()));
    unsigned char* to = __scratch.data();
    if (isPlain) {
        forEachPixel(
            image, steps, texels,
            [&](const unsigned char* pixel) {
                for (std::size_t k = 0; k < size; ++k)
                    *to++ = __byteTable[pixel[k]];
            });
    } else if (!throughScale) {
        const Colormap& colormap = *image.getColormap();
        const unsigned char* const tables[] = {colormap.getRed(), colormap.getGreen(), colormap.getBlue()};
        const int numColors = std::min(colormap.getSize(), 256);
        forEachPixel(image, steps, texels, [&](const unsigned char* pixel) {
            for (const unsigned char* const table : tables)
                *to++ = *pixel < numColors ? table[*pixel] : static_cast<unsigned char>(0);
        });
    } else if (image.isReal()) {
        forEachPixel(
            image, steps, texels,
            [&](const unsigned char* pixel) {
                float value = 0;
                std::memcpy(&value, pixel, 4);
                *to++ = look.scale.shown(value);
            });
    } else {
        if (__wordTable.empty()) {
            __wordTable.resize(65536);
            for (std::size_t i = 0; i < __wordTable.size(); ++i)
                __wordTable[i] = look.scale.shown(float(i));
        }
        forEachPixel(image, steps, texels, [&](const unsigned char* pixel) {
            unsigned short word = 0;
            std::memcpy(&word, pixel, 2);
            *to++ = __wordTable[word];
        });
    }
    return __scratch.data();
}

void ImageTextures::makeTables(const Look& look) {
    if (!__byteTable.empty() && look == __tableLook)
        return;
    __tableLook = look;
    __wordTable.clear();
    __byteTable.resize(256);
    for (int i = 0; i < 256; ++i)
        __byteTable[static_cast<std::size_t>(i)] = stretched(i, look.black, look.white);
}

void ImageTextures::endFrame() {
    std::vector<std::map<Key, Tile>::iterator> old;
    old.reserve(__tiles.size());
    for (auto tile = __tiles.begin(); tile != __tiles.end(); ++tile)
        if (tile->second.frame != __frame)
            old.push_back(tile);
    std::ranges::stable_sort(old, {}, [](const auto& tile) { return tile->second.frame; });
    for (const auto& tile : old) {
        const bool isStale = tile->second.generation != __generation && tile->second.owner.expired();
        if (isStale || __bytes > __budget)
            remove(tile);
    }
}

void ImageTextures::remove(std::map<Key, Tile>::iterator tile) {
    __bytes -= tile->second.bytes;
    glDeleteTextures(1, &tile->second.texture);
    __tiles.erase(tile);
}

void ImageTextures::clear() {
    while (!__tiles.empty())
        remove(__tiles.begin());
    __side = 0; // of the next context
}

} // namespace vorlen
