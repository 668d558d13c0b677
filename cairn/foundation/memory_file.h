#pragma once

#include "cairn/foundation/strings.h"
#include "cairn/math/matrix4x3.h"
#include "cairn/math/vector2.h"

#include <bit>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <type_traits>
#include <vector>

namespace cairn {

/// A file in memory: values one after the other, with chunks that nest, either growing under a writer or standing still
/// under a reader. Every stored record goes through it, and nothing else knows how a value is encoded: little-endian,
/// `int`, `unsigned int` and `unsigned long` 4 bytes, `bool` 1, texts a 4-byte length and their bytes.
///
/// A chunk begins with 28 bytes: magic, id, version (4 each), body length (8), body checksum and header checksum
/// (4 each, the low half of XXH3-64). Only a chunk that stands in no other carries a body checksum, a nested one has 0
/// there, so that each byte is summed once.
///
/// Every failure is an `F_Exception*` that says what was expected and names the offset from the start of the outermost
/// file. An object serves one thread.
class F_MemoryFile {
  public:
    class Chunk;
    class Run;

    /// Typed markers ahead of containers.
    enum BasicType : int { TAG_VECTOR = 28, TAG_ISTRING_SET = 29, TAG_ISTRING_MAP = 31, TAG_INT_PAIR = 37 };

    static constexpr std::size_t CHUNK_HEADER_SIZE = 28;

    /// An empty file for writing. `size` is a hint of the bytes to come; the file grows beyond it.
    explicit F_MemoryFile(unsigned int size = 0);
    /// `size` bytes for reading. With `copy` the caller may free them at once, else they must outlive the file.
    F_MemoryFile(const void* data, std::size_t size, bool copy);
    ~F_MemoryFile();
    F_MemoryFile(const F_MemoryFile&) = delete;
    F_MemoryFile& operator=(const F_MemoryFile&) = delete;

    /// Drops what the file holds and opens `size` bytes for reading, as the constructor does.
    void construct(const void* data, std::size_t size, bool copy);
    /// Turns a written file to reading, from its first byte; a reading file is only rewound. Throws while a chunk is
    /// open for writing. On the outermost file it also forgets the unread bytes, which are met again.
    void toRead();

    /// Writes what `writer()` writes. Where that throws, nothing of it stands in the file, nor a chunk that it left open.
    template <class Writer> void writeWhole(Writer&& writer) {
        const std::size_t size = getSize(), openChunks = m_openChunks.size();
        try {
            writer();
        } catch (...) {
            takeBack(size, openChunks);
            throw;
        }
    }

    /// Makes room for `size` more bytes at once, for a writer that knows about how many come. Throws on a reading file.
    void reserve(std::size_t size);

    /// The first byte of the file; valid until the next write, `construct` or the end of the file.
    const void* getAddress() const { return m_data; }
    /// The bytes written so far, or the bytes there are to read.
    std::size_t getSize() const { return static_cast<std::size_t>((m_writing ? m_writeAt : m_readEnd) - m_data); }
    /// Where the next value stands, counted from the start of the outermost file.
    std::size_t getPosition() const {
        return m_origin + static_cast<std::size_t>((m_writing ? m_writeAt : m_readAt) - m_data);
    }
    /// The bytes not yet read; 0 in a file open for writing.
    std::size_t getRemaining() const { return static_cast<std::size_t>(m_readEnd - m_readAt); }

    /// @name Chunks
    /// @{
    /// Begins a chunk for writing, within the one that is open, if any.
    void createChunk(int id, int version);
    /// Ends the innermost open chunk and patches its header. Throws where none is open.
    void closeChunk();
    /// Fills `chunk` with the chunk that stands here, which must have this id; the position stays. Throws where no
    /// chunk stands here, where its id is another, and where it is damaged; `chunk` is not valid then.
    void openChunk(Chunk& chunk, int id);
    /// Fills `chunk` with the chunk that stands here, if one does; the position stays. Without a chunk (the end of the
    /// data, or older data written without one) `chunk.isValid()` is false. A chunk that is damaged or cut short
    /// throws.
    void peekChunk(Chunk& chunk);
    /// True where the mark of a chunk stands here, whole or not.
    bool beginsLikeChunk() const;
    /// Steps over the chunk that stands here, however much of it was read. Bytes of the chunk opened or peeked here
    /// that no reader took are remembered (`getUnreadBytes`). Throws where no chunk stands.
    void skipChunk();
    /// Takes what is left as known and of no more use: `skipChunk` then does not count it as unread.
    void dropRest() { m_readAt = m_readEnd; }
    /// The bytes that `skipChunk` passed over in this file and in the chunks of it: what a newer writer added and a
    /// save would lose.
    std::size_t getUnreadBytes() const { return m_root->m_unreadBytes; }
    /// @}

