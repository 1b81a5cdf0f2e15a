#include "ui/viewer/videoencoder.h"

#include <algorithm>
#include <cstdio>
#include <numeric>
#include <vector>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QUuid>

#include "numerics/exception.h"

namespace vorlen {

namespace {

struct Codec {
    QString name;
    QStringList options;
};

struct Format {
    QString suffix, muxer, text;
    std::vector<Codec> codecs; // by preference
    bool isEven;
    std::vector<int> rates = {}; // frames in a second that the format has; empty for any
};

/// Any up to 50: a delay is told in hundredths of a second, and who shows the picture takes a single one for a mistake.
std::vector<int> gifRates() {
    std::vector<int> rates(50);
    std::iota(rates.begin(), rates.end(), 1);
    return rates;
}

const std::vector<Format>& formats() {
    static const Codec h264{"libx264", {"-crf", "18", "-preset", "medium", "-pix_fmt", "yuv420p"}};
    static const Codec openH264{"libopenh264", {"-b:v", "10000k", "-pix_fmt", "yuv420p"}};
    static const Codec vp9{
        "libvpx-vp9",
        {"-crf", "24", "-b:v", "0", "-deadline", "good", "-cpu-used", "4", "-row-mt", "1", "-pix_fmt", "yuv420p"}};
    static const Codec mpeg4{"mpeg4", {"-b:v", "10000k", "-pix_fmt", "yuv420p"}};
    static const Codec mpeg2{"mpeg2video", {"-b:v", "10000k", "-pix_fmt", "yuv420p"}};
    static const Codec apng{"apng", {"-plays", "0"}};
    static const Codec gif{
        "gif", {"-filter_complex", "split[a][b];[a]palettegen=stats_mode=diff[p];[b][p]paletteuse", "-loop", "0"}};
    static const std::vector<Format> all = {
        {"mp4", "mp4", "MPEG-4 video", {h264, openH264, vp9}, true},
        {"webm", "webm", "WebM video", {vp9}, true},
        {"mov", "mov", "QuickTime video", {h264, openH264, mpeg4}, true},
        {"mkv", "matroska", "Matroska video", {h264, openH264, vp9}, true},
        {"avi", "avi", "AVI video", {h264, openH264, mpeg4}, true},
        {"mpg", "mpeg", "MPEG-2 video", {mpeg2}, true, {24, 25, 30, 50, 60}},
        {"png", "apng", "Animated PNG", {apng}, false},
        {"apng", "apng", "Animated PNG", {apng}, false},
        {"gif", "gif", "Animated GIF", {gif}, false, gifRates()},
    };
    return all;
}

/// The one in which each frame is shown equally often, or else the next that is not lower; the highest for a higher
/// one.
int rateFor(const Format& format, int rate) {
    const std::vector<int>& rates = format.rates;
    if (rates.empty())
        return rate;
    const auto whole =
        std::find_if(rates.begin(), rates.end(), [rate](int one) { return one >= rate && one % rate == 0; });
    if (whole != rates.end())
        return *whole;
    const auto next = std::find_if(rates.begin(), rates.end(), [rate](int one) { return one >= rate; });
    return next != rates.end() ? *next : rates.back();
}

QString program() {
    return QStandardPaths::findExecutable("ffmpeg");
}

/// Names of the encoders that this ffmpeg has; it is asked once for each program that is found.
const QStringList& encoders() {
    static QString asked;
    static QStringList names;
    const QString path = program();
    if (path == asked)
        return names;
    asked = path;
    names.clear();
    QProcess process;
    process.start(path, {"-hide_banner", "-encoders"});
    if (path.isEmpty() || !process.waitForFinished(20000))
        return names;
    static const QRegularExpression line("^ V[A-Z.]{5} (\\S+)");
    for (const QString& text : QString::fromUtf8(process.readAllStandardOutput()).split('\n'))
        if (const QRegularExpressionMatch match = line.match(text); match.hasMatch())
            names += match.captured(1);
    return names;
}

const Format* formatOf(const QString& file) {
    const QString suffix = QFileInfo(file).suffix().toLower();
    for (const Format& format : formats())
        if (format.suffix == suffix)
            return &format;
    return nullptr;
}

const Codec* codecOf(const Format& format) {
    for (const Codec& codec : format.codecs)
        if (encoders().contains(codec.name))
            return &codec;
    return nullptr;
}

[[noreturn]] void refuse(const QString& reason, const QString& file) {
    throw FileWriteError("VideoEncoder", reason.toStdString(), QFile::encodeName(file).toStdString());
}

} // namespace

VideoEncoder::VideoEncoder() = default;

VideoEncoder::~VideoEncoder() {
    cancel();
}

bool VideoEncoder::isAvailable() {
    return !program().isEmpty();
}

QStringList VideoEncoder::suffixes() {
    QStringList result;
    for (const Format& format : formats())
        if (codecOf(format) != nullptr)
            result += format.suffix;
    return result;
}

QStringList VideoEncoder::nameFilters() {
    QStringList result;
    for (const Format& format : formats())
        if (codecOf(format) != nullptr)
            result += format.text + " (*." + format.suffix + ")";
    return result;
}

QSize VideoEncoder::sizeFor(const QString& file, const QSize& size) {
    const Format* const format = formatOf(file);
    if (format == nullptr || !format->isEven)
        return size;
    return {size.width() + size.width() % 2, size.height() + size.height() % 2};
}

void VideoEncoder::open(const QString& file, const QSize& size, int rate) {
    cancel();
    if (!isAvailable())
        refuse("The program ffmpeg, which makes videos, is not installed", file);
    const Format* const format = formatOf(file);
    if (format == nullptr)
        refuse("A video's name ends with ." + suffixes().join(", ."), file);
    const Codec* const codec = codecOf(*format);
    if (codec == nullptr)
        refuse("The ffmpeg that is installed can't write ." + format->suffix, file);
    const QFileInfo info(QFileInfo(file).absoluteFilePath());
    if (info.isDir())
        refuse("There is a folder of this name", file);
    __file = info.absoluteFilePath();
    __part = info.dir().filePath('.' + info.completeBaseName() + '-' +
                                 QUuid::createUuid().toString(QUuid::Id128).left(8) + ".part");
    // Tells at once what ffmpeg would tell after the first frames.
    if (QFile probe(__part); !probe.open(QIODevice::WriteOnly))
        refuse(probe.errorString(), file);
    __size = sizeFor(file, size);
    QStringList arguments = {"-hide_banner", "-loglevel",
                             "error",        "-y",
                             "-f",           "rawvideo",
                             "-pix_fmt",     "bgr0",
                             "-video_size",  QString("%1x%2").arg(__size.width()).arg(__size.height()),
                             "-framerate",   QString::number(rate),
                             "-i",           "pipe:0",
                             "-an",          "-c:v",
                             codec->name};
    arguments += codec->options;
    if (const int written = rateFor(*format, rate); written != rate)
        arguments += {"-r", QString::number(written)};
    if (format->muxer == "mp4" || format->muxer == "mov")
        arguments += {"-movflags", "+faststart"};
    arguments += {"-f", format->muxer, "file:" + __part};
    __complaints.clear();
    __process = std::make_unique<QProcess>();
    __process->setStandardOutputFile(QProcess::nullDevice());
    __process->start(program(), arguments);
    if (!__process->waitForStarted(20000)) {
        const QString reason = __process->errorString();
        cancel();
        refuse("ffmpeg can't be run: " + reason, file);
    }
}

bool VideoEncoder::isBusy() const {
    return __process != nullptr && __process->bytesToWrite() > qint64(4) * __size.width() * __size.height();
}

void VideoEncoder::waitForRoom(int milliseconds) {
    if (__process == nullptr)
        return;
    __process->waitForBytesWritten(milliseconds);
    if (__process->state() != QProcess::Running)
        fail();
}

void VideoEncoder::write(const QImage& frame) {
    if (__process == nullptr)
        throw UsageError("void VideoEncoder::write(const QImage&)", "No video is open");
    QImage picture = frame.convertToFormat(QImage::Format_RGB32);
    if (picture.size() != __size)
        picture = picture.scaled(__size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    // Wait while much is waiting, so that the memory does not fill with frames.
    while (isBusy() && __process->state() == QProcess::Running)
        __process->waitForBytesWritten(100);
    if (__process->state() != QProcess::Running)
        fail();
    for (int y = 0; y < picture.height(); ++y)
        if (__process->write(reinterpret_cast<const char*>(picture.constScanLine(y)), 4LL * picture.width()) < 0)
            fail();
}

void VideoEncoder::close() {
    if (__process != nullptr)
        __process->closeWriteChannel();
}

bool VideoEncoder::isFinished(int milliseconds) {
    if (__process == nullptr)
        return true;
    if (__process->state() != QProcess::NotRunning && !__process->waitForFinished(milliseconds))
        return false;
    if (__process->exitStatus() != QProcess::NormalExit || __process->exitCode() != 0)
        fail();
    __process.reset();
    // One step: the name is never without a file that had it.
    if (std::rename(QFile::encodeName(__part).constData(), QFile::encodeName(__file).constData()) != 0) {
        removeFiles();
        refuse("The video can't be given its name", __file);
    }
    __part.clear();
    return true;
}

/// Says why, as far as ffmpeg has said it.
void VideoEncoder::fail() {
    __process->waitForFinished(2000);
    const QString said = QString::fromUtf8(__process->readAllStandardError().right(2000)).trimmed();
    const QString file = __file;
    cancel();
    if (said.contains("No space left on device"))
        refuse("The disk is full", file);
    refuse("ffmpeg has given up" + (said.isEmpty() ? QString() : ": " + said.section('\n', -1)), file);
}

void VideoEncoder::cancel() {
    if (__process != nullptr) {
        __process->kill();
        __process->waitForFinished(5000);
        __process.reset();
    }
    removeFiles();
}

void VideoEncoder::removeFiles() {
    if (!__part.isEmpty())
        QFile::remove(__part);
    __part.clear();
}

} // namespace vorlen
