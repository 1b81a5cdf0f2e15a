#include "images/rasters/colormap.h"

#include "numerics/exception.h"

#include <algorithm>
#include <cmath>
#include <iostream>

namespace vorlen {

Colormap::Colormap(int size) {
    setSize(size);
}

void Colormap::setSize(int size) {
    const int entries = std::max(size, 0);
    __red.setSize(entries);
    __green.setSize(entries);
    __blue.setSize(entries);
}

int Colormap::getSize() const {
    return __red.getSize();
}

void Colormap::clear() {
    setSize(0);
}

unsigned char* Colormap::getRed() {
    return __red.data();
}

unsigned char* Colormap::getGreen() {
    return __green.data();
}

unsigned char* Colormap::getBlue() {
    return __blue.data();
}

const unsigned char* Colormap::getRed() const {
    return __red.data();
}

const unsigned char* Colormap::getGreen() const {
    return __green.data();
}

const unsigned char* Colormap::getBlue() const {
    return __blue.data();
}

void Colormap::makeGrayscale() {
    const int size = getSize();
    for (int i = 0; i < size; ++i) {
        const long long level = size > 1 ? static_cast<long long>(i) * 255 / (size - 1) : 0;
        __red[i] = __green[i] = __blue[i] = static_cast<unsigned char>(level);
    }
}

void Colormap::convertToGrayscale() {
    const int size = getSize();
    for (int i = 0; i < size; ++i) {
        const int level = (__red[i] + __green[i] + __blue[i]) / 3;
        __red[i] = __green[i] = __blue[i] = static_cast<unsigned char>(level);
    }
}

bool Colormap::isIdentity() const {
    const int size = getSize();
    for (int i = 0; i < size; ++i)
        if (__red[i] != i || __green[i] != i || __blue[i] != i)
            return false;
    return true;
}

bool Colormap::isGrayscale() const {
    return __red == __green && __green == __blue;
}

static bool isZero(const Vector<unsigned char>& component) {
    const unsigned char* entries = component.data();
    return std::all_of(entries, entries + component.getSize(), [](unsigned char entry) { return entry == 0; });
}

bool Colormap::isRedOnly() const {
    return isZero(__green) && isZero(__blue);
}

bool Colormap::isGreenOnly() const {
    return isZero(__red) && isZero(__blue);
}

bool Colormap::isBlueOnly() const {
    return isZero(__red) && isZero(__green);
}

bool Colormap::operator==(const Colormap& colormap) const {
    return __red == colormap.__red && __green == colormap.__green && __blue == colormap.__blue;
}

bool Colormap::operator!=(const Colormap& colormap) const {
    return !(*this == colormap);
}

void Colormap::print(const std::string& title) const {
    if (!title.empty())
        std::cout << title << '\n';
    for (int i = 0; i < getSize(); ++i)
        std::cout << i << " = " << int(__red[i]) << ' ' << int(__green[i]) << ' ' << int(__blue[i]) << '\n';
}

Colormap Colormap::flag() {
    static const unsigned char colors[16][3] = {{0, 0, 0},     {255, 255, 255}, {255, 0, 0},     {85, 0, 255},
                                                {0, 170, 0},   {255, 170, 0},   {170, 255, 127}, {170, 170, 0},
                                                {0, 170, 255}, {255, 170, 255}, {170, 0, 255},   {170, 170, 255},
                                                {255, 255, 0}, {170, 85, 0},    {0, 255, 255},   {255, 0, 255}};
    Colormap colormap(16);
    for (int i = 0; i < 16; ++i) {
        colormap.__red[i] = colors[i][0];
        colormap.__green[i] = colors[i][1];
        colormap.__blue[i] = colors[i][2];
    }
    return colormap;
}

Colormap Colormap::cold2Hot(unsigned int n) {
    if (n % 4 != 0)
        throw SizeError("Colormap Colormap::cold2Hot(const unsigned int)", "Colormap dimension is not a multiple of 4");
    const int q = static_cast<int>(n / 4);
    // The small addend keeps log(q)*(255/log(q)) from falling just below 255.
    const auto ramp = [](int value, int full) {
        return full > 1 ? static_cast<unsigned char>(std::log(value) * (255.0 / std::log(full)) + 1e-9)
                        : static_cast<unsigned char>(0);
    };
    Colormap colormap(static_cast<int>(n));
    const auto set = [&colormap](int i, unsigned char red, unsigned char green, unsigned char blue) {
        colormap.__red[i] = red;
        colormap.__green[i] = green;
        colormap.__blue[i] = blue;
    };
    for (int i = 0; i < q; ++i) {
        set(i, 0, i > 0 ? ramp(i, q) : 0, 255);
        set(q + i, 0, 255, ramp(q - i, q));
        set(2 * q + i, ramp(i + 2, q + 1), 255, 0);
        set(3 * q + i, 255, ramp(q - i, q + 1), 0);
    }
    return colormap;
}

} // namespace vorlen