    /// @name Embedded files
    /// @{
    /// Writes what `writer(*this)` writes as an embedded file: its size as `unsigned int`, then its bytes.
    template <class Writer> void writeEmbedded(Writer&& writer) {
        const std::size_t sizeAt = beginEmbedded();
        writer(*this);
        endEmbedded(sizeAt);
    }
    /// Reads an embedded file: `reader(file)` gets a view of its bytes that cannot run beyond them. The position
    /// stands behind it afterwards, and what the reader left is remembered as in `skipChunk`.
    template <class Reader> void readEmbedded(Reader&& reader) {
        F_MemoryFile embedded(*this, takeEmbedded());
        reader(embedded);
        noteUnread(embedded.getRemaining());
    }
    /// @}

    /// @name Counts and tags
    /// @{
    void writeTag(BasicType type);
    /// Throws where another tag stands.
    void readTag(BasicType type);
    /// Writes the number of elements that follow as `unsigned int`; throws beyond its range.
    void writeCount(std::size_t count);
    /// Writes such a number ahead of what `writer()` writes, which gives it.
    template <class Writer> void writeCounted(Writer&& writer) {
        const std::size_t countAt = getSize();
        writeCount(0);
        setCount(countAt, writer());
    }
    /// Reads such a number and throws where that many elements of at least `minBytesPerElement` each (0 counts as 1)
    /// cannot stand in the bytes that are left: what it gives may be reserved.
    std::size_t readCount(std::size_t minBytesPerElement);
    /// The tag and then an `int` count, ahead of a container.
    void writeTaggedCount(BasicType type, std::size_t count);
    /// Reads tag and count with the checks of `readTag` and `readCount`; a negative count throws.
    std::size_t readTaggedCount(BasicType type, std::size_t minBytesPerElement);
    /// @}

    /// @name Values
    /// @{
    F_MemoryFile& operator<<(int v) { return put(v); }
    F_MemoryFile& operator<<(unsigned int v) { return put(v); }
    /// 4 bytes in the file. All bits set, in 32 or 64 bits, is stored as 0xFFFFFFFF; any other number beyond 32 bits
    /// throws.
    F_MemoryFile& operator<<(unsigned long v) { return put(narrowed(v)); }
    F_MemoryFile& operator<<(unsigned char v) { return put(v); }
    F_MemoryFile& operator<<(bool v) { return put(static_cast<unsigned char>(v ? 1 : 0)); }
    F_MemoryFile& operator<<(float v) { return put(v); }
    F_MemoryFile& operator<<(double v) { return put(v); }
    F_MemoryFile& operator<<(const CString& v) { return putText(v.view()); }
    F_MemoryFile& operator<<(const string& v) { return putText(v); }
    F_MemoryFile& operator<<(const istring& v) { return putText(cairn::view(v)); }
    /// Null is stored as the empty text.
    F_MemoryFile& operator<<(const char* v) { return putText(v ? v : ""); }
    template <class T> F_MemoryFile& operator<<(const M_Vector2Template<T>& v) { return putNumbers<T, 2>(v); }
    template <class T> F_MemoryFile& operator<<(const M_Vector3Template<T>& v) { return putNumbers<T, 3>(v); }
    template <class T> F_MemoryFile& operator<<(const M_Matrix3Template<T>& v) { return putNumbers<T, 9>(v); }
    template <class T> F_MemoryFile& operator<<(const M_Matrix4x3Template<T>& v) { return putNumbers<T, 12>(v); }
    /// Any other type would slip through a conversion: say which of the stored types is meant.
    template <class T> F_MemoryFile& operator<<(const T&) = delete;

    F_MemoryFile& operator>>(int& v) { return get(v, "an int"); }
    F_MemoryFile& operator>>(unsigned int& v) { return get(v, "an unsigned int"); }
    F_MemoryFile& operator>>(unsigned long& v) {
        std::uint32_t narrow = 0;
        get(narrow, "an unsigned long");
        v = narrow;
        return *this;
    }
    F_MemoryFile& operator>>(unsigned char& v) { return get(v, "a byte"); }
    /// Any byte but 0 is true.
    F_MemoryFile& operator>>(bool& v) {
        unsigned char byte = 0;
        get(byte, "a bool");
        v = byte != 0;
        return *this;
    }
    F_MemoryFile& operator>>(float& v) { return get(v, "a float"); }
    F_MemoryFile& operator>>(double& v) { return get(v, "a double"); }
    F_MemoryFile& operator>>(CString& v) { return getText(v.m_text); }
    F_MemoryFile& operator>>(string& v) { return getText(v); }
    F_MemoryFile& operator>>(istring& v) { return getText(v); }
    template <class T> F_MemoryFile& operator>>(M_Vector2Template<T>& v) { return getNumbers<T, 2>(v, "a vector"); }
    template <class T> F_MemoryFile& operator>>(M_Vector3Template<T>& v) { return getNumbers<T, 3>(v, "a vector"); }
    template <class T> F_MemoryFile& operator>>(M_Matrix3Template<T>& v) { return getNumbers<T, 9>(v, "a matrix"); }
    template <class T> F_MemoryFile& operator>>(M_Matrix4x3Template<T>& v) { return getNumbers<T, 12>(v, "a matrix"); }
    template <class T> F_MemoryFile& operator>>(T&) = delete;

