#pragma once

namespace vorlen {

/// How a scene is projected: perspective, the default, or orthographic.
class ProjectionGL {
public:
    void setPerspective() { __perspective = true; }
    void setOrthographic() { __perspective = false; }
    bool isPerspective() const { return __perspective; }
    bool isOrthographic() const { return !__perspective; }

    /// The eye stands 7 minus the strength scene radii before the scene's centre. Throws ValueError unless the strength
    /// is below 6, where the eye would enter the scene.
    void setPerspectiveStrength(float strength);
    float getPerspectiveStrength() const { return __strength; }

    /// Distance of the eye from the scene's centre, in scene radii.
    float eyeDistance() const { return 7 - __strength; }

private:
    bool __perspective = true;
    float __strength = 1.0f;
};

} // namespace vorlen
