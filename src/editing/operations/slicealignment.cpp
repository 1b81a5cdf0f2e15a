#include "editing/operations/slicealignment.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <list>
#include <map>

#include "document/stack.h"
#include "document/stackslice.h"
#include "editing/operations/sliceoperations.h"
#include "editing/operations/slicesection.h"
#include "editing/stacks/vrlstack.h"
#include "numerics/exception.h"
#include "progress/progresssubject.h"
#include "registration/motionchain.h"

namespace vorlen {

namespace {

using State = SliceAlignment::State;

/// How many slices back a slice is matched.
constexpr int reach = 3;

/// In radians: an angle that is told as surely as this has half of its weight.
constexpr double knownAngle = 0.005;

/// Pairs that disagree with the rest by more than this part of the size of a section are looked at once more.
constexpr double farOff = 0.015;

constexpr double fullTurn = 2 * 3.14159265358979323846;

double square(double value) {
    return value * value;
}

/// A difference of scores that is none.
constexpr double noDifference = 1e-9;

/// In pixels: a slice that is to move by less lies well, and stays.
constexpr double noMove = 0.05;

/// In degrees, of the spread of an angle: twice as much, as of an error that is rarely greater.
double turnDoubtOf(double spread) {
    return std::min(180.0, 2 * spread * 360 / fullTurn);
}

/// Of a slice with little on it: mostly where it lies is told, but hardly how it is turned; of parallel fibres alone
/// not how far it lies along them.
void remarkOnDoubts(SliceAlignment& entry) {
    if (!entry.reason.empty())
        return;
    char text[96] = "";
    const bool shifts = entry.shiftDoubt > SliceAlignment::doubtfulShift;
    const bool turns = entry.turnDoubt > SliceAlignment::doubtfulTurn;
    if (shifts && turns)
        std::snprintf(text, sizeof text, "little tells how it lies: it may be %.0f pixels and %.1f degrees off",
                      entry.shiftDoubt, entry.turnDoubt);
    else if (shifts)
        std::snprintf(text, sizeof text, "little tells how it is shifted: it may be %.0f pixels off", entry.shiftDoubt);
    else if (entry.turnDoubt >= 90)
        std::snprintf(text, sizeof text, "nothing tells how it is turned");
    else if (turns)
        std::snprintf(text, sizeof text, "little tells how it is turned: it may be %.1f degrees off", entry.turnDoubt);
    entry.reason = text;
}

/// What little a slice shows, in words; empty where it shows its greys.
std::string weaknessOf(const SliceSection& section) {
    return section.section == nullptr ? "" : SectionAligner::weakness(*section.section);
}

/// Why a slice is left alone that fits nothing.
std::string misfit(const SliceSection& section, const std::string& what) {
    const std::string weakness = weaknessOf(section);
    return weakness.empty() ? what : weakness + ": " + what;
}

/// So well borne out that others may begin with it: by so many blocks that chance has no part in it.
bool isSure(const SectionMatch& match) {
    constexpr int enough = 12;
    return match.found &&
           (match.method == AlignmentMethod::PrincipalAxes || (match.support >= 0.4 && match.numBlocks >= enough));
}

/// Whether it lies nearly the other way round than it did: of sections seen from behind some look so, too.
bool isUpsideDown(const SectionMatch& match, const RigidMotion& start) {
    return match.found && match.method != AlignmentMethod::PrincipalAxes &&
           std::abs(std::remainder(match.motion.angle - start.angle, fullTurn)) > 0.375 * fullTurn;
}

/// The say of a pair: the share of its blocks that agree, less when there are so few that chance may have brought them
/// together.
double qualityOf(const SectionMatch& match) {
    constexpr int few = 8;
    constexpr double byChance = 0.1;
    const double share = match.method == AlignmentMethod::PrincipalAxes
                             ? match.support
                             : (match.support * match.numBlocks + byChance * few) / (match.numBlocks + few);
    return 0.05 + share;
}

/// One run over a stack.
class Alignment {
public:
    Alignment(const Stack& stack, const AlignmentOptions& options, ProgressSubject& progress);

