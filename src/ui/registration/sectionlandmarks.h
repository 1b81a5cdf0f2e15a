#pragma once

#include <vector>

#include <QPointF>
#include <QString>

namespace vorlen {

class Registration;
class StackSlice;

/// A landmark of two sections, in pixels of the images' files: where it is seen on the background and on the
/// foreground. As long as one is missing it is no pair yet.
struct Landmark {
    QPointF background, foreground;
    bool hasBackground = false, hasForeground = false;
    double residual = -1; // in pixels of the background; below 0 as long as there is no fit
    bool used = true;     // in the fit

    bool isPair() const { return hasBackground && hasForeground; }
};

int numPairs(const std::vector<Landmark>& landmarks);

/// The registration of the foreground on the background that fits the pairs best, and which of them take part in it:
/// one that contradicts the others does not. Two pairs at least; with fewer there is no fit.
Registration fitOfLandmarks(std::vector<Landmark>& landmarks, const StackSlice& foreground,
                            const StackSlice& background);

/// Notes how far each pair is off under a registration, and tells of all in a line.
QString measureLandmarks(std::vector<Landmark>& landmarks, const StackSlice& foreground, const StackSlice& background,
                         const Registration& registration);

} // namespace vorlen
