#pragma once

#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <stop_token>
#include <thread>
#include <vector>

#include <QObject>
#include <QRect>
#include <QRectF>

#include "images/sections/tiledsection.h"

namespace vorlen {

class ImageSource;

/// The tiles of a section that is too large for memory, for a canvas that shows a part of it.
///
/// Tiles are read on a thread of this object's own: what is asked for by piecesIn() is there at once as far as it is in
/// memory, and the rest comes later, told by changed(). A new request ends the one before. Levels that the file lacks
/// are made on another thread, and kept. Errors leave out what can't be read: who shows the section has read its
/// overview before, and told why where that failed.
///
/// All operations belong to the main thread, where the signal arrives too. The destructor stops and joins the threads.
class SectionView : public QObject {
    Q_OBJECT

public:
    /// A tile, and where it lies in pixels of the full size.
    struct Piece {
        TiledSection::Tile tile;
        QRectF place;
    };

    /// Keeps a copy of the source, which must be a large one.
    explicit SectionView(const ImageSource& source, QObject* parent = nullptr);
    ~SectionView() override;

    /// Whether this is the section of a source.
    bool shows(const ImageSource& source) const;

    /// What the tiles come from; null until it is open.
    std::shared_ptr<TiledSection> getSection();

    /// What there is to be drawn over the overview for a rectangle of the full size, where so many of its pixels fall
    /// on one of the screen.
    std::vector<Piece> piecesIn(const QRect& view, double reduction);

signals:
    void changed();

private:
    struct Request {
        int level;
        PixelWindow window;

        bool operator==(const Request&) const = default;
    };

    void work(const std::stop_token& stop);

    std::unique_ptr<ImageSource> __source;
    std::mutex __mutex; // guards what follows
    std::condition_variable_any __asked;
    std::shared_ptr<TiledSection> __section; // null until it is open
    std::optional<Request> __request;
    std::optional<Request> __last; // what was asked for last, be it done or not
    std::stop_source __reading;
    std::jthread __builder; // made by the worker
    std::jthread __worker;
};

} // namespace vorlen
