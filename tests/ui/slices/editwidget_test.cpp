#include "ui/slices/widgetfixture.h"

#include "numerics/exception.h"

#include <QContextMenuEvent>
#include <QMenu>
#include <QTimer>

namespace vorlen {

class EditWidgetTest : public WidgetTest {
protected:
    /// Asks for the context menu; true when there was one. It is closed by Escape after doing something with it.
    bool askForMenu(const std::function<void(QMenu&)>& use = {}) {
        bool seen = false;
        QTimer::singleShot(0, [&] {
            if (auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget())) {
                seen = true;
                if (use)
                    use(*menu);
                menu->close();
            }
        });
        QContextMenuEvent event(QContextMenuEvent::Mouse, QPoint(5, 5), canvas->mapToGlobal(QPoint(5, 5)));
        QCoreApplication::sendEvent(canvas, &event);
        return seen;
    }
};

TEST_F(EditWidgetTest, theContextMenuHoldsTheAddedActionsInOrder) {
    show(100, 100);
    QAction first("First", nullptr);
    auto* gone = new QAction("Gone", nullptr);
    QAction second("Second", nullptr);
    mediator->addContextualMenuAction(&first);
    mediator->addContextualMenuAction(gone);
    mediator->addContextualMenuAction(&second);
    delete gone;
    EXPECT_FALSE(askForMenu()); // no slice
    showSlice(addSlice(fourCorners(10, 10)));
    QStringList texts;
    QSignalSpy triggered(&second, &QAction::triggered);
    EXPECT_TRUE(askForMenu([&](QMenu& menu) {
        for (const QAction* each : menu.actions())
            texts << each->text();
        menu.actions().last()->trigger();
    }));
    ASSERT_GE(texts.size(), 2);
    EXPECT_EQ(texts.mid(texts.size() - 2), QStringList({"First", "Second"}));
    EXPECT_EQ(triggered.count(), 1);
}

TEST_F(EditWidgetTest, locksAndEditModesAreTold) {
    QSignalSpy locks(mediator, &VRLSliceEditWidgetMediator::lockRequested);
    mediator->requestLock(true);
    mediator->requestLock(false);
    ASSERT_EQ(locks.count(), 2);
    EXPECT_TRUE(locks[0][0].toBool());
    EXPECT_FALSE(locks[1][0].toBool());
    statusBar->setEditModeInfo("READY");
    EXPECT_EQ(statusBar->getEditModeInfo(), "READY");
}

TEST_F(EditWidgetTest, partsOfAnotherKindAreRefused) {
    VRLImageWidgetCanvas plainCanvas;
    VRLImageWidgetStatusBar plainBar;
    EXPECT_THROW(mediator->setCanvas(plainCanvas), ProgramError);
    EXPECT_THROW(mediator->setStatusBar(plainBar), ProgramError);
    EXPECT_THROW(widget->initialize(), ProgramError);
}

} // namespace vorlen
