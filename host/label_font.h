#pragma once

#include "cairn/imaging/image.h"

#include <string>
#include <string_view>

namespace cairn::host {

/// A small font for the labels of pictures: printable ASCII in cells of 6 by 10 pixels.
class LabelFont {
  public:
    static constexpr int WIDTH = 6, HEIGHT = 10;

    /// Draws a line of text with its upper left corner there; what lies outside of the picture is left out. Every
    /// character beyond ASCII is one box.
    static void draw(I_Image& picture, int x, int y, std::string_view text, I_Color color);
    /// The characters of the text, as they are drawn.
    static int countCharacters(std::string_view text);
    /// The text, or where it has more than `length` characters, which is at least 4, its head and its end with ".."
    /// between.
    static std::string shorten(std::string_view text, int length);
};

} // namespace cairn::host
