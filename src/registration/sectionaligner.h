#pragma once

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "images/rasters/pixelmatrix.h"
#include "registration/rigidmotion.h"

namespace vorlen {

/// The grey values of a section, one for each pixel, and the size of a pixel in a length unit. Values that are no
/// numbers count as outside of the section.
struct SectionImage {
    PixelMatrix<float> grey;
    double pixelWidth = 1, pixelHeight = 1;
    double white = 255; ///< the greatest value of the range that the values are of

    double width() const { return grey.getSize2() * pixelWidth; }
    double height() const { return grey.getSize1() * pixelHeight; }
};

/// How the motion between two sections is found.
enum class AlignmentMethod { Auto, Features, Intensity, PrincipalAxes, MutualInformation };

/// What was found about two sections.
struct SectionMatch {
    /// Of the source onto the target. Where nothing was found, the one that was given as a start.
    RigidMotion motion;
    /// Under this motion: see SectionAligner::score().
    double score = 0;
    /// Share of the blocks of the overlap that, looked at alone, agree with the motion; by chance about 0.05.
    double support = 0;
    /// Blocks with enough structure to be looked at.
    int numBlocks = 0;
    /// How far off the angle may well be, in radians, by what the images tell: little for tissue all over the section,
    /// much for a single round spot.
    double angleSpread = 0;
    /// The same of the shift, where the tissue lies that tells it, in the direction in which least tells it: little for
    /// most, much for a section that shows but parallel fibres. At most the half diagonal of the section.
    double shiftSpread = 0;
    /// On the source: where the tissue lies that tells the motion. What is known of the turn about it and of the shift
    /// there don't depend on each other.
    PlanePoint middle{0, 0};
    /// The method that found it; not auto.
    AlignmentMethod method = AlignmentMethod::Intensity;
    /// Dark on one section is bright on the other.
    bool inverted = false;
    /// The motion is borne out by enough of the section.
    bool found = false;
};

/// Finds the rigid motion between images of neighbouring sections, and tells how well two sections fit.
///
/// By intensity: correlation of the sections turned by steps all around finds where to begin; from there, and from a
/// given start, the correlation is raised from coarse to fine by Gauss-Newton steps on the target's gradients (inverse
/// compositional, Baker and Matthews 2004; the correlation as in Evangelidis and Psarakis 2008), in which gain, offset
/// and a smooth difference of the light are free, contrast may be inverted, and pixels that fit badly (tears, folds,
/// dust) lose their weight. By features: SIFT (Lowe 2004) matched both ways, and the motion that most matches agree on.
/// By mutual information, for sections of different stains or with contrast that is inverted in part: normalized mutual
/// information (Studholme, Hill and Hawkes 1999) of classes of greys. Straight black or white borders, and areas that
/// are cut off at the greatest or least grey, are left out. All is done on images of at most workingSize pixels a side,
/// the steps to a fraction of a pixel of these.
///
/// A motion counts as found when enough blocks of the section agree with it, each looked at alone (normalized
/// correlation within a small neighbourhood): an accidental maximum of the correlation is not borne out by its parts.
///
/// What it works with stays in here: no other class sees the library for features and warps. Runs on the caller's
/// thread; results are the same each time. Prepared sections may be kept and used in several matches.
class SectionAligner {
public:
    /// A section as it is worked with: reduced, normalized, at several scales.
    class Section;
    using SectionPointer = std::shared_ptr<const Section>;

    static constexpr int workingSize = 1024;

    /// The pixel of the working images for a section like this: that of the image where this is small enough.
    static double workingPixel(const SectionImage& image) {
        return workingPixel(image.width(), image.height(), std::min(image.pixelWidth, image.pixelHeight));
    }
    /// The same by its width, its height and the lesser side of its pixels.
    static double workingPixel(double width, double height, double pixel);

    /// Pixel is the working one, in the length unit; both sections of a match need the same.
    static SectionPointer prepare(const SectionImage& image, double pixel);

    /// Why nothing can be matched with this section, in words ("blank", ...); empty when something can.
    static const std::string& fault(const Section& section);

    /// Why so little of a section is left that it may fit nothing although it belongs there, in words ("saturated");
    /// empty for what shows its greys. One that is all black and white is matched with others of its kind alone, as
    /// those of a stack of masks: on a section with greys its outline would be all that it has to go by.
    static std::string weakness(const Section& section);

    /// How well the source, moved, fits the target, from 0 to 1: the absolute value of the correlation of what both
    /// show, after a surface of second order, the light, is taken off each, times the square root of twice the share of
    /// the smaller section that the overlap takes, where this is less than a half. 0 when either has a fault.
    static double score(const Section& source, const Section& target, const RigidMotion& motion);

    /// The same as the method of a match scores: for mutual information the absolute correlation that normally
    /// distributed images have that tell as much of each other.
    static double score(const Section& source, const Section& target, const RigidMotion& motion,
                        AlignmentMethod method);

    /// Looks for the motion of the source onto the target by features, intensity or mutual information or, for auto, by
    /// all three as needed. Near the start first. Without `search` no further than the start. The score is that of the
    /// method.
    static SectionMatch match(const Section& source, const Section& target, const RigidMotion& start,
                              AlignmentMethod method = AlignmentMethod::Auto, bool search = true);

    /// What sections have in common: on the grid of another one the median of all, each moved onto it by its motion
    /// (Hennies and others 2020). Throws SizeError unless there is a motion for each of some sections without a fault.
    static SectionPointer medianOf(const std::vector<SectionPointer>& sections, const std::vector<RigidMotion>& motions,
                                   const Section& onto);

    /// Whether the source fits the target when it is seen from behind, and how it does not as it is.
    static bool isMirrored(const Section& source, const Section& target, const RigidMotion& start);

    /// Whether the source clearly fits better turned over than by what was found: for sections that look much like
    /// their own mirror image, which are found to fit somehow either way. Sections with little on them never do.
    static bool isClearlyMirrored(const Section& source, const Section& target, const SectionMatch& found);
};

} // namespace vorlen
