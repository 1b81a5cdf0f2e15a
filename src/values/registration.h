#pragma once

namespace vorlen {

/// Rigid placement of a slice on the slice before it: shifts in pixels and decimals of them, and an angle in degrees,
/// by which the slice turns about its centre, clockwise on the screen.
class Registration {
public:
    Registration() = default;
    Registration(double horShift, double verShift, float rotationAngle);

    void setHorShift(double shift);
    void setVerShift(double shift);

    /// In degrees; whole turns are taken off, so that it is kept from 0 to below 360. What is no number is kept.
    void setRotationAngle(float angle);

    double getHorShift() const { return __horShift; }
    double getVerShift() const { return __verShift; }
    float getRotationAngle() const { return __rotationAngle; }

    /// No shift and no rotation.
    bool isNull() const;

    /// Shifts and angle are numbers.
    bool isFinite() const;

    /// Field by field, the angle within one turn.
    Registration operator+(const Registration& other) const;
    Registration operator-(const Registration& other) const;

    bool operator==(const Registration& other) const = default;

private:
    double __horShift = 0;
    double __verShift = 0;
    float __rotationAngle = 0;
};

} // namespace vorlen
