#pragma once

#include <array>

namespace vorlen {

/// Where steps lead that go on much as they began.
///
/// A Gauss-Newton step by the slopes of one image falls short where those of the other are different, so that the end
/// comes after many. It is told from the steps that were found last: by the combination of three of them that leaves
/// least to go (Anderson 1965).
class StepsAhead {
public:
    /// A shift across and down, and a turn, all as lengths.
    using Triple = std::array<double, 3>;

    /// The place to go on from, when at this place this step was found: at most five times as far as the step, and
    /// never against it.
    Triple after(const Triple& place, const Triple& step);

private:
    static constexpr int remembered = 2;

    /// How far to go beyond the step.
    Triple further(const Triple& step) const;

    int __numFound = 0;
    Triple __place{}, __step{};
    Triple __ways[remembered]{}, __changes[remembered]{}; ///< from one place to the next, and of the step found there
};

} // namespace vorlen
