#include "images/files/imagereader.h"

#include "images/files/imagefile.h"
#include "images/files/imagemosaic.h"
#include "images/files/samplesink.h"
#include "images/rasters/image.h"
#include "numerics/exception.h"
#include "values/imagesource.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <type_traits>
#include <vector>

namespace vorlen {

namespace {

/// Runs of the row, from the first sample of a pixel to that of the next.
template <class Sample, class Call>
void forPixels(const Sample* samples, int width, int step, Call&& call) {
    for (int j = 0; j < width; ++j, samples += step)
        call(j, samples);
}

/// The sample as a byte, where white is 255.
template <class Sample>
unsigned char toByte(Sample sample, double factor) {
    if constexpr (std::is_same_v<Sample, std::uint16_t>) {
        if (factor == 255.0 / 65535)
            return static_cast<unsigned char>((sample + 128u - (sample >> 8)) >> 8); // the nearest to sample / 257
    }
    const double value = double(sample) * factor;
    return value > 0 ? static_cast<unsigned char>(std::min(value, 255.0) + 0.5) : static_cast<unsigned char>(0);
}

/// Puts the samples of a page, or of a channel of it, into the image that its header describes.
class ImageSink : public SampleSink {
public:
    ImageSink(ImageReader& reader, Image& image, const ImagePage& page, int channel)
        : __reader(reader), __image(image), __page(page), __channel(channel),
          __done(static_cast<std::size_t>(image.getHeight()), false) {
        const std::size_t length = static_cast<std::size_t>(image.bytesPerLine());
        const bool whole = page.rowLength() == length && !page.alphaAssociated;
        const bool sameType = image.isReal() ? page.storage == SampleStorage::F32
                                             : (page.values.bits == 8 || page.values.bits == 16) &&
                                                   page.values.kind == ValueType::Unsigned;
        const bool sameNumber = image.isReal() || image.getDepth() <= 16 ? page.numSamples == 1 : page.values.bits == 8;
        __plain = whole && sameType && sameNumber;
    }

    unsigned char* rowTarget(int row) override { return __plain ? __image.getPixels()[row] : nullptr; }

    bool takeRow(int row, const unsigned char* samples) override {
        unsigned char* const target = __image.getPixels()[row];
        if (__plain) {
            if (samples != target)
                std::memcpy(target, samples, static_cast<std::size_t>(__image.bytesPerLine()));
        } else {
            withSampleType(
                __page.storage,
                [&](auto typed) {
                    using Sample = decltype(typed);
                    convert(reinterpret_cast<const Sample*>(samples), row);
                });
        }
        __done[static_cast<std::size_t>(row)] = true;
        ++__numDone;
        __reader.notifyProgressed(__numDone, static_cast<unsigned int>(__image.getHeight()));
        return !__reader.isCanceled();
    }

    /// Zeros for the rows that did not come.
    void clearRest() {
        for (int row = 0; row < __image.getHeight(); ++row)
            if (!__done[static_cast<std::size_t>(row)])
                std::memset(__image.getPixels()[row], 0, static_cast<std::size_t>(__image.bytesPerLine()));
    }

private:
    /// Over white, where the samples are multiplied by their opacity.
    template <class Sample>
    double overWhite(const Sample* pixel, int sample) const {
        return double(pixel[sample]) + (__page.values.white() - double(pixel[__page.alpha]));
    }

