/// Writes the sample stack: 48 sections of 512 x 512 pixels that look like stained tissue, with five models.
///
/// Usage: vorlen-sample FOLDER. sample.sdf has the sections registered, unregistered.sdf the same ones as they lay
/// before that. Everything is made by formula, so that each run writes the same files, and the true sizes of the models
/// follow from closed expressions; they are written to truth.txt beside the stack.
///
/// The structures are defined in world coordinates (micrometres, Y up, origin in the middle of the first section). Each
/// section is then shifted and turned a little against the one before it, and the file holds the registration that
/// brings it back.

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include <tiffio.h>

namespace vorlen {

namespace {

constexpr double pi = 3.14159265358979323846;
constexpr int size = 512;
constexpr double middle = size / 2.0;
constexpr int numSections = 48;
constexpr double pixel = 0.5;
constexpr double spacing = 4;

struct Point {
    double x, y;
};

std::uint32_t mix(std::uint32_t x) {
    x ^= x >> 16;
    x *= 0x7feb352dU;
    x ^= x >> 15;
    x *= 0x846ca68bU;
    x ^= x >> 16;
    return x;
}

/// A value in [0, 1) for a lattice point.
double random(int i, int j, int k) {
    return double(mix(std::uint32_t(i) * 73856093U ^ std::uint32_t(j) * 19349663U ^ std::uint32_t(k) * 83492791U) >>
                  8) /
           16777216.0;
}

/// Smooth noise in [0, 1) with features of one unit of x, y and z.
double smoothNoise(double x, double y, double z, int seed) {
    const int i = int(std::floor(x)), j = int(std::floor(y)), k = int(std::floor(z));
    const auto ease = [](double t) { return t * t * (3 - 2 * t); };
    const double u = ease(x - i), v = ease(y - j), w = ease(z - k);
    double sum = 0;
    for (int corner = 0; corner < 8; ++corner) {
        const int a = corner & 1, b = corner >> 1 & 1, c = corner >> 2 & 1;
        sum += (a ? u : 1 - u) * (b ? v : 1 - v) * (c ? w : 1 - w) * random(i + a + seed * 7919, j + b, k + c);
    }
    return sum;
}

/// Where one section lies: its chained rotation (radians) and translation (micrometres), and the step of the
/// registration that leads to it from the section before.
struct Section {
    int horizontal = 0, vertical = 0;
    double degrees = 0;
    double theta = 0, tx = 0, ty = 0;
    double z = 0;

    Point toWorld(double u, double v) const {
        const double px = pixel * (u - middle), py = pixel * (middle - v);
        return {std::cos(theta) * px - std::sin(theta) * py + tx, std::sin(theta) * px + std::cos(theta) * py + ty};
    }

    Point toPixel(Point world) const {
        const double x = world.x - tx, y = world.y - ty;
        const double px = std::cos(theta) * x + std::sin(theta) * y, py = -std::sin(theta) * x + std::cos(theta) * y;
        return {middle + px / pixel, middle - py / pixel};
    }
};

/// Each step pulls back towards the middle, so that the sections wander without running away.
std::vector<Section> makeSections() {
    std::vector<Section> sections(numSections);
    double theta = 0, tx = 0, ty = 0, degrees = 0;
    for (int i = 0; i < numSections; ++i) {
        Section& section = sections[i];
        if (i > 0) {
            section.horizontal = int(std::lround(-0.5 * tx / pixel + 8 * (random(i, 1, 5) - 0.5)));
            section.vertical = int(std::lround(0.5 * ty / pixel + 8 * (random(i, 2, 5) - 0.5)));
            section.degrees = std::round(10 * (-0.5 * degrees + 4 * (random(i, 3, 5) - 0.5))) / 10;
        }
        const double a = section.horizontal * pixel, b = -section.vertical * pixel;
        tx += std::cos(theta) * a - std::sin(theta) * b;
        ty += std::sin(theta) * a + std::cos(theta) * b;
        theta -= section.degrees * pi / 180;
        degrees += section.degrees;
        section.theta = theta;
        section.tx = tx;
        section.ty = ty;
        section.z = i * spacing;
    }
    return sections;
}

/// A spheroid: radius across, half height along the cutting axis, the poles a tenth of a spacing beyond a section.
struct Spheroid {
    Point centre{-50, 40};
    double z = 22 * spacing, radius = 45, halfHeight = 15.1 * spacing;

