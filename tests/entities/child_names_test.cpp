#include "cairn/document/name_validator.h"
#include "cairn/entities/child_names.h"
#include "tests/entities/entity_tree.h"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <algorithm>

namespace cairn::test {
namespace {

CN_LevelEntity* firstNamed(const CN_LevelEntity& parent, const std::string& name) {
    for (CN_LevelEntity* child : parent.getChildren())
        if (child->getName().CompareNoCase(CString(name)) == 0)
            return child;
    return nullptr;
}

/// What naming is by its definition: a walk over the siblings that begins anew at every hit, and once more without the
/// white space where a sibling has the outcome all the same.
std::string nextUniqueNameByWalks(const CN_LevelEntity& parent, const CN_LevelEntity* own, const std::string& name) {
    std::string base, number, childBase, childNumber;
    int digits = 0, childDigits = 0;
    CN_LevelEntity::splitName(name, base, number, digits);
    const auto taken = [&] {
        return std::any_of(parent.getChildren().begin(), parent.getChildren().end(), [&](const CN_LevelEntity* child) {
            const CString childName = child->getName();
            CN_LevelEntity::splitName(asciiTrimmed(childName.view()), childBase, childNumber, childDigits);
            return child != own && asciiEqualNoCase(childBase, base) && childNumber == number;
        });
    };
    while (taken())
        number = nextDecimal(number);
    const std::size_t least = digits == 0 ? 2 : static_cast<std::size_t>(digits);
    while ((digits > 0 || !number.empty()) && number.size() < least)
        number.insert(0, "0");
    const CN_LevelEntity* holder = firstNamed(parent, base + number);
    return holder && holder != own ? nextUniqueNameByWalks(parent, own, std::string(asciiTrimmed(name)))
                                   : base + number;
}

RC_GTEST_PROP(ChildNames, AreThoseOfAWalkOverTheSiblings, ()) {
    const bool many = *rc::gen::arbitrary<bool>();
    auto root = makeEntity(CN_KIND_LEVEL);
    for (int i = 0; many && i < 40; ++i)
        addChild(*root, CN_KIND_WAYPOINT, CString("Door" + std::to_string(i % 20 * 2)));
    const auto anyName = rc::gen::apply(
        [](const std::string& base, const std::string& number) { return base + number; },
        rc::gen::element<std::string>("Door", "door", "Dr", "this", " Door", ""),
        rc::gen::element<std::string>("", "0", "00", "1", "2", "7", "09", "99", "18446744073709551615", "5 "));
    const auto steps = *rc::gen::container<std::vector<int>>(rc::gen::inRange(0, 4));
    for (const int step : steps) {
        const std::string name = *anyName;
        const std::size_t count = root->getChildren().size();
        CN_LevelEntity* chosen =
            count == 0 ? nullptr
                       : *std::next(root->getChildren().begin(), *rc::gen::inRange(0, static_cast<int>(count)));
        RC_ASSERT(root->hasChildNamed(CString(name)) == firstNamed(*root, name));
        if (step == 0 || !chosen) {
            const bool hit = firstNamed(*root, name) != nullptr;
            const std::string expected = hit ? nextUniqueNameByWalks(*root, nullptr, name) : name;
            auto child = makeEntity(CN_KIND_WAYPOINT);
            child->setName(CString(name), false);
            const CN_LevelEntity* added = child.get();
            root->add(child.release(), false);
            if (!name.empty())
                RC_ASSERT(added->getName() == expected || toIString(name) == "this");
        } else if (step == 1) {
            root->remove(chosen);
            delete chosen;
        } else if (!name.empty()) {
            CN_LevelEntity* holder = firstNamed(*root, name);
            const std::string before = chosen->getName().str();
            const std::string expected = holder == chosen            ? before
                                         : holder                    ? nextUniqueNameByWalks(*root, chosen, name)
                                         : toIString(name) == "this" ? before
                                                                     : name;
            chosen->setName(CString(name), true);
            RC_ASSERT(chosen->getName() == expected);
        }
    }
}

TEST(ChildNames, CountOnFromTheNameThatIsTaken) {
    struct Row {
        const char *taken, *wanted, *expected;
    };
    for (const auto& [taken, wanted, expected] :
         std::initializer_list<Row>{{"Room", "Room", "Room01"},
                                    {"Room", "ROOM", "ROOM01"},
                                    {"Room7", "Room7", "Room8"},
                                    {"Room007", "Room007", "Room008"},
                                    {"Room99", "Room99", "Room100"},
                                    {"7", "7", "8"},
                                    {"Door99999999999", "Door99999999999", "Door100000000000"},
                                    {"A18446744073709551615", "A18446744073709551615", "A18446744073709551616"}}) {
        auto root = makeEntity(CN_KIND_LEVEL);
        addChild(*root, CN_KIND_WAYPOINT, taken);
        EXPECT_EQ(addChild(*root, CN_KIND_WAYPOINT, wanted)->getName().str(), expected);
    }
}

TEST(ChildNames, RefuseWhatSetNameRefuses) {
    auto root = makeEntity(CN_KIND_LEVEL);
    CN_LevelEntity* door = addChild(*root, CN_KIND_WAYPOINT, "Door");
    CN_LevelEntity* other = addChild(*root, CN_KIND_WAYPOINT, "Other");
    for (const char* reserved : {"this", "PARENT"})
        for (const bool autoFix : {false, true})
            EXPECT_FALSE(other->setName(reserved, autoFix));
    EXPECT_FALSE(other->setName("", false));
    EXPECT_FALSE(other->setName("DOOR", false));
    EXPECT_EQ(CN_NameValidator::instance()->getLastNameFaultDescription(),
              "Naming Error! Already has a child named :\"DOOR\"!");
    EXPECT_EQ(other->getName(), "Other");
    EXPECT_TRUE(door->setName("DOOR", false));
    EXPECT_EQ(door->getName(), "Door") << "one's own name in other case changes nothing";
    EXPECT_TRUE(other->setName("player", false));
}

TEST(ChildNames, ComeFromTheKindWhereThereIsNone) {
    for (const auto& [kind, name] : std::initializer_list<std::pair<int, const char*>>{
             {CN_KIND_WAYPOINT, "Waypoint_00"}, {CN_KIND_PREFAB_CONTENT, "_00"}, {CN_KIND_PLAYER, "_00"}}) {
        auto entity = makeEntity(kind);
        EXPECT_TRUE(entity->setName("", true));
        EXPECT_EQ(entity->getName().str(), name);
    }
    auto first = makeEntity(CN_KIND_PORTAL), second = makeEntity(CN_KIND_PORTAL);
    first->setName("", true);
    second->setName("", true);
    const int number = parseInt(first->getName().view().substr(7));
    EXPECT_EQ(second->getName(), "Portal_" + std::to_string(number + 1));
}

} // namespace
} // namespace cairn::test
