#pragma once

#include <deque>
#include <functional>
#include <string>
#include <vector>

#include <QAbstractButton>
#include <QApplication>
#include <QDialog>
#include <QElapsedTimer>
#include <QFileDialog>
#include <QLineEdit>
#include <QListView>
#include <QMessageBox>
#include <QPointer>
#include <QProgressDialog>
#include <QSignalBlocker>
#include <QTimer>

#include <gtest/gtest.h>

namespace vorlen {

/// Plays the user in front of modal dialogs: each step is carried out on the next dialog that appears, or that comes
/// back to the front when a dialog of its own closes. A dialog that nobody expects, and a step whose dialog does not
/// come, are failures; no test hangs on them. Pictures of all dialogs go to the folder VORLEN_PICTURES, if there is
/// one, to be looked at.
class ModalScript {
public:
    using Step = std::function<void(QWidget&)>;

    ModalScript() {
        __timer.setInterval(2);
        QObject::connect(&__timer, &QTimer::timeout, [this] { look(); });
        __timer.start();
    }
    ~ModalScript() { EXPECT_TRUE(__steps.empty()) << __steps.size() << " dialogs did not appear"; }

    void then(Step step) { __steps.push_back(std::move(step)); }

    /// Clicks the button of this text.
    void thenClick(const QString& text) {
        then([text](QWidget& dialog) { click(dialog, text); });
    }

    /// Chooses the files in a file dialog.
    void thenChoose(const QStringList& files) {
        then([files](QWidget& widget) {
            auto* dialog = qobject_cast<QFileDialog*>(&widget);
            ASSERT_NE(dialog, nullptr);
            QStringList quoted;
            for (const QString& file : files)
                quoted += '"' + file + '"';
            // What is selected in the list, which may have come late, goes before the text; and changes the text.
            auto* const list = dialog->findChild<QListView*>("listView");
            const QSignalBlocker quiet(list->selectionModel());
            list->clearSelection();
            dialog->findChild<QLineEdit*>("fileNameEdit")->setText(files.size() == 1 ? files[0] : quoted.join(' '));
            static_cast<QDialog*>(dialog)->accept();
        });
    }

    void thenReject() {
        then([](QWidget& dialog) { static_cast<QDialog&>(dialog).reject(); });
    }

    static void click(QWidget& dialog, const QString& text) {
        QStringList seen;
        for (QAbstractButton* button : dialog.findChildren<QAbstractButton*>()) {
            QString label = button->text();
            label.remove('&');
            seen += label;
            if (label.trimmed() == text.trimmed()) {
                button->click();
                return;
            }
        }
        ADD_FAILURE() << "no button " << text.toStdString() << " among " << seen.join(", ").toStdString();
        static_cast<QDialog&>(dialog).reject();
    }

    /// Titles and, of message boxes, texts of all dialogs so far.
    std::vector<std::string> seen;

private:
    void look() {
        QWidget* modal = QApplication::activeModalWidget();
        if (modal == nullptr || !modal->isVisible())
            return;
        if (modal == __handled) {
            if (__sinceHandled.elapsed() > 30000) {
                ADD_FAILURE() << "a dialog does not close: " << modal->windowTitle().toStdString();
                static_cast<QDialog*>(modal)->reject();
            }
            return;
        }
        // Progress is shown on slow machines alone.
        if (__steps.empty() && qobject_cast<QProgressDialog*>(modal) != nullptr)
            return;
        __handled = modal;
        __sinceHandled.start();
        std::string text = modal->windowTitle().toStdString();
        if (const auto* box = qobject_cast<QMessageBox*>(modal))
            text += ": " + box->text().toStdString();
        seen.push_back(text);
        if (__steps.empty()) {
            ADD_FAILURE() << "unexpected dialog: " << text;
            static_cast<QDialog*>(modal)->reject();
            return;
        }
        const Step step = std::move(__steps.front());
        __steps.pop_front();
        // Not from here: a timer does not go off again while its own call runs, and the step may open another dialog.
        QTimer::singleShot(0, modal, [this, step, modal] {
            if (const QString folder = qEnvironmentVariable("VORLEN_PICTURES"); !folder.isEmpty())
                modal->grab().save(QString("%1/%2-%3.png").arg(folder).arg(seen.size()).arg(modal->windowTitle()));
            step(*modal);
        });
    }

    QTimer __timer;
    std::deque<Step> __steps;
    QPointer<QWidget> __handled;
    QElapsedTimer __sinceHandled;
};

} // namespace vorlen
