#include "editing/operations/elasticalignment.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <list>
#include <utility>

#include "document/stack.h"
#include "document/stackslice.h"
#include "editing/operations/slicealignment.h"
#include "numerics/exception.h"
#include "progress/progresssubject.h"
#include "registration/blockmatcher.h"
#include "registration/sheetrelaxation.h"

namespace vorlen {

namespace {

/// So many slices that show something are looked at before each.
constexpr int reach = 2;

/// A section may be pressed together to this share of its area at some place.
constexpr double leastArea = 0.2;

/// Of its blocks so many must agree; of a foreign section a few do by chance.
constexpr double leastAgreement = 0.35;

/// Fewer blocks tell nothing about the shape of a section.
constexpr int leastBlocks = 4;

/// Bends below this, in pixels, are none.
constexpr double leastBend = 0.1;

PlanePoint turned(PlanePoint way, double angle) {
    return {std::cos(angle) * way.x - std::sin(angle) * way.y, std::sin(angle) * way.x + std::cos(angle) * way.y};
}

/// One run over a stack.
class Bending {
public:
    Bending(const Stack& stack, const ElasticOptions& options, ProgressSubject& progress);

    ElasticAlignment run();

private:
    using PicturePointer = BlockMatcher::PicturePointer;

    std::size_t at(int i) const { return std::size_t(i); }
    void addSlice(const StackSlice& slice, int i);
    PicturePointer picture(int i);
    std::vector<int> targetsOf(int i);
    void leave(int i, const std::string& reason);
    void match(double pixels, int reduction);
    void tiePair(int source, int target, const BlockMatch& block);
    void relax();
    void takeFields();
    void leaveUntied();
    bool leaveForeign();
    void scoreAll(bool bent);
    bool leaveWorse();
    void report();