    double radiusAt(double height) const {
        const double t = (height - z) / halfHeight;
        return t * t < 1 ? radius * std::sqrt(1 - t * t) : 0;
    }
    double volume() const { return 4.0 / 3 * pi * radius * radius * halfHeight; }
    double area() const {
        const double e = std::sqrt(1 - radius * radius / (halfHeight * halfHeight));
        return 2 * pi * radius * radius * (1 + halfHeight / (radius * e) * std::asin(e));
    }
};

/// A concave body: on each section the curve r = R (1 + q cos 2 phi), of area pi R^2 (1 + q^2 / 2).
struct Peanut {
    Point centre{55, 45};
    double z = 24 * spacing, radius = 38, halfHeight = 18.1 * spacing, waist = 0.35;

    double radiusAt(double height, double phi) const {
        const double t = (height - z) / halfHeight;
        return t * t < 1 ? radius * std::sqrt(1 - t * t) * (1 + waist * std::cos(2 * phi)) : 0;
    }
    double volume() const { return 4.0 / 3 * pi * radius * radius * halfHeight * (1 + waist * waist / 2); }
};

/// A vessel: two limbs of circular section on the first sections, one trunk of elliptic section on the others.
struct Vessel {
    Point centre{-45, -70};
    int first = 6, fork = 22, last = 40;
    double limb = 12, apart = 20, halfWidth = 34, halfDepth = 16;

    double volume() const {
        return spacing * ((fork - first) * 2 * pi * limb * limb + (last + 1 - fork) * pi * halfWidth * halfDepth);
    }
    /// Walls, ends, and the step between the trunk and the limbs. The trunk's girth by Ramanujan's formula.
    double area() const {
        const double h =
            (halfWidth - halfDepth) * (halfWidth - halfDepth) / ((halfWidth + halfDepth) * (halfWidth + halfDepth));
        const double girth = pi * (halfWidth + halfDepth) * (1 + 3 * h / (10 + std::sqrt(4 - 3 * h)));
        return spacing * ((fork - first) * 4 * pi * limb + (last + 1 - fork) * girth) + 2 * pi * halfWidth * halfDepth;
    }
};

/// A membrane: part of the wall of an upright cylinder.
struct Membrane {
    Point centre{55, -20};
    double radius = 60, from = 200 * pi / 180, to = 340 * pi / 180;
    int first = 4, last = 43;

    double area() const { return radius * (to - from) * (last - first) * spacing; }
};

struct Scene {
    Spheroid spheroid;
    Peanut peanut;
    Vessel vessel;
    Membrane membrane;

