#pragma once

#include <memory>

#include "numerics/randomengine.h"
#include "numerics/vector.h"

namespace vorlen {

/// Random numbers of several distributions, drawn from one engine; a RecommendedRandomEngine at first, started from the
/// current time.
///
/// Starting the engine, or changing it, forgets the Gaussian value in store, so that a seed always gives the same
/// sequence. Whole numbers never leave their range, also when the engine's uniformLF() reaches 1.
class RandomGenerator {
public:
    RandomGenerator();

    /// Takes ownership of the engine, which must come from new; the old one is deleted. Throws UsageError on null.
    void setRandomEngine(RandomEngine* engine);
    /// Starts the sequence of this seed; a seed below 1 stands for the current time. Returns the seed used.
    long init(long seed);

    /// Whole number from 0 to 2^31 - 1.
    long uniformL();
    /// Whole number from 0 to n - 1; 0 for n = 0.
    long uniformL(long n);
    /// Whole number from a to b, both included.
    long uniformL(long a, long b);
    /// Number from 0 to 1, to x, or from a to b.
    double uniformLF();
    double uniformLF(double x);
    double uniformLF(double a, double b);

    /// Normal deviate of mean 0 and standard deviation 1, by the polar form of Box and Muller (Ann. Math. Stat. 29,
    /// 1958), which makes two at a time.
    double gaussian();
    double gaussian(double sigma);
    double gaussian(double mean, double sigma);
    /// Number of events when mean are expected, by the method of products (Knuth, The Art of Computer Programming 2,
    /// section 3.4.1). The time grows with the mean, up to about 750, above which the results no longer grow.
    int poisson(float mean);
    /// Index with a probability in proportion to its weight; all alike when all weights are 0.
    /// Throws SizeError when there are no weights.
    int draw(const Vector<unsigned int>& weights);

private:
    bool __isPending = false;
    double __pending = 0;
    std::unique_ptr<RandomEngine> __engine;
};

} // namespace vorlen
