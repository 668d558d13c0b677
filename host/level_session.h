#pragma once

#include "cairn/document/document.h"
#include "cairn/fsm/message_info_provider.h"
#include "cairn/platform/handlers.h"
#include "host/console.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace cairn::host {

/// A level that was read, or what was read of it before a fault.
struct OpenedLevel {
    std::unique_ptr<CN_Document> document;
    std::size_t bytes = 0; ///< of the file
    bool sealed = false;
    std::vector<std::string> messages; ///< what the library showed while it loaded, in order
    std::string fault;                 ///< why the level is not whole, empty where it is
    bool sealFault = false;            ///< the fault is the seal's alone: the level itself was read whole
    bool formatFault = false;          ///< the fault is at the very start: these are no level's bytes
    bool hasTree = false;              ///< there is a root, with as much below it as was read

    bool isWhole() const { return fault.empty(); }
};

/// The library under this program: its message boxes are collected, its lines for the console dropped, the end it asks for
/// becomes an exception, and its content database is open. One lives while a command runs, and puts back what it found.
class LevelSession {
  public:
    /// Opens the content database of that file, an empty one in memory where the name is empty. Throws a `Failure`
    /// where it cannot be read.
    LevelSession(const Console& console, const std::string& contentFile);
    ~LevelSession();
    LevelSession(const LevelSession&) = delete;
    LevelSession& operator=(const LevelSession&) = delete;

    /// True where the user named a content database.
    bool hasContent() const { return m_hasContent; }

    /// Reads the message catalogue into the library: the file of that name, where it is empty the one that `findCatalogue`
    /// finds. Null where that is none, which is told. Throws a `Failure` where it cannot be read.
    const CN_FSMMessageInfoProvider* readCatalogue(const std::string& named) const;

    /// A document without a level, with progress and messages bound.
    std::unique_ptr<CN_Document> createDocument() const;

    /// Reads a level file, "-" for standard input. A fault stands in the result; only memory that cannot be had throws.
    OpenedLevel open(const std::string& file);
    /// Reads a level for a command that works on it. A fault throws a `Failure`, with `force` only where no root was
    /// read; else the result says that it is not whole.
    OpenedLevel openForUse(const std::string& file, bool force);
    /// Warns of the fault of a level that is not whole, once the result is out: for the end of a command, as one that
    /// fails says nothing but why.
    void warnOfFault(const OpenedLevel& level, const std::string& file, Console& output) const;
    /// Warns of what a newer writer put into the file and a save drops.
    void warnOfLoss(const OpenedLevel& level, const std::string& file) const;
    /// Writes the level to a sealed file as a whole or not at all, or to the console's result for "-". Throws a
    /// `Failure`.
    void save(CN_Document& document, const std::string& file, Console& output) const;

  private:
    void openContent(const std::string& contentFile);
    void close();
    void replaceHandlers();
    void restoreHandlers();
    static void collect(int severity, const CString& message);
    static CString& contentPath();
    static bool settle(CN_Document& document);

    const Console& m_console;
    bool m_hasContent;
    MessageBoxHandler m_oldMessageBox;
    ProcessEndHandler m_oldProcessEnd;
    ConsoleLineHandler m_oldConsoleLine;
    static std::vector<std::string> s_messages; ///< shown since they were last taken
};

} // namespace cairn::host