    std::vector<Point> cells(int section) const {
        const int count = section >= 3 && section < 45 ? 3 + int(4 * random(section, 11, 3)) : 0;
        std::vector<Point> points;
        points.reserve(std::size_t(count));
        for (int k = 0; k < count; ++k)
            points.push_back({20 + 80 * random(section, k, 12), -110 + 18 * random(section, k, 13)});
        return points;
    }
};

std::vector<Point> circle(Point centre, double a, double b, double step) {
    const int count = std::max(8, int(2 * pi * std::max(a, b) / step));
    std::vector<Point> points;
    points.reserve(std::size_t(count));
    for (int k = 0; k < count; ++k)
        points.push_back({centre.x + a * std::cos(2 * pi * k / count), centre.y + b * std::sin(2 * pi * k / count)});
    return points;
}

/// The contours of each model on one section, in world coordinates.
struct Outlines {
    std::vector<std::vector<Point>> spheroid, peanut, vessel, membrane, cells;
};

Outlines outline(const Scene& scene, const Section& section, int index) {
    constexpr double step = 4;
    Outlines outlines;
    if (const double r = scene.spheroid.radiusAt(section.z); r > 0)
        outlines.spheroid.push_back(circle(scene.spheroid.centre, r, r, step));
    if (const double r = scene.peanut.radiusAt(section.z, 0); r > 0) {
        const int count = std::max(16, int(2 * pi * r / step));
        std::vector<Point> points;
        for (int k = 0; k < count; ++k) {
            const double phi = 2 * pi * k / count, q = scene.peanut.radiusAt(section.z, phi);
            points.push_back({scene.peanut.centre.x + q * std::cos(phi), scene.peanut.centre.y + q * std::sin(phi)});
        }
        outlines.peanut.push_back(points);
    }
    const Vessel& vessel = scene.vessel;
    if (index >= vessel.first && index < vessel.fork) {
        outlines.vessel.push_back(
            circle({vessel.centre.x - vessel.apart, vessel.centre.y}, vessel.limb, vessel.limb, step));
        outlines.vessel.push_back(
            circle({vessel.centre.x + vessel.apart, vessel.centre.y}, vessel.limb, vessel.limb, step));
    } else if (index >= vessel.fork && index <= vessel.last) {
        outlines.vessel.push_back(circle(vessel.centre, vessel.halfWidth, vessel.halfDepth, step));
    }
    const Membrane& membrane = scene.membrane;
    if (index >= membrane.first && index <= membrane.last) {
        std::vector<Point> points;
        for (int k = 0; k <= 36; ++k) {
            const double phi = membrane.from + (membrane.to - membrane.from) * k / 36;
            points.push_back({membrane.centre.x + membrane.radius * std::cos(phi),
                              membrane.centre.y + membrane.radius * std::sin(phi)});
        }
        outlines.membrane.push_back(points);
    }
    if (const auto cells = scene.cells(index); !cells.empty())
        outlines.cells.push_back(cells);
    return outlines;
}

/// 1 well inside, 0 well outside, over an edge of about two pixels; distance in micrometres, positive inside.
double inside(double distance) {
    return 1 / (1 + std::exp(-3 * distance));
}

/// Less than this is not seen. That much is inside at 3.07 micrometres without.
constexpr double leastStain = 1e-4, edge = 3.1;

/// False where a point is so far from another one that nothing within reach of that stains it.
bool isNear(double dx, double dy, double reach) {
    return dx * dx + dy * dy < (reach + edge) * (reach + edge);
}

double brightness(const Scene& scene, const std::vector<Point>& cells, const Section& section, int index, int u,
                  int v) {
    const Point here = section.toWorld(u, v);
    const double x = here.x, y = here.y;
    const double z = section.z;
    double value = 172 + 26 * (smoothNoise(x / 14, y / 14, z / 20, 1) - 0.5) +
                   22 * (smoothNoise(x / 3.5, y / 3.5, z / 5, 2) - 0.5);

    const auto stain = [&](double amount, double level, double texture) {
        if (amount > leastStain)
            value += amount * (level + texture * (smoothNoise(x / 2.5, y / 2.5, z / 4, 3) - 0.5) - value);
    };
    const auto polar = [&](Point centre) {
        return Point{std::hypot(x - centre.x, y - centre.y), std::atan2(y - centre.y, x - centre.x)};
    };
    const auto isNearTo = [&](Point centre, double reach) { return isNear(x - centre.x, y - centre.y, reach); };
    const Spheroid& spheroid = scene.spheroid;
    const Peanut& peanut = scene.peanut;
    if (const double radius = spheroid.radiusAt(z); isNearTo(spheroid.centre, radius))
        stain(inside(radius - polar(spheroid.centre).x), 92, 22);
    if (isNearTo(peanut.centre, peanut.radius * (1 + peanut.waist))) {
        const Point at = polar(peanut.centre);
        stain(inside(peanut.radiusAt(z, at.y) - at.x), 118, 30);
    }

    const Vessel& vessel = scene.vessel;
    const double dx = x - vessel.centre.x, dy = y - vessel.centre.y;
    // The trunk's distance, which is a share of its half depth, reaches farther along its width.
    const bool isNearVessel = isNear(
        dx, dy, std::max(vessel.apart + vessel.limb, vessel.halfWidth + vessel.halfWidth / vessel.halfDepth * edge));
    if (isNearVessel && index >= vessel.first && index < vessel.fork)
        stain(inside(vessel.limb - std::hypot(std::abs(dx) - vessel.apart, dy)), 226, 8);
    else if (isNearVessel && index >= vessel.fork && index <= vessel.last)
        stain(inside((1 - std::hypot(dx / vessel.halfWidth, dy / vessel.halfDepth)) * vessel.halfDepth), 226, 8);

    const Membrane& membrane = scene.membrane;
    if (index >= membrane.first && index <= membrane.last && isNearTo(membrane.centre, membrane.radius + 1.2) &&
        !isNearTo(membrane.centre, membrane.radius - 1.2 - 2 * edge)) {
        Point at = polar(membrane.centre);
        if (at.y < 0)
            at.y += 2 * pi;
        if (at.y > membrane.from && at.y < membrane.to)
            stain(inside(1.2 - std::abs(at.x - membrane.radius)), 70, 10);
    }
    for (const Point& cell : cells)
        if (isNearTo(cell, 2.5))
            stain(inside(2.5 - std::hypot(x - cell.x, y - cell.y)), 60, 10);

    // The light falls off towards the corners and drifts from section to section; the camera adds its noise.
    const double cx = (u - size / 2.0) / size, cy = (v - size / 2.0) / size;
    const double light = 1 - 0.28 * (cx * cx + cy * cy) + 0.08 * cx + 0.05 * (random(index, 21, 4) - 0.5);
    return value * light + 10 * (random(u, v, 1000 + index) + random(u, v, 2000 + index) - 1);
}

bool writeImage(const std::string& name, const std::vector<unsigned char>& pixels) {
    TIFF* tiff = TIFFOpen(name.c_str(), "w");
    if (!tiff)
        return false;
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, size);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, size);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 8);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, 1);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, 64);
    bool good = true;
    for (int v = 0; v < size && good; ++v)
        good = TIFFWriteScanline(tiff, const_cast<unsigned char*>(pixels.data() + std::size_t(v) * size), v, 0) == 1;
    TIFFClose(tiff);
    return good;
}

