#pragma once

#include <QFrame>

class QToolButton;

namespace vorlen {

/// The buttons above a rendering window's picture.
class VRLRenderingToolbar : public QFrame {
    Q_OBJECT

public:
    explicit VRLRenderingToolbar(QWidget* parent = nullptr);

public slots:
    /// The video button does not stay down.
    void recClicked();

signals:
    void homeClicked();
    void snapshotClicked();
    void randClicked();
    void videoStartClicked();
    void previousStackClicked();
    void nextStackClicked();

private:
    QToolButton* __addButton(const QString& icon, const QString& toolTip, void (VRLRenderingToolbar::*signal)());

    QToolButton* __videoButton;
};

} // namespace vorlen