    const Stack& __stack;
    const ElasticOptions& __options;
    ProgressSubject& __progress;
    int __numSlices;
    double __pixel = 0;
    unsigned int __numSteps = 0;
    std::vector<RigidMotion> __places;
    std::vector<bool> __isFaulty;
    std::vector<bool> __isForeign; // what is found of it on others is not taken for anything
    std::vector<int> __blocks;     // found on it, or of it on others
    std::list<std::pair<int, PicturePointer>> __pictures;
    SheetRelaxation __sheets;
    ElasticAlignment __result;
};

Bending::Bending(const Stack& stack, const ElasticOptions& options, ProgressSubject& progress)
    : __stack(stack), __options(options), __progress(progress), __numSlices(stack.getNumSlices()),
      __isFaulty(at(__numSlices), false), __isForeign(at(__numSlices), false), __blocks(at(__numSlices), 0),
      __sheets(options.stiffness) {
    RigidMotion place;
    for (int i = 0; i < __numSlices; ++i) {
        const StackSlice& slice = stack.getSlice(i);
        const PixelCalibration& calibration = slice.getPixelCalibration();
        place = place * motionOf(slice.getRegistration(), calibration.getPixelWidth(), calibration.getPixelHeight());
        __places.push_back(place);
        const double width = calibration.getPixelWidth() > 0 ? calibration.getPixelWidth() : 1;
        const double height = calibration.getPixelHeight() > 0 ? calibration.getPixelHeight() : 1;
        if (!slice.isEmpty())
            __pixel = std::max(__pixel, SectionAligner::workingPixel(slice.getImageSource().getSize2() * width,
                                                                     slice.getImageSource().getSize1() * height,
                                                                     std::min(width, height)));
    }
    for (int i = 0; i < __numSlices; ++i)
        addSlice(stack.getSlice(i), i);
    const int last = options.last < 0 ? __numSlices - 1 : options.last;
    for (int i = 0; i < __numSlices; ++i)
        if (i < options.first || i > last ||
            std::find(options.locked.begin(), options.locked.end(), i) != options.locked.end())
            __sheets.hold(i);
}

void Bending::addSlice(const StackSlice& slice, int i) {
    SliceBending entry;
    entry.name = slice.getName();
    __result.slices.push_back(entry);
    ElasticField field;
    if (!slice.isEmpty() && slice.getImageSource().getSize1() > 0 && slice.getImageSource().getSize2() > 0) {
        const PixelCalibration& calibration = slice.getPixelCalibration();
        const double width = calibration.getPixelWidth() > 0 ? calibration.getPixelWidth() : 1;
        const double height = calibration.getPixelHeight() > 0 ? calibration.getPixelHeight() : 1;
        field = ElasticField(slice.getImageSource().getSize2() * width, slice.getImageSource().getSize1() * height,
                             __options.spacing * __pixel);
    }
    __sheets.addSheet(std::max(2, field.rows()), std::max(2, field.columns()));
    __result.fields.push_back(std::move(field));
    if (__result.fields.back().rows() == 0)
        leave(i, "it has no image");
}

/// The slice takes part no more, and what is known of it is that it stays.
void Bending::leave(int i, const std::string& reason) {
    __sheets.hold(i);
    __result.slices[at(i)].reason = reason;
}

/// As many at a time as a slice is matched with; null for an image that can't be read.
Bending::PicturePointer Bending::picture(int i) {
    for (auto one = __pictures.begin(); one != __pictures.end(); ++one)
        if (one->first == i) {
            __pictures.splice(__pictures.end(), __pictures, one);
            return __pictures.back().second;
        }
    if (__isFaulty[at(i)] || __result.fields[at(i)].rows() == 0)
        return nullptr;
    while (int(__pictures.size()) > reach)
        __pictures.pop_front();
    const auto fail = [&](const std::string& reason) {
        __isFaulty[at(i)] = true;
        leave(i, "its image can't be read: " + reason);
    };
    try {
        const SectionImage image = sectionImageOf(__stack.getSlice(i), [this] {
            report();
            return !__progress.isCanceled();
        });
        if (__progress.isCanceled())
            return nullptr;
        __pictures.emplace_back(i, BlockMatcher::prepare(image, __pixel));
        return __pictures.back().second;
    } catch (const Exception& error) {
        fail(error.getWhat());
    } catch (const std::exception& error) {
        fail(error.what());
    }
    return nullptr;
}

std::vector<int> Bending::targetsOf(int i) {
    std::vector<int> targets;
    if (picture(i) == nullptr)
        return targets;
    for (int k = i - 1; k >= 0 && int(targets.size()) < reach; --k)
        if (picture(k) != nullptr)
            targets.push_back(k);
    return targets;
}

/// To first order the difference stays right while both sheets move on.
void Bending::tiePair(int source, int target, const BlockMatch& block) {
    const ElasticField& own = __result.fields[at(source)];
    const ElasticField& other = __result.fields[at(target)];
    const PlanePoint onto = (__places[at(target)].inverse() * __places[at(source)]).apply(block.middle);
    const PlanePoint there = own.way({block.middle.x + block.way.x, block.middle.y + block.way.y});
    const PlanePoint lies = turned({block.way.x + there.x, block.way.y + there.y}, __places[at(source)].angle);
    const PlanePoint wanted = turned(other.way(onto), __places[at(target)].angle);
    const auto placeOn = [](int sheet, const ElasticField& field, PlanePoint point) {
        return SheetRelaxation::Place{sheet, (point.y + 0.5 * field.height()) / field.stepY(),
                                      (point.x + 0.5 * field.width()) / field.stepX()};
    };
    __sheets.tie(placeOn(source, own, block.middle), placeOn(target, other, onto),
                 {lies.x - wanted.x, lies.y - wanted.y}, block.correlation * block.correlation / (source - target));
}

void Bending::report() {
    __progress.notifyProgressed(__numSteps, static_cast<unsigned int>(5 * __numSlices));
}

void Bending::match(double pixels, int reduction) {
    __sheets.clearTies();
    std::fill(__blocks.begin(), __blocks.end(), 0);
    for (int i = 0; i < __numSlices && !__progress.isCanceled(); ++i) {
        for (const int k : targetsOf(i)) {
            if ((__sheets.isHeld(i) && __sheets.isHeld(k)) || __isForeign[at(i)] || __isForeign[at(k)])
                continue;
            const PicturePointer own = picture(i), other = picture(k);
            if (own == nullptr || other == nullptr) // cancelled
                continue;
            const BlockMatcher::Side source{*own, __result.fields[at(i)], __places[at(i)]};
            const BlockMatcher::Side target{*other, __result.fields[at(k)], __places[at(k)]};
            const std::vector<BlockMatch> blocks = BlockMatcher::match(source, target, pixels, reduction);
            for (const BlockMatch& block : blocks)
                tiePair(i, k, block);
            __blocks[at(i)] += int(blocks.size());
            __blocks[at(k)] += int(blocks.size());
            __result.slices[at(i)].numBlocks = int(blocks.size());
        }
        ++__numSteps;
        report();
    }
}

void Bending::takeFields() {
    for (int i = 0; i < __numSlices; ++i) {
        ElasticField& field = __result.fields[at(i)];
        for (int row = 0; row < field.rows(); ++row)
            for (int column = 0; column < field.columns(); ++column)
                field.setWay(row, column,
                             __sheets.isHeld(i) ? PlanePoint{0, 0}
                                                : turned(__sheets.way(i, row, column), -__places[at(i)].angle));
    }
}

/// The slice whose blocks agree least with what all came to, when most of them don't.
bool Bending::leaveForeign() {
    int worst = -1;
    double least = leastAgreement;
    for (int i = 0; i < __numSlices; ++i) {
        if (__isForeign[at(i)])
            continue;
        const double share = __sheets.agreement(i, 3 * __pixel);
        if (share < least) {
            least = share;
            worst = i;
        }
    }
    if (worst < 0)
        return false;
    __isForeign[at(worst)] = true;
    leave(worst, "what is found of it on its neighbours contradicts itself");
    __sheets.removeTies(worst);
    return true;
}

/// Slices that would be folded, or fit nothing, stay, and the others come to rest about them.
void Bending::relax() {
    for (bool again = true; again;) {
        __sheets.relax(__pixel);
        again = leaveForeign();
        takeFields();
        for (int i = 0; i < __numSlices && !again; ++i)
            if (!__sheets.isHeld(i) && __result.fields[at(i)].leastArea() < leastArea) {
                leave(i, "what was found would fold it");
                again = true;
            }
    }
}

void Bending::leaveUntied() {
    for (int i = 0; i < __numSlices; ++i)
        if (!__sheets.isHeld(i) && __blocks[at(i)] < leastBlocks)
            leave(i, "too little of it is found on its neighbours");
}

void Bending::scoreAll(bool bent) {
    const ElasticField plain;
    for (int i = 0; i < __numSlices && !__progress.isCanceled(); ++i) {
        const std::vector<int> targets = targetsOf(i);
        if (targets.empty())
            continue;
        const int k = targets.front();
        const PicturePointer own = picture(i), other = picture(k);
        if (own == nullptr || other == nullptr)
            continue;
        const double score = BlockMatcher::score({*own, bent ? __result.fields[at(i)] : plain, __places[at(i)]},
                                                 {*other, bent ? __result.fields[at(k)] : plain, __places[at(k)]});
        (bent ? __result.slices[at(i)].scoreAfter : __result.slices[at(i)].scoreBefore) = score;
    }
}

bool Bending::leaveWorse() {
    bool any = false;
    for (int i = 0; i < __numSlices; ++i) {
        const SliceBending& one = __result.slices[at(i)];
        if (!__sheets.isHeld(i) && one.scoreAfter < one.scoreBefore - 1e-3) {
            leave(i, "it would fit the slice before it less than it does");
            any = true;
        }
    }
    return any;
}

ElasticAlignment Bending::run() {
    const std::pair<double, int> passes[] = {{__options.reach, 2}, {std::max(4.0, __options.reach / 4), 1}, {3, 1}};
    scoreAll(false);
    for (const auto& [pixels, reduction] : passes) {
        match(pixels, reduction);
        leaveUntied();
        if (!__progress.isCanceled())
            relax();
    }
    scoreAll(true);
    for (int round = 0; round < 3 && !__progress.isCanceled() && leaveWorse(); ++round) {
        relax();
        scoreAll(true);
    }
    __result.cancelled = __progress.isCanceled();
    for (int i = 0; i < __numSlices; ++i) {
        SliceBending& one = __result.slices[at(i)];
        ElasticField& field = __result.fields[at(i)];
        const PixelCalibration& calibration = __stack.getSlice(i).getPixelCalibration();
        const double side = calibration.getPixelWidth() > 0 ? calibration.getPixelWidth() : 1;
        one.rms = field.rms() / side;
        one.greatest = field.greatest() / side;
        one.bent = !__result.cancelled && one.greatest >= leastBend;
        if (!one.bent) {
            field = ElasticField();
            one.rms = one.greatest = 0;
        }
    }
    __progress.notifyProgressed(static_cast<unsigned int>(5 * __numSlices), static_cast<unsigned int>(5 * __numSlices));
    return std::move(__result);
}

} // namespace

Outcome checkElasticOptions(const Stack& stack, const ElasticOptions& options) {
    const int n = stack.getNumSlices();
    if (n < 2)
        return Outcome::refused("Alignment needs at least two slices");
    const int last = options.last < 0 ? n - 1 : options.last;
    if (options.first < 0 || last >= n || options.first > last)
        return Outcome::refused("The stack has no such range of slices");
    for (const int i : options.locked)
        if (i < 0 || i >= n)
            return Outcome::refused("The stack has no slice at place " + std::to_string(i));
    if (!(options.spacing >= 8) || !(options.spacing <= 512))
        return Outcome::refused("The spacing of the nodes is from 8 to 512 pixels");
    if (!(options.reach >= 2) || !(options.reach <= 128))
        return Outcome::refused("The reach is from 2 to 128 pixels");
    if (!(options.stiffness >= 0.001) || !(options.stiffness <= 1000))
        return Outcome::refused("The stiffness is from 0.001 to 1000");
    return Outcome::done();
}

ElasticAlignment findElasticAlignment(const Stack& stack, const ElasticOptions& options, ProgressSubject& progress) {
    if (const Outcome good = checkElasticOptions(stack, options); !good)
        throw UsageError("ElasticAlignment findElasticAlignment(...)", good.getReason());
    return Bending(stack, options, progress).run();
}

} // namespace vorlen
