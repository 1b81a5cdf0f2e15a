/// Outlines a structure of the sample stack anew as a person would, by mouse and keys in the real windows, draws the
/// pictures of the user guide on the way, and saves the result, which can then be measured.
/// Usage: vorlen-guide STACK.sdf PICTURE_FOLDER OUTLINED.sdf
///
/// It needs a display; scripts/with-display gives it one of its own. Settings of the user are neither read nor changed.

#include <algorithm>
#include <cmath>
#include <functional>
#include <iostream>
#include <stdexcept>

#include <QAction>
#include <QCheckBox>
#include <QDialog>
#include <QElapsedTimer>
#include <QFile>
#include <QMenu>
#include <QMessageBox>
#include <QPainter>
#include <QPushButton>
#include <QSpinBox>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>
#include <QTimer>
#include <QTreeView>

#include "document/model.h"
#include "document/modelitem.h"
#include "document/stack.h"
#include "document/stackslice.h"
#include "document/stackwriter.h"
#include "editing/stacks/vrlstack.h"
#include "editing/stacks/vrlstackserver.h"
#include "numerics/exception.h"
#include "ui/app/vrlrootmediator.h"
#include "ui/app/vrlrootwindow.h"
#include "ui/app/workspace.h"
#include "ui/imageserver/vrlimageproxy.h"
#include "ui/models/modelpanel.h"
#include "ui/models/modeltable.h"
#include "ui/models/modelviews.h"
#include "ui/slices/vrlrootsliceeditwidget.h"
#include "ui/slices/vrlsliceeditwidgetcanvas.h"
#include "ui/slices/vrlsliceeditwidgetmediator.h"
#include "ui/widgets/vorlenapplication.h"

namespace vorlen {

namespace {

void wait(int milliseconds) {
    QElapsedTimer timer;
    for (timer.start(); timer.elapsed() < milliseconds; QThread::msleep(2))
        QApplication::processEvents();
}

/// The dialog on the window, as a person sees both.
QImage together(QWidget& window, QWidget* dialog) {
    QImage image = window.grab().toImage();
    if (dialog == nullptr)
        return image;
    const QImage front = dialog->grab().toImage();
    QRect frame = front.rect();
    frame.moveCenter(QPoint(image.width() / 4, image.height() * 3 / 5));
    frame.moveLeft(std::max(frame.left(), 24));
    QPainter painter(&image);
    for (int i = 12; i > 0; --i)
        painter.fillRect(frame.adjusted(-i, -i + 3, i, i + 3), QColor(0, 0, 0, 9));
    painter.drawImage(frame, front);
    painter.setPen(QColor(120, 120, 120));
    painter.drawRect(frame.adjusted(-1, -1, 0, 0));
    return image;
}

class Walk {
public:
    Walk(const QString& stack, const QString& pictures) : __pictures(pictures), __window(*new VRLRootWindow) {
        QObject::connect(&__timer, &QTimer::timeout, &__window, [this] { answerNext(); });
        __timer.start(20);
        __window.resize(1200, 800);
        __window.show();
        __window.activateWindow();
        if (!QTest::qWaitForWindowActive(&__window))
            throw std::runtime_error("the window does not get the keyboard");
        mediator().openStack(stack);
        if (mediator().currentStack() == nullptr)
            throw std::runtime_error("cannot open " + stack.toStdString());
    }

    ~Walk() {
        while (VRLStackServer::stackServer.getNumStacks() > 0)
            VRLStackServer::stackServer.removeStack(VRLStackServer::stackServer.getStack(0));
        delete &__window;
    }

    VRLRootMediator& mediator() { return __window.mediator(); }
    VRLSliceEditWidgetMediator& editor() { return __window.sliceWidget().VRLSliceEditWidget::getMediator(); }
    VRLSliceEditWidgetCanvas& canvas() { return __window.sliceWidget().VRLSliceEditWidget::getCanvas(); }
    Stack& stack() { return *mediator().currentStack(); }

    void show(int slice) {
        mediator().setSlice(stack().getSlice(slice));
        for (int i = 0; i < 1000 && !canvas().getImageProxy().hasImage(); ++i)
            wait(5);
    }

    void picture(const QString& name, QWidget* dialog = nullptr) {
        wait(100);
        if (!together(__window, dialog).save(__pictures + "/" + name))
            throw std::runtime_error("cannot write " + name.toStdString());
    }

