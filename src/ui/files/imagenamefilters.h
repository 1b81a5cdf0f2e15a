#pragma once

#include <QStringList>

class QFileDialog;

namespace vorlen {

/// The name filters of dialogs for images: all that can be read, in any mix of small and capital letters, and all
/// files.
QStringList imageNameFilters();

/// Gives the dialog name filters. The patterns of a filter with many are not shown.
void setFilters(QFileDialog& dialog, const QStringList& filters);

/// Whether the suffix is one of an image.
bool isImageName(const QString& name);

} // namespace vorlen
