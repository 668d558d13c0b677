#include "cairn/foundation/file.h"

#include "cairn/foundation/exception.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <list>
#include <memory>
#include <system_error>
#include <utility>

namespace cairn {

namespace {

constexpr int MAX_LINKS = 40;                   ///< of a chain of symbolic links, as the system's own bound
constexpr int MAX_NAME_ATTEMPTS = 1000;         ///< for the name of a file beside another
constexpr std::size_t HEAD_SIZE = 64 * 1024;    ///< first bytes asked of a file, before anybody knows its kind
constexpr ::mode_t PERMISSION_BITS = 0777;      ///< of a file's mode, without those that lend its owner's rights
constexpr ::mode_t NEW_FILE_MODE = 0666;        ///< less what the process masks
constexpr ::mode_t UNTIL_PERMITTED_MODE = 0600; ///< of a file that takes another's permissions later

constexpr int NOT_REGULAR = -1; ///< beside the system's reasons: a pipe, a device or a socket

constinit F_File theFile;

[[noreturn]] void failFile(const string& action, const string& fileName, int error) {
    if (error == ENOMEM)
        throw new F_MemoryException_Allocation;
    throw new F_Exception(action + " \"" + fileName + "\": " +
                          (error == NOT_REGULAR ? "Not a regular file" : std::generic_category().message(error)));
}

struct CloseFile {
    void operator()(std::FILE* f) const { std::fclose(f); }
};
using OwnedFile = std::unique_ptr<std::FILE, CloseFile>;

/// A file descriptor that is closed at the end of its life.
class Descriptor {
  public:
    explicit Descriptor(int fd) : m_fd(fd) {}
    ~Descriptor() {
        if (m_fd >= 0)
            ::close(m_fd);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    int get() const { return m_fd; }
    /// Closes now and says whether that went well: a full disk may show only here.
    bool close() { return ::close(std::exchange(m_fd, -1)) == 0; }

  private:
    int m_fd; ///< -1 where none is open
};

/// Removes a file at the end of its life unless it has found its place.
class TemporaryFile {
  public:
    TemporaryFile() = default;
    explicit TemporaryFile(string name) noexcept : m_name(std::move(name)) {}
    ~TemporaryFile() {
        if (!m_name.empty())
            ::unlink(m_name.c_str());
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(TemporaryFile&& other) noexcept {
        m_name.swap(other.m_name);
        return *this;
    }

    bool moveTo(const string& place) {
        if (std::rename(m_name.c_str(), place.c_str()) != 0)
            return false;
        m_name.clear();
        return true;
    }

  private:
    string m_name; ///< empty where there is none
};

/// The folder of a file, with the slash behind it; empty for the working folder.
string folderOf(const string& fileName) { return fileName.substr(0, fileName.rfind('/') + 1); }

/// Where `fileName` leads through symbolic links; the file itself need not exist.
string followLinks(string fileName) {
    const string asked = fileName;
    for (int i = 0; i < MAX_LINKS; ++i) {
        char target[PATH_MAX];
        const ::ssize_t length = ::readlink(fileName.c_str(), target, sizeof target);
        if (length < 0)
            return fileName;
        const string link(target, static_cast<std::size_t>(length));
        fileName = link.starts_with('/') ? link : folderOf(fileName) + link;
    }
    failFile("Cannot write", asked, ELOOP);
}

/// Makes a file of a name that nobody has in `folder`; gives its name and puts its descriptor into `fd`.
string makeBeside(const string& folder, ::mode_t mode, int& fd) {
    static unsigned counter = 0;
    for (int i = 0; i < MAX_NAME_ATTEMPTS; ++i) {
        string name = folder + formatText(".cairn-%ld-%u.tmp", static_cast<long>(::getpid()), ++counter);
        fd = ::open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, mode);
        if (fd >= 0)
            return name;
        if (errno != EEXIST)
            break;
    }
    return {};
}

bool writeAll(int fd, std::span<const unsigned char> bytes) {
    while (!bytes.empty()) {
        const ::ssize_t n = ::write(fd, bytes.data(), bytes.size());
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0) {
            errno = n == 0 ? EIO : errno;
            return false;
        }
        bytes = bytes.subspan(static_cast<std::size_t>(n));
    }
    return true;
}

/// The new bytes of a file, whole and on the disk beside their place, which they take when they are told to. Else they go.
class PendingFile {
  public:
    PendingFile(const string& fileName, std::span<const unsigned char> bytes) : m_fileName(fileName) {
        if (fileName.find('\0') != string::npos)
            refuse(EINVAL);
        m_place = followLinks(fileName);
        struct ::stat old {};
        const bool replacing = ::stat(m_place.c_str(), &old) == 0;
        if (!replacing && errno != ENOENT)
            refuse(errno);
        if (replacing && !S_ISREG(old.st_mode))
            refuse(S_ISDIR(old.st_mode) ? EISDIR : NOT_REGULAR);

        m_folder = folderOf(m_place);
        int fd = -1;
        m_beside = TemporaryFile(makeBeside(m_folder, replacing ? UNTIL_PERMITTED_MODE : NEW_FILE_MODE, fd));
        if (fd < 0)
            refuse(errno);
        Descriptor out(fd);
        if (!writeAll(out.get(), bytes) || (replacing && ::fchmod(out.get(), old.st_mode & PERMISSION_BITS) != 0) ||
            ::fsync(out.get()) != 0 || !out.close())
            refuse(errno);
    }

