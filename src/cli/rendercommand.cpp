#include "cli/commands.h"

#include <iostream>
#include <optional>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QProcessEnvironment>
#include <QRegularExpression>
#include <QSize>

#include "cli/commandline.h"
#include "cli/memoryneed.h"
#include "cli/stackfile.h"

namespace vorlen {

namespace {

constexpr int smallest = 16, largest = 8192; // pixels of a side

/// Nothing for a text that is no size within the limits.
std::optional<QSize> sizeOf(const QString& text) {
    static const QRegularExpression form("^([0-9]{1,5})x([0-9]{1,5})$");
    const QRegularExpressionMatch match = form.match(text);
    if (!match.hasMatch())
        return std::nullopt;
    const QSize size(match.captured(1).toInt(), match.captured(2).toInt());
    const QSize least(smallest, smallest), most(largest, largest);
    return size == size.expandedTo(least) && size == size.boundedTo(most) ? std::optional(size) : std::nullopt;
}

/// The drawing is left to a program of its own, so that this one runs without a display and its libraries. threads: as
/// they were asked for, empty for all processors; they go to it and to the OpenGL without a graphics card.
int runRenderer(const QStringList& arguments, const QString& threads) {
    const QString program = QDir(QCoreApplication::applicationDirPath()).filePath("vorlen-render");
    QProcess process;
    if (!threads.isEmpty()) {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("VORLEN_THREADS", threads);
        environment.insert("LP_NUM_THREADS", threads);
        process.setProcessEnvironment(environment);
    }
    process.setProcessChannelMode(QProcess::ForwardedChannels);
    process.setInputChannelMode(QProcess::ForwardedInputChannel);
    process.start(program, arguments);
    if (!process.waitForStarted(-1)) {
        std::cerr << "vorlen-cli: the program " << program.toStdString()
                  << ", which draws, cannot be run: " << process.errorString().toStdString() << '\n';
        return ExitFileError;
    }
    process.waitForFinished(-1);
    const bool crashed = process.exitStatus() != QProcess::NormalExit; // as Qt ends a program without a display
    if (!crashed && process.exitCode() != exitNoDisplay)
        return process.exitCode();
    std::cerr << "vorlen-cli: no picture was drawn. Drawing needs a display with OpenGL, "
              << (crashed ? "and the one that DISPLAY names could not be used" : "and there is none")
              << ".\nOn a machine without a screen run it under a virtual one, with Xvfb installed: "
                 "xvfb-run -a vorlen-cli render ...\n";
    return ExitFileError;
}

} // namespace

int renderCommand(const QStringList& arguments) {
    CommandLine line(
        "render",
        "Draws the models of a stack in space, as the rendering window shows them, as PNG; or makes a video "
        "of them, for which the program ffmpeg must be installed.",
        "STACK.sdf FILE",
        "A stack description file (.sdf), and the picture to be written (.png) or, with --video, the video "
        "(.mp4, .webm, .mov, .mkv, .avi, .mpg, .png or .gif).");
    line.addOption({"p", "pose"},
                   "A pose stored in the stack. Without one the scene fills the picture, seen along its slices.",
                   "name");
    line.addOption({"s", "size"}, "Width and height in pixels; 1200x900 by default, 1280x720 for a video.", "WxH");
    line.addFlag("overwrite", "Replace a file that exists.");
    line.addFlag("video", "Make a video.");
    line.addOption({"motion"},
                   "What the video shows: spin (one turn), random, animation (the models in turn), poses (through the "
                   "stored ones), slices (from the first to the last).",
                   "motion", "spin");
    line.addOption({"rate"}, "Frames of the video in a second.", "frames", "25");
    line.addOption({"seconds"}, "Length of the video.", "seconds", "10");
    if (const std::optional<int> status = line.parse(arguments, 2))
        return *status;
    const std::vector<std::string> files = line.files();
    if (files.size() < 2)
        return line.usageError("no name for the picture given");
    const bool isVideo = line.isSet("video");
    const std::string& picture = files[1];
    const QString pictureName = QFile::decodeName(picture.c_str());
    static const QStringList motions = {"spin", "random", "animation", "poses", "slices"};
    if (isVideo && !motions.contains(line.value("motion")))
        return line.usageError("--motion takes " + motions.join(", ") + ", not '" + line.value("motion") + "'");
    const std::optional<int> rate = line.integer("rate", 1, 120);
    const std::optional<int> seconds = rate ? line.integer("seconds", 1, 3600) : std::nullopt;
    if (!seconds)
        return ExitUsage;
    if (!isVideo && !pictureName.endsWith(".png", Qt::CaseInsensitive))
        return line.usageError("the picture is written as PNG: its name must end with .png, unlike '" + pictureName +
                               "'");
    const QString sizeText = line.isSet("size") ? line.value("size") : isVideo ? "1280x720" : "1200x900";
    const std::optional<QSize> size = sizeOf(sizeText);
    if (!size)
        return line.usageError(QString("--size takes width and height from %1 to %2, as 1200x900, not '%3'")
                                   .arg(smallest)
                                   .arg(largest)
                                   .arg(sizeText));
    if (line.isSet("dry-run")) {
        // Mostly the drawing without a graphics card, and some pictures of the size.
        const double own = 350. * (1 << 20) + 32. * size->width() * size->height();
        return tellMemory({files[0]}, {.ofDescription = 60, .own = own});
    }
    if (!mayWrite(picture, line.isSet("overwrite")))
        return ExitFileError;
    QStringList rendererArguments = {QFile::decodeName(files[0].c_str()), pictureName, QString::number(size->width()),
                                     QString::number(size->height())};
    if (isVideo)
        rendererArguments += {line.value("pose"), line.value("motion"), line.value("rate"), line.value("seconds")};
    else if (line.isSet("pose"))
        rendererArguments += line.value("pose");
    return runRenderer(rendererArguments, line.isSet("threads") ? line.value("threads") : QString());
}

} // namespace vorlen
