#include "editing/operations/imageslices.h"

#include <algorithm>
#include <cctype>
#include <iterator>
#include <set>
#include <string_view>

#include <QFile>
#include <QFileInfo>

#include "images/files/dicomseries.h"
#include "images/files/imagefile.h"
#include "images/files/imagesourcefile.h"
#include "images/files/imagesourcepage.h"
#include "images/files/imagesourcevoxelmatrixplane.h"
#include "images/files/voxelmatrixheader.h"
#include "numerics/exception.h"

namespace vorlen {

namespace {

std::string absolutePath(const std::string& file) {
    return QFile::encodeName(QFileInfo(QFile::decodeName(file.c_str())).absoluteFilePath()).toStdString();
}

std::string stem(const std::string& file) {
    return QFileInfo(QFile::decodeName(file.c_str())).completeBaseName().toStdString();
}

std::string bareName(const std::string& file) {
    return file.substr(file.rfind('/') + 1);
}

bool hasSuffix(const std::string& file, const char* suffix) {
    return QFileInfo(QFile::decodeName(file.c_str())).suffix().compare(suffix, Qt::CaseInsensitive) == 0;
}

/// "name 07", with as many digits as the last of the slices needs.
std::string planeName(const std::string& file, int plane, int numPlanes) {
    const std::string last = std::to_string(numPlanes), number = std::to_string(plane + 1);
    return stem(file) + " " + std::string(last.size() - number.size(), '0') + number;
}

std::unique_ptr<StackSlice> sliceOf(const std::string& name, const ImageSource& source) {
    auto slice = std::make_unique<StackSlice>();
    slice->setImageSource(source);
    slice->setName(name);
    return slice;
}

bool isSameWord(std::string_view a, std::string_view b) {
    return std::equal(
        a.begin(), a.end(), b.begin(), b.end(),
        [](unsigned char x, unsigned char y) { return std::tolower(x) == std::tolower(y); });
}

/// Place of the channel among these, from 0. Throws ValueError.
int channelPlace(const std::string& channel, const std::vector<std::string>& names) {
    for (std::size_t i = 0; i < names.size(); ++i)
        if (isSameWord(channel, names[i]))
            return static_cast<int>(i);
    const bool isNumber = !channel.empty() && channel.size() < 8 &&
                          std::all_of(channel.begin(), channel.end(), [](unsigned char c) { return std::isdigit(c); });
    const int number = isNumber ? std::stoi(channel) : 0;
    if (number >= 1 && number <= static_cast<int>(names.size()))
        return number - 1;
    std::string known;
    for (const std::string& name : names)
        known += (known.empty() ? "" : ", ") + name;
    throw ValueError("int channelPlace(...)", "There is no channel \"" + channel + "\", only " + known);
}

/// The channels of a layout, or else the samples of its pages, by name or number.
std::vector<std::string> channelsOf(const StackLayout& layout, const ImagePage& first) {
    std::vector<std::string> names;
    if (layout.numChannels > 1) {
        names = layout.channelNames;
        for (std::size_t i = 0; i < names.size(); ++i)
            if (names[i].empty())
                names[i] = std::to_string(i + 1);
    } else {
        for (int i = 0; i < first.numSamples; ++i)
            names.push_back(first.channelName(i));
    }
    return names;
}

/// Adds the slices of one file.
class FileSlices {
public:
    FileSlices(ImageSlices& result, const ImageChoice& choice) : __result(result), __choice(choice) {}

    void add(const std::string& file) {
        const std::string path = absolutePath(file);
        if (__taken.contains(path))
            return;
        if (hasSuffix(path, "vm"))
            addVolume(path);
        else
            addPictures(path);
    }

    /// The series of these DICOM files, one behind the other.
    void addDicom(const std::vector<std::string>& files) {
        std::vector<UnreadableDicomFile> unreadable;
        for (const DicomSeries& series : dicomSeries(absolutePaths(files), unreadable))
            addSeries(series);
        for (const UnreadableDicomFile& file : unreadable)
            __result.unreadable.push_back({file.filename, file.reason});
    }

    /// The longest series of a folder. What has no pixels, as its table of contents, is no section.
    void addFolder(const std::string& folder) {
        std::vector<std::string> files = dicomFilesIn(absolutePath(folder));
        sortNaturally(files);
        std::vector<UnreadableDicomFile> unreadable;
        const std::vector<DicomSeries> all = dicomSeries(files, unreadable);
        for (const UnreadableDicomFile& file : unreadable)
            if (file.reason.find("no pixels") == std::string::npos && bareName(file.filename) != "DICOMDIR")
                __result.unreadable.push_back({file.filename, file.reason});
        if (all.empty()) {
            if (__result.unreadable.empty())
                __result.unreadable.push_back({folder, "There are no pictures of DICOM in this folder"});
            return;
        }
        const auto& longest = *std::max_element(all.begin(), all.end(), [](const DicomSeries& a, const DicomSeries& b) {
            return a.layout.planes.size() < b.layout.planes.size();
        });
        if (all.size() > 1)
            __result.notes.push_back(bareName(absolutePath(folder)) + ": of its " + std::to_string(all.size()) +
                                     " series the longest is taken, of " +
                                     std::to_string(longest.layout.planes.size()) + " pictures.");
        addSeries(longest);
    }

private:
    /// Each of them once.
    static std::vector<std::string> absolutePaths(const std::vector<std::string>& files) {
        std::vector<std::string> paths;
        paths.reserve(files.size());
        for (const std::string& file : files)
            if (const std::string path = absolutePath(file); std::find(paths.begin(), paths.end(), path) == paths.end())
                paths.push_back(path);
        return paths;
    }

