#pragma once

#include <initializer_list>

#include <QHBoxLayout>
#include <QVBoxLayout>
#include <QWidget>

namespace vorlen {

/// Lays a pane out as a view that fills it, and below it a line of controls, which begin at the left.
inline void layOutPane(QWidget& pane, QWidget* view, std::initializer_list<QWidget*> controls) {
    auto* const layout = new QVBoxLayout(&pane);
    layout->setContentsMargins(0, 0, 0, 4);
    layout->setSpacing(4);
    layout->addWidget(view, 1);
    auto* const line = new QHBoxLayout;
    line->setContentsMargins(8, 0, 8, 0);
    for (QWidget* control : controls)
        line->addWidget(control);
    line->addStretch(1);
    layout->addLayout(line);
}

} // namespace vorlen
