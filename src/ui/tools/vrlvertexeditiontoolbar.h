#pragma once

#include <QToolBar>
#include <QWidget>

namespace vorlen {

/// A small window of its own, on top of the others, with the commands of the edition of vertices.
class VRLVertexEditionToolBar : public QWidget {
    Q_OBJECT

public:
    explicit VRLVertexEditionToolBar(QWidget* parent = nullptr);

    /// Puts the action behind the others on the bar.
    void addAction(QAction* action);

signals:
    /// The user has closed the window.
    void closed();

protected:
    /// Passed on to the parent, where keys are looked after.
    void keyPressEvent(QKeyEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    QToolBar* __toolBar;
};

} // namespace vorlen
