#include "host/level_session.h"

#include "cairn/document/camera.h"
#include "cairn/document/entity_factory.h"
#include "cairn/document/level_file.h"
#include "cairn/document/level_file_library.h"
#include "cairn/document/shared_db.h"
#include "cairn/entities/cairn_level.h"
#include "cairn/foundation/file.h"
#include "cairn/foundation/script.h"
#include "host/catalogue.h"

#include <fmt/format.h>

#include <cmath>

namespace cairn::host {

std::vector<std::string> LevelSession::s_messages;

LevelSession::LevelSession(const Console& console, const std::string& contentFile)
    : m_console(console), m_hasContent(!contentFile.empty()) {
    s_messages.clear();
    try {
        replaceHandlers();
        openContent(contentFile);
    } catch (...) {
        close(); // nothing else does that for one that was not made whole
        throw;
    }
    s_messages.clear();
}

void LevelSession::openContent(const std::string& contentFile) {
    contentPath() = CString(contentFile);
    CN_LevelFileLibrary::setSharedDBPathCallback(&LevelSession::contentPath);
    if (CN_SharedDB::createInstance())
        return;
    const std::string reason = s_messages.empty() ? "cannot be opened" : s_messages.back();
    const std::string details = "Details:\n";
    const std::size_t at = reason.find(details);
    throw Failure(ExitCode::INPUT, contentFile, at == std::string::npos ? reason : reason.substr(at + details.size()));
}

void LevelSession::close() {
    CN_SharedDB::deleteInstance();
    CN_LevelFileLibrary::setSharedDBPathCallback(nullptr);
    restoreHandlers();
}

LevelSession::~LevelSession() { close(); }

/// The one line for the console is that "messages.txt" cannot be read, which is none of the business of a command that
/// needs no catalogue; `readCatalogue` tells those that do.
void LevelSession::replaceHandlers() {
    m_oldMessageBox = setMessageBoxHandler([](const CString& text, unsigned) { s_messages.push_back(text.str()); });
    m_oldProcessEnd = setProcessEndHandler([](int) {
        throw new F_Exception(s_messages.empty() ? "The library asked to end the process" : s_messages.back());
    });
    m_oldConsoleLine = setConsoleLineHandler([](const std::string&) {});
}

void LevelSession::restoreHandlers() {
    setMessageBoxHandler(std::move(m_oldMessageBox));
    setProcessEndHandler(std::move(m_oldProcessEnd));
    setConsoleLineHandler(std::move(m_oldConsoleLine));
}

const CN_FSMMessageInfoProvider* LevelSession::readCatalogue(const std::string& named) const {
    const std::string file = findCatalogue(named);
    if (file.empty()) {
        m_console.warn("message catalogue", "there is none: messages are not looked up");
        return nullptr;
    }
    CN_FSMMessageInfoProvider& catalogue = CN_LevelFileLibrary::instance()->accessMessageInfoProvider();
    withFailure(ExitCode::INPUT, file, [&] {
        if (named.empty())
            return catalogue.read(file);
        // One that is asked for may be a pipe.
        const std::vector<unsigned char> bytes = F_File::readAll(file, {F_Script::MAX_BYTES});
        F_Script script(std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()), file.c_str());
        catalogue.read(script);
    });
    return &catalogue;
}

void LevelSession::collect(int, const CString& message) { s_messages.push_back(message.str()); }

CString& LevelSession::contentPath() {
    static CString path;
    return path;
}

std::unique_ptr<CN_Document> LevelSession::createDocument() const {
    auto document = std::make_unique<CN_Document>();
    document->setCursorCallback(&Progress::advance);
    document->setErrorCallback(&LevelSession::collect);
    return document;
}

