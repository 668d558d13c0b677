#pragma once

#include "cairn/imaging/image.h"

#include <cstdint>
#include <span>
#include <string>

/// The decoders behind `I_Image::construct`, one a format, and what they share.
namespace cairn {

/// What a decoder made of a file.
struct I_DecodedImage {
    int width = 0;
    int height = 0;
    int faceCount = 1;
    I_PixelBuffer pixels; ///< face after face, rows from the top
    std::unique_ptr<I_SurfaceHeader> surfaceHeader;
};

using I_FileBytes = std::span<const unsigned char>;

/// Each decodes the bytes of a file of its format, and throws an `I_ImageException*` where they are no whole picture of
/// it. Nothing is allocated for a picture that the file's length cannot hold.
/// @{
I_DecodedImage decodeTGA(I_FileBytes file);
I_DecodedImage decodeJPEG(I_FileBytes file);
I_DecodedImage decodePNG(I_FileBytes file);
I_DecodedImage decodeBMP(I_FileBytes file);
I_DecodedImage decodePCX(I_FileBytes file);
I_DecodedImage decodeSCX(I_FileBytes file);
/// @}

/// Throws an `I_ImageException*` with the format's name ahead of the text.
[[noreturn]] void refuseImage(const char* format, const std::string& text);
/// The pixels of that many pictures of that size. Throws an `I_ImageException*` where a side is 0 or where there are more
/// than `I_Image::MAX_PIXELS`.
std::size_t checkImageSize(const char* format, std::uint64_t width, std::uint64_t height, unsigned faces = 1);
/// Room for that many pixels, which the caller writes.
I_PixelBuffer allocatePixels(std::size_t count);

/// The little-endian number at `offset`, which the file must have.
/// @{
inline unsigned fileWord16(I_FileBytes file, std::size_t offset) { return file[offset] | file[offset + 1] * 256u; }
inline std::uint32_t fileWord32(I_FileBytes file, std::size_t offset) {
    return fileWord16(file, offset) | std::uint32_t{fileWord16(file, offset + 2)} << 16;
}
/// @}

} // namespace cairn