    /// Where the pixel of the image is on the canvas.
    QPoint at(double x, double y) { return canvas().convertToPosition(QPointF(x + 0.5, y + 0.5)).toPoint(); }
    void press(double x, double y) { QTest::mousePress(&canvas(), Qt::LeftButton, {}, at(x, y)); }
    void release(double x, double y) { QTest::mouseRelease(&canvas(), Qt::LeftButton, {}, at(x, y)); }
    void click(double x, double y) {
        press(x, y);
        release(x, y);
        wait(10);
    }
    void moveTo(double x, double y) {
        QTest::mouseMove(&canvas(), at(x, y));
        wait(20);
    }
    void key(Qt::Key key) {
        __window.activateWindow(); // a dialog may have had the keyboard
        canvas().setFocus();
        if (!QTest::qWaitForWindowActive(&__window))
            throw std::runtime_error("the window does not get the keyboard");
        QTest::keyClick(&canvas(), key);
        wait(10);
    }

    /// Chooses from the context menu: a menu, perhaps a submenu, and the command.
    void choose(const QStringList& path) {
        wait(10); // commands follow the selection a moment later
        const std::unique_ptr<QMenu> menu = editor().newContextMenu();
        QMenu* level = menu.get();
        for (const QString& word : path) {
            QAction* found = nullptr;
            for (QAction* action : level->actions())
                if (action->text().remove('&') == word)
                    found = action;
            if (found == nullptr || !found->isEnabled())
                throw std::runtime_error("no command " + path.join(" > ").toStdString());
            if (found->menu() == nullptr)
                return found->trigger();
            level = found->menu();
        }
    }

    /// Makes a model current by a click in the panel of models.
    void chooseModel(const QString& name) {
        auto& list = *__window.workspace().models().findChild<QTreeView*>();
        for (int row = 0; row < list.model()->rowCount(); ++row) {
            const QModelIndex index = list.model()->index(row, ModelTable::Name);
            if (index.data().toString() == name)
                QTest::mouseClick(list.viewport(), Qt::LeftButton, {}, list.visualRect(index).center());
        }
        const Model* const current = editor().modelViews().getCurrent();
        if (current == nullptr || QString::fromStdString(current->getName()) != name)
            throw std::runtime_error("no model " + name.toStdString() + " in the panel");
    }

    /// What to do with the modal windows that the next commands open, one after the other.
    void answer(std::vector<std::function<void(QDialog&)>> answers) {
        __answers = std::move(answers);
        __answered = 0;
    }

    /// The truth of the walk: every expected window came.
    void checkAnswered(const std::string& what) {
        if (__answered != __answers.size())
            throw std::runtime_error(what + ": a window did not open");
    }

private:
    void answerNext() {
        auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
        if (dialog == nullptr || !dialog->isVisible() || dialog == __last)
            return;
        __last = dialog;
        QTimer::singleShot(30, dialog, [this, dialog] {
            if (__answered < __answers.size())
                return __answers[__answered++](*dialog);
            std::cerr << "unexpected window: " << dialog->windowTitle().toStdString() << '\n';
            dialog->reject();
        });
    }