namespace {

/// False where the root's own record has the fault: a record that cannot be had leaves no name, a place or a volume that
/// are none stay.
bool isRootRead(CN_CairnLevel& root) {
    return !root.getName().IsEmpty() && root.getPosition().isFinite() && root.getBoundingMin().isFinite() &&
           root.getBoundingMax().isFinite() && std::isfinite(root.getBoundingRadius());
}

void ensurePlayer(CN_Document& document) {
    constexpr const char* NAME = "player";
    CN_CairnLevel& root = *document.accessLevel();
    if (root.hasChildNamed(NAME))
        return;
    std::unique_ptr<CN_LevelEntity> player(CN_EntityFactory::instance()->createEntity(CN_KIND_PLAYER, &document));
    if (!player)
        throw new F_Exception("The player cannot be made");
    player->setName(NAME, false);
    root.addOwned(std::move(player), false);
}

} // namespace

/// Does for a tree that was read in part what the load does at its end, so that a save of it loads without repair. False
/// where there is no root to go on with or its qualified names would take more than a load allows.
bool LevelSession::settle(CN_Document& document) {
    constexpr std::size_t MOST_BYTES = std::size_t{64} << 20; // of all names, as for a whole load
    if (!isRootRead(*document.accessLevel()))
        return false;
    ensurePlayer(document);
    document.accessPreferences().repairNumbers();
    if (!document.getCNCamera()->isFinite())
        document.accessCNCamera()->reset();
    document.accessLevel()->handleParenting(true);
    std::size_t bytes = 0;
    CN_PreIterator it = document.accessLevel()->createIterator();
    for (it.begin(); !it.end(); ++it) {
        (*it)->generateQualifiedName();
        bytes += (*it)->getQualifiedName().size();
        if (bytes > MOST_BYTES)
            return false;
    }
    return true;
}

OpenedLevel LevelSession::open(const std::string& file) {
    OpenedLevel level;
    level.document = createDocument();
    s_messages.clear();
    const Progress progress(m_console, file);
    try {
        const std::vector<unsigned char> bytes = CN_LevelFile::read(file);
        level.bytes = bytes.size();
        level.sealed = CN_LevelFile::load(*level.document, bytes);
    } catch (F_MemoryException_Allocation*) {
        throw;
    } catch (F_Exception* e) {
        F_ExceptionGuard guard(e);
        level.fault = e->getErrorMessage().empty() ? "The level cannot be read" : e->getErrorMessage();
        level.sealFault = dynamic_cast<CN_LevelFile_Exception_Seal*>(e) != nullptr;
        level.formatFault = dynamic_cast<CN_Document_Exception_InvalidFileFormat*>(e) != nullptr;
    }
    level.hasTree = level.document->getLevel() && (level.isWhole() || level.sealFault || settle(*level.document));
    level.messages.swap(s_messages);
    return level;
}

OpenedLevel LevelSession::openForUse(const std::string& file, bool force) {
    OpenedLevel level = withFailure(ExitCode::INPUT, file, [&] { return open(file); });
    if (level.isWhole())
        return level;
    if (!force || !level.hasTree)
        throw Failure(ExitCode::INPUT, file, level.fault + (level.formatFault ? " (at offset 0)" : ""));
    return level;
}

void LevelSession::warnOfFault(const OpenedLevel& level, const std::string& file, Console& output) const {
    if (level.isWhole())
        return;
    output.flush();
    Console::afterwards([&] { m_console.warn(file, "only what stands before the fault was read: " + level.fault); });
}

void LevelSession::warnOfLoss(const OpenedLevel& level, const std::string& file) const {
    for (const CN_LoadFinding& finding : level.document->getLoadReport().getFindings())
        if (finding.code == "newer-data")
            m_console.warn(file, finding.hasEntity
                                     ? fmt::format("will not be saved: {} ({})", finding.text, finding.entity)
                                     : fmt::format("will not be saved: {}", finding.text));
}

void LevelSession::save(CN_Document& document, const std::string& file, Console& output) const {
    const Progress progress(m_console, file);
    withFailure(ExitCode::OUTPUT, file == "-" ? "standard output" : file, [&] {
        if (file != "-") {
            CN_LevelFile::save(document, file);
            return;
        }
        F_MemoryFile bytes;
        CN_LevelFile::write(document, bytes);
        output.write({static_cast<const char*>(bytes.getAddress()), bytes.getSize()});
    });
}

} // namespace cairn::host
