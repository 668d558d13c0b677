#pragma once

#include "cairn/foundation/exception.h"

#include <cstddef>
#include <span>
#include <vector>

namespace cairn {

class CN_Document;
class F_MemoryFile;

/// The bytes of a level file are not those that were written: what stands behind its last section is no whole seal, or
/// the seal is that of other bytes.
class CN_LevelFile_Exception_Seal : public F_Exception {
  public:
    using F_Exception::F_Exception;
};

/// Level files on disk: the bytes of a level, sealed against damage, written as a whole or not at all.
///
/// A seal is the last `SEAL_SIZE` bytes of a file: 8 bytes of a mark, then the number of bytes before it and their
/// checksum (`checksum64`), 8 bytes each, little-endian. A file without a seal is a level file too.
class CN_LevelFile {
  public:
    static constexpr std::size_t SEAL_SIZE = 24;

    /// All bytes of a file; "-" is standard input. Of a file that does not begin like a level it gives the first bytes
    /// alone, which `load` refuses. Throws where it cannot be read or has 4 GiB and more.
    static std::vector<unsigned char> read(const string& path);
    /// Loads a level into `document`, which must hold none, and checks the seal. True where the file is sealed, false
    /// where it ends with its last section. Throws what `CN_Document::load` throws where the level does not load, and
    /// `CN_LevelFile_Exception_Seal` where it does but the seal is damaged: `document` holds the whole level then.
    static bool load(CN_Document& document, std::span<const unsigned char> bytes);
    /// The same with the bytes of a file, "-" being standard input.
    static bool load(CN_Document& document, const string& path);

    /// Writes the level and its seal into `file`, an empty one that is open for writing.
    static void write(CN_Document& document, F_MemoryFile& file);
    /// Puts the level, sealed, in the place of the file `path`, as a whole or not at all (`F_File::replace`).
    static void save(CN_Document& document, const string& path);
    /// Appends the seal of all that `file` holds. Throws where the whole would have 4 GiB and more, which `read` refuses.
    static void seal(F_MemoryFile& file);
};

} // namespace cairn
