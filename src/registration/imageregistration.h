#pragma once

namespace vorlen {

template <class T>
class PixelMatrix;

/// Finds the transform that brings one image onto another. The images are seen, not owned or changed, and must outlive
/// run(). Instantiated for float, double and long double.
template <class T>
class ImageRegistration {
public:
    virtual ~ImageRegistration();

    /// Throws UsageError unless source and target were set.
    virtual void run() = 0;

    /// The image that moves.
    void setSource(const PixelMatrix<T>& source) { __source = &source; }
    /// The image that it is brought onto.
    void setTarget(const PixelMatrix<T>& target) { __target = &target; }

protected:
    /// Throw UsageError before the image was set.
    const PixelMatrix<T>& source(const char* where) const;
    const PixelMatrix<T>& target(const char* where) const;

private:
    const PixelMatrix<T>* __source = nullptr;
    const PixelMatrix<T>* __target = nullptr;
};

} // namespace vorlen
