#pragma once

#include <QStringList>

namespace vorlen {

/// The name filters of dialogs for images: all that can be read, in any mix of small and capital letters, and all
/// files.
QStringList imageNameFilters();

/// Whether the suffix is one of an image.
bool isImageName(const QString& name);

} // namespace vorlen
