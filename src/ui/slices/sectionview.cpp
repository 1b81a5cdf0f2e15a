#include "ui/slices/sectionview.h"

#include <algorithm>
#include <cmath>
#include <exception>

#include "images/rasters/image.h"
#include "images/sections/sectionsource.h"
#include "numerics/exception.h"
#include "values/imagesource.h"

namespace vorlen {

namespace {

/// Runs work of a thread, which no error may leave.
template <class Work>
void quietly(Work&& work) {
    try {
        work();
    } catch (const Exception&) {      // NOLINT(bugprone-empty-catch): what is not there is not drawn
    } catch (const std::exception&) { // NOLINT(bugprone-empty-catch)
    }
}

} // namespace

SectionView::SectionView(const ImageSource& source, QObject* parent) : QObject(parent), __source(source.clone()) {
    __worker = std::jthread([this](const std::stop_token& stop) { work(stop); });
}

SectionView::~SectionView() {
    __worker.request_stop();
    {
        const std::lock_guard lock(__mutex);
        __reading.request_stop();
    }
    __worker.join(); // the builder is its own afterwards
    if (__builder.joinable()) {
        __builder.request_stop();
        __builder.join();
    }
}

bool SectionView::shows(const ImageSource& source) const {
    return __source->isSameImage(source);
}

std::shared_ptr<TiledSection> SectionView::getSection() {
    const std::lock_guard lock(__mutex);
    return __section;
}

void SectionView::work(const std::stop_token& stop) {
    std::shared_ptr<TiledSection> section;
    quietly([&] { section = openLargeSection(*__source); });
    if (section == nullptr)
        return;
    {
        const std::lock_guard lock(__mutex);
        __section = section;
    }
    if (!section->isBuilt())
        __builder = std::jthread([this, section](const std::stop_token& stopped) {
            quietly([&] {
                if (section->build(stopped))
                    emit changed();
            });
        });
    emit changed();
    while (!stop.stop_requested()) {
        Request request{};
        std::stop_token wanted;
        {
            std::unique_lock lock(__mutex);
            if (!__asked.wait(lock, stop, [this] { return __request.has_value(); }))
                return;
            request = *__request;
            __request.reset();
            __reading = std::stop_source();
            wanted = __reading.get_token();
        }
        quietly([&] { section->load(request.level, request.window, wanted, [this] { emit changed(); }); });
    }
}

std::vector<SectionView::Piece> SectionView::piecesIn(const QRect& view, double reduction) {
    std::vector<Piece> pieces;
    const std::lock_guard lock(__mutex);
    const QRect seen = view & (__section != nullptr
                                   ? QRect(0, 0, __section->getHeader().getWidth(), __section->getHeader().getHeight())
                                   : QRect());
    if (seen.isEmpty())
        return pieces;
    const std::vector<TiledSection::Level> levels = __section->getLevels();
    const int finest = __section->levelFor(reduction);
    // Coarser tiles that happen to be there lie under the finer ones, as long as some of these are missing.
    for (int level = std::min(finest + 2, int(levels.size()) - 1); level >= finest && level >= 0; --level) {
        const TiledSection::Level& size = levels[std::size_t(level)];
        const auto pixel = [&](int place, int end) {
            return std::clamp(int(std::floor(place / size.reduction)), 0, end - 1);
        };
        const int left = pixel(seen.left(), size.width), top = pixel(seen.top(), size.height);
        const int right = pixel(seen.right(), size.width), bottom = pixel(seen.bottom(), size.height);
        constexpr int side = TiledSection::tileSide;
        bool all = true;
        const auto numCoarser = std::ptrdiff_t(pieces.size());
        for (int row = top / side; row <= bottom / side; ++row)
            for (int column = left / side; column <= right / side; ++column) {
                TiledSection::Tile tile = __section->findTile(level, column, row);
                all = all && tile != nullptr;
                if (tile == nullptr)
                    continue;
                const double width = tile->getWidth(), height = tile->getHeight();
                pieces.push_back({std::move(tile), QRectF(column * side * size.reduction, row * side * size.reduction,
                                                          width * size.reduction, height * size.reduction)});
            }
        if (level == finest && all)
            pieces.erase(pieces.begin(), pieces.begin() + numCoarser);
        const Request request{level, {left, top, right - left + 1, bottom - top + 1}};
        if (level != finest || all || (__last && *__last == request))
            continue;
        __reading.request_stop();
        __last = __request = request;
        __asked.notify_one();
    }
    return pieces;
}

} // namespace vorlen
