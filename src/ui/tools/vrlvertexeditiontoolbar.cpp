#include "ui/tools/vrlvertexeditiontoolbar.h"

#include <QCloseEvent>
#include <QCoreApplication>
#include <QHBoxLayout>
#include <QKeyEvent>

namespace vorlen {

VRLVertexEditionToolBar::VRLVertexEditionToolBar(QWidget* parent)
    : QWidget(parent, Qt::Tool | Qt::WindowStaysOnTopHint) {
    setWindowTitle("Vertex edition tools");
    setAttribute(Qt::WA_ShowWithoutActivating);
    __toolBar = new QToolBar(this);
    __toolBar->setIconSize(QSize(32, 32));
    auto* const layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(__toolBar);
}

void VRLVertexEditionToolBar::addAction(QAction* action) {
    __toolBar->addAction(action);
}

void VRLVertexEditionToolBar::keyPressEvent(QKeyEvent* event) {
    QCoreApplication::sendEvent(parentWidget(), event);
}

void VRLVertexEditionToolBar::closeEvent(QCloseEvent* event) {
    QWidget::closeEvent(event);
    emit closed();
}

} // namespace vorlen
