#include "cairn/document/level_file.h"

#include "cairn/document/document.h"
#include "cairn/foundation/checksum.h"
#include "cairn/foundation/file.h"
#include "cairn/foundation/memory_file.h"

#include <cstdint>
#include <cstdio>
#include <cstring>

namespace cairn {

namespace {

constexpr unsigned char SEAL_MAGIC[8] = {0xC7, 's', 'e', 'a', 'l', '\r', '\n', 0xF1};
constexpr std::size_t LENGTH_AT = 8, SUM_AT = 16;
/// Counts and sizes in a level are 32 bits wide.
constexpr std::size_t MAX_BYTES = UINT32_MAX;

void store64(unsigned char* at, std::uint64_t value) {
    for (int i = 0; i < 8; ++i)
        at[i] = static_cast<unsigned char>(value >> (8 * i));
}

std::uint64_t fetch64(const unsigned char* at) {
    std::uint64_t value = 0;
    for (int i = 8; i-- > 0;)
        value = value << 8 | at[i];
    return value;
}

/// True where the bytes from `end` on are the seal of those before, false where there are none.
bool checkSeal(std::span<const unsigned char> bytes, std::size_t end) {
    const std::span<const unsigned char> rest = bytes.subspan(end);
    if (rest.empty())
        return false;
    if (rest.size() != CN_LevelFile::SEAL_SIZE || std::memcmp(rest.data(), SEAL_MAGIC, sizeof SEAL_MAGIC) != 0)
        throw new CN_LevelFile_Exception_Seal(
            formatText("%zu bytes behind the last section are no seal (at offset %zu)", rest.size(), end));
    const std::uint64_t length = fetch64(rest.data() + LENGTH_AT);
    if (length != end)
        throw new CN_LevelFile_Exception_Seal(
            formatText("The seal is that of %llu bytes, but %zu stand before it (at offset %zu)",
                       static_cast<unsigned long long>(length), end, end));
    if (fetch64(rest.data() + SUM_AT) != checksum64(bytes.data(), end))
        throw new CN_LevelFile_Exception_Seal(
            formatText("The bytes are not those that were sealed: their checksum is wrong (at offset %zu)", end));
    return true;
}

/// True where a load of a file that begins with these bytes gets beyond its version.
bool beginsLikeLevel(std::span<const unsigned char> head) {
    F_MemoryFile file(head.data(), head.size(), false);
    if (file.beginsLikeChunk())
        return true;
    CString sentinel; // what stands first in a file without a version chunk
    try {
        file >> sentinel;
    } catch (F_MemoryException_Allocation*) {
        throw;
    } catch (F_Exception* e) {
        const F_ExceptionGuard guard(e);
        return false;
    }
    return sentinel == g_strSentinel;
}

std::span<const unsigned char> bytesOf(const F_MemoryFile& file) {
    return {static_cast<const unsigned char*>(file.getAddress()), file.getSize()};
}

} // namespace

std::vector<unsigned char> CN_LevelFile::read(const string& path) {
    const F_File::Bounds bounds{MAX_BYTES, beginsLikeLevel};
    return path == "-" ? F_File::readAll(stdin, "standard input", bounds) : F_File::readAll(path, bounds);
}

bool CN_LevelFile::load(CN_Document& document, std::span<const unsigned char> bytes) {
    F_MemoryFile file(bytes.data(), bytes.size(), false);
    document.load(file);
    return checkSeal(bytes, file.getPosition());
}

bool CN_LevelFile::load(CN_Document& document, const string& path) { return load(document, read(path)); }

void CN_LevelFile::write(CN_Document& document, F_MemoryFile& file) {
    if (file.getSize() > 0)
        file.fail("A level and its seal can only be written into an empty file");
    document.save(file);
    seal(file);
}

void CN_LevelFile::save(CN_Document& document, const string& path) {
    F_MemoryFile file;
    write(document, file);
    F_File::replace(path, bytesOf(file));
}

void CN_LevelFile::seal(F_MemoryFile& file) {
    if (file.getSize() > MAX_BYTES - SEAL_SIZE)
        file.fail("A level file of 4 GiB and more could not be read again");
    unsigned char bytes[SEAL_SIZE];
    std::memcpy(bytes, SEAL_MAGIC, sizeof SEAL_MAGIC);
    store64(bytes + LENGTH_AT, file.getSize());
    store64(bytes + SUM_AT, checksum64(file.getAddress(), file.getSize()));
    file.write(bytes, static_cast<int>(sizeof bytes));
}

} // namespace cairn
