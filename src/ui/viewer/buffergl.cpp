#include "ui/viewer/buffergl.h"

#include <limits>

#include <QOpenGLContext>

#include <GL/gl.h>

namespace vorlen {

const char* BufferGL::bind(const void* data, std::size_t size) {
    const QOpenGLContext* context = QOpenGLContext::currentContext();
    if (__stale || context == nullptr || __group != context->shareGroup()) {
        __buffer.reset();
        __stale = false;
        __group = context == nullptr ? nullptr : context->shareGroup();
        if (context != nullptr && size >= smallest && size <= std::size_t(std::numeric_limits<int>::max())) {
            __buffer = std::make_unique<QOpenGLBuffer>(__type);
            for (int k = 0; k < 16 && glGetError() != GL_NO_ERROR; ++k) // of others
                ;
            if (__buffer->create() && __buffer->bind())
                __buffer->allocate(data, int(size));
            if (glGetError() != GL_NO_ERROR)
                __buffer.reset();
        }
    }
    return __buffer != nullptr && __buffer->bind() ? nullptr : static_cast<const char*>(data);
}

void BufferGL::release() {
    if (__buffer != nullptr)
        __buffer->release();
}

} // namespace vorlen
