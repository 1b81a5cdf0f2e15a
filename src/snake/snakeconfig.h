#pragma once

namespace vorlen {

/// Parameters of an active contour. A plain value: any number can be set, and the object that runs the contour judges
/// whether it can work with it.
class SnakeConfig {
public:
    SnakeConfig() = default;
    SnakeConfig(const SnakeConfig&) = default;
    SnakeConfig& operator=(const SnakeConfig&) = default;
    virtual ~SnakeConfig();

    /// Value of the edge map from which a pixel counts as an edge.
    float getGradThreshold() const { return __gradThreshold; }
    void setGradThreshold(float threshold);

    /// How far along its normal a vertex looks for an edge, in steps of one normal length.
    int getDistance() const { return __distance; }
    void setDistance(int distance);

    /// Lower regularization; it follows the upper one when the adaptive rule scales both.
    float getRegMin() const { return __regMin; }
    void setRegMin(float regularization);

    /// Weight of the regularization of every vertex.
    float getRegMax() const { return __regMax; }
    void setRegMax(float regularization);

    /// Parameter of the Deriche operator (R. Deriche, IJCV 1987) that makes the edge map; larger is sharper.
    float getAlpha() const { return __alpha; }
    void setAlpha(float alpha);

    /// Whether the parameters are adapted while the contour runs.
    bool isAdaptive() const { return __adaptive; }
    void setAdaptive(bool adaptive);

    /// Factor by which the image is reduced beforehand, by the caller.
    unsigned int getScale() const { return __scale; }
    void setScale(unsigned int scale);

private:
    float __gradThreshold = 20.0f;
    int __distance = 100;
    float __regMin = 0.5f;
    float __regMax = 1.0f;
    float __alpha = 1.0f;
    bool __adaptive = false;
    unsigned int __scale = 1;
};

} // namespace vorlen
