// A library to be loaded ahead of a program (LD_PRELOAD): it lets one of the program's system calls fail, or kills the
// program there. CAIRN_FAULT says which, as "CALL NUMBER ACTION":
//   CALL    write, sync, rename, close, open (for writing) or chmod, and alloc for `malloc` and its like in `main`;
//   NUMBER  of the call, from 1; with a "+" behind it that one and all later ones;
//   ACTION  an error (EIO, ENOSPC, EROFS, EDQUOT), "short" (a write of half the bytes), "kill" and "killed" (ahead of the
//           call and behind it).
// CAIRN_FAULT_MARK names a file that is made at the first call that is met.

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstddef>
#include <cstdlib>
#include <cstring>

namespace {

enum class Action { NONE, FAIL, SHORT, KILL, KILLED };

struct Fault {
    char call[16] = "";
    long number = 0;
    bool fromThenOn = false;
    Action action = Action::NONE;
    int error = 0;
    const char* mark = nullptr;
};

/// Reads the environment without a call that could take memory.
Fault readFault() {
    Fault fault;
    const char* const text = std::getenv("CAIRN_FAULT");
    fault.mark = std::getenv("CAIRN_FAULT_MARK");
    const char* const number = text ? std::strchr(text, ' ') : nullptr;
    if (!number || number - text >= static_cast<std::ptrdiff_t>(sizeof fault.call))
        return fault;
    std::memcpy(fault.call, text, static_cast<std::size_t>(number - text));
    char* rest = nullptr;
    fault.number = std::strtol(number, &rest, 10);
    fault.fromThenOn = *rest == '+';
    const char* const action = rest + (fault.fromThenOn ? 2 : 1);
    static constexpr struct {
        const char* name;
        Action action;
        int error;
    } ACTIONS[] = {{"EIO", Action::FAIL, EIO},       {"ENOSPC", Action::FAIL, ENOSPC}, {"EROFS", Action::FAIL, EROFS},
                   {"EDQUOT", Action::FAIL, EDQUOT}, {"short", Action::SHORT, 0},      {"kill", Action::KILL, 0},
                   {"killed", Action::KILLED, 0}};
    for (const auto& known : ACTIONS)
        if (std::strcmp(known.name, action) == 0) {
            fault.action = known.action;
            fault.error = known.error;
        }
    return fault;
}

bool isInMain = false;

[[noreturn]] void killProgram() {
    ::syscall(SYS_kill, ::syscall(SYS_getpid), SIGKILL);
    for (;;)
        ::pause();
}

/// One call of the program: counts it, and says what is to become of it.
class Call {
  public:
    explicit Call(const char* name) {
        static const Fault fault = readFault();
        static long counted = 0;
        if (!isInMain || fault.action == Action::NONE || std::strcmp(fault.call, name) != 0)
            return;
        ++counted;
        if (counted != fault.number && !(fault.fromThenOn && counted > fault.number))
            return;
        m_action = fault.action;
        m_error = fault.error;
        if (fault.mark && counted == fault.number)
            ::syscall(SYS_close, ::syscall(SYS_openat, AT_FDCWD, fault.mark, O_WRONLY | O_CREAT, 0600));
        if (m_action == Action::KILL)
            killProgram();
    }
    ~Call() {
        if (m_action == Action::KILLED)
            killProgram();
    }
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

    /// True where the call is to fail; `errno` is set.
    bool fails() const {
        if (m_action == Action::FAIL)
            errno = m_error;
        return m_action == Action::FAIL;
    }
    std::size_t shortened(std::size_t size) const { return m_action == Action::SHORT ? (size + 1) / 2 : size; }

  private:
    Action m_action = Action::NONE;
    int m_error = 0;
};

int openFile(int folder, const char* name, int flags, mode_t mode) {
    if ((flags & O_ACCMODE) == O_RDONLY)
        return static_cast<int>(::syscall(SYS_openat, folder, name, flags, mode));
    const Call call("open");
    return call.fails() ? -1 : static_cast<int>(::syscall(SYS_openat, folder, name, flags, mode));
}

ssize_t writeBytes(int file, const void* bytes, std::size_t size) {
    if (file == STDERR_FILENO) // nobody is to depend on it
        return ::syscall(SYS_write, file, bytes, size);
    const Call call("write");
    return call.fails() ? -1 : ::syscall(SYS_write, file, bytes, call.shortened(size));
}

ssize_t writeBytesAt(int file, const void* bytes, std::size_t size, off_t at) {
    const Call call("write");
    return call.fails() ? -1 : ::syscall(SYS_pwrite64, file, bytes, call.shortened(size), at);
}

int renameFile(int fromFolder, const char* from, int toFolder, const char* to, unsigned flags) {
    const Call call("rename");
    return call.fails() ? -1 : static_cast<int>(::syscall(SYS_renameat2, fromFolder, from, toFolder, to, flags));
}

mode_t modeOf(int flags, va_list list) { return (flags & O_CREAT) ? va_arg(list, mode_t) : 0; }

using Main = int (*)(int, char**, char**);
Main programMain = nullptr;

int runMain(int count, char** words, char** environment) {
    isInMain = true;
    return programMain(count, words, environment);
}

} // namespace

