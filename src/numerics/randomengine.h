#pragma once

namespace vorlen {

/// Source of uniform random numbers, exchangeable in a RandomGenerator.
class RandomEngine {
public:
    virtual ~RandomEngine();
    /// Starts the sequence that belongs to the seed; a seed below 1 stands for the current time. Returns the seed used.
    virtual long init(long seed) = 0;
    /// Whole number from 0 to 2^31 - 1.
    virtual long uniformL() = 0;
    /// Number from 0 to 1, up to the rounding of the scale.
    virtual double uniformLF() = 0;
};

} // namespace vorlen
