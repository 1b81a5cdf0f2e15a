#pragma once

#include <string>

namespace vorlen {

/// A closed structure that all stacks of a normalization share, and the grid on which its surface is resampled.
template <class T>
class VRLFusionSurfaceStructure {
public:
    /// Name of the model in each stack.
    void setName(const std::string& name) { __name = name; }
    const std::string& getName() const { return __name; }

    /// Whether the structure takes part in the registration.
    void setReference(bool reference) { __reference = reference; }
    bool isReference() const { return __reference; }

    /// Levels of the surface; -1 when not known yet.
    void setResamplingHeight(int height) { __resamplingHeight = height; }
    int getResamplingHeight() const { return __resamplingHeight; }

    /// Vertices of each level; -1 when not known yet.
    void setResamplingWidth(int width) { __resamplingWidth = width; }
    int getResamplingWidth() const { return __resamplingWidth; }

    /// Largest distance between the surface and its resampling, in the stacks' unit; below 0 when not known.
    void setResamplingError(T error) { __resamplingError = error; }
    T getResamplingError() const { return __resamplingError; }

private:
    std::string __name;
    bool __reference = false;
    int __resamplingHeight = -1;
    int __resamplingWidth = -1;
    T __resamplingError = -1;
};

} // namespace vorlen
