#include "ui/files/imagenamefilters.h"

#include <algorithm>
#include <iterator>

#include <QFileDialog>

namespace vorlen {

namespace {

constexpr const char* suffixes[] = {"tif", "tiff", "btf", "tf2", "tf8",  "img",  "png",   "bmp",
                                    "jpg", "jpeg", "jp2", "j2k", "nrrd", "nhdr", "nii",   "nii.gz",
                                    "mrc", "map",  "rec", "st",  "vm",   "dcm",  "dicom", "ima",
                                    "svs", "ndpi", "scn", "bif", "mrxs", "vms",  "vmu",   "svslide"};

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
    for (const char* const suffix : suffixes)
        patterns += patternOf(suffix);
    return {"Images (" + patterns.join(' ') + ")", "All files (*)"};
}

void setFilters(QFileDialog& dialog, const QStringList& filters) {
    constexpr int longest = 40; // characters, that say more than they take
    dialog.setOption(
        QFileDialog::HideNameFilterDetails,
        std::any_of(filters.begin(), filters.end(), [](const QString& each) { return each.size() > longest; }));
    dialog.setNameFilters(filters);
}

bool isImageName(const QString& name) {
    return std::any_of(std::begin(suffixes), std::end(suffixes), [&name](const char* suffix) {
        return name.endsWith(QString(".") + suffix, Qt::CaseInsensitive);
    });
}

} // namespace vorlen