std::string sectionName(int index) {
    char text[16];
    std::snprintf(text, sizeof text, "s%03d", index);
    return text;
}

void writeItems(std::ostream& out, const std::string& model, const std::string& slice, const Section& section,
                const std::vector<std::vector<Point>>& contours) {
    for (const auto& contour : contours) {
        out << "\nMODELITEM \"" << model << "\" \"" << slice << "\";\nMODELITEMDATA\n";
        for (std::size_t k = 0; k < contour.size(); ++k) {
            const Point at = section.toPixel(contour[k]);
            out << ' ' << std::lround(at.x) << ',' << std::lround(at.y);
            if (k % 7 == 6 && k + 1 < contour.size())
                out << '\n';
        }
        out << ";\n";
    }
}

void writeModel(std::ostream& out, const std::string& name, const std::string& geometry, const std::string& color,
                int opacity) {
    out << "\nMODEL \"" << name << "\";\nBRILLIANCY 32;\nCOLOR " << color
        << ";\nECORENDERING false;\nFILLEDIN true;\nHIDDEN3D false;\nPOINTSIZE 3;\nPRIMITIVE " << geometry
        << ";\nRENDERINGMODE Surface;\nRESAMPLING 100 100;\nTHICKNESS 1;\nTRANSPARENCY " << opacity
        << ";\nVERTEXSYMBOL Sphere;\n";
    if (geometry != "Polypoint")
        out << "BeginCap " << (geometry == "Polygon" ? "true" : "false") << ";\nEndCap "
            << (geometry == "Polygon" ? "true" : "false") << ";\n";
}

std::string describe(const Scene& scene, const std::vector<Outlines>& outlines) {
    std::ostringstream out;
    out.precision(7);
    int numCells = 0;
    for (const Outlines& o : outlines)
        for (const auto& cells : o.cells)
            numCells += int(cells.size());
    out << "Nucleus   volume " << scene.spheroid.volume() << " um^3, area " << scene.spheroid.area() << " um^2\n";
    out << "Ganglion  volume " << scene.peanut.volume() << " um^3\n";
    out << "Vessel    volume " << scene.vessel.volume() << " um^3, area " << scene.vessel.area() << " um^2\n";
    out << "Membrane  area " << scene.membrane.area() << " um^2\n";
    out << "Cells     " << numCells << " points\n";
    return out.str();
}