    /// `size` raw bytes; a negative size throws.
    void write(const void* data, int size);
    void read(void* data, int size);
    /// @}

    /// Whether readers check the checksums of chunks: true but in builds for fuzzing, which must get past them. For
    /// tests; process-wide. Gives the setting before.
    static bool setVerifying(bool verify);

    /// Throws an `F_Exception*` with `what` and the position, for a reader that finds a value it cannot take.
    [[noreturn]] void fail(const string& what) const;

  private:
    struct ChunkHeader {
        int id = 0, version = 0;
        std::uint64_t length = 0; ///< of the body, in bytes
        std::uint32_t bodySum = 0;
    };

    F_MemoryFile(F_MemoryFile& parent, const unsigned char* begin, std::size_t size);
    F_MemoryFile(F_MemoryFile& parent, std::size_t embeddedSize);

    void needRoom(std::size_t size) {
        if (static_cast<std::size_t>(m_writeEnd - m_writeAt) < size) [[unlikely]]
            makeRoom(size);
    }
    template <class T> F_MemoryFile& put(T v) {
        needRoom(sizeof v);
        store(m_writeAt, v);
        m_writeAt += sizeof v;
        return *this;
    }
    template <class T> F_MemoryFile& get(T& v, const char* what) {
        if (getRemaining() < sizeof v) [[unlikely]]
            failRead(sizeof v, what);
        fetch(m_readAt, v);
        m_readAt += sizeof v;
        return *this;
    }
    /// `count` numbers of a vector or matrix, which hold nothing else.
    template <class T, std::size_t count, class From> F_MemoryFile& putNumbers(const From& from) {
        static_assert(std::is_floating_point_v<T> && sizeof from == count * sizeof(T));
        needRoom(sizeof from);
        storeNumbers<T, count>(m_writeAt, from);
        m_writeAt += sizeof from;
        return *this;
    }
    template <class T, std::size_t count, class To> F_MemoryFile& getNumbers(To& to, const char* what) {
        static_assert(std::is_floating_point_v<T> && sizeof to == count * sizeof(T));
        if (getRemaining() < sizeof to) [[unlikely]]
            failRead(sizeof to, what);
        T numbers[count];
        for (std::size_t i = 0; i < count; ++i)
            fetch(m_readAt + i * sizeof(T), numbers[i]);
        std::memcpy(&to, numbers, sizeof to);
        m_readAt += sizeof to;
        return *this;
    }
    F_MemoryFile& putText(std::string_view v) {
        if (v.size() > UINT32_MAX) [[unlikely]]
            fail("A text is too long to be stored");
        needRoom(v.size() + 4);
        store(m_writeAt, static_cast<std::uint32_t>(v.size()));
        if (!v.empty())
            std::memcpy(m_writeAt + 4, v.data(), v.size());
        m_writeAt += 4 + v.size();
        return *this;
    }
    template <class Text> F_MemoryFile& getText(Text& v) {
        std::uint32_t length = 0;
        get(length, "the length of a text");
        if (getRemaining() < length) [[unlikely]]
            failRead(length, "a text");
        v.assign(reinterpret_cast<const char*>(m_readAt), length);
        m_readAt += length;
        return *this;
    }
    template <class T> static void store(unsigned char* at, T v) {
        std::memcpy(at, &v, sizeof v);
        if constexpr (std::endian::native == std::endian::big)
            reverse(at, sizeof v);
    }
    template <class T, std::size_t count, class From> static void storeNumbers(unsigned char* at, const From& from) {
        T numbers[count];
        std::memcpy(numbers, &from, sizeof from);
        for (std::size_t i = 0; i < count; ++i)
            store(at + i * sizeof(T), numbers[i]);
    }
    template <class T> static void fetch(const unsigned char* at, T& v) {
        std::memcpy(&v, at, sizeof v);
        if constexpr (std::endian::native == std::endian::big)
            reverse(reinterpret_cast<unsigned char*>(&v), sizeof v);
    }
    static void reverse(unsigned char* at, std::size_t size);

