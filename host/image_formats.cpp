#include "host/image_formats.h"

namespace cairn::host {

FormatName formatName(I_Image::Format format) {
    switch (format) {
    case I_Image::TGA:
        return {"TGA", ".tga"};
    case I_Image::PNG:
        return {"PNG", ".png"};
    case I_Image::SCX:
        return {"SCX", ".scx"};
    case I_Image::PCX:
        return {"PCX", ".pcx"};
    case I_Image::JPEG:
        return {"JPEG", ".jpg"};
    case I_Image::BMP:
        return {"BMP", ".bmp"};
    case I_Image::UNSUPPORTED:
        break;
    }
    return {"UNSUPPORTED", ".bin"};
}

} // namespace cairn::host
