#include "app/LHashTable.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

std::string _Keys(const LHashTable& table)
{
    std::string keys;
    for (const LHashNode& node : table)
        keys += node.GetKey();
    return keys;
}

}  // namespace

TEST(LHashTable, NewKeysGoFrontOrBackAndExistingKeysStayPut)
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
}

TEST(LHashTable, IntegersFollowTheStrtolRules)
{
    LHashTable table;
    table.SetString("empty", "");
    table.SetString("text", "abc");
    table.SetString("lead", "12ab");
    table.SetInt("negative", -42);
    EXPECT_EQ(table.GetInt("empty", 7), 7);
    EXPECT_EQ(table.GetInt("missing", 7), 7);
    EXPECT_EQ(table.GetInt("text", 7), 0);
    EXPECT_EQ(table.GetInt("lead", 7), 12);
    EXPECT_EQ(table.GetInt("negative", 7), -42);
    EXPECT_STREQ(table.GetParm("negative", nullptr), "-42");
}

TEST(LHashTable, CopiedStringsAreCutAt259Characters)
{
    LHashTable table;
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
