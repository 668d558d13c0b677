#pragma once

/// @file
/// The library's version. This is its one home: the build reads the three numbers from here.

#define CAIRN_VERSION_MAJOR 0
#define CAIRN_VERSION_MINOR 1
#define CAIRN_VERSION_PATCH 0

namespace cairn {

/// The version of the library that is linked, as "MAJOR.MINOR.PATCH"; a host that was compiled against other headers
/// can compare it with the macros above. Static storage, never null.
const char* version() noexcept;

} // namespace cairn
