#pragma once

#include <QRect>
#include <QSize>
#include <QString>

class QWidget;

namespace vorlen {

/// Where a window of this place and size goes, so that it is on a screen as a whole: no larger than what the screen has
/// to offer, and moved as far as that takes. The screen is the one where the middle of its upper edge lies, else the
/// primary one, in whose upper left corner it is put.
QRect placedOnScreen(const QRect& wanted);

/// For a window or dialog that is about to be shown: keeps it on its screen, no larger than that. A dialog whose fields
/// need more room than there is gets scroll bars, but not one of Qt itself. A dialog of files gets the size that the
/// last one was given by the user. Nothing for other widgets.
///
/// The frame that the desktop puts around a window is known only when it is there: the window is brought back onto the
/// screen once more then.
void fitOnScreen(QWidget& window);

/// Puts a window where it was when it was open last, or else into the upper left corner in the size given, and keeps
/// its place from then on: under NAME/pos and NAME/size in the settings. A window that was maximized is so again, with
/// the place that it had before as the one to come back to.
void keepPlace(QWidget& window, const QString& name, const QSize& size);

} // namespace vorlen
