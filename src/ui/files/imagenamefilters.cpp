#include "ui/files/imagenamefilters.h"

namespace vorlen {

namespace {

/// A pattern that takes a suffix in any case, also where the dialog tells capitals apart: "*.[tT][iI][fF]".
QString patternOf(const QString& suffix) {
    QString pattern = "*.";
    for (const QChar letter : suffix)
        pattern += letter.isLetter() ? QString("[%1%2]").arg(letter, letter.toUpper()) : QString(letter);
    return pattern;
}

} // namespace

QStringList imageNameFilters() {
    QStringList patterns;
    for (const char* suffix : {"tif", "tiff", "btf",  "tf2", "tf8",    "img", "png", "bmp", "jpg", "jpeg", "jp2",
                               "j2k", "nrrd", "nhdr", "nii", "nii.gz", "mrc", "map", "rec", "st",  "vm"})
        patterns += patternOf(suffix);
    return {"Images (" + patterns.join(' ') + ")", "All files (*)"};
}

} // namespace vorlen
