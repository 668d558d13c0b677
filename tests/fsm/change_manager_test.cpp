#include "cairn/document/selection.h"
#include "cairn/fsm/change_manager.h"
#include "tests/fsm/message_level.h"

#include <gtest/gtest.h>

namespace cairn::test {
namespace {

struct ChangeManager : testing::Test, MessageLevel {
    CN_FSMChangeManager& manager = *CN_FSMChangeManager::instance();
    std::unordered_map<unsigned int, CN_LevelEntity*>& loaded = CN_FSMChangeManager::g_mapLevelEntityDeSerialisationMap;

    ChangeManager() { manager.documentChangedNotification(nullptr, &document, nullptr); }
    ~ChangeManager() override {
        loaded.clear();
        manager.stopPrefabDeSerialisation();
        manager.forgetDocument(&document);
    }

    void update() { manager.documentUpdatedNotification(nullptr); }

    /// A message as a record gives it.
    static E_FSM::Message storedMessage(const char* text, const char* targetName, unsigned int target) {
        E_FSM::Message message = makeMessage(text, nullptr, "Say", {"a", "::Yard"});
        message.m_targetName = targetName;
        message.m_targetId = target;
        return message;
    }
};

TEST_F(ChangeManager, RenewsQualifiedNamesOnceTheTreeChanged) {
    root.remove(hall); // detached: the names stay as they were
    hall->setName("Aula", false);
    EXPECT_EQ(qualifiedName(knob), "::Door::Knob");
    manager.forgetDocument(&document);
    manager.setHierarchyHasChanged();
    update(); // no document is in use: what changed before is still to be done
    root.add(hall, false);
    hall->remove(door);
    EXPECT_EQ(qualifiedName(knob), "::Aula::Door::Knob");
    door->setName("Gate", false);
    hall->add(door, false);
    manager.documentChangedNotification(nullptr, &document, nullptr);
    update();
    EXPECT_EQ(qualifiedName(knob), "::Aula::Gate::Knob");
    messagesOf(knob) = {makeMessage("untouched", hall)};
    update(); // nothing changed since
    EXPECT_EQ(messagesOf(knob)[0].m_text, "untouched");
}

TEST_F(ChangeManager, StoredReferencesAreBoundByIdentityThenByName) {
    struct Case {
        const char *text, *targetName;
        unsigned int target;
        bool prefab;
        CN_LevelEntity* expected;
    };
    const std::vector<Case> cases = {
        {"Door->Say();", "::Yard", 7, false, knob},     {"Door->Say();", "::Yard", 8, false, yard},
        {"Door->Say();", "::Yard", 0, false, yard},     {"Door->Say();", "::Yard", 8, true, door},
        {"Door->Say();", "::Yard", 7, true, knob},      {"gone->Say();", "::gone", 8, false, nullptr},
        {"gone->Say();", "", 8, false, nullptr}, // an empty name is none
        {"#Door->Say();", "::Yard", 7, false, nullptr},
    };
    for (const Case& c : cases) {
        loaded = {{7, knob}};
        if (c.prefab)
            manager.startPrefabDeSerialisation();
        messagesOf(hall) = {storedMessage(c.text, c.targetName, c.target)};
        manager.deserializeFSMs(&root, false);
        manager.stopPrefabDeSerialisation();
        const E_FSM::Message& message = messagesOf(hall).front();
        EXPECT_EQ(message.m_target, c.expected) << c.text << c.targetName << c.target;
        EXPECT_EQ(message.m_targetId, 0u);
        if (!c.expected) {
            EXPECT_EQ(view(message.m_text), c.text);
        }
    }

    // A line of the game that names nothing survives as text; one with a stored name has a target as any other.
    E_FSM::Message global = storedMessage("Print(a);", "", 0);
    global.m_global = true;
    messagesOf(hall) = {global};
    manager.deserializeFSMs(&root, false);
    EXPECT_EQ(messagesOf(hall).front().m_target, nullptr);
    EXPECT_EQ(view(messagesOf(hall).front().m_text), "Print(a);");
}

TEST_F(ChangeManager, StoredArgumentsAreBoundByIdentityThenByTheirText) {
    loaded = {{7, knob}};
    E_FSM::Message message = storedMessage("Door->Say(a,b);", "::Hall::Door", 0);
    message.m_objectArguments.resize(4);
    message.m_objectArgumentIds = {7, 8, 8}; // the third has no text, the fourth no identity
    messagesOf(hall) = {message};
    manager.deserializeFSMs(&root, false);
    const E_FSM::Message& bound = messagesOf(hall).front();
    EXPECT_EQ(bound.m_objectArguments, (std::vector<CN_LevelEntity*>{knob, yard, nullptr, nullptr}));
    EXPECT_TRUE(bound.m_objectArgumentIds.empty());
    EXPECT_EQ(view(bound.m_text), "Door->Say( ::Hall::Door::Knob, ::Yard );");

    // Once bound they stay, whatever their names mean; what died since does not.
    CN_LevelEntity* const dying = addChild(root, CN_KIND_FSM, "Dying");
    messagesOf(hall).front().m_targetName = "::Yard";
    messagesOf(hall).front().m_objectArguments[1] = dying;
    root.remove(dying);
    delete dying;
    manager.deserializeFSMs(&root, false);
    EXPECT_EQ(messagesOf(hall).front().m_target, door);
    EXPECT_EQ(messagesOf(hall).front().m_objectArguments,
              (std::vector<CN_LevelEntity*>{knob, nullptr, nullptr, nullptr}));
}

TEST_F(ChangeManager, EachFormWalksItsOwnPart) {
    CN_Selection& selection = *document.accessSelection();
    selection.add(knob);
    using Bind = std::function<void(bool clear)>;
    const std::vector<std::pair<Bind, std::vector<CN_LevelEntity*>>> forms = {
        {[&](bool clear) { manager.deserializeFSMs(door, clear); }, {door, knob}},
        {[&](bool clear) {
             CN_PreIterator walk = hall->createIterator();
             manager.deserializeFSMs(walk, clear);
         },
         {door, doorway, knob}},
        {[&](bool clear) {
             CN_SelectionIterator walk = selection.createIterator();
             manager.deserializeFSMs(walk, clear);
         },
         {knob}},
        {[&](bool clear) { manager.deserializeFSMs(&selection, clear); }, {knob}},
    };
    const std::vector<CN_LevelEntity*> all{hall, door, doorway, knob, yard};
    for (std::size_t form = 0; form < forms.size(); ++form) {
        const auto& [bind, part] = forms[form];
        const auto isPart = [&part = part](const CN_LevelEntity* entity) {
            return std::find(part.begin(), part.end(), entity) != part.end();
        };
        for (CN_LevelEntity* const entity : all)
            messagesOf(entity) = {storedMessage("::x->Say();", "::Yard", 0)};
        bind(false);
        for (CN_LevelEntity* const entity : all) {
            E_FSM::Message& message = messagesOf(entity).front();
            EXPECT_EQ(message.m_target, isPart(entity) ? yard : nullptr) << form;
            EXPECT_EQ(view(message.m_text), isPart(entity) ? "::Yard->Say(a, ::Yard);" : "::x->Say();") << form;
            message.m_target = yard;
            message.m_objectArguments = {nullptr, yard};
            message.m_targetId = 7;
            message.m_objectArgumentIds = {0, 7};
        }
        bind(true);
        for (CN_LevelEntity* const entity : all) {
            const E_FSM::Message& message = messagesOf(entity).front();
            EXPECT_EQ(message.m_target == nullptr && message.m_targetId == 0, isPart(entity)) << form;
            EXPECT_EQ(message.m_objectArguments[1] == nullptr && message.m_objectArgumentIds.empty(), isPart(entity));
            EXPECT_EQ(message.m_objectArguments.size(), 2u);
        }
    }
}

} // namespace
} // namespace cairn::test