    void addSeries(const DicomSeries& series) {
        try {
            const std::unique_ptr<ImageFile> file = ImageFile::open(series.files.front());
            addPictures(*file, series.layout, series.first);
        } catch (const Exception& error) {
            __result.unreadable.push_back({series.files.front(), error.getWhat()});
        }
    }

    void addVolume(const std::string& path) {
        const VoxelMatrixHeader header = VoxelMatrixHeader::read(path);
        if (!header.fileSizeMatches())
            throw FileFormatError("ImageSlices makeImageSlices(...)",
                                  "The length of the file does not match its header", path);
        ImageSourceVoxelMatrixPlane source;
        source.setVoxelMatrixFilename(path);
        for (int i = 0; i < header.size3; ++i) {
            source.setPlane(i);
            __result.slices.push_back(sliceOf(planeName(path, i, header.size3), source));
        }
        if (header.layout == 0 || __result.calibration || !isUsable(double(header.voxelWidth)) ||
            !isUsable(double(header.voxelHeight)))
            return;
        PixelCalibration calibration;
        calibration.setLengthUnit(LengthUnit(header.lengthUnitScale));
        calibration.setPixelWidth(header.voxelWidth);
        calibration.setPixelHeight(header.voxelHeight);
        calibration.compute();
        __result.calibration = calibration;
        if (!__result.spacing && isUsable(double(header.voxelDepth)))
            __result.spacing = header.voxelDepth;
    }

    void addPictures(const std::string& path) {
        const std::unique_ptr<ImageFile> file = ImageFile::open(path);
        addPictures(*file, file->getLayout(), file->getPage(0));
    }

    void addPictures(ImageFile& file, const StackLayout& layout, const ImagePage& first) {
        const std::string& path = file.getFilename();
        for (const std::string& warning : layout.warnings)
            __result.notes.push_back(bareName(path) + ": " + warning + ".");
        const std::vector<std::string> channels = channelsOf(layout, first);
        if (channels.size() > 1 && __result.channels.empty())
            __result.channels = channels;
        __result.hasSeparateChannels = __result.hasSeparateChannels || first.colour != ImagePage::Rgb;
        int channel = 0, sample = 0;
        if (!__choice.channel.empty()) {
            const int place = channelPlace(__choice.channel, channels);
            (layout.numChannels > 1 ? channel : sample) = layout.numChannels > 1 ? place : place + 1;
            if (channels.size() == 1)
                sample = 0;
        } else if (layout.numChannels > 1 || (first.colour == ImagePage::Grey && first.numSamples > 1)) {
            std::string names;
            for (const std::string& name : channels)
                names += (names.empty() ? "" : ", ") + name;
            __result.notes.push_back(bareName(path) + ": of its channels (" + names + ") the first is taken.");
        }
        if (__choice.time < 1 || __choice.time > layout.numTimes)
            throw ValueError("ImageSlices makeImageSlices(...)", "There is no time " + std::to_string(__choice.time) +
                                                                     ", only " + std::to_string(layout.numTimes));
        if (layout.numTimes > 1)
            __result.notes.push_back(bareName(path) + ": of its " + std::to_string(layout.numTimes) +
                                     " points in time number " + std::to_string(__choice.time) + " is taken.");
        addPlanes(file, layout, channel, sample);
        addSizes(layout);
    }

    void addPlanes(ImageFile& file, const StackLayout& layout, int channel, int sample) {
        std::vector<std::unique_ptr<StackSlice>> slices;
        slices.reserve(static_cast<std::size_t>(layout.numPlanes));
        std::unique_ptr<ImageFile> other; // the last of the other files that hold planes
        std::set<std::string> files;
        for (int z = 0; z < layout.numPlanes; ++z) {
            const StackLayout::Plane& plane = layout.plane(z, channel, __choice.time - 1);
            ImageFile* holder = &file;
            if (!plane.filename.empty()) {
                files.insert(plane.filename);
                if (other == nullptr || other->getFilename() != plane.filename)
                    other = ImageFile::open(plane.filename);
                holder = other.get();
            }
            const bool alone =
                layout.numPlanes == 1 || (holder->getFormat() == DicomImageFormat && holder->getNumPages() == 1);
            slices.push_back(
                sliceOf(alone ? stem(holder->getFilename()) : planeName(file.getFilename(), z, layout.numPlanes),
                        *sourceOf(*holder, plane.page, sample > 0 ? sample : plane.sample)));
        }
        std::move(slices.begin(), slices.end(), std::back_inserter(__result.slices));
        __taken.merge(files);
        for (const StackLayout::Plane& plane : layout.planes) // of other channels and times, too
            if (!plane.filename.empty())
                __taken.insert(plane.filename);
    }

