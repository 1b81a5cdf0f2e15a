#include "images/files/imgimagefile.h"

#include <fstream>
#include <vector>

#include "images/files/samplesink.h"

namespace vorlen {

namespace {

constexpr int imgSide = 512;
constexpr int imgOffset = 12;

} // namespace

ImagePage ImgImageFile::getPage(int i) {
    requirePage(i, 1);
    ImagePage page;
    page.width = page.height = imgSide;
    return page;
}

void ImgImageFile::read(int i, SampleSink& sink) {
    requirePage(i, 1);
    std::ifstream file(getFilename(), std::ios::binary);
    file.seekg(imgOffset);
    for (int row = 0; row < imgSide; ++row) {
        std::vector<unsigned char> samples(imgSide);
        if (file)
            file.read(reinterpret_cast<char*>(samples.data()), imgSide);
        if (!sink.takeRow(row, samples.data()))
            return;
    }
}

} // namespace vorlen
