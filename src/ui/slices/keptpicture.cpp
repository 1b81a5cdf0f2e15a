#include "ui/slices/keptpicture.h"

#include <algorithm>
#include <cmath>

#include <QOpenGLContext>
#include <QOpenGLExtraFunctions>
#include <QOpenGLFramebufferObject>

namespace vorlen {

namespace {

// More rectangles than this are painted as the one around them all.
constexpr int maximumRectangles = 4;

GLuint canvasBuffer() {
    GLint buffer = 0;
    glGetIntegerv(GL_FRAMEBUFFER_BINDING, &buffer);
    return GLuint(buffer);
}

/// One of the two buffers is that of the canvas, which is bound again.
void copy(GLuint from, GLuint to, const QRect& pixels) {
    const GLuint canvas = canvasBuffer();
    QOpenGLExtraFunctions& gl = *QOpenGLContext::currentContext()->extraFunctions();
    const int right = pixels.x() + pixels.width();
    const int top = pixels.y() + pixels.height();
    gl.glBindFramebuffer(GL_READ_FRAMEBUFFER, from);
    gl.glBindFramebuffer(GL_DRAW_FRAMEBUFFER, to);
    gl.glBlitFramebuffer(pixels.x(), pixels.y(), right, top, pixels.x(), pixels.y(), right, top, GL_COLOR_BUFFER_BIT,
                         GL_NEAREST);
    gl.glBindFramebuffer(GL_FRAMEBUFFER, canvas);
}

} // namespace

KeptPicture::KeptPicture() = default;

KeptPicture::~KeptPicture() = default;

// Lists of one length differ item by item. Of other lists, the equal items at both ends are left out.
QRegion KeptPicture::staleRegion(const View& view, const std::vector<Item>& items) const {
    const QRect all(QPoint(0, 0), view.size);
    // Rectangles of the canvas are whole pixels of the screen at whole densities only.
    if (!__pixels || view != __view || view.density != std::floor(view.density))
        return all;
    QRegion region;
    int rectangles = 0;
    const auto add = [&](const Item& item) {
        if (item.area.isEmpty())
            return;
        // A region of very many rectangles would be slow to build.
        region = ++rectangles <= maximumRectangles ? region + item.area : region.boundingRect() | item.area;
    };
    if (items.size() == __items.size()) {
        for (std::size_t i = 0; i < items.size(); ++i)
            if (items[i] != __items[i]) {
                add(__items[i]);
                add(items[i]);
            }
    } else {
        const auto [now, before] = std::mismatch(items.begin(), items.end(), __items.begin(), __items.end());
        auto nowEnd = items.end();
        auto beforeEnd = __items.end();
        while (nowEnd != now && beforeEnd != before && nowEnd[-1] == beforeEnd[-1]) {
            --nowEnd;
            --beforeEnd;
        }
        std::for_each(now, nowEnd, add);
        std::for_each(before, beforeEnd, add);
    }
    if (region.rectCount() > maximumRectangles)
        region = region.boundingRect();
    // A notice is written all over the canvas.
    return region.isEmpty() || view.notice.isEmpty() ? region & all : all;
}

bool KeptPicture::fits(const QSize& size, double density) const {
    return __pixels != nullptr && __view.size == size && __view.density == density;
}

void KeptPicture::show() const {
    if (!__pixels)
        return;
    copy(__pixels->handle(), canvasBuffer(), QRect(QPoint(0, 0), __pixels->size()));
}

// Pixels of the screen count from the bottom.
void KeptPicture::take(const QRect& area, const QSize& size, double density) {
    const GLuint canvas = canvasBuffer();
    if (!__pixels || __pixels->size() != size) {
        GLint samples = 0;
        glGetIntegerv(GL_SAMPLES, &samples);
        QOpenGLFramebufferObjectFormat format;
        format.setSamples(samples); // sample by sample the copy is exact
        __pixels = std::make_unique<QOpenGLFramebufferObject>(size, format);
        QOpenGLContext::currentContext()->functions()->glBindFramebuffer(GL_FRAMEBUFFER, canvas);
    }
    const QRect pixels(qRound(area.x() * density), size.height() - qRound((area.y() + area.height()) * density),
                       qRound(area.width() * density), qRound(area.height() * density));
    copy(canvas, __pixels->handle(), pixels & QRect(QPoint(0, 0), size));
}

void KeptPicture::remember(const View& view, std::vector<Item> items) {
    __view = view;
    __items = std::move(items);
    if (!__pixels || !__pixels->isValid() || glGetError() != GL_NO_ERROR)
        clear();
}

void KeptPicture::clear() {
    __pixels.reset();
    __items.clear();
}

} // namespace vorlen
