#pragma once

#include <string>

#include "document/unreadtext.h"
#include "numerics/vector.h"

namespace vorlen {

class Stack;

/// A view of the scene: rotations in degrees about the three axes, a shift in screen pixels, a zoom in percent and
/// three lights. A copy names the same stack and is not in its list.
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
    const Vector<int>& getTranslation() const { return __translation; }
    void setXTranslation(int shift);
    void setYTranslation(int shift);
    int getXTranslation() const { return __translation[0]; }
    int getYTranslation() const { return __translation[1]; }

    void setZoom(int zoom);
    int getZoom() const { return __zoom; }

    void setAmbientLight(int light);
    void setDiffuseLight(int light);
    void setSpecularLight(int light);
    int getAmbientLight() const { return __ambientLight; }
    int getDiffuseLight() const { return __diffuseLight; }
    int getSpecularLight() const { return __specularLight; }

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
    Vector<int> __translation;
    int __zoom = 100;
    int __ambientLight = 0;
    int __diffuseLight = 0;
    int __specularLight = 0;
};

} // namespace vorlen
