#pragma once

#include <QIcon>
#include <QPixmap>
#include <QString>
#include <QStringList>

namespace vorlen {

/// The pictures of commands and windows, drawn as SVG and compiled in.
///
/// An icon is drawn anew at each size and pixel density that is asked for, in the text colour of the application's
/// palette at that moment, so that it follows a change of theme by itself. A disabled icon is blended towards the
/// window's colour; a selected one takes the colour of highlighted text. The one accent colour of the set has a
/// lighter form for dark windows. Needs the application object; call from the main thread.
class VRLIcons {
public:
    /// The icon of a name from names(), also in its long form with "_xpm" at the end; a null icon for other names.
    static QIcon icon(const QString& name);

    /// Names of all icons, sorted. The logo is not among them.
    static QStringList names();

    /// The program's logo in a square of size x size pixels; a null pixmap for sizes below 1.
    static QPixmap logo(int size);

    /// The logo as a window's icon. It has colours of its own and is the same in all themes.
    static QIcon logo();
};

} // namespace vorlen
