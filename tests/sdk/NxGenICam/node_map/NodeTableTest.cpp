#include "node_map/NodeTable.h"

#include <gtest/gtest.h>

namespace {

TEST(NodeTableTest, HoldsAHundredThousandNodes) {
    NodeTable table;
    for (NodeTable::Id node = 0; node < 100000; ++node) {
        ASSERT_EQ(table.Add(NodeKind::kInteger, "A", NodeTable::kNone), node);
    }
    EXPECT_EQ(table.Add(NodeKind::kInteger, "A", NodeTable::kNone), NodeTable::kNone);
    EXPECT_EQ(table.Count(), 100000U);
}

TEST(NodeTableTest, HoldsThreeHundredThousandProperties) {
    NodeTable table;
    const NodeTable::Id node = table.Add(NodeKind::kInteger, "A", NodeTable::kNone);
    for (int i = 0; i < 300000; ++i) {
        ASSERT_TRUE(table.Append(node, NodeTag::kValue, "1", ""));
    }
    EXPECT_FALSE(table.Append(node, NodeTag::kValue, "1", ""));
    table.Finish();
    EXPECT_EQ(table.PropertyCount(node), 300000U);
}

TEST(NodeTableTest, HoldsEightMebibytesOfText) {
    NodeTable table;
    const std::string half(NodeTable::kMostText / 2, 'x');
    const NodeTable::Id node = table.Add(NodeKind::kInteger, "A", NodeTable::kNone);
    EXPECT_TRUE(table.Append(node, NodeTag::kValue, half, half.substr(2)));
    EXPECT_FALSE(table.Append(node, NodeTag::kValue, "1", "2"));
    EXPECT_EQ(table.Add(NodeKind::kInteger, "BC", NodeTable::kNone), NodeTable::kNone);
    EXPECT_TRUE(table.Append(node, NodeTag::kValue, "1", ""));
    EXPECT_FALSE(table.Append(node, NodeTag::kValue, "", "2"));
    EXPECT_FALSE(table.Append(node, NodeTag::kValue, "2", ""));
    EXPECT_EQ(table.Add(NodeKind::kInteger, "B", NodeTable::kNone), NodeTable::kNone);
    EXPECT_TRUE(table.Append(node, NodeTag::kMin, "", ""));
    EXPECT_NE(table.Add(NodeKind::kInteger, "", NodeTable::kNone), NodeTable::kNone);
    table.Finish();
    EXPECT_EQ(table.PropertyCount(node), 3U);
    EXPECT_EQ(table.PropertyAt(node, 0).text, half);
    EXPECT_EQ(table.PropertyAt(node, 1).text, "1");
    EXPECT_EQ(table.PropertyAt(node, 1).attribute, "");
}

TEST(NodeTableTest, FindsNodesByNamesOfUpToAThousandCharacters) {
    NodeTable table;
    const std::string longest(1000, 'n');
    (void)table.Add(NodeKind::kInteger, longest + "n", NodeTable::kNone);
    const NodeTable::Id node = table.Add(NodeKind::kInteger, longest, NodeTable::kNone);
    const NodeTable::Id last = table.Add(NodeKind::kInteger, "z", NodeTable::kNone);
    table.Finish();
    EXPECT_EQ(table.Find(longest), node);
    EXPECT_EQ(table.Find("z"), last);
    for (const std::string& name :
         {longest + "n", std::string(), std::string("a"), std::string("zz"), longest.substr(1)}) {
        EXPECT_EQ(table.Find(name), NodeTable::kNone) << name;
    }
}

}  // namespace