    RegistrationReport run();

private:
    struct Pair {
        int target = 0, source = 0;
        SectionMatch match;
    };

    bool mayMove(int i) const { return i > 0 && i >= __options.first && i <= __last && !__isLocked[std::size_t(i)]; }
    const SliceSection& section(int i);
    void judgeMask(int i, SliceSection& section);
    RigidMotion between(const std::vector<RigidMotion>& places, int target, int source) const {
        return places[std::size_t(target)].inverse() * places[std::size_t(source)];
    }

    void matchAll();
    void matchSlice(int i);
    bool isDoubtful(const SectionMatch& match);
    bool mayBeMirrored(const Pair& pair, const RigidMotion& start);
    bool isHeld(int target, int source) const;
    void matchFixed();
    void matchAgain();
    void nameMirrored();
    void solve();
    void matchTemplates();
    void keepSlowCourse();
    void choose();
    void chooseFor(int i, std::vector<RigidMotion>& chosen);
    int partnerOf(int i) const;
    const Pair* pairOf(int target, int source) const;
    double spreadBetween(int target, int source, double SectionMatch::*spread, double unknown) const;
    void step();
    void report();

    const Stack& __stack;
    const AlignmentOptions& __options;
    ProgressSubject& __progress;
    int __numSlices;
    int __last;
    double __pixel;
    double __size = 1;
    std::vector<bool> __isLocked;
    std::vector<RigidMotion> __before, __places; // in the frame of the first slice
    std::vector<std::string> __faults;
    enum class Look : char { Unknown, Nothing, Greys, Mask };
    std::vector<Look> __looks;                          // what a slice shows, of those that were looked at
    std::vector<bool> __fits;                           // borne out by a pair
    std::vector<bool> __isTurned;                       // nearly the other way round than it lay
    int __numMatched = 0;                               // slices that were reached
    std::list<std::pair<int, SliceSection>> __sections; // the one looked at last stands last
    std::vector<double> __scores;                       // of the neighbours that were found to fit
    std::vector<Pair> __pairs;
    std::map<std::pair<int, int>, std::size_t> __pairIndex; // by target and source
    RegistrationReport __report;
    unsigned int __numSteps = 0;
};

Alignment::Alignment(const Stack& stack, const AlignmentOptions& options, ProgressSubject& progress)
    : __stack(stack), __options(options), __progress(progress), __numSlices(stack.getNumSlices()),
      __last(options.last < 0 ? stack.getNumSlices() - 1 : options.last), __pixel(workingPixelOf(stack)),
      __isLocked(std::size_t(__numSlices), false), __faults(std::size_t(__numSlices)),
      __looks(std::size_t(__numSlices), Look::Unknown), __fits(std::size_t(__numSlices), false),
      __isTurned(std::size_t(__numSlices), false) {
    for (const int i : options.locked)
        __isLocked[std::size_t(i)] = true;
    RigidMotion place;
    for (int i = 0; i < __numSlices; ++i) {
        const StackSlice& slice = stack.getSlice(i);
        place = place * stepOf(slice, slice.getRegistration());
        __before.push_back(place);
        SliceAlignment entry;
        entry.slice = i;
        entry.name = slice.getName();
        entry.before = entry.after = slice.getRegistration();
        __report.slices.push_back(entry);
    }
    __places = __before;
}

/// Four at a time, for templates as many as these take: the ones looked at last.
const SliceSection& Alignment::section(int i) {
    for (auto at = __sections.begin(); at != __sections.end(); ++at)
        if (at->first == i) {
            __sections.splice(__sections.end(), __sections, at);
            return __sections.back().second;
        }
    const int most =
        __options.reference == AlignmentReference::Template ? std::max(reach + 1, __options.window) : reach + 1;
    while (int(__sections.size()) >= most)
        __sections.pop_front();
    const auto goesOn = [this] {
        report();
        return !__progress.isCanceled();
    };
    __sections.emplace_back(i, sliceSection(__stack.getSlice(i), __pixel, __options.method, goesOn));
    SliceSection& one = __sections.back().second;
    judgeMask(i, one);
    if (!__progress.isCanceled()) // then it is not the image's fault
        __faults[std::size_t(i)] = one.fault;
    __size = std::max({__size, one.width, one.height});
    return one;
}

/// What is black and white only belongs to a stack of masks, or is saturated: then greys come before it. Two such in a
/// stack of greys would find no more than each other's outline.
void Alignment::judgeMask(int i, SliceSection& section) {
    if (__options.method == AlignmentMethod::PrincipalAxes)
        return;
    Look& look = __looks[std::size_t(i)];
    const bool isMask = section.fault.empty() && weaknessOf(section) == "saturated";
    look = !section.fault.empty() ? Look::Nothing : isMask ? Look::Mask : Look::Greys;
    for (int k = i - 1; isMask && k >= 0; --k) {
        if (__looks[std::size_t(k)] == Look::Mask)
            return;
        if (__looks[std::size_t(k)] != Look::Greys)
            continue;
        section.fault = "saturated";
        look = Look::Nothing;
        return;
    }
}

void Alignment::step() {
    ++__numSteps;
    report();
}

void Alignment::report() {
    __progress.notifyProgressed(__numSteps, static_cast<unsigned int>(2 * __numSlices));
}

const Alignment::Pair* Alignment::pairOf(int target, int source) const {
    const auto at = __pairIndex.find({target, source});
    return at == __pairIndex.end() ? nullptr : &__pairs[at->second];
}

/// Of what is known between two slices that fit: by the surest way from one to the other over pairs that were found;
/// nothing is known where there is none.
double Alignment::spreadBetween(int target, int source, double SectionMatch::*spread, double unknown) const {
    const int first = std::max(0, std::min(target, source) - reach);
    const int last = std::min(__numSlices - 1, std::max(target, source) + reach);
    std::vector<double> variances(std::size_t(last - first + 1), square(unknown));
    variances[std::size_t(target - first)] = 0;
    for (bool changes = true; changes;) {
        changes = false;
        for (int from = first; from <= last; ++from)
            for (int to = from + 1; to <= std::min(last, from + reach); ++to) {
                const Pair* const pair = pairOf(from, to);
                if (pair == nullptr || !pair->match.found)
                    continue;
                double &a = variances[std::size_t(from - first)], &b = variances[std::size_t(to - first)];
                const double step = square(pair->match.*spread);
                if (std::min(a, b) + step >= std::max(a, b))
                    continue;
                (a < b ? b : a) = std::min(a, b) + step;
                changes = true;
            }
    }
    return std::sqrt(variances[std::size_t(source - first)]);
}

/// Whether a step between the two is to be kept, of a slice that shows anything: what the images say of them has no
/// say.
bool Alignment::isHeld(int target, int source) const {
    for (int k = target + 1; k <= source; ++k)
        if (!mayMove(k) && __faults[std::size_t(k)].empty())
            return true;
    return false;
}

/// Whether it was found, but fits clearly less than slices of this stack do: by the median of those found so far. Where
/// all fit well, what is missing tells more than what is there.
bool Alignment::isDoubtful(const SectionMatch& match) {
    if (!match.found || match.method == AlignmentMethod::PrincipalAxes || __scores.size() < 2)
        return false;
    const auto middle = __scores.begin() + std::ptrdiff_t(__scores.size() / 2);
    std::nth_element(__scores.begin(), middle, __scores.end());
    return match.score < 0.9 * *middle || 1 - match.score > 1.5 * (1 - *middle);
}

/// Of the first pair that is found of a slice. One that turns back from a slice that lies upside down is as it should
/// be: the other one is not.
bool Alignment::mayBeMirrored(const Pair& pair, const RigidMotion& start) {
    const bool turns = isUpsideDown(pair.match, start);
    const bool isTurned = turns != __isTurned[std::size_t(pair.target)];
    __isTurned[std::size_t(pair.source)] = isTurned;
    return turns ? isTurned : isDoubtful(pair.match);
}

/// With the nearest first: what follows from it needs no search any more.
void Alignment::matchSlice(int i) {
    bool first = true;
    for (int distance = 1; distance <= reach && distance <= i; ++distance) {
        const int target = i - distance;
        if (__progress.isCanceled())
            return;
        if (isHeld(target, i) || __report.slices[std::size_t(target)].mirrored)
            continue;
        const SliceSection& source = section(i);
        const SliceSection& onto = section(target);
        if (!source.fault.empty() || !onto.fault.empty())
            continue;
        RigidMotion start = between(__before, target, i);
        bool known = false;
        for (int k = target + 1; k < i && !known; ++k) {
            const Pair *near = pairOf(k, i), *far = pairOf(target, k);
            if (near != nullptr && far != nullptr && isSure(near->match) && isSure(far->match)) {
                start = far->match.motion * near->match.motion;
                known = true;
            }
        }
        if (known && __options.method == AlignmentMethod::PrincipalAxes)
            continue;
        Pair pair{target, i, matched(source, onto, start, __options, !known)};
        if (first && mayBeMirrored(pair, start) &&
            SectionAligner::isClearlyMirrored(*source.section, *onto.section, pair.match)) {
            __report.slices[std::size_t(i)].mirrored = true;
            return;
        }
        if (pair.match.found && first)
            __scores.push_back(pair.match.score);
        first = first && !pair.match.found;
        if (pair.match.found)
            __fits[std::size_t(i)] = __fits[std::size_t(target)] = true;
        __pairIndex[{target, i}] = __pairs.size();
        __pairs.push_back(pair);
    }
}

void Alignment::matchAll() {
    for (int i = 0; i < __numSlices && !__progress.isCanceled(); ++i) {
        if (i >= __options.first - reach && i <= __last + reach) {
            section(i);
            matchSlice(i);
        }
        if (!__progress.isCanceled())
            __numMatched = i + 1;
        step();
    }
}

/// Pairs of which nothing was found, or what disagrees with the rest, once more from where the rest brings them: of
/// sections that look alike in several places, or are faint, one alone may lead astray.
void Alignment::matchAgain() {
    if (__options.method == AlignmentMethod::PrincipalAxes)
        return;
    bool changed = false;
    for (Pair& pair : __pairs) {
        if (__progress.isCanceled())
            break;
        const RigidMotion start = between(__places, pair.target, pair.source);
        if (pair.source > __last || pair.source - pair.target > reach ||
            (pair.match.found && meanDistance(start, pair.match.motion, __size, __size) <= farOff * __size))
            continue;
        const SliceSection source = section(pair.source), target = section(pair.target);
        if (!source.fault.empty() || !target.fault.empty())
            continue;
        const SectionMatch match = matched(source, target, start, __options, false);
        if (!match.found || (pair.match.found && match.score < 0.9 * pair.match.score))
            continue;
        pair.match = match;
        __fits[std::size_t(pair.source)] = __fits[std::size_t(pair.target)] = true;
        changed = true;
    }
    if (changed)
        solve();
}

/// Each slice on the fixed one, beginning where the neighbours brought it.
void Alignment::matchFixed() {
    const int fixed = __options.fixedSlice;
    const SliceSection base = section(fixed);
    if (!base.fault.empty())
        return;
    solve();
    for (int i = 0; i < __numMatched && !__progress.isCanceled(); ++i) {
        const int target = std::min(i, fixed), source = std::max(i, fixed);
        // A locked slice between them stays on the one before it, whatever the fixed one says.
        const auto locked = __isLocked.begin();
        const bool held = std::any_of(locked + target + 1, locked + source + 1, [](bool isLocked) { return isLocked; });
        if (i == fixed || pairOf(target, source) != nullptr || held || (!mayMove(i) && !mayMove(fixed)))
            continue;
        const SliceSection& moving = section(i);
        if (!moving.fault.empty())
            continue;
        SectionMatch match = matched(moving, base, between(__places, fixed, i), __options, false);
        if (target == i) {
            match.middle = match.motion.apply(match.middle);
            match.motion = match.motion.inverse();
        }
        if (!match.found)
            continue;
        __pairIndex[{target, source}] = __pairs.size();
        __pairs.push_back({target, source, match});
    }
}

void Alignment::solve() {
    MotionChain chain(__before, __size);
    for (int i = 1; i < __numSlices; ++i)
        if (!mayMove(i) || i >= __numMatched)
            chain.keepStep(i);
    for (const Pair& pair : __pairs) {
        // Slices behind the range follow its last one as they are, and have no say in where it goes.
        if (!pair.match.found || pair.source > __last)
            continue;
        const int distance = pair.source - pair.target;
        const bool fixed = __options.reference == AlignmentReference::FixedSlice &&
                           (pair.source == __options.fixedSlice || pair.target == __options.fixedSlice);
        // Sections further apart differ more; those that hold on to a fixed one count for it.
        const double quality = qualityOf(pair.match);
        const double spread = pair.match.angleSpread / knownAngle;
        chain.add({pair.target, pair.source, pair.match.motion, quality * (fixed ? 20 : 1.0 / distance),
                   1 / (1 + spread * spread), pair.match.middle});
    }
    chain.solve();
    __places = chain.places();
}

/// Each slice on the median of its neighbours as they lie now.
void Alignment::matchTemplates() {
    const int half = std::max(1, __options.window / 2);
    std::vector<RigidMotion> result = __places;
    for (int i = 1; i < __numMatched && !__progress.isCanceled(); ++i) {
        if (!mayMove(i) || !__fits[std::size_t(i)])
            continue;
        const SliceSection moving = section(i);
        std::vector<SectionAligner::SectionPointer> around;
        std::vector<RigidMotion> motions;
        for (int k = std::max(0, i - half); k <= std::min(__numMatched - 1, i + half); ++k) {
            if (k == i || !__fits[std::size_t(k)] || !__faults[std::size_t(k)].empty())
                continue;
            const SliceSection& neighbour = section(k);
            if (!neighbour.fault.empty())
                continue;
            around.push_back(neighbour.section);
            motions.push_back(between(__places, i, k));
        }
        if (around.size() < 2 || !moving.fault.empty())
            continue;
        // In the frame of the slice itself, where it lies now.
        const auto median = SectionAligner::medianOf(around, motions, *moving.section);
        const AlignmentMethod method = __options.method == AlignmentMethod::MutualInformation
                                           ? AlignmentMethod::MutualInformation
                                           : AlignmentMethod::Intensity;
        const SectionMatch match = SectionAligner::match(*moving.section, *median, {}, method, false);
        if (match.found)
            result[std::size_t(i)] = __places[std::size_t(i)] * match.motion;
    }
    __places = result;
}

/// What the slices moved is smoothed over the window, by lines fitted with weights around each, and taken back: their
/// jitter goes, and a bend stays.
void Alignment::keepSlowCourse() {
    const double sigma = std::max(1, __options.window);
    const int far = int(std::ceil(3 * sigma));
    const auto smoothed = [&](int i, double RigidMotion::*part) {
        double n = 0, u = 0, uu = 0, v = 0, uv = 0;
        for (int k = std::max(0, i - far); k <= std::min(__numSlices - 1, i + far); ++k) {
            const double w = std::exp(-0.5 * (k - i) * (k - i) / (sigma * sigma));
            const double change = __places[std::size_t(k)].*part - __before[std::size_t(k)].*part;
            n += w;
            u += w * (k - i);
            uu += w * (k - i) * (k - i);
            v += w * change;
            uv += w * (k - i) * change;
        }
        const double determinant = n * uu - u * u;
        return determinant > 1e-9 ? (uu * v - u * uv) / determinant : v / n;
    };
    std::vector<RigidMotion> result = __places;
    for (int i = 0; i < __numSlices; ++i)
        for (double RigidMotion::*part : {&RigidMotion::angle, &RigidMotion::x, &RigidMotion::y})
            result[std::size_t(i)].*part -= smoothed(i, part);
    // The first slice stays: all go with it.
    const RigidMotion back = __before[0] * result[0].inverse();
    for (int i = 0; i < __numSlices; ++i)
        __places[std::size_t(i)] = back * result[std::size_t(i)];
}

/// The nearest slice before that is like this one; else the nearest that shows anything.
int Alignment::partnerOf(int i) const {
    int nearest = -1;
    for (int k = i - 1; k >= 0 && k >= i - reach; --k) {
        if (!__faults[std::size_t(k)].empty())
            continue;
        if (__fits[std::size_t(k)] || !__fits[std::size_t(i)])
            return k;
        nearest = nearest < 0 ? k : nearest;
    }
    return nearest;
}

void Alignment::chooseFor(int i, std::vector<RigidMotion>& chosen) {
    SliceAlignment& entry = __report.slices[std::size_t(i)];
    const StackSlice& slice = __stack.getSlice(i);
    const RigidMotion kept = chosen[std::size_t(i - 1)] * between(__before, i - 1, i);
    chosen[std::size_t(i)] = kept;
    entry.state = mayMove(i) ? State::LeftAlone : State::Locked;
    if (i >= __numMatched) {
        entry.reason = mayMove(i) ? "the run was stopped before it" : "";
        return;
    }
    const SliceSection source = section(i);
    if (!source.fault.empty()) {
        entry.reason = source.fault;
        return;
    }
    const int partner = partnerOf(i);
    if (partner < 0) {
        entry.reason = "no slice before it shows anything";
        return;
    }
    const SliceSection target = section(partner);
    if (!target.fault.empty()) {
        entry.reason = target.fault;
        return;
    }
    const Pair* const pair = pairOf(partner, i);
    const AlignmentMethod measure = scoredBy(__options.method, pair == nullptr ? nullptr : &pair->match);
    const auto scored = [&](const RigidMotion& place) {
        return SectionAligner::score(*source.section, *target.section, chosen[std::size_t(partner)].inverse() * place,
                                     measure);
    };
    entry.onto = partner;
    entry.scoreBefore = SectionAligner::score(*source.section, *target.section, between(__before, partner, i), measure);
    entry.scoreAfter = scored(kept);
    if (!mayMove(i))
        return;
    if (pair != nullptr) {
        entry.support = pair->match.support;
        entry.method = pair->match.found ? wordOf(pair->match.method) : "";
    }
    if (!__fits[std::size_t(i)]) {
        entry.reason = entry.mirrored ? "mirrored: it fits when it is turned over"
                                      : misfit(source, "it fits none of its neighbours");
        return;
    }
    entry.turnDoubt = turnDoubtOf(spreadBetween(partner, i, &SectionMatch::angleSpread, 0.5 * fullTurn));
    entry.shiftDoubt = 2 * spreadBetween(partner, i, &SectionMatch::shiftSpread, __size) / source.pixel;
    // Where all pairs together bring it, else the one pair alone, but never where it fits less than it did.
    std::vector<RigidMotion> candidates = {chosen[std::size_t(partner)] * between(__places, partner, i)};
    if (pair != nullptr && pair->match.found && __options.reference != AlignmentReference::SmoothedPath)
        candidates.push_back(chosen[std::size_t(partner)] * pair->match.motion);
    for (const RigidMotion& candidate : candidates) {
        const Registration registration = registrationOfStep(slice, chosen[std::size_t(i - 1)].inverse() * candidate);
        const RigidMotion place = chosen[std::size_t(i - 1)] * stepOf(slice, registration); // as it is kept
        const double moved =
            meanDistance(stepOf(slice, entry.before), stepOf(slice, registration), source.width, source.height) /
            source.pixel;
        if (moved < noMove) {
            entry.state = State::Unchanged;
            remarkOnDoubts(entry);
            return;
        }
        const double score = scored(place);
        if (score + noDifference < std::max(entry.scoreBefore, entry.scoreAfter))
            continue;
        entry.after = registration;
        entry.scoreAfter = score;
        entry.moved = moved;
        entry.state = State::Registered;
        chosen[std::size_t(i)] = place;
        // Not the slice behind such a one, which only seems so beside it.
        const double world = std::remainder(place.angle - __before[std::size_t(i)].angle, fullTurn);
        const double turn = std::abs(std::remainder(double(entry.after.getRotationAngle()), 360.0));
        if (turn > 135 && std::abs(world) > 0.375 * fullTurn)
            entry.reason = "it lay upside down";
        remarkOnDoubts(entry);
        return;
    }
    entry.reason = "nothing fits better than what was there";
}

void Alignment::choose() {
    std::vector<RigidMotion> chosen = __before;
    SliceAlignment& first = __report.slices[0];
    first.state = State::First;
    first.reason = section(0).fault;
    for (int i = 1; i < __numSlices; ++i) {
        chooseFor(i, chosen);
        step();
    }
}

/// Slices that fit nothing are looked at from behind.
void Alignment::nameMirrored() {
    if (__options.method == AlignmentMethod::PrincipalAxes)
        return;
    for (int i = 0; i < __numMatched && !__progress.isCanceled(); ++i) {
        if (__fits[std::size_t(i)] || __report.slices[std::size_t(i)].mirrored || !__faults[std::size_t(i)].empty() ||
            (i > 0 && !mayMove(i)))
            continue;
        for (const int other : {i - 1, i + 1, i - 2, i + 2}) {
            if (other < 0 || other >= __numMatched || !__faults[std::size_t(other)].empty())
                continue;
            // Of two slices that fit nothing neither is known to be the right way round, unless there are but two.
            if (!__fits[std::size_t(other)] && __numSlices > 2)
                continue;
            const SliceSection source = section(i), target = section(other);
            if (source.fault.empty() && target.fault.empty() &&
                SectionAligner::isMirrored(*source.section, *target.section, between(__before, other, i))) {
                __report.slices[std::size_t(i)].mirrored = true;
                break;
            }
        }
    }
}

RegistrationReport Alignment::run() {
    __progress.notifyStarted("Running automatic registration...");
    matchAll();
    if (__options.reference == AlignmentReference::FixedSlice)
        matchFixed();
    solve();
    matchAgain();
    nameMirrored();
    if (__options.reference == AlignmentReference::SmoothedPath)
        keepSlowCourse();
    if (__options.reference == AlignmentReference::Template)
        matchTemplates();
    choose();
    __report.cancelled = __progress.isCanceled();
    if (__report.cancelled)
        __progress.notifyCanceled("");
    else
        __progress.notifyFinished("");
    return std::move(__report);
}

Outcome checkOptions(const Stack& stack, const AlignmentOptions& options) {
    const int n = stack.getNumSlices();
    if (n < 2)
        return Outcome::refused("A registration needs at least two slices");
    const int last = options.last < 0 ? n - 1 : options.last;
    if (options.first < 0 || options.first > last || last >= n)
        return Outcome::refused("The range of slices is not in this stack");
    if (options.reference == AlignmentReference::FixedSlice && (options.fixedSlice < 0 || options.fixedSlice >= n))
        return Outcome::refused("The reference slice is not in this stack");
    for (const int i : options.locked)
        if (i < 0 || i >= n)
            return Outcome::refused("A locked slice is not in this stack");
    return Outcome::done();
}

} // namespace

const char* SliceAlignment::stateWord() const {
    switch (state) {
    case State::Registered:
        return "registered";
    case State::Unchanged:
        return "unchanged";
    case State::Locked:
        return "locked";
    case State::First:
        return "first";
    default:
        return "left alone";
    }
}

double RegistrationReport::meanScoreBefore() const {
    double sum = 0;
    int n = 0;
    for (const SliceAlignment& one : slices)
        if (one.onto >= 0) {
            sum += one.scoreBefore;
            ++n;
        }
    return n > 0 ? sum / n : 0;
}

double RegistrationReport::meanScoreAfter() const {
    double sum = 0;
    int n = 0;
    for (const SliceAlignment& one : slices)
        if (one.onto >= 0) {
            sum += one.scoreAfter;
            ++n;
        }
    return n > 0 ? sum / n : 0;
}

int RegistrationReport::count(SliceAlignment::State state) const {
    return int(
        std::count_if(slices.begin(), slices.end(), [&](const SliceAlignment& one) { return one.state == state; }));
}

double registrationScore(const StackSlice& slice, const StackSlice& onto, const Registration& registration,
                         bool* isComparable) {
    const SectionImage source = sectionImageOf(slice), target = sectionImageOf(onto);
    const double pixel = std::max(SectionAligner::workingPixel(source), SectionAligner::workingPixel(target));
    const auto moving = SectionAligner::prepare(source, pixel), fixed = SectionAligner::prepare(target, pixel);
    if (isComparable != nullptr)
        *isComparable = SectionAligner::fault(*moving).empty() && SectionAligner::fault(*fixed).empty();
    return SectionAligner::score(*moving, *fixed, stepOf(slice, registration));
}

SliceAlignment registerPair(const StackSlice& slice, const StackSlice& onto, const Registration& start,
                            const AlignmentOptions& options) {
    SliceAlignment entry;
    entry.name = slice.getName();
    entry.before = entry.after = start;
    double pixel = 0;
    for (const StackSlice* one : {&slice, &onto})
        if (!one->isEmpty())
            pixel = std::max(pixel, workingPixelOfSlice(*one));
    const SliceSection source = sliceSection(slice, pixel, options.method),
                       target = sliceSection(onto, pixel, options.method);
    if (!source.fault.empty() || !target.fault.empty()) {
        entry.reason = !source.fault.empty() ? source.fault : "the other slice: " + target.fault;
        return entry;
    }
    const RigidMotion before = stepOf(slice, start);
    const SectionMatch match = matched(source, target, before, options, true);
    const AlignmentMethod measure = scoredBy(options.method, &match);
    entry.scoreBefore = entry.scoreAfter = SectionAligner::score(*source.section, *target.section, before, measure);
    entry.support = match.support;
    if (!match.found) {
        entry.mirrored = options.method != AlignmentMethod::PrincipalAxes &&
                         SectionAligner::isMirrored(*source.section, *target.section, before);
        const std::string other = weaknessOf(target);
        entry.reason = entry.mirrored                                 ? "mirrored: it fits when it is turned over"
                       : !other.empty() && weaknessOf(source).empty() ? "the other slice: " + other
                                                                      : misfit(source, "the two slices don't fit");
        return entry;
    }
    entry.method = wordOf(match.method);
    entry.turnDoubt = turnDoubtOf(match.angleSpread);
    entry.shiftDoubt = 2 * match.shiftSpread / source.pixel;
    const Registration found = registrationOfStep(slice, match.motion);
    const double moved = meanDistance(before, stepOf(slice, found), source.width, source.height) / source.pixel;
    if (moved < noMove) {
        entry.state = State::Unchanged;
        remarkOnDoubts(entry);
        return entry;
    }
    const double score = SectionAligner::score(*source.section, *target.section, stepOf(slice, found), measure);
    if (score + noDifference < entry.scoreBefore) {
        entry.reason = "nothing fits better than what was there";
        return entry;
    }
    entry.after = found;
    entry.scoreAfter = score;
    entry.moved = moved;
    entry.state = State::Registered;
    remarkOnDoubts(entry);
    return entry;
}

RegistrationReport findAlignment(const Stack& stack, const AlignmentOptions& options, ProgressSubject& progress) {
    if (const Outcome good = checkOptions(stack, options); !good)
        throw UsageError("RegistrationReport findAlignment(...)", good.getReason());
    return Alignment(stack, options, progress).run();
}

Outcome registerSlices(VRLStack& stack, const AlignmentOptions& options, ProgressSubject& progress,
                       RegistrationReport* report) {
    if (const Outcome good = checkOptions(stack, options); !good)
        return good;
    RegistrationReport found = findAlignment(stack, options, progress);
    std::vector<Registration> registrations;
    registrations.reserve(found.slices.size());
    for (const SliceAlignment& one : found.slices)
        registrations.push_back(one.after);
    const bool changes = std::any_of(found.slices.begin(), found.slices.end(),
                                     [](const SliceAlignment& one) { return !(one.before == one.after); });
    if (report != nullptr)
        *report = std::move(found);
    return changes ? setRegistrations(stack, registrations) : Outcome::done();
}

} // namespace vorlen