    /// Takes no memory, so that the system alone can refuse it.
    void takePlace() {
        const Descriptor folder(::open(m_folder.empty() ? "." : m_folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        if (!m_beside.moveTo(m_place))
            refuse(errno);
        // The new file is whole and in its place. Where the folder cannot be flushed, a failing machine may bring back the
        // old one, whole as well: nothing to undo and nothing that the caller could do.
        static_cast<void>(::fsync(folder.get()));
    }

  private:
    [[noreturn]] void refuse(int error) const { failFile("Cannot write", m_fileName, error); }

    const string& m_fileName; ///< not owned: as the caller named it
    string m_place;           ///< where it leads
    string m_folder;          ///< of the place, with the slash behind it
    TemporaryFile m_beside;
};

/// The bytes that a look at `stream` promises; 0 where it is no regular file.
std::size_t expectedSize(std::FILE* stream) {
    struct ::stat s {};
    if (::fstat(::fileno(stream), &s) != 0 || !S_ISREG(s.st_mode))
        return 0;
    return static_cast<std::size_t>(s.st_size);
}

} // namespace

constinit F_File* const File = &theFile;

int F_File::size(const char* fileName) const {
    if (!fileName)
        throw new F_Exception("Cannot look at a file without a name");
    struct ::stat s {};
    if (::stat(fileName, &s) != 0)
        failFile("Cannot look at", fileName, errno);
    if (!S_ISREG(s.st_mode))
        failFile("Cannot look at", fileName, S_ISDIR(s.st_mode) ? EISDIR : NOT_REGULAR);
    if (s.st_size > INT_MAX)
        failFile("Cannot look at", fileName, EFBIG);
    return static_cast<int>(s.st_size);
}

void* F_File::load(const char* application, const char* fileName, int size) const {
    const string action = string(application) + " cannot read";
    if (size < -1)
        failFile(action, fileName, EINVAL);
    const auto wanted = static_cast<std::size_t>(size == -1 ? this->size(fileName) : size);
    const OwnedFile file(std::fopen(fileName, "rbe"));
    if (!file)
        failFile(action, fileName, errno);
    if (size > 0 && expectedSize(file.get()) < wanted)
        throw new F_Exception(action + " \"" + fileName + formatText("\": it has fewer than %d bytes", size));
    struct Free {
        void operator()(void* p) const { std::free(p); }
    };
    std::unique_ptr<void, Free> bytes(std::malloc(wanted > 0 ? wanted : 1));
    if (!bytes)
        throw new F_MemoryException_Allocation;
    if (std::fread(bytes.get(), 1, wanted, file.get()) != wanted)
        failFile(action, fileName, std::ferror(file.get()) ? errno : EIO);
    return bytes.release();
}

const F_File::Bounds F_File::NO_BOUNDS;

std::vector<unsigned char> F_File::readAll(const string& fileName, const Bounds& bounds) {
    const OwnedFile file(std::fopen(fileName.c_str(), "rbe"));
    if (!file)
        failFile("Cannot read", fileName, errno);
    return readAll(file.get(), fileName, bounds);
}

std::vector<unsigned char> F_File::readAll(std::FILE* stream, const string& name, const Bounds& bounds) {
    return F_withFoundationExceptions([&] {
        const std::size_t expected = expectedSize(stream);
        std::vector<unsigned char> bytes;
        std::size_t used = 0, step = HEAD_SIZE;
        while (true) {
            // One byte more than the file may have tells that it has too many.
            step = std::min(step, bounds.maxBytes - used) + (step > bounds.maxBytes - used ? 1 : 0);
            bytes.resize(used + step);
            errno = 0;
            const std::size_t n = std::fread(bytes.data() + used, 1, step, stream);
            used += n;
            if (n < step && std::ferror(stream))
                failFile("Cannot read", name, errno);
            if (used > bounds.maxBytes)
                failFile("Cannot read", name, EFBIG);
            const bool isHead = used == n;
            if (n < step || (isHead && bounds.isWorthReading && !bounds.isWorthReading({bytes.data(), used})))
                break;
            // One byte more than expected, so that the end of a regular file is met without growing.
            step = expected > used ? expected - used + 1 : used;
        }
        bytes.resize(used);
        return bytes;
    });
}

void F_File::replace(const string& fileName, std::span<const unsigned char> bytes) {
    const Replacement one{fileName, bytes};
    replaceAll({&one, 1});
}

void F_File::replaceAll(std::span<const Replacement> files) {
    std::list<PendingFile> pending;
    for (const Replacement& file : files)
        pending.emplace_back(file.fileName, file.bytes);
    for (PendingFile& file : pending)
        file.takePlace();
}

} // namespace cairn
