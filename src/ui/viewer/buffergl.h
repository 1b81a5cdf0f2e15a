#pragma once

#include <cstddef>
#include <memory>

#include <QOpenGLBuffer>
#include <QPointer>

class QOpenGLContextGroup;

namespace vorlen {

/// An array's copy in the memory of the graphics: it is handed over at the first draw after a change, and not at each
/// draw. Small arrays stay where they are, and so does one for which there is no memory.
///
/// To be used with an OpenGL context of Qt current. It may be destroyed without one.
class BufferGL {
public:
    static constexpr std::size_t smallest = 32768; ///< in bytes

    explicit BufferGL(QOpenGLBuffer::Type type) : __type(type) {}

    /// Tells that the array has changed.
    void invalidate() { __stale = true; }

    /// Binds the copy. Gives the address from which OpenGL then counts: null, or that of the data themselves.
    const char* bind(const void* data, std::size_t size);
    void release();

private:
    QOpenGLBuffer::Type __type;
    std::unique_ptr<QOpenGLBuffer> __buffer;
    QPointer<QOpenGLContextGroup> __group; ///< the contexts that know the buffer
    bool __stale = true;
};

} // namespace vorlen