    template <class Sample>
    void convert(const Sample* samples, int row) {
        const bool composed = __page.alphaAssociated && __page.alpha >= 0 && __channel == 0;
        const int first = std::max(__channel - 1, 0);
        const int step = __page.numSamples;
        const double factor = 255 / __page.values.white();
        const int width = __image.getWidth();
        unsigned char* const bytes = __image.getPixels()[row];
        if (__channel == 0 && __page.colour == ImagePage::Palette && __image.getDepth() == 24) {
            const std::size_t size = __page.palette.size() / 3;
            forPixels(samples, width, step, [&](int j, const Sample* pixel) {
                for (std::size_t k = 0; k < 3; ++k)
                    bytes[3 * std::size_t(j) + k] = static_cast<unsigned char>(
                        __page.palette[k * size + std::min(static_cast<std::size_t>(*pixel), size - 1)] >> 8);
            });
        } else if (__image.isReal()) {
            float* const values = __image.realRow(row);
            forPixels(samples, width, step, [&](int j, const Sample* pixel) {
                values[j] = composed ? static_cast<float>(overWhite(pixel, first)) : static_cast<float>(pixel[first]);
            });
        } else if (__image.getDepth() == 16) {
            forPixels(
                samples, width, step,
                [&](int j, const Sample* pixel) {
                    const double white = __page.values.white();
                    const auto value = composed ? static_cast<std::uint16_t>(std::min(overWhite(pixel, first), white))
                                                : static_cast<std::uint16_t>(pixel[first]);
                    std::memcpy(bytes + 2 * static_cast<std::size_t>(j), &value, 2);
                });
        } else if (__image.getDepth() == 8) {
            // Indexes stay what they are.
            const double scale = __channel == 0 && __page.colour == ImagePage::Palette ? 1 : factor;
            forPixels(samples, width, step, [&](int j, const Sample* pixel) {
                bytes[j] = composed ? toByte(overWhite(pixel, first), factor) : toByte(pixel[first], scale);
            });
        } else {
            const int bytesPerPixel = __image.bytesPerPixel();
            unsigned char* to = bytes;
            forPixels(samples, width, step, [&](int, const Sample* pixel) {
                for (int k = 0; k < bytesPerPixel; ++k)
                    *to++ = composed ? toByte(overWhite(pixel, k), factor) : toByte(pixel[k], factor);
            });
        }
    }

    ImageReader& __reader;
    Image& __image;
    const ImagePage& __page;
    int __channel;
    bool __plain = false; // the image takes the samples as they come
    std::vector<bool> __done;
    unsigned int __numDone = 0;
};

/// Takes the statistics of the samples.
class StatisticsSink : public SampleSink {
public:
    StatisticsSink(const ImagePage& page, int channel) : __page(page) {
        __statistics.values = page.values.name();
        const std::size_t size = page.palette.size() / 3;
        if (channel == 0 && page.colour == ImagePage::Palette) {
            __isGrey = std::equal(page.palette.begin(), page.palette.begin() + std::ptrdiff_t(size),
                                  page.palette.begin() + std::ptrdiff_t(size)) &&
                       std::equal(page.palette.begin(), page.palette.begin() + std::ptrdiff_t(size),
                                  page.palette.begin() + 2 * std::ptrdiff_t(size));
            __counts.resize(size);
            __statistics.values = ValueType{ValueType::Unsigned, 8}.name(); // of the colours, whatever the indexes
            return;
        }
        __first = std::max(channel - 1, 0);
        const int last = channel > 0 ? channel : page.numSamples;
        __statistics.channels.resize(static_cast<std::size_t>(last - __first));
        for (int sample = __first; sample < last; ++sample)
            __statistics.channels[static_cast<std::size_t>(sample - __first)].name = page.channelName(sample);
    }

    bool takeRow(int, const unsigned char* samples) override {
        withSampleType(__page.storage, [&](auto typed) {
            using Sample = decltype(typed);
            const auto* pixel = reinterpret_cast<const Sample*>(samples);
            for (int j = 0; j < __page.width; ++j, pixel += __page.numSamples) {
                if (!__counts.empty())
                    ++__counts[std::min(static_cast<std::size_t>(*pixel), __counts.size() - 1)];
                const Sample* value = pixel + __first;
                for (ChannelStatistics& channel : __statistics.channels)
                    channel.add(double(*value++));
            }
        });
        return true;
    }

