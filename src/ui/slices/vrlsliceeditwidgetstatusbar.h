#pragma once

#include "ui/slices/vrlslicewidgetstatusbar.h"

namespace vorlen {

/// Status bar of the slice editor: one more field for the word of the edit mode, such as "READY" or "CREATE", and a
/// hint about what the next input will do, which comes back whenever a message goes.
class VRLSliceEditWidgetStatusBar : public VRLSliceWidgetStatusBar {
    Q_OBJECT

public:
    explicit VRLSliceEditWidgetStatusBar(QWidget* parent = nullptr);

    void setEditModeInfo(const QString& text);
    QString getEditModeInfo() const;

    /// Replaces the hint. A message of somebody else gives way only when pressing.
    void setHint(const QString& hint, bool pressing);
    const QString& getHint() const { return __hint; }

private:
    QString __hint;
    QLabel* __editMode;
};

} // namespace vorlen
