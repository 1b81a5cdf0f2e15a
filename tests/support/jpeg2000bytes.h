#pragma once

#include <cstdint>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <vector>

#include <openjpeg.h>

#include "support/imagebytes.h"

namespace vorlen {

/// A JPEG 2000 file to be written by OpenJPEG without loss, its first pixel away from the origin of the grid.
struct Jpeg2000Maker {
    int width = 16, height = 12, bits = 8, samples = 1;
    bool isSigned = false, bare = false, opacity = false; ///< the last component tells how opaque a pixel is
    int halved = 0; ///< components from this one on have half as many columns and rows; 0 for none
    OPJ_COLOR_SPACE space = OPJ_CLRSPC_GRAY;
    int pixelsPerMetre = 0; ///< across; down there are twice as many

    void write(const std::string& filename, const std::function<int(int row, int column, int sample)>& value) const {
        const bool multiple = samples == 3 && halved == 0;
        std::vector<opj_image_cmptparm_t> components(std::size_t(samples), opj_image_cmptparm_t{});
        for (int k = 0; k < samples; ++k) {
            const unsigned step = halved > 0 && k >= halved ? 2 : 1;
            components[std::size_t(k)] = {step,
                                          step,
                                          (unsigned(width) + step - 1) / step,
                                          (unsigned(height) + step - 1) / step,
                                          4,
                                          4,
                                          unsigned(bits),
                                          unsigned(bits),
                                          isSigned ? 1u : 0u};
        }
        opj_image_t* image = opj_image_create(unsigned(samples), components.data(), space);
        image->x0 = image->y0 = 4;
        image->x1 = unsigned(width) + 4;
        image->y1 = unsigned(height) + 4;
        for (int k = 0; k < samples; ++k) {
            opj_image_comp_t& component = image->comps[k];
            component.alpha = opacity && k == samples - 1 ? 1 : 0;
            for (unsigned i = 0; i < component.h; ++i)
                for (unsigned j = 0; j < component.w; ++j)
                    component.data[i * component.w + j] = value(int(i * component.dy), int(j * component.dx), k);
        }
        opj_cparameters_t parameters;
        opj_set_default_encoder_parameters(&parameters);
        parameters.tcp_numlayers = 1;
        parameters.cp_disto_alloc = 1;
        parameters.numresolution = 3;
        parameters.image_offset_x0 = parameters.image_offset_y0 = 4;
        parameters.tcp_mct = multiple && space == OPJ_CLRSPC_SRGB ? 1 : 0;
        opj_codec_t* codec = opj_create_compress(bare ? OPJ_CODEC_J2K : OPJ_CODEC_JP2);
        opj_stream_t* stream = opj_stream_create_default_file_stream(filename.c_str(), OPJ_FALSE);
        opj_setup_encoder(codec, &parameters, image);
        opj_start_compress(codec, image, stream);
        opj_encode(codec, stream);
        opj_end_compress(codec, stream);
        opj_stream_destroy(stream);
        opj_destroy_codec(codec);
        opj_image_destroy(image);
        if (pixelsPerMetre > 0)
            addResolution(filename);
    }

private:
    /// Puts the box of the resolution at the end of the header's box.
    void addResolution(const std::string& filename) const {
        using namespace ImageBytes;
        std::ifstream in(filename, std::ios::binary);
        std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        in.close();
        const std::size_t at = bytes.find("jp2h") - 4;
        std::uint32_t length = 0;
        for (std::size_t i = 0; i < 4; ++i)
            length = length << 8 | static_cast<unsigned char>(bytes[at + i]);
        std::string box = number(std::uint32_t(26), true) + "res " + number(std::uint32_t(18), true) + "resc";
        // Pixels a metre as fraction times a power of ten: down, then across.
        for (const int value : {2 * pixelsPerMetre / 100, 1, pixelsPerMetre / 100, 1})
            box += number(std::uint16_t(value), true);
        box += "\x02\x02";
        bytes.insert(at + length, box);
        put(bytes, at, std::uint32_t(length + box.size()), true);
        std::ofstream(filename, std::ios::binary) << bytes;
    }
};

} // namespace vorlen
