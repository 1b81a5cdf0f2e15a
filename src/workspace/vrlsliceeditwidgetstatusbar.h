#pragma once

#include "workspace/vrlslicewidgetstatusbar.h"

/// Status bar of the slice editor: one more field for the word of the edit mode, such as "READY" or "CREATE".
class VRLSliceEditWidgetStatusBar : public VRLSliceWidgetStatusBar {
    Q_OBJECT

public:
    explicit VRLSliceEditWidgetStatusBar(QWidget* parent = nullptr);

    void setEditModeInfo(const QString& text);
    QString getEditModeInfo() const;

private:
    QLabel* __editMode;
};
