#pragma once

#include <cstdint>

#include "numerics/randomengine.h"

namespace vorlen {

/// Combined generator of 64-bit words with a period of about 3e57: a linear congruence, two xor-shifts and a multiply
/// with carry. Press, Teukolsky, Vetterling and Flannery, Numerical Recipes, 3rd edition, section 7.1.
class RecommendedRandomEngine : public RandomEngine {
public:
    /// Started from the current time.
    RecommendedRandomEngine();

    long init(long seed) override;
    long uniformL() override;
    /// The next word times 5.421011e-20, which is just above 2^-64: a draw in forty millions reaches 1.
    double uniformLF() override;
    /// Next 64-bit word.
    std::uint64_t uniformLL();

private:
    std::uint64_t __u = 0;
    std::uint64_t __v = 0;
    std::uint64_t __w = 0;
};

} // namespace vorlen
