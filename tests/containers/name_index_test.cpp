#include "cairn/containers/name_index.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <initializer_list>
#include <random>
#include <string>
#include <vector>

namespace cairn {
namespace {

char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; }

bool sameName(const std::string& a, const std::string& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) { return lower(x) == lower(y); });
}

/// Finds by a walk over all entries.
class Walked {
  public:
    struct Entry {
        std::string name;
        int value;
        std::uint64_t stamp;
    };

    const Entry* first(const std::string& name, int exceptValue = -1) const {
        const Entry* best = nullptr;
        for (const Entry& entry : entries)
            if (entry.value != exceptValue && sameName(entry.name, name) && (!best || entry.stamp < best->stamp))
                best = &entry;
        return best;
    }

    std::vector<Entry> entries;
};

std::string randomName(std::mt19937& random) {
    // Few letters, the neighbours of the alphabet, NUL and bytes above 127: many names alike, some alike only in part.
    static const std::string ALPHABET("aAbBzZ@[`{\0\xC1\xE1", 13);
    const std::size_t length = random() % 8 == 0 ? random() % 40 : random() % 3;
    std::string name;
    while (name.size() < length)
        name += ALPHABET[random() % ALPHABET.size()];
    return name;
}

TEST(F_NameIndexTest, FindsWhatAWalkFinds) {
    std::mt19937 random(11);
    for (int round = 0; round < 10; ++round) {
        F_NameIndex<int> index;
        Walked walked;
        for (int step = 0; step < 1500; ++step) {
            const unsigned choice = random() % 8;
            if (walked.entries.empty() || choice < 3) {
                std::string name = randomName(random);
                walked.entries.push_back({name, step, index.insert(name, step)});
            } else if (choice == 3) {
                // Unique stamps in any order, in the gaps that follow.
                const std::uint64_t stamp = (std::uint64_t{random() % 1000} << 20) + static_cast<unsigned>(step);
                std::string name = randomName(random);
                walked.entries.push_back({name, step, stamp});
                index.insert(name, step, stamp);
            } else {
                const auto place = walked.entries.begin() + static_cast<int>(random() % walked.entries.size());
                if (choice < 6) {
                    ASSERT_TRUE(index.erase(place->name, place->value));
                    ASSERT_FALSE(index.contains(place->name, place->value));
                    walked.entries.erase(place);
                } else {
                    std::string name = randomName(random);
                    ASSERT_TRUE(index.rename(place->name, name, place->value));
                    place->name = name;
                }
            }
            ASSERT_EQ(index.size(), walked.entries.size());
            const std::string name = randomName(random);
            const Walked::Entry* expected = walked.first(name);
            const int* found = index.find(name);
            ASSERT_EQ(found ? *found : -1, expected ? expected->value : -1);
            if (expected) {
                const Walked::Entry* other = walked.first(name, expected->value);
                const int* foundOther = index.findOther(name, expected->value);
                ASSERT_EQ(foundOther ? *foundOther : -1, other ? other->value : -1);
            }
        }
        for (const Walked::Entry& entry : walked.entries)
            ASSERT_EQ(*index.find(entry.name), walked.first(entry.name)->value);
    }
}

TEST(F_NameIndexTest, FoldsEachByteAsAsciiDoes) {
    for (int c = 0; c < 256; ++c) {
        const std::string name(11, static_cast<char>(c));
        const std::string folded(11, lower(static_cast<char>(c)));
        EXPECT_EQ(hashFolded(name, 1), hashFolded(folded, 1));
        for (int d = 0; d < 256; ++d) {
            std::string other = folded;
            other[static_cast<std::size_t>(d) % 11] = static_cast<char>(d);
            EXPECT_EQ(equalFolded(name, other), sameName(name, other)) << c << ' ' << d;
        }
    }
}

TEST(F_NameIndexTest, TellsNamesOfEveryLengthApart) {
    F_NameIndex<int> index;
    std::vector<std::string> names;
    for (std::size_t length : std::initializer_list<std::size_t>{0, 1, 2, 3, 4, 5, 7, 8, 9, 15, 16, 17, 64, 70000})
        for (std::size_t changed = 0; changed <= std::min<std::size_t>(length, 17); ++changed) {
            std::string name(length, 'n');
            if (changed < length)
                name[changed] = 'X';
            names.push_back(name);
            index.insert(name, static_cast<int>(names.size()) - 1);
        }
    for (std::size_t i = 0; i < names.size(); ++i) {
        std::string asked = names[i];
        std::transform(asked.begin(), asked.end(), asked.begin(), [](char c) { return c == 'n' ? 'N' : lower(c); });
        const int* found = index.find(asked);
        ASSERT_NE(found, nullptr);
        EXPECT_EQ(names[static_cast<std::size_t>(*found)], names[i]);
    }
    index.clear();
    EXPECT_EQ(index.find(""), nullptr);
    EXPECT_EQ(index.insert("", 4), 0U);
}

TEST(F_NameIndexTest, NamesChosenToCollideStayFindable) {
    // The first word takes the state of an unseeded hash to its value, the second cancels it: all hashes are one.
    constexpr std::uint64_t FACTOR = 0x9E3779B97F4A7C15;
    F_NameIndex<int> index;
    std::vector<std::string> names;
    for (std::uint64_t word = 0; names.size() < 2000; ++word) {
        std::uint64_t state = ((16 * FACTOR) ^ word) * FACTOR;
        state ^= state >> 32;
        if (foldEight(word) != word || foldEight(state) != state)
            continue;
        std::string name(16, '\0');
        std::memcpy(name.data(), &word, 8);
        std::memcpy(name.data() + 8, &state, 8);
        ASSERT_EQ(hashFolded(name, 0), 0U);
        index.insert(name, static_cast<int>(names.size()));
        names.push_back(name);
    }
    for (std::size_t i = 0; i < names.size(); ++i)
        EXPECT_EQ(*index.find(names[i]), static_cast<int>(i));
}

} // namespace
} // namespace cairn