    /// One picture of a file that has no others is named by the file alone.
    static std::unique_ptr<ImageSource> sourceOf(ImageFile& file, int page, int sample) {
        if (page == 0 && sample == 0 && file.getNumPages() == 1) {
            auto source = std::make_unique<ImageSourceFile>();
            source->setFilename(file.getFilename());
            return source;
        }
        auto source = std::make_unique<ImageSourcePage>();
        source->setPlace(file, page + 1, sample);
        return source;
    }

    /// Whether a size can be meant: those that are not in this range come from damaged headers.
    static bool isUsable(const std::optional<double>& size) { return size && *size > 1e-15 && *size < 1e15; }

    void addSizes(const StackLayout& layout) {
        const bool hasWidth = isUsable(layout.pixelWidth), hasHeight = isUsable(layout.pixelHeight);
        if (!__result.calibration && (hasWidth || hasHeight)) {
            PixelCalibration calibration;
            calibration.setLengthUnit(layout.unit);
            if (hasWidth)
                calibration.setPixelWidth(static_cast<float>(*layout.pixelWidth));
            if (hasHeight)
                calibration.setPixelHeight(static_cast<float>(*layout.pixelHeight));
            calibration.compute();
            __result.calibration = calibration;
        }
        if (!__result.spacing && isUsable(layout.spacing))
            __result.spacing = static_cast<float>(*layout.spacing);
    }

    ImageSlices& __result;
    const ImageChoice& __choice;
    std::set<std::string> __taken; // files whose planes are in the stack by way of another one
};

bool comesBefore(std::string_view a, std::string_view b) {
    std::size_t i = 0, j = 0;
    const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    while (i < a.size() && j < b.size()) {
        if (isDigit(a[i]) && isDigit(b[j])) {
            const auto take = [&isDigit](std::string_view text, std::size_t& at) {
                while (at < text.size() && text[at] == '0')
                    ++at;
                const std::size_t from = at;
                while (at < text.size() && isDigit(text[at]))
                    ++at;
                return text.substr(from, at - from);
            };
            const std::string_view first = take(a, i), second = take(b, j);
            if (first.size() != second.size())
                return first.size() < second.size();
            if (first != second)
                return first < second;
            continue;
        }
        const int x = std::tolower(static_cast<unsigned char>(a[i++]));
        const int y = std::tolower(static_cast<unsigned char>(b[j++]));
        if (x != y)
            return x < y;
    }
    const std::size_t restA = a.size() - i, restB = b.size() - j;
    return restA != restB ? restA < restB : a < b;
}

} // namespace

ImageSlices makeImageSlices(const std::vector<std::string>& files, const ImageChoice& choice) {
    ImageSlices result;
    FileSlices slices(result, choice);
    std::vector<std::string> dicom;
    std::copy_if(files.begin(), files.end(), std::back_inserter(dicom), DicomImageFile::isDicom);
    bool dicomAdded = false;
    for (const std::string& file : files) {
        try {
            if (QFileInfo(QFile::decodeName(file.c_str())).isDir()) {
                slices.addFolder(file);
            } else if (std::find(dicom.begin(), dicom.end(), file) == dicom.end()) {
                slices.add(file);
            } else if (!dicomAdded) {
                dicomAdded = true;
                slices.addDicom(dicom);
            }
        } catch (const FileError& error) {
            // Of a file that holds planes of another one.
            const bool own = error.getFile().empty() || absolutePath(error.getFile()) == absolutePath(file);
            result.unreadable.push_back({file, error.getWhat() + (own ? "" : ": " + error.getFile())});
        } catch (const Exception& error) {
            result.unreadable.push_back({file, error.getWhat()});
        } catch (const std::exception& error) {
            result.unreadable.push_back({file, error.what()});
        }
    }
    return result;
}

std::vector<std::unique_ptr<StackSlice>> makeImageSlices(const std::vector<std::string>& files,
                                                         std::vector<UnreadableImage>& unreadable) {
    ImageSlices result = makeImageSlices(files, ImageChoice());
    std::move(result.unreadable.begin(), result.unreadable.end(), std::back_inserter(unreadable));
    return std::move(result.slices);
}

void sortNaturally(std::vector<std::string>& names) {
    std::sort(names.begin(), names.end(), comesBefore);
}

} // namespace vorlen
