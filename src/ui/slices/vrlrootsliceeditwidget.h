#pragma once

#include <QPoint>

#include "ui/slices/vrlsliceeditwidget.h"

namespace vorlen {

class VRLRootSliceEditWidgetMediator;

/// The slice editor of a root window. All root windows share one image server.
class VRLRootSliceEditWidget : public VRLSliceEditWidget {
    Q_OBJECT

public:
    explicit VRLRootSliceEditWidget(QWidget* parent = nullptr);

    VRLImageWidgetMediator* newMediator() override;

    VRLRootSliceEditWidgetMediator& getMediator() const;

public slots:
    /// Moves the view, and tells where it came to lie.
    void setViewOrigin(const QPoint& origin);
};

} // namespace vorlen
