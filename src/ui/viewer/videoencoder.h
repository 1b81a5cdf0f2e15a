#pragma once

#include <memory>

#include <QImage>
#include <QProcess>
#include <QSize>
#include <QString>
#include <QStringList>

namespace vorlen {

/// Makes a film of frames by the program ffmpeg, which gets them through a pipe, so that no frame lies on the disk. The
/// film is written beside its place and takes it when it is whole; a film that is cancelled or fails leaves nothing
/// behind, and what had the name before stays.
///
/// The suffix of the name says the format: mp4, mov and mkv with H.264, or VP9 where ffmpeg has no H.264; webm with
/// VP9; avi and mpg with the codecs of their time; png and apng as animated PNG; gif. H.264 and VP9 halve the
/// resolution of the colours and take even sizes only: a frame of odd size is stretched by a pixel. Where a format has
/// not the rate, as mpg has few and gif none above 50, frames are shown twice or left out: the film takes its time.
class VideoEncoder {
public:
    VideoEncoder();
    ~VideoEncoder();

    /// Whether the program is on the path.
    static bool isAvailable();
    /// Suffixes that can be written, with the preferred one first.
    static QStringList suffixes();
    /// For a file dialog.
    static QStringList nameFilters();
    /// What the format makes of a size.
    static QSize sizeFor(const QString& file, const QSize& size);

    /// Throws FileWriteError without ffmpeg, for an unknown suffix, and when the folder can't be written to. A film
    /// that is open is cancelled.
    void open(const QString& file, const QSize& size, int rate);
    bool isOpen() const { return __process != nullptr; }

    /// Hands a frame over. Throws FileWriteError, with ffmpeg's reason in plain words, when it has given up; the film
    /// is cancelled then.
    void write(const QImage& frame);
    /// Whether so much waits to be read that the next frame should wait, too.
    bool isBusy() const;
    /// Gives ffmpeg the time to read, so many milliseconds at most.
    void waitForRoom(int milliseconds);

    /// No more frames come; the film is whole when isFinished() says so.
    void close();
    /// Waits for so many milliseconds at most, and gives the film its name when it is whole. Throws as write().
    bool isFinished(int milliseconds);

    void cancel();

private:
    void fail();
    void removeFiles();

    std::unique_ptr<QProcess> __process;
    QString __file;
    QString __part; // what is written
    QSize __size;
    QByteArray __complaints;
};

} // namespace vorlen
