#pragma once

#include <QCoreApplication>

namespace vorlen {

/// As long as it lives, every move of the mouse comes to the program. Otherwise those that wait are merged to the last
/// one: of a quick stroke that is drawn over a large picture a few corners are left.
///
/// For a stroke alone: what does costly work at each move is better off with the last one.
class EveryMove {
public:
    EveryMove() { QCoreApplication::setAttribute(Qt::AA_CompressHighFrequencyEvents, false); }
    ~EveryMove() { QCoreApplication::setAttribute(Qt::AA_CompressHighFrequencyEvents, true); }
    EveryMove(const EveryMove&) = delete;
    EveryMove& operator=(const EveryMove&) = delete;
};

} // namespace vorlen
