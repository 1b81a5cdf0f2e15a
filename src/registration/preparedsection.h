#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include <opencv2/core.hpp>

#include "registration/jointhistogram.h"
#include "registration/sectionaligner.h"
#include "registration/sectionlevel.h"

namespace vorlen {

/// A section as SectionAligner works with it: its levels from fine to coarse, mean 0 and spread 1, smooth between the
/// pixels.
class SectionAligner::Section {
public:
    /// Fewest pixels a side for which anything is tried.
    static constexpr int leastSide = 16;
    /// Greatest side of the images that are turned all around, and of those on which candidates are told apart.
    static constexpr int searchSide = 128;
    static constexpr int choiceSide = 256;

    std::string fault;            ///< why nothing can be matched with it; empty when something can
    bool isBlackAndWhite = false; ///< nothing is left between the ends of the range of the greys
    bool isMostlyCut = false;     ///< less is left between them than at either end
    double width = 0, height = 0;
    double pixel = 1;
    std::vector<SectionLevel> levels; ///< from fine to coarse, each half of the one before
    std::size_t choice = 0;           ///< the level on which candidates are told apart
    SectionLevel search;              ///< the level of searchSide, local contrast made even

    /// Places in the plane that can be found again, and what they look like.
    struct Features {
        std::vector<PlanePoint> places;
        cv::Mat descriptors;
    };

    Section() = default;
    /// Of an image, on pixels of this size.
    Section(const SectionImage& image, double workingPixel);
    /// Of an image that is prepared already, on the grid of another section.
    Section(const Section& onto, const SectionLevel& level);

    /// Found when they are first asked for.
    const Features& features() const;
    /// What was found in images that are changed since.
    void forget() {
        __features.reset();
        __classes.reset();
        __levelsInClasses.clear();
    }

    /// Of the greys, by the level of choice. Found when they are first asked for.
    const GreyClasses& classes() const;
    /// A level with the places of its greys in classes in their stead. Made when it is first
    /// asked for.
    const SectionLevel& inClasses(std::size_t level) const;

private:
    void addScales();
    void smoothScales();
    void chooseScales();

    mutable std::optional<Features> __features;
    mutable std::optional<GreyClasses> __classes;
    mutable std::map<std::size_t, SectionLevel> __levelsInClasses;
};

} // namespace vorlen
