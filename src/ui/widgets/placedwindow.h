#pragma once

#include <QRect>

namespace vorlen {

/// Where a window of this place and size goes, so that it is on a screen as a whole: no larger than what the screen has
/// to offer, and moved as far as that takes. The screen is the one where the middle of its upper edge lies, else the
/// primary one, in whose upper left corner it is put.
QRect placedOnScreen(const QRect& wanted);

} // namespace vorlen