    QString __pictures;
    VRLRootWindow& __window; // deletes itself when it is closed, which it is not
    std::vector<std::function<void(QDialog&)>> __answers;
    std::size_t __answered = 0;
    QTimer __timer;
    QPointer<QDialog> __last;
};

} // namespace

namespace {

constexpr int middle = 24; // a slice through the broadest part of the nucleus
constexpr int reach = 17;  // slices on each side over which it can be seen well

template <class Control>
Control& control(QWidget& parent, const std::function<bool(const Control&)>& wanted) {
    for (Control* candidate : parent.findChildren<Control*>())
        if (wanted(*candidate))
            return *candidate;
    throw std::runtime_error("a window has changed: a control is missing");
}

void check(QDialog& dialog, const QString& text) {
    control<QCheckBox>(
        dialog, [&](const QCheckBox& box) { return box.text() == text; })
        .setChecked(true);
}

ModelItem& itemOn(Model& model, const StackSlice& slice) {
    for (int i = 0; i < model.getNumItems(); ++i)
        if (model.getItem(i).getSlice() == &slice)
            return model.getItem(i);
    throw std::runtime_error("no outline on " + slice.getName());
}

/// Clicks on the model's outline on the slice that is shown, unless it is selected.
void select(Walk& walk, Model& model, int slice) {
    const ModelItem& item = itemOn(model, walk.stack().getSlice(slice));
    if (!item.getSelection().isComplete())
        walk.click(item.getVertices()[0][0], item.getVertices()[0][1]);
}

void removeOutlines(Walk& walk, const QString& model) {
    Model& nucleus = walk.stack().getModel(walk.stack().findModel(model.toStdString()));
    while (nucleus.getNumItems() > 0) {
        walk.show(walk.stack().findSlice(*nucleus.getItem(0).getSlice()));
        walk.choose({"Select", model});
        walk.key(Qt::Key_Delete);
    }
}

/// The snake's outlines have a vertex at each pixel, whose steps make them too long: an eighth of the vertices do.
void takeStepsAway(Walk& walk, Model& model) {
    for (int i = 0; i < model.getNumItems(); ++i) {
        const int slice = walk.stack().findSlice(*model.getItem(i).getSlice());
        walk.show(slice);
        select(walk, model, slice);
        const int size = std::max(model.getItem(i).getSize() / 8, 16);
        walk.answer({[size](QDialog& dialog) {
            control<QSpinBox>(dialog, [](const QSpinBox& box) {
                return box.accessibleName() == "Vertices";
            }).setValue(size);
            dialog.accept();
        }});
        walk.key(Qt::Key_R);
        walk.checkAnswered("the resampling");
    }
}

void walkThrough(Walk& walk) {
    const QString name = "Nucleus";
    Model& nucleus = walk.stack().getModel(walk.stack().findModel(name.toStdString()));
    removeOutlines(walk, name);

    walk.show(middle);
    walk.chooseModel(name);
    walk.key(Qt::Key_D);
    for (double angle = -2.2; angle < 1.4; angle += 0.2)
        walk.click(153 + 88 * std::cos(angle), 175 + 88 * std::sin(angle));
    walk.moveTo(165, 264);
    walk.picture("guide-drawing.png");
    walk.key(Qt::Key_Escape); // gives the drawing up; the tool stays on

    walk.key(Qt::Key_A);
    walk.press(50, 72);
    walk.moveTo(150, 200);
    walk.moveTo(256, 278);
    walk.release(256, 278);
    walk.picture("guide-automatic.png");
    walk.key(Qt::Key_Return);
    if (nucleus.getNumItems() != 1)
        throw std::runtime_error("the automatic outline was not taken");
    walk.key(Qt::Key_Q);

    select(walk, nucleus, middle);
    walk.answer({[&walk](QDialog& dialog) {
        control<QSpinBox>(dialog, [](const QSpinBox& box) {
            return box.accessibleName() == "Descriptors";
        }).setValue(6);
        walk.picture("guide-smoothing.png", &dialog);
        dialog.accept();
    }});
    walk.choose({"Edit", "Smooth (Fourier)"});
    walk.checkAnswered("the smoothing");

    select(walk, nucleus, middle);
    walk.answer({[&walk](QDialog& dialog) {
        check(dialog, "Run on every slice");
        check(dialog, "Use propagation");
        control<QSpinBox>(dialog, [](const QSpinBox& box) {
            return box.accessibleName() == "Slices on each side";
        }).setValue(reach);
        walk.picture("guide-snake.png", &dialog);
        dialog.accept();
    }});
    walk.key(Qt::Key_S);
    walk.checkAnswered("the snake");
    select(walk, nucleus, middle);
    walk.key(Qt::Key_Delete); // where the snake began there are two outlines now
    takeStepsAway(walk, nucleus);
    walk.show(middle + reach / 2);
    walk.picture("guide-outlined.png");
}

} // namespace

} // namespace vorlen

int main(int argc, char** argv) {
    using namespace vorlen;
    const QTemporaryDir home;
    qputenv("XDG_CONFIG_HOME", home.path().toLocal8Bit());
    const VorlenApplication application(argc, argv);
    const QStringList arguments = QApplication::arguments();
    if (arguments.size() != 4) {
        std::cerr << "Usage: vorlen-guide STACK.sdf PICTURE_FOLDER OUTLINED.sdf\n";
        return 2;
    }
    try {
        Walk walk(arguments[1], arguments[2]);
        walkThrough(walk);
        if (!StackWriter().write(walk.stack(), QFile::encodeName(arguments[3]).toStdString()))
            throw std::runtime_error("cannot write " + arguments[3].toStdString());
    } catch (const Exception& failure) {
        std::cerr << "vorlen-guide: " << failure.getWhat() << '\n';
        return 3;
    } catch (const std::exception& failure) {
        std::cerr << "vorlen-guide: " << failure.what() << '\n';
        return 3;
    }
    return 0;
}
