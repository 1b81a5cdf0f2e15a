#pragma once

#include <string>

#include "document/unreadtext.h"
#include "numerics/vector.h"

namespace vorlen {

class Stack;

/// A view of the scene: rotations in degrees about the three axes, a shift in percent of what the zoom shows, a zoom in
/// percent and three lights from 0 to 255. All may be decimal numbers: what a setter is given is kept as it is, and the
/// plain getters give the nearest whole number of it, but for the angles. A copy names the same stack and is not in its
/// list.
class Pose : public UnreadText {
public:
    Pose();

    void setName(const std::string& name);
    const std::string& getName() const { return __name; }

    /// The stack is seen, not owned; setting it does not attach the pose.
    void setStack(Stack* stack);
    Stack* getStack() const { return __stack; }

    /// Puts the pose, which must have been made by new, on its stack's list; the stack deletes it from then on.
    void attach();

    /// Takes the pose off its stack's list; the caller deletes it from then on.
    void detach();

    /// Throws SizeError for a vector of another size than 3.
    void setRotation(const Vector<float>& rotation);
    const Vector<float>& getRotation() const { return __rotation; }
    void setXRotation(int degrees);
    void setYRotation(int degrees);
    void setZRotation(int degrees);

    /// The angles without their fractions.
    int getXRotation() const;
    int getYRotation() const;
    int getZRotation() const;

    /// Throws SizeError for a vector of another size than 2.
    void setTranslation(const Vector<int>& translation);
    Vector<int> getTranslation() const;
    void setXTranslation(double shift);
    void setYTranslation(double shift);
    int getXTranslation() const { return nearest(__xTranslation); }
    int getYTranslation() const { return nearest(__yTranslation); }
    double getExactXTranslation() const { return __xTranslation; }
    double getExactYTranslation() const { return __yTranslation; }

    void setZoom(double zoom);
    int getZoom() const { return nearest(__zoom); }
    double getExactZoom() const { return __zoom; }

    void setAmbientLight(double light);
    void setDiffuseLight(double light);
    void setSpecularLight(double light);
    int getAmbientLight() const { return nearest(__ambientLight); }
    int getDiffuseLight() const { return nearest(__diffuseLight); }
    int getSpecularLight() const { return nearest(__specularLight); }
    double getExactAmbientLight() const { return __ambientLight; }
    double getExactDiffuseLight() const { return __diffuseLight; }
    double getExactSpecularLight() const { return __specularLight; }

    /// The whole number next to a value, the one further from 0 of two; the end of int beyond it, 0 for NaN.
    static int nearest(double value);

    /// The six views along the axes: Y 180, Y 90, X 90, and from behind: none, Y -90, X -90.
    static Pose canonicalPose1();
    static Pose canonicalPose2();
    static Pose canonicalPose3();
    static Pose reverseCanonicalPose1();
    static Pose reverseCanonicalPose2();
    static Pose reverseCanonicalPose3();

private:
    std::string __name;
    Stack* __stack = nullptr;
    Vector<float> __rotation;
    double __xTranslation = 0;
    double __yTranslation = 0;
    double __zoom = 100;
    double __ambientLight = 0;
    double __diffuseLight = 0;
    double __specularLight = 0;
};

} // namespace vorlen