    std::uint32_t narrowed(unsigned long v) const;
    void reset();
    void makeRoom(std::size_t size);
    void takeBack(std::size_t size, std::size_t openChunks);
    void setCount(std::size_t at, std::size_t count);
    std::uint32_t narrowedCount(std::size_t count) const;
    [[noreturn]] void failRead(std::size_t size, const char* what) const;
    bool readHeader(ChunkHeader& header) const;
    void fill(Chunk& chunk, const ChunkHeader& header);
    std::size_t beginEmbedded();
    void endEmbedded(std::size_t sizeAt);
    std::size_t takeEmbedded();
    void noteUnread(std::size_t bytes) { m_root->m_unreadBytes += bytes; }
    std::size_t absolute(const unsigned char* at) const { return m_origin + static_cast<std::size_t>(at - m_data); }

    struct Free {
        void operator()(unsigned char* p) const { std::free(p); }
    };
    std::unique_ptr<unsigned char, Free> m_owned; ///< the bytes, where they are the file's own
    const unsigned char* m_data = nullptr;        ///< first byte
    unsigned char* m_writeAt = nullptr;           ///< null while reading, so that no write finds room
    unsigned char* m_writeEnd = nullptr;          ///< end of the room
    const unsigned char* m_readAt = nullptr;      ///< null while writing, so that no read finds bytes
    const unsigned char* m_readEnd = nullptr;
    std::size_t m_origin = 0;              ///< offset of the first byte in the outermost file
    bool m_writing = false;                ///< open for writing
    bool m_nested = false;                 ///< a view of what stands in a chunk
    std::vector<std::size_t> m_openChunks; ///< offsets of the headers of chunks being written, outermost first
    Chunk* m_lastChunk = nullptr;          ///< not owned: the chunk last opened or peeked in this file
    F_MemoryFile* m_root = this;           ///< not owned: the outermost file
    std::size_t m_unreadBytes = 0;         ///< of the outermost file only
};

/// A run of values at the end of a file that is being written, for records of many small ones: they stand in the file when
/// the run ends, exactly as the file's own `operator<<` would have put them, and until then nothing else may be written.
class F_MemoryFile::Run {
  public:
    /// `most` is what the values take at most, in bytes.
    Run(F_MemoryFile& file, std::size_t most) : m_file(file) {
        file.needRoom(most);
        m_at = file.m_writeAt;
    }
    ~Run() { m_file.m_writeAt = m_at; }
    Run(const Run&) = delete;
    Run& operator=(const Run&) = delete;

    Run& operator<<(int v) { return put(v); }
    Run& operator<<(unsigned int v) { return put(v); }
    Run& operator<<(float v) { return put(v); }
    Run& operator<<(double v) { return put(v); }
    Run& operator<<(bool v) { return put(static_cast<unsigned char>(v ? 1 : 0)); }
    template <class T> Run& operator<<(const M_Vector2Template<T>& v) { return putNumbers<T, 2>(v); }
    template <class T> Run& operator<<(const M_Vector3Template<T>& v) { return putNumbers<T, 3>(v); }
    template <class T> Run& operator<<(const M_Matrix3Template<T>& v) { return putNumbers<T, 9>(v); }
    template <class T> Run& operator<<(const T&) = delete;

  private:
    template <class T> Run& put(T v) {
        store(m_at, v);
        m_at += sizeof v;
        return *this;
    }
    template <class T, std::size_t count, class From> Run& putNumbers(const From& from) {
        static_assert(std::is_floating_point_v<T> && sizeof from == count * sizeof(T));
        storeNumbers<T, count>(m_at, from);
        m_at += sizeof from;
        return *this;
    }

    F_MemoryFile& m_file;
    unsigned char* m_at; ///< where the next value goes: the run's own, so that no store can have moved it
};

/// A chunk under a reader: its id and version and a view of its body.
class F_MemoryFile::Chunk {
  public:
    Chunk() { m_body.reset(); }
    ~Chunk() { release(); }
    Chunk(const Chunk&) = delete;
    Chunk& operator=(const Chunk&) = delete;

    /// False where no chunk stood at the place.
    bool isValid() const { return m_valid; }
    int getID() const { return m_id; }
    int getVersion() const { return m_version; }
    /// The body for reading, bounded to it; it shares the bytes of the file that the chunk stands in and must not
    /// outlive them.
    F_MemoryFile& getMemoryFile() { return m_body; }
    /// Counts what is left of the body as read: for a record that is dropped on purpose.
    void ignoreRest() { m_body.m_readAt = m_body.m_readEnd; }

  private:
    friend class F_MemoryFile;
    void release();

    F_MemoryFile m_body;
    F_MemoryFile* m_parent = nullptr; ///< not owned: the file that knows this chunk as its last one
    std::size_t m_start = 0;          ///< offset of the header in the outermost file
    bool m_valid = false;
    int m_id = 0, m_version = 0;
};

} // namespace cairn
