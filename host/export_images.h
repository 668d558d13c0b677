#pragma once

#include "cairn/materials/texture.h"

#include <span>
#include <string>
#include <vector>

namespace cairn::host {

/// An image file for an export: the texture's own bytes where the target takes their format, else a PNG of its pixels.
class ExportImage {
  public:
    /// For glTF, which takes PNG and JPEG, or (`forFiles`) for image files, of which TGA and BMP do, too. The texture
    /// must decode (its size is above 0) and outlive this.
    ExportImage(const CN_Texture& texture, bool forFiles);

    std::span<const unsigned char> bytes() const { return m_bytes; }
    /// Of the file, with its dot.
    const char* ending() const { return m_ending; }
    /// The media type where it is one that glTF takes.
    const char* mediaType() const;

  private:
    std::vector<unsigned char> m_encoded; ///< empty where the texture's own bytes serve
    std::span<const unsigned char> m_bytes;
    const char* m_ending;
};

} // namespace cairn::host