#define CAIRN_OPEN_IN(folder)                                                                                          \
    va_list list;                                                                                                      \
    va_start(list, flags);                                                                                             \
    const mode_t mode = modeOf(flags, list);                                                                           \
    va_end(list);                                                                                                      \
    return openFile(folder, name, flags, mode)

extern "C" {

int open(const char* name, int flags, ...) { CAIRN_OPEN_IN(AT_FDCWD); }
int open64(const char* name, int flags, ...) { CAIRN_OPEN_IN(AT_FDCWD); }
int openat(int folder, const char* name, int flags, ...) { CAIRN_OPEN_IN(folder); }
int openat64(int folder, const char* name, int flags, ...) { CAIRN_OPEN_IN(folder); }

ssize_t write(int file, const void* bytes, std::size_t size) { return writeBytes(file, bytes, size); }
ssize_t pwrite(int file, const void* bytes, std::size_t size, off_t at) { return writeBytesAt(file, bytes, size, at); }
ssize_t pwrite64(int file, const void* bytes, std::size_t size, off64_t at) {
    return writeBytesAt(file, bytes, size, at);
}
ssize_t writev(int file, const iovec* parts, int count) {
    const Call call("write");
    return call.fails() ? -1 : ::syscall(SYS_writev, file, parts, count);
}

int fsync(int file) {
    const Call call("sync");
    return call.fails() ? -1 : static_cast<int>(::syscall(SYS_fsync, file));
}
int fdatasync(int file) {
    const Call call("sync");
    return call.fails() ? -1 : static_cast<int>(::syscall(SYS_fdatasync, file));
}

int rename(const char* from, const char* to) noexcept { return renameFile(AT_FDCWD, from, AT_FDCWD, to, 0); }
int renameat(int fromFolder, const char* from, int toFolder, const char* to) noexcept {
    return renameFile(fromFolder, from, toFolder, to, 0);
}

// The file is closed, too, where closing it fails.
int close(int file) {
    const Call call("close");
    const long done = ::syscall(SYS_close, file);
    return call.fails() ? -1 : static_cast<int>(done);
}

int fchmod(int file, mode_t mode) noexcept {
    const Call call("chmod");
    return call.fails() ? -1 : static_cast<int>(::syscall(SYS_fchmod, file, mode));
}

void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* room, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);

#define CAIRN_UNLESS_FAILING(work)                                                                                     \
    const Call call("alloc");                                                                                          \
    if (call.fails()) {                                                                                                \
        errno = ENOMEM;                                                                                                \
        return nullptr;                                                                                                \
    }                                                                                                                  \
    return work

void* malloc(std::size_t size) noexcept { CAIRN_UNLESS_FAILING(__libc_malloc(size)); }
void* calloc(std::size_t count, std::size_t size) noexcept { CAIRN_UNLESS_FAILING(__libc_calloc(count, size)); }
void* realloc(void* room, std::size_t size) noexcept { CAIRN_UNLESS_FAILING(__libc_realloc(room, size)); }
void* memalign(std::size_t alignment, std::size_t size) noexcept {
    CAIRN_UNLESS_FAILING(__libc_memalign(alignment, size));
}
void* aligned_alloc(std::size_t alignment, std::size_t size) noexcept {
    CAIRN_UNLESS_FAILING(__libc_memalign(alignment, size));
}
int posix_memalign(void** room, std::size_t alignment, std::size_t size) noexcept {
    void* const made = memalign(alignment, size);
    if (!made)
        return ENOMEM;
    *room = made;
    return 0;
}

/// What is made ahead of `main` is no call of the program's.
int __libc_start_main(Main main, int count, char** words, void (*begin)(), void (*end)(), void (*endLoader)(),
                      void* stack) {
    using Start = int (*)(Main, int, char**, void (*)(), void (*)(), void (*)(), void*);
    const auto start = reinterpret_cast<Start>(::dlsym(RTLD_NEXT, "__libc_start_main"));
    programMain = main;
    return start(runMain, count, words, begin, end, endLoader, stack);
}
}
