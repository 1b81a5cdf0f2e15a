#pragma once

namespace vorlen {

/// Rigid placement of a slice on the slice before it: shifts in whole pixels and an angle in degrees.
class Registration {
public:
    Registration() = default;
    Registration(int horShift, int verShift, float rotationAngle);

    void setHorShift(int shift);
    void setVerShift(int shift);

    /// In degrees; stored as given.
    void setRotationAngle(float angle);

    int getHorShift() const { return __horShift; }
    int getVerShift() const { return __verShift; }
    float getRotationAngle() const { return __rotationAngle; }

    /// No shift and no rotation.
    bool isNull() const;

    /// Field by field. The angle of the result is brought into [0, 360) by one turn at most: that is enough for angles
    /// within one turn, others stay outside.
    Registration operator+(const Registration& other) const;
    Registration operator-(const Registration& other) const;

    bool operator==(const Registration& other) const = default;

private:
    int __horShift = 0;
    int __verShift = 0;
    float __rotationAngle = 0;
};

} // namespace vorlen
