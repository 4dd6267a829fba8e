#include "app/LHashTable.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

namespace {

std::string _Keys(const LHashTable& table)
{
    std::string keys;
    for (const LHashNode& node : table)
        keys += node.GetKey();
    return keys;
}

// "k<i>"; built by appending, as GCC 12 at -O3 misreports "k" + std::string as overlapping.
std::string _Key(int i)
{
    std::string key = "k";
    return key.append(std::to_string(i));
}

}  // namespace

TEST(LHashTable, OrderLookupsIntegersAndCutCopies)
{
    LHashTable table;
    table.SetString("b", "1");
    table.SetString("a", "2");
    table.SetParmBottom("c", "3");
    EXPECT_EQ(_Keys(table), "abc");
    table.SetString("c", "x");
    table.SetParmBottom("a", "y");
    EXPECT_EQ(_Keys(table), "abc");
    EXPECT_STREQ(table.GetParm("a", nullptr), "y");
    EXPECT_STREQ(table.GetParm("c", nullptr), "x");
    EXPECT_STREQ(table.GetParm("A", "none"), "none");  // case matters

    LHashTable copy = table;
    copy.SetString("a", "changed");
    EXPECT_STREQ(table.GetParm("a", nullptr), "y");
    EXPECT_TRUE(table.Remove("b"));
    EXPECT_FALSE(table.Remove("b"));
    EXPECT_EQ(_Keys(table), "ac");

    // Integers follow the strtol rules; copies out are cut at 259 characters.
    for (auto [key, value] : {std::pair{"empty", ""}, {"text", "abc"}, {"lead", "12ab"}})
        table.SetString(key, value);
    table.SetInt("negative", -42);
    for (auto [key, want] : {std::pair{"empty", 7}, {"missing", 7}, {"text", 0}, {"lead", 12}, {"negative", -42}})
        EXPECT_EQ(table.GetInt(key, 7), want) << key;

    std::string longValue(400, 'v');
    table.SetString("k", longValue.c_str());
    EXPECT_EQ(std::string(table.GetParm("k", "")), longValue);  // the table itself keeps all
    char dest[kLTextBytes + 8];
    std::memset(dest, '#', sizeof(dest));
    table.GetString("k", "", dest);
    EXPECT_EQ(std::string(dest), longValue.substr(0, 259));
    EXPECT_EQ(dest[kLTextBytes], '#');  // nothing written past the buffer
    table.GetString("missing", "def", dest);
    EXPECT_STREQ(dest, "def");
}

TEST(LHashTable, LargeTablesKeepTheSameOrderAndLookups)
{
    LHashTable table;
    for (int i = 0; i < 1000; ++i)
        table.SetParmBottom(_Key(i).c_str(), std::to_string(i).c_str());
    table.SetString("first", "f");
    table.SetString("k500", "changed");  // existing: stays where it is
    LHashTable copy = table;
    EXPECT_TRUE(copy.Remove("k999"));
    copy.SetParmBottom("k999", "back");
    table = copy;

    std::string expected = "first";
    for (int i = 0; i < 1000; ++i)
        expected += _Key(i);
    EXPECT_EQ(_Keys(table), expected);
    EXPECT_STREQ(table.GetParm("k500", nullptr), "changed");
    EXPECT_STREQ(table.GetParm("k999", nullptr), "back");
    EXPECT_EQ(table.GetParm("K123", nullptr), nullptr);
}

// Front and end nodes mixed, values grown past and shrunk below the short-text size, removals:
// at each size (with and without the lookup index) the table must agree with a plain model.
TEST(LHashTable, MixedEditsAgreeWithAPlainModelAtEverySize)
{
    for (int size : {3, 15, 16, 17, 200}) {
        LHashTable table;
        std::vector<std::pair<std::string, std::string>> model;  // in order
        auto set = [&](const std::string& key, const std::string& value, bool front) {
            front ? table.SetString(key.c_str(), value.c_str()) : table.SetParmBottom(key.c_str(), value.c_str());
            auto found = std::find_if(model.begin(), model.end(), [&](const auto& p) { return p.first == key; });
            if (found != model.end())
                found->second = value;
            else
                model.insert(front ? model.begin() : model.end(), {key, value});
        };
        for (int i = 0; i < size; ++i)
            set(_Key(i), "v", i % 3 == 0);
        for (int i = 0; i < size; i += 2)
            set(_Key(i), std::string(40 + i, 'L'), i % 4 == 0);  // moves the node's text
        for (int i = 0; i < size; i += 4)
            set(_Key(i), "s", false);
        for (int i = 1; i < size; i += 5) {
            EXPECT_TRUE(table.Remove(_Key(i).c_str()));
            model.erase(std::find_if(model.begin(), model.end(), [&](const auto& p) { return p.first == _Key(i); }));
        }
        set("late", "x", true);
        for (int round = 0; round < 60; ++round)  // enough replaced text to be dropped
            set(_Key(round % 3 * 4), std::string(100 + round * 7, 'G'), false);
        // Values taken from the table itself, while the table's text may move under the write.
        for (const auto& [to, from] : {std::pair{"late", 0}, {"new from own", 2}, {"late", 3}}) {
            const std::string key = from == 0 ? "late" : _Key(from);
            const std::string value = table.GetParm(key.c_str(), "");
            table.SetString(to, table.GetParm(key.c_str(), ""));
            set(to, value, true);
        }
        const LHashTable copy = table;
        LHashTable moved;
        moved = LHashTable(copy);
        for (const LHashTable* t : std::vector<const LHashTable*>{&table, &copy, &moved}) {
            ASSERT_EQ(t->Count(), model.size()) << size;
            auto node = t->begin();
            for (const auto& [key, value] : model) {
                EXPECT_EQ(node->GetKey(), key) << size;
                EXPECT_EQ(node->GetData(), value) << size;
                EXPECT_STREQ(t->GetParm(key.c_str(), nullptr), value.c_str()) << size << " " << key;
                ++node;
            }
        }
    }
}
