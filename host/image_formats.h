#pragma once

#include "cairn/imaging/image.h"

namespace cairn::host {

/// A format's word and the ending of its files.
struct FormatName {
    const char* word;
    const char* ending;
};

FormatName formatName(I_Image::Format format);

} // namespace cairn::host
