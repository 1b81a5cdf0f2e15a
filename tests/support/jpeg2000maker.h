#pragma once

#include <cstdint>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <vector>

#include <openjpeg.h>

namespace vorlen {

/// Writes JPEG 2000 files without loss, for the reader to be tried on.
struct Jpeg2000Maker {
    int width = 16;
    int height = 12;
    int components = 1; // 1 grey; 3 and 4 colours, with opacity behind them
    int bits = 8;
    bool isSigned = false;
    bool isBare = false;      // a codestream without boxes
    bool isLuminance = false; // with chrominance at every second pixel
    int pixelsPerMeter = 0;

    void write(const std::string& filename,
               const std::function<int(int row, int column, int component)>& sample) const {
        std::vector<opj_image_cmptparm_t> parameters(std::size_t(components), opj_image_cmptparm_t{});
        for (int k = 0; k < components; ++k) {
            opj_image_cmptparm_t& one = parameters[std::size_t(k)];
            one.dx = one.dy = OPJ_UINT32(stepOf(k));
            one.w = OPJ_UINT32((width + stepOf(k) - 1) / stepOf(k));
            one.h = OPJ_UINT32((height + stepOf(k) - 1) / stepOf(k));
            one.prec = OPJ_UINT32(bits);
            one.sgnd = isSigned ? 1 : 0;
        }
        opj_image_t* image = opj_image_create(OPJ_UINT32(components), parameters.data(),
                                              isLuminance      ? OPJ_CLRSPC_SYCC
                                              : components > 2 ? OPJ_CLRSPC_SRGB
                                                               : OPJ_CLRSPC_GRAY);
        image->x1 = OPJ_UINT32(width);
        image->y1 = OPJ_UINT32(height);
        for (int k = 0; k < components; ++k) {
            const opj_image_comp_t& one = image->comps[k];
            for (OPJ_UINT32 i = 0; i < one.h; ++i)
                for (OPJ_UINT32 j = 0; j < one.w; ++j)
                    one.data[i * one.w + j] = sample(int(i) * stepOf(k), int(j) * stepOf(k), k);
        }
        if (components == 4)
            image->comps[3].alpha = 1;
        opj_cparameters_t coding;
        opj_set_default_encoder_parameters(&coding);
        coding.numresolution = 3;
        coding.tcp_numlayers = 1;
        coding.cp_disto_alloc = 1;
        coding.tcp_mct = !isLuminance && components > 2 ? 1 : 0;
        opj_codec_t* codec = opj_create_compress(isBare ? OPJ_CODEC_J2K : OPJ_CODEC_JP2);
        opj_setup_encoder(codec, &coding, image);
        opj_stream_t* stream = opj_stream_create_default_file_stream(filename.c_str(), OPJ_FALSE);
        opj_start_compress(codec, image, stream);
        opj_encode(codec, stream);
        opj_end_compress(codec, stream);
        opj_stream_destroy(stream);
        opj_destroy_codec(codec);
        opj_image_destroy(image);
        if (pixelsPerMeter > 0)
            addResolution(filename);
    }

private:
    int stepOf(int component) const { return isLuminance && component > 0 ? 2 : 1; }

    static std::string bytes(std::uint32_t value, int length) {
        std::string text;
        for (int i = length - 1; i >= 0; --i)
            text += char(value >> (8 * i) & 0xff);
        return text;
    }

    /// A box of the resolution at capture, at the end of the header's box.
    void addResolution(const std::string& filename) const {
        std::ifstream in(filename, std::ios::binary);
        std::string all((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        in.close();
        const std::string ratio = bytes(std::uint32_t(pixelsPerMeter), 2) + bytes(1, 2);
        const std::string box = bytes(26, 4) + "res " + bytes(18, 4) + "resc" + ratio + ratio + std::string(2, '\0');
        const std::size_t header = all.find("jp2h") - 4;
        std::uint32_t length = 0;
        for (std::size_t i = 0; i < 4; ++i)
            length = length << 8 | static_cast<unsigned char>(all[header + i]);
        all.insert(header + length, box);
        all.replace(header, 4, bytes(length + std::uint32_t(box.size()), 4));
        std::ofstream(filename, std::ios::binary) << all;
    }
};

} // namespace vorlen
