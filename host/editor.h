#pragma once

#include "cairn/document/document.h"
#include "cairn/entities/level_entity.h"
#include "cairn/fsm/message_info_provider.h"
#include "host/edit_language.h"

#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace cairn {
class CN_Mesh;
class CN_Polygon;
} // namespace cairn

namespace cairn::host {

/// What the commands of an edit script work on, and how they read their words. Each operation throws an `EditRefusal` that
/// says what is wrong.
class Editor {
  public:
    /// The document must have a level and outlive the editor. The catalogue, which may be null, tells which receivers are no
    /// entities.
    explicit Editor(CN_Document& document, const CN_FSMMessageInfoProvider* catalogue = nullptr);
    ~Editor();
    Editor(const Editor&) = delete;
    Editor& operator=(const Editor&) = delete;

    /// Runs one command: words as `readEditWords` gives them, at least one.
    void run(std::span<const std::string> words);
    /// Brings the lines of all messages up to date: for the end of the commands.
    void finish();

    CN_Document& document() { return m_document; }
    const CN_FSMMessageInfoProvider* catalogue() const { return m_catalogue; }
    CN_LevelEntity& root();
    /// The entity that a word names.
    CN_LevelEntity& entity(const std::string& word);
    /// The same, but nothing that belongs to a prefab that is not editable.
    CN_LevelEntity& changeableEntity(const std::string& word);
    /// The same, and not the root either.
    CN_LevelEntity& placeableEntity(const std::string& word);
    /// The same, and not the player either, which every level has in its place and under its name.
    CN_LevelEntity& movableEntity(const std::string& word);
    /// The polygon that a word names: ENTITY#INDEX, of a mesh that may be changed.
    CN_Polygon& polygon(const std::string& word);
    /// The mesh that a word names, which may be changed.
    CN_Mesh& mesh(const std::string& word);
    /// Refuses a name that entities cannot have.
    static void checkName(const std::string& name);
    /// Puts a new entity of a kind below the parent and at a place in its space, under a name that must be free there.
    CN_LevelEntity& addEntity(int kind, CN_LevelEntity& parent, const std::string& name,
                              const CN_LevelEntity::Vector& place);
    /// Something that the user of a command is told although it is done.
    void note(const std::string& text) { m_notes.push_back(text); }
    /// The notes since the last call.
    std::vector<std::string> takeNotes() { return std::exchange(m_notes, {}); }
    /// What a command reports of its work.
    void tell(const std::string& text) { m_told.push_back(text); }
    /// The reports since the last call.
    std::vector<std::string> takeTold() { return std::exchange(m_told, {}); }
    using Vector = CN_LevelEntity::Vector;

    /// A number that is finite.
    static double number(const std::string& word);
    /// Three of them, none beyond 1e15.
    static Vector vector(std::span<const std::string> words);

  private:
    CN_Document& m_document;
    const CN_FSMMessageInfoProvider* m_catalogue; ///< not owned: null for none
    std::vector<std::string> m_notes, m_told;
};

/// A command of the edit language.
struct EditCommand {
    std::string_view name;
    std::string_view usage; ///< the words behind the name, for people
    std::string_view help;
    std::size_t leastWords, mostWords; ///< behind the name
    void (*run)(Editor& editor, std::span<const std::string> words);
};

/// All commands, in the order in which help lists them.
std::span<const EditCommand> editCommands();

/// Commands that change the tree (edit_tree.cpp): see `editCommands`.
/// @{
void editAdd(Editor& editor, std::span<const std::string> words);
void editRename(Editor& editor, std::span<const std::string> words);
void editMove(Editor& editor, std::span<const std::string> words);
void editPlace(Editor& editor, std::span<const std::string> words);
void editTurn(Editor& editor, std::span<const std::string> words);
void editDelete(Editor& editor, std::span<const std::string> words);
void editSelect(Editor& editor, std::span<const std::string> words);
/// @}

/// Commands that change polygons (edit_geometry.cpp).
/// @{
void editBox(Editor& editor, std::span<const std::string> words);
void editSplit(Editor& editor, std::span<const std::string> words);
void editUnify(Editor& editor, std::span<const std::string> words);
void editExit(Editor& editor, std::span<const std::string> words);
void editSeal(Editor& editor, std::span<const std::string> words);
void editSmooth(Editor& editor, std::span<const std::string> words);
/// @}

/// Commands that change whole meshes and planes (edit_mesh.cpp, edit_parts.cpp).
/// @{
void editLoft(Editor& editor, std::span<const std::string> words);
void editPush(Editor& editor, std::span<const std::string> words);
void editTilt(Editor& editor, std::span<const std::string> words);
void editWeld(Editor& editor, std::span<const std::string> words);
void editMirror(Editor& editor, std::span<const std::string> words);
void editScale(Editor& editor, std::span<const std::string> words);
void editFlip(Editor& editor, std::span<const std::string> words);
void editJoin(Editor& editor, std::span<const std::string> words);
void editSeparate(Editor& editor, std::span<const std::string> words);
void editRecenter(Editor& editor, std::span<const std::string> words);
void editTexture(Editor& editor, std::span<const std::string> words);
void editTJunctions(Editor& editor, std::span<const std::string> words);
void editDynamic(Editor& editor, std::span<const std::string> words);
void editKeyframe(Editor& editor, std::span<const std::string> words);
/// @}

/// Commands that change state machines (edit_machine.cpp).
/// @{
void editFsmState(Editor& editor, std::span<const std::string> words);
void editFsmRenameState(Editor& editor, std::span<const std::string> words);
void editFsmHandler(Editor& editor, std::span<const std::string> words);
void editFsmSend(Editor& editor, std::span<const std::string> words);
/// @}

} // namespace cairn::host
