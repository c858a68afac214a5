#include "Platform/Linux/NPBaseRecordX11.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>

namespace {

using Items = std::vector<std::uint16_t>;

NPBaseRecordX11 smallRecord()
{
    NPBaseRecordX11 record;
    record.display = 0x01020304;
    record.owner = 0x1122334455667788;
    record.table = NPHardwareTable(2);
    std::ranges::copy(std::array<std::uint16_t, 6>{0, 65535, 1, 65534, 2, 65533}, record.table.samples().begin());
    return record;
}

Items smallItems()
{
    return {1, 0x0102, 0x0304, 0x1122, 0x3344, 0x5566, 0x7788, 2, 0, 65535, 1, 65534, 2, 65533};
}

} // namespace

TEST(NPBaseRecordX11, EncodesVersionDisplayOwnerSizeAndChannels)
{
    EXPECT_EQ(NPBaseRecordX11Encode(smallRecord()), smallItems());
}

TEST(NPBaseRecordX11, DecodesWhatIsEncoded)
{
    EXPECT_EQ(NPBaseRecordX11Decode(smallItems()), smallRecord());
}

TEST(NPBaseRecordX11, LargestTableComesBack)
{
    NPBaseRecordX11 record = smallRecord();
    record.table = NPHardwareTableIdentity(65535);
    EXPECT_EQ(NPBaseRecordX11Decode(NPBaseRecordX11Encode(record)), record);
}

TEST(NPBaseRecordX11, NameEndsInTheCrtcsNumber)
{
    EXPECT_EQ(NPBaseRecordX11Name(62), "_NIGHTPANE_BASE_TABLE_62");
}

TEST(NPBaseRecordX11, NothingIsNoRecord)
{
    EXPECT_FALSE(NPBaseRecordX11Decode({}));
}

TEST(NPBaseRecordX11, EveryTruncationIsNoRecord)
{
    for (Items items = smallItems(); !items.empty();) {
        items.pop_back();
        EXPECT_FALSE(NPBaseRecordX11Decode(items)) << items.size();
    }
}

TEST(NPBaseRecordX11, SurplusItemsAreNoRecord)
{
    Items items = smallItems();
    items.push_back(0);
    EXPECT_FALSE(NPBaseRecordX11Decode(items));
}

TEST(NPBaseRecordX11, AnotherVersionIsNoRecord)
{
    Items items = smallItems();
    items[0] = 2;
    EXPECT_FALSE(NPBaseRecordX11Decode(items));
}

TEST(NPBaseRecordX11, TableOfOneSampleIsNoRecord)
{
    EXPECT_FALSE(NPBaseRecordX11Decode(Items{1, 0, 1, 0, 0, 0, 1, 1, 0, 65535, 0}));
}

TEST(NPBaseRecordX11, TableOfNoSamplesIsNoRecord)
{
    EXPECT_FALSE(NPBaseRecordX11Decode(Items{1, 0, 1, 0, 0, 0, 1, 0}));
}

TEST(NPBaseRecordX11, DarkTableIsNoRecord)
{
    Items items = smallItems();
    std::fill(items.begin() + 8, items.end(), std::uint16_t{0});
    EXPECT_FALSE(NPBaseRecordX11Decode(items));
}
