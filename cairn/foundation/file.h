#pragma once

#include "cairn/foundation/strings.h"

#include <cstddef>
#include <cstdio>
#include <span>
#include <vector>

namespace cairn {

/// Files on disk: the bytes of one for whoever asks, and the safe replacing of one. Every failure is an `F_Exception*`
/// with the file's name and the system's reason.
class F_File {
  public:
    constexpr F_File() = default;
    F_File(const F_File&) = delete;
    F_File& operator=(const F_File&) = delete;

    /// How files in archives are treated. There are no archives here, every name is looked up on disk, which is what 0
    /// asks for; other values are kept and change nothing.
    void setArchiveHandling(int handling) { m_archiveHandling = handling; }
    int getArchiveHandling() const { return m_archiveHandling; }

    /// The bytes in the file. Throws where it cannot be looked at, is no regular file, or has more than an `int` counts.
    int size(const char* fileName) const;
    /// The first `size` bytes of the file, or with -1 all of them; the caller owns them and releases them with
    /// `std::free`. Never null, for an empty file too. `application` says in a failure's text who asked. Throws where
    /// the file is shorter and where `size` throws.
    void* load(const char* application, const char* fileName, int size) const;

    /// How much `readAll` takes.
    struct Bounds {
        std::size_t maxBytes = static_cast<std::size_t>(-1); ///< a longer file is refused
        /// Asked once with the first bytes, at most 64 KiB: false ends the reading there, so that nobody waits for the
        /// rest of what is no file of its kind. Null for no question.
        bool (*isWorthReading)(std::span<const unsigned char> head) = nullptr;
    };
    /// All bytes of a file: a regular file, a pipe or a device. Throws where it cannot be read or is longer than the
    /// bounds say.
    static std::vector<unsigned char> readAll(const string& fileName, const Bounds& bounds = NO_BOUNDS);
    /// All bytes that are left in `stream`, which stays open and its caller's; `name` is for the text of a failure.
    static std::vector<unsigned char> readAll(std::FILE* stream, const string& name, const Bounds& bounds = NO_BOUNDS);

    /// Makes the file hold `bytes`, as a whole or not at all: they are written beside it, flushed to the disk, and take
    /// its place at once. A file that stood there keeps its permission bits, a symbolic link stays and its target is
    /// replaced. Throws where anything but a regular file stands there and on every failure; the old file is as it was
    /// then, and nothing is left beside it.
    static void replace(const string& fileName, std::span<const unsigned char> bytes);
    /// What a file is to hold.
    struct Replacement {
        string fileName;
        std::span<const unsigned char> bytes; ///< not owned
    };
    /// The same with several files, which must be of different places: all of them are on the disk before the first takes
    /// its place, and they take their places in order. Throws as `replace` does, and all old files are as they were then,
    /// unless it is the system that refuses one its place: those ahead of it have theirs.
    static void replaceAll(std::span<const Replacement> files);

  private:
    static const Bounds NO_BOUNDS;

    int m_archiveHandling = 0; ///< kept for the host
};

/// The system's files; ready before any static object is made.
extern F_File* const File;

} // namespace cairn