    PixelStatistics finish() {
        const char* const names[] = {"red", "green", "blue"};
        for (std::size_t k = 0; k < (__counts.empty() ? 0u : __isGrey ? 1u : 3u); ++k) {
            ChannelStatistics channel;
            channel.name = __isGrey ? "grey" : names[k];
            for (std::size_t i = 0; i < __counts.size(); ++i) {
                if (__counts[i] == 0)
                    continue;
                const double value = __page.palette[k * __counts.size() + i] >> 8;
                channel.add(value);
                channel.sum += value * double(__counts[i] - 1);
                channel.numValues += __counts[i] - 1;
            }
            __statistics.channels.push_back(channel);
        }
        return __statistics;
    }

private:
    const ImagePage& __page;
    PixelStatistics __statistics;
    int __first = 0;
    bool __isGrey = false;
    std::vector<std::int64_t> __counts; // of a palette's indexes
};

} // namespace

ImageReader::~ImageReader() = default;

void ImageReader::read(ImageHeader& header, const std::string& filename) {
    read(header, filename, 0, 0);
}

void ImageReader::read(Image& image, const std::string& filename) {
    read(image, filename, 0, 0);
}

void ImageReader::read(ImageHeader& header, const std::string& filename, int page, int channel) {
    const std::unique_ptr<ImageFile> file = ImageFile::open(filename);
    ImageHeader result;
    result.setImageFormat(file->getFormat());
    file->getPage(page).fillHeader(result, channel);
    header.swap(result);
}

void ImageReader::read(Image& image, const std::string& filename, int page, int channel) {
    try {
        read(image, *ImageFile::open(filename), page, channel);
    } catch (Exception& exception) {
        exception.addWhere("void ImageReader::read(...)");
        throw;
    }
}

void ImageReader::read(Image& image, ImageFile& file, int page, int channel) {
    const ImagePage description = file.getPage(page);
    file.requireWhole(page);
    fill(image, file, description, channel, [&](SampleSink& sink) { file.read(page, sink); });
}

void ImageReader::readPart(Image& image, ImageFile& file, int page, int channel, int level, const PixelWindow& part) {
    ImagePage description = file.getPage(page);
    description.width = part.width;
    description.height = part.height;
    fill(image, file, description, channel, [&](SampleSink& sink) { file.readPart(page, level, part, sink); });
}

/// Makes an image for the page, and hands it to the reading.
template <class Read>
void ImageReader::fill(Image& image, const ImageFile& file, const ImagePage& description, int channel, Read&& read) {
    ImageHeader header;
    header.setImageFormat(file.getFormat());
    description.fillHeader(header, channel);
    Image result;
    if (header.isReal())
        result.initReal(header.getWidth(), header.getHeight());
    else
        result.init(header.getWidth(), header.getHeight(), header.getDepth());
    result.setHeader(header);
    notifyStarted("");
    ImageSink sink(*this, result, description, channel);
    if (!isCanceled())
        read(sink);
    sink.clearRest();
    image.swap(result);
    if (isCanceled())
        notifyCanceled("");
    else
        notifyFinished("");
}

PixelStatistics ImageReader::measure(const std::string& filename, int page, int channel) {
    const std::unique_ptr<ImageFile> file = ImageFile::open(filename);
    const ImagePage description = file->getPage(page);
    ImageHeader header;
    description.fillHeader(header, channel); // refuses a channel that there is not
    StatisticsSink sink(description, channel);
    file->read(page, sink);
    return sink.finish();
}

PixelStatistics ImageReader::measure(const ImageSource& source) {
    PixelStatistics statistics;
    if (!source.measure(*this, statistics)) {
        Image image;
        source.read(*this, image);
        statistics = vorlen::measure(image);
    }
    return statistics;
}

void ImageReader::read(Image& image, const ImageSource& source) {
    source.read(*this, image);
}

void ImageReader::read(Image& image, const ImageMosaic& mosaic) {
    if (mosaic.getRows() == 1 && mosaic.getCols() == 1) {
        try {
            read(image, mosaic.getItemPathname(0, 0) + mosaic.getItemFilename(0, 0));
        } catch (Exception& exception) {
            exception.addWhere("void ImageReader::read(Image&, const ImageMosaic&)");
            throw;
        }
        return;
    }
    mosaic.load(image, *this);
}

PixelStatistics measure(const Image& image) {
    ImagePage page;
    page.width = image.getWidth();
    page.height = image.getHeight();
    page.values = image.getHeader().getValueType();
    if (image.isReal())
        page.storage = SampleStorage::F32;
    else if (image.getDepth() == 16)
        page.storage = SampleStorage::U16;
    page.numSamples = image.isReal() || image.getDepth() <= 16 ? 1 : image.bytesPerPixel();
    page.colour = page.numSamples > 1 ? ImagePage::Rgb : ImagePage::Grey;
    page.alpha = page.numSamples > 3 ? 3 : -1;
    if (image.isIndexed()) {
        const Colormap& colormap = *image.getColormap();
        page.colour = ImagePage::Palette;
        page.palette.resize(3 * 256);
        const unsigned char* const tables[] = {colormap.getRed(), colormap.getGreen(), colormap.getBlue()};
        for (std::size_t k = 0; k < 3; ++k)
            for (int i = 0; i < std::min(colormap.getSize(), 256); ++i)
                page.palette[256 * k + std::size_t(i)] = static_cast<std::uint16_t>(tables[k][i] << 8);
    }
    StatisticsSink sink(page, 0);
    for (int i = 0; i < image.getHeight(); ++i)
        sink.takeRow(i, image.getPixels()[i]);
    return sink.finish();
}

} // namespace vorlen
