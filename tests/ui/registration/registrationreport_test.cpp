#include <cmath>
#include <fstream>
#include <sstream>

#include <QComboBox>
#include <QFileDialog>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLineEdit>
#include <QPushButton>
#include <QSettings>
#include <QTableWidget>

#include <gtest/gtest.h>

#include "support/modalscript.h"
#include "support/temporaryfolder.h"
#include "ui/registration/registrationreportdialog.h"
#include "ui/registration/registrationreportfile.h"

namespace vorlen {

namespace {

constexpr const char* longRemark = "little tells how it is turned: it may be 10.5 degrees off";

/// Ten slices: the second one is registered, and the run was cancelled before the others.
RegistrationReport cancelledReport() {
    RegistrationReport report;
    report.cancelled = true;
    for (int i = 0; i < 10; ++i) {
        SliceAlignment one;
        one.slice = i;
        one.name = "s" + std::to_string(i);
        one.state = i == 0 ? SliceAlignment::State::First : SliceAlignment::State::LeftAlone;
        one.reason = i < 2 ? "" : i == 2 ? longRemark : "the run was cancelled, \"early\"";
        report.slices.push_back(one);
    }
    SliceAlignment& second = report.slices[1];
    second.state = SliceAlignment::State::Registered;
    second.onto = 0;
    second.after = Registration(2.5, -1, 350);
    second.scoreBefore = 0.5;
    second.scoreAfter = 0.875;
    second.method = "intensity";
    second.moved = 1.0 / 3;
    return report;
}

std::string contentsOf(const std::string& name) {
    std::ostringstream text;
    text << std::ifstream(name).rdbuf();
    return text.str();
}

} // namespace

TEST(RegistrationReportDialogTest, savesAsCsvAndAsJson) {
    QSettings().clear();
    const TemporaryFolder folder;
    ModalScript user;
    RegistrationReportDialog dialog;
    dialog.setReport(cancelledReport());
    dialog.show();
    const auto saveAs = [&](const QString& filter, const std::string& name) {
        user.then([&, filter](QWidget& widget) {
            auto& files = dynamic_cast<QFileDialog&>(widget);
            auto* const filters = files.findChild<QComboBox*>("fileTypeCombo");
            const int at = filters->findText(filter, Qt::MatchStartsWith);
            ASSERT_GE(at, 0) << filter.toStdString();
            filters->setCurrentIndex(at);
            emit filters->activated(at); // as a user does it
            emit filters->textActivated(filters->itemText(at));
            files.findChild<QLineEdit*>("fileNameEdit")->setText(QString::fromStdString(folder.file(name)));
            static_cast<QDialog&>(files).accept();
        });
        ModalScript::click(dialog, "Save...");
    };
    saveAs("Comma", "run");
    const std::string csv = contentsOf(folder.file("run.csv"));
    EXPECT_NE(csv.find("Slice,Onto,HorShift [pixel]"), std::string::npos) << csv;
    EXPECT_NE(csv.find("s1,s0,2.5,-1,350,0.3333333333333333,,,0.5,0.875,0,intensity,registered,\n"), std::string::npos)
        << csv;
    EXPECT_NE(csv.find("s3,,0,0,0,0,,,,,,,left alone,\"the run was cancelled, \"\"early\"\"\"\n"), std::string::npos)
        << csv;

    saveAs("JSON", "run");
    const QJsonObject whole =
        QJsonDocument::fromJson(QByteArray::fromStdString(contentsOf(folder.file("run.json")))).object();
    EXPECT_EQ(whole["registered"], 1);
    ASSERT_EQ(whole["slices"].toArray().size(), 10);
    const QJsonObject second = whole["slices"].toArray()[1].toObject();
    EXPECT_EQ(second["onto"], "s0");
    EXPECT_EQ(second["moved"], 1.0 / 3);
    EXPECT_EQ(second["after"], (QJsonArray{2.5, -1, 350}));
    EXPECT_TRUE(whole["slices"].toArray()[2].toObject()["scoreAfter"].isNull());

    EXPECT_FALSE(saveRegistrationReport(cancelledReport(), QString::fromStdString(folder.file("no/such/folder.csv"))));
}

TEST(RegistrationReportDialogTest, theCurvesStandOutFromLightAndDark) {
    RegistrationReportDialog dialog;
    dialog.setReport(cancelledReport());
    QPalette dark = dialog.palette();
    dark.setColor(QPalette::Base, QColor(30, 34, 38));
    dark.setColor(QPalette::Text, QColor(220, 220, 220));
    for (const QPalette& palette : {dialog.palette(), dark}) {
        dialog.setPalette(palette);
        dialog.show();
        auto& plot = *dialog.findChild<ReportPlot*>();
        const int ground = qGray(palette.color(QPalette::Base).rgb());
        const QImage picture = plot.grab().toImage();
        for (const int hue : {20, 215, 145}) { // right, down, score
            int difference = 0;
            for (int x = 0; x < picture.width(); ++x)
                for (int y = 0; y < picture.height(); ++y)
                    if (const QColor seen = picture.pixelColor(x, y);
                        seen.hsvSaturation() > 100 && std::abs(seen.hsvHue() - hue) < 15)
                        difference = std::max(difference, std::abs(qGray(seen.rgb()) - ground));
            EXPECT_GT(difference, 90) << hue << " on " << ground;
        }
    }
}

// Slices that were not reached have no score: a line along 0 would say that they fit nothing.
TEST(RegistrationReportDialogTest, showsRemarksAndNoScoresThatThereAreNot) {
    RegistrationReportDialog dialog;
    dialog.setReport(cancelledReport());
    dialog.show();
    const auto& table = *dialog.findChild<QTableWidget*>();
    const QRect remark = table.visualItemRect(table.item(2, 7));
    EXPECT_TRUE(table.viewport()->rect().contains(remark)) << remark.right() << " of " << table.viewport()->width();
    auto& plot = *dialog.findChild<ReportPlot*>();
    const QImage picture = plot.grab().toImage();
    int green = 0; // the colour of the scores, at the bottom of their curves
    for (int x = picture.width() / 3; x < picture.width() - 20; ++x)
        for (int y = picture.height() * 3 / 4; y < picture.height(); ++y) {
            const QColor colour = picture.pixelColor(x, y);
            green += colour.green() > colour.red() + 40 && colour.green() > colour.blue() + 20 ? 1 : 0;
        }
    EXPECT_EQ(green, 0);
    if (qEnvironmentVariableIsSet("VORLEN_PICTURES"))
        dialog.grab().save(qEnvironmentVariable("VORLEN_PICTURES") + "/cancelled.png");
}

} // namespace vorlen