/// The stack description: with the registrations that bring the sections back, or as sections lie before that.
void writeStack(std::ostream& out, const std::vector<Section>& sections, const std::vector<Outlines>& outlines,
                bool registered) {
    out << "FileFormatVersion 1.03;\nSTACK \"" << (registered ? "Sample" : "Sample, unregistered")
        << "\";\nLengthUnitScale -6;\nPIXASPECT 1;\nPIXWIDTH " << pixel << ";\nRELPOSITION " << spacing
        << ";\nLASTSEGMENTEDSLICE \"s022\";\nLASTREGISTEREDSLICE \"" << (registered ? "s047" : "")
        << "\";\n"
           "Annotation \"A sample stack made by formula\";\nAbsoluteImagesPathPolicy false;\n\nImagesPath "
           "\"images/\";\n";
    for (int i = 0; i < numSections; ++i) {
        const Section& section = sections[i];
        out << "\nSLICE \"" << sectionName(i) << "\" \"" << sectionName(i) << ".tif\";\nSliceSize1 " << size
            << ";\nSliceSize2 " << size << ";\n";
        if (registered && section.degrees != 0)
            out << "ROTATE " << section.degrees << ";\n";
        if (registered && (section.horizontal != 0 || section.vertical != 0))
            out << "SHIFT " << section.horizontal << ' ' << section.vertical << ";\n";
    }

    const auto writeStructure = [&](const char* name, const char* geometry, const char* color, int opacity,
                                    std::vector<std::vector<Point>> Outlines::*part) {
        writeModel(out, name, geometry, color, opacity);
        for (int i = 0; i < numSections; ++i)
            writeItems(out, name, sectionName(i), sections[i], outlines[i].*part);
    };
    writeStructure("Nucleus", "Polygon", "214 69 65", 90, &Outlines::spheroid);
    writeStructure("Ganglion", "Polygon", "65 131 215", 255, &Outlines::peanut);
    writeStructure("Vessel", "Polygon", "38 166 91", 255, &Outlines::vessel);
    writeStructure("Membrane", "Polyline", "244 179 80", 255, &Outlines::membrane);
    writeStructure("Cells", "Polypoint", "155 89 182", 255, &Outlines::cells);

    out << "\nPOSE \"Front\";\nPOSEROTATION 0 180 0;\nPOSESHIFT 0 0;\nPOSEZOOM 100;\nAMBIENTLIGHT 20;\nDIFFUSELIGHT "
           "80;\n"
           "SPECULARLIGHT 40;\n";
    out << "\nPOSE \"Oblique\";\nPOSEROTATION 290 0 64;\nPOSESHIFT 0 0;\nPOSEZOOM 105;\nAMBIENTLIGHT 20;\n"
           "DIFFUSELIGHT 80;\nSPECULARLIGHT 40;\n";
    out.flush();
}

} // namespace

} // namespace vorlen

int main(int argc, char** argv) {
    using namespace vorlen;
    constexpr const char* usage = "Usage: vorlen-sample FOLDER\n";
    const std::string_view argument = argc > 1 ? argv[1] : "";
    if (argument == "--help" || argument == "-h") {
        std::cout << usage
                  << "Draws a stack of section images and writes it, with models to look at, into the folder, which is "
                     "made if it is not there.\nOpen sample.sdf there with vorlen. For a folder whose name begins with "
                     "a hyphen write ./-NAME.\n";
        return 0;
    }
    if (argc != 2 || argument.empty() || argument.front() == '-') {
        std::cerr << usage;
        return 2;
    }
    const std::filesystem::path folder = argv[1];
    std::error_code error;
    std::filesystem::create_directories(folder / "images", error);
    if (error) {
        std::cerr << "Cannot make the folder " << folder << ": " << error.message() << '\n';
        return 3;
    }

    const Scene scene;
    const std::vector<Section> sections = makeSections();
    std::vector<Outlines> outlines;
    outlines.reserve(std::size_t(numSections));
    for (int i = 0; i < numSections; ++i)
        outlines.push_back(outline(scene, sections[i], i));

    std::vector<unsigned char> pixels(std::size_t(size) * size);
    for (int i = 0; i < numSections; ++i) {
        const std::vector<Point> cells = scene.cells(i);
        for (int v = 0; v < size; ++v)
            for (int u = 0; u < size; ++u)
                pixels[std::size_t(v) * size + u] = static_cast<unsigned char>(
                    std::min(255.0, std::max(0.0, brightness(scene, cells, sections[i], i, u, v))));
        const std::string name = (folder / "images" / (sectionName(i) + ".tif")).string();
        if (!writeImage(name, pixels)) {
            std::cerr << "Cannot write the image " << name << '\n';
            return 3;
        }
    }

    std::ofstream out(folder / "sample.sdf"), unregistered(folder / "unregistered.sdf");
    writeStack(out, sections, outlines, true);
    writeStack(unregistered, sections, outlines, false);
    std::ofstream truth(folder / "truth.txt");
    truth << describe(scene, outlines);
    truth.flush();
    if (!out || !unregistered || !truth) {
        std::cerr << "Cannot write the stack in " << folder << '\n';
        return 3;
    }
    std::cout << "Sample stack: " << (folder / "sample.sdf").string() << '\n';
    return 0;
}
