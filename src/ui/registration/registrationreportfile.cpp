#include "ui/registration/registrationreportfile.h"

#include <cmath>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>
#include <QStringList>

#include "editing/operations/slicealignment.h"

namespace vorlen {

namespace {

QString nameOf(const RegistrationReport& report, int slice) {
    return slice < 0 ? QString() : QString::fromStdString(report.slices[std::size_t(slice)].name);
}

QString numberText(double value) {
    return std::isfinite(value) ? QString::number(value, 'g', QLocale::FloatingPointShortest) : QString("NA");
}

/// Quoted where it holds a comma, a quote or a line break.
QString cellText(QString text) {
    if (text.contains(',') || text.contains('"') || text.contains('\n') || text.contains('\r'))
        return '"' + text.replace('"', "\"\"") + '"';
    return text;
}

QByteArray csvOf(const RegistrationReport& report) {
    QString text = "Slice,Onto,HorShift [pixel],VerShift [pixel],Rotation [deg],Moved [pixel],TurnDoubt [deg],"
                   "ShiftDoubt [pixel],ScoreBefore,ScoreAfter,Support,Method,State,Reason\n";
    for (const SliceAlignment& one : report.slices) {
        const auto ifThere = [](bool there, double value) { return there ? numberText(value) : QString(); };
        const QStringList cells = {cellText(QString::fromStdString(one.name)),
                                   cellText(nameOf(report, one.onto)),
                                   numberText(one.after.getHorShift()),
                                   numberText(one.after.getVerShift()),
                                   numberText(double(one.after.getRotationAngle())),
                                   numberText(one.moved),
                                   ifThere(one.turnDoubt > 0, one.turnDoubt),
                                   ifThere(one.shiftDoubt > 0, one.shiftDoubt),
                                   ifThere(one.onto >= 0, one.scoreBefore),
                                   ifThere(one.onto >= 0, one.scoreAfter),
                                   ifThere(!one.method.empty(), one.support),
                                   cellText(QString::fromStdString(one.method)),
                                   one.stateWord(),
                                   cellText(QString::fromStdString(one.reason))};
        text += cells.join(',') + '\n';
    }
    return text.toUtf8();
}

QJsonArray jsonOf(const Registration& registration) {
    return {registration.getHorShift(), registration.getVerShift(), double(registration.getRotationAngle())};
}

QByteArray jsonOf(const RegistrationReport& report) {
    QJsonArray slices;
    for (const SliceAlignment& one : report.slices) {
        const auto score = [&one](double value) { return one.onto < 0 ? QJsonValue() : QJsonValue(value); };
        slices.append(QJsonObject{{"name", QString::fromStdString(one.name)},
                                  {"onto", one.onto < 0 ? QJsonValue() : QJsonValue(nameOf(report, one.onto))},
                                  {"state", one.stateWord()},
                                  {"reason", QString::fromStdString(one.reason)},
                                  {"method", QString::fromStdString(one.method)},
                                  {"mirrored", one.mirrored},
                                  {"scoreBefore", score(one.scoreBefore)},
                                  {"scoreAfter", score(one.scoreAfter)},
                                  {"support", one.support},
                                  {"moved", one.moved},
                                  {"turnDoubt", one.turnDoubt},
                                  {"shiftDoubt", one.shiftDoubt},
                                  {"before", jsonOf(one.before)},
                                  {"after", jsonOf(one.after)}});
    }
    return QJsonDocument(QJsonObject{{"registered", report.count(SliceAlignment::State::Registered)},
                                     {"leftAlone", report.count(SliceAlignment::State::LeftAlone)},
                                     {"scoreBefore", report.meanScoreBefore()},
                                     {"scoreAfter", report.meanScoreAfter()},
                                     {"slices", slices}})
        .toJson();
}

} // namespace

bool saveRegistrationReport(const RegistrationReport& report, const QString& fileName) {
    QSaveFile file(fileName);
    file.setDirectWriteFallback(true);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    file.write(fileName.endsWith(".json", Qt::CaseInsensitive) ? jsonOf(report) : csvOf(report));
    return file.commit();
}

} // namespace vorlen
