#pragma once

#include "ui/slices/vrlimagewidgetstatusbar.h"

namespace vorlen {

/// Status bar of a slice widget: one more field for what is drawn on the slice.
class VRLSliceWidgetStatusBar : public VRLImageWidgetStatusBar {
    Q_OBJECT

public:
    explicit VRLSliceWidgetStatusBar(QWidget* parent = nullptr);

    void setSliceInfo(const QString& text);
    QString getSliceInfo() const;

private:
    QLabel* __slice;
};

} // namespace vorlen
