#include "Platform/Linux/NPDisplayIdentities.h"

#include <gtest/gtest.h>

#include <set>

namespace {

using Screens = std::vector<NPDisplayIdentities::Screen>;
using Identifiers = std::vector<NPDisplayID>;

NPDisplayID identifierOf(const NPDisplayIdentities::Screen& screen)
{
    return NPDisplayIdentities().identify(Screens{screen}).front();
}

} // namespace

TEST(NPDisplayIdentities, IdentifierIsTheFNVHashOfTheEdidIdentity)
{
    // The published value of the 32-bit FNV-1a hash for "foobar".
    EXPECT_EQ(identifierOf({1, "DP-1", "foobar"}), 0xBF9CF968U);
}

TEST(NPDisplayIdentities, DisplayWithoutEdidIsKnownByItsConnector)
{
    EXPECT_EQ(identifierOf({1, "foobar", ""}), 0xBF9CF968U);
}

TEST(NPDisplayIdentities, DisplayKeepsItsIdentifierOnAnotherConnector)
{
    EXPECT_EQ(identifierOf({1, "DP-1", "edid"}), identifierOf({7, "HDMI-2", "edid"}));
}

TEST(NPDisplayIdentities, OutputHandlesDoNotCount)
{
    EXPECT_EQ(identifierOf({1, "DP-1", ""}), identifierOf({99, "DP-1", ""}));
}

TEST(NPDisplayIdentities, TwinsAreToldApartByTheirConnectors)
{
    const Identifiers twins = NPDisplayIdentities().identify(Screens{{1, "DP-1", "edid"}, {2, "DP-2", "edid"}});
    EXPECT_EQ(twins[0], identifierOf({1, "DP-1", "edid"}));
    EXPECT_NE(twins[1], twins[0]);
}

TEST(NPDisplayIdentities, TwinsHaveTheSameIdentifiersInAnyOrder)
{
    const Screens screens = {{1, "DP-1", "edid"}, {2, "DP-2", "edid"}};
    const Screens otherWay = {{5, "DP-2", "edid"}, {4, "DP-1", "edid"}};
    const Identifiers forwards = NPDisplayIdentities().identify(screens);
    const Identifiers backwards = NPDisplayIdentities().identify(otherWay);
    EXPECT_EQ(forwards, (Identifiers{backwards[1], backwards[0]}));
}

TEST(NPDisplayIdentities, TwinThatStaysKeepsItsIdentifierWhenTheOtherGoes)
{
    NPDisplayIdentities identities;
    const Identifiers both = identities.identify(Screens{{1, "DP-1", "edid"}, {2, "DP-2", "edid"}});
    EXPECT_EQ(identities.identify(Screens{{2, "DP-2", "edid"}}), Identifiers{both[1]});
}

TEST(NPDisplayIdentities, DisplayThatWasThereFirstKeepsItsIdentifierWhenATwinComes)
{
    NPDisplayIdentities identities;
    const Identifiers alone = identities.identify(Screens{{2, "DP-2", "edid"}});
    const Identifiers both = identities.identify(Screens{{1, "DP-1", "edid"}, {2, "DP-2", "edid"}});
    EXPECT_EQ(both[1], alone[0]);
    EXPECT_NE(both[0], alone[0]);
}

TEST(NPDisplayIdentities, AnotherDisplayOnTheSameOutputHasAnotherIdentifier)
{
    NPDisplayIdentities identities;
    const Identifiers before = identities.identify(Screens{{1, "DP-1", "edid"}});
    EXPECT_EQ(identities.identify(Screens{{1, "DP-1", "other"}}), Identifiers{identifierOf({1, "DP-1", "other"})});
    EXPECT_NE(before[0], identifierOf({1, "DP-1", "other"}));
}

TEST(NPDisplayIdentities, IdentifierIsNeverZero)
{
    // The FNV-1a hash of these four bytes is 0.
    EXPECT_NE(identifierOf({1, "DP-1", "\xCC\x24\x31\xC4"}), 0U);
}

TEST(NPDisplayIdentities, DifferentDisplaysWithTheSameHashHaveDifferentIdentifiers)
{
    // Two words whose 32-bit FNV-1a hashes are equal.
    const Screens screens = {{1, "DP-1", "costarring"}, {2, "DP-2", "liquid"}};
    ASSERT_EQ(identifierOf(screens[0]), identifierOf(screens[1]));
    const Identifiers identifiers = NPDisplayIdentities().identify(screens);
    EXPECT_EQ(identifiers[0], identifierOf(screens[0]));
    EXPECT_NE(identifiers[1], identifiers[0]);
}

TEST(NPDisplayIdentities, SixteenTwinsHaveSixteenIdentifiers)
{
    Screens screens;
    for (std::uint32_t i = 0; i < 16; ++i) {
        screens.push_back({i, "DUMMY" + std::to_string(i), "edid"});
    }
    const Identifiers identifiers = NPDisplayIdentities().identify(screens);
    EXPECT_EQ(std::set<NPDisplayID>(identifiers.begin(), identifiers.end()).size(), 16U);
}
