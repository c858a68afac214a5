#include "Platform/Linux/NPDisplayListX11.h"

#include "Support/NPTestEdid.h"

#include <gtest/gtest.h>

namespace {

NPOutputX11 output(xcb_randr_output_t identifier, xcb_randr_crtc_t crtc)
{
    return {.output = identifier, .crtc = crtc, .connector = "DP-" + std::to_string(identifier), .edid = {}};
}

NPCrtcX11 crtc(xcb_randr_crtc_t identifier)
{
    NPCrtcX11 crtc;
    crtc.crtc = identifier;
    crtc.area = {static_cast<double>(identifier) * 1000.0, 0.0, 1000.0, 800.0};
    crtc.mode = 5;
    crtc.rotation = 1;
    crtc.table = NPHardwareTableIdentity(256);
    return crtc;
}

// Outputs 1, 2, 3 on the CRTCs 11, 12, 13.
NPLayoutX11 threeDisplays()
{
    NPLayoutX11 layout;
    layout.outputs = {output(1, 11), output(2, 12), output(3, 13)};
    layout.crtcs = {crtc(11), crtc(12), crtc(13)};
    return layout;
}

NPDisplayListX11 listed(const NPLayoutX11& layout)
{
    NPDisplayIdentities identities;
    return NPDisplayListFromLayoutX11(layout, identities);
}

std::vector<xcb_randr_output_t> outputsOf(const NPDisplayListX11& list)
{
    std::vector<xcb_randr_output_t> outputs;
    for (const NPDisplayX11& display : list) {
        outputs.push_back(display.output);
    }
    return outputs;
}

using Outputs = std::vector<xcb_randr_output_t>;
using Changes = std::vector<NPDisplayChangeX11>;

} // namespace

TEST(NPDisplayListX11, FollowsTheServersOrder)
{
    EXPECT_EQ(outputsOf(listed(threeDisplays())), (Outputs{1, 2, 3}));
}

TEST(NPDisplayListX11, PrimaryDisplayComesFirst)
{
    NPLayoutX11 layout = threeDisplays();
    layout.primary = 3;
    EXPECT_EQ(outputsOf(listed(layout)), (Outputs{3, 1, 2}));
}

TEST(NPDisplayListX11, PrimaryThatNothingDrivesDoesNotCount)
{
    NPLayoutX11 layout = threeDisplays();
    layout.outputs[1].crtc = 0;
    layout.primary = 2;
    EXPECT_EQ(outputsOf(listed(layout)), (Outputs{1, 3}));
}

TEST(NPDisplayListX11, OutputOfAVanishedCrtcIsLeftOut)
{
    NPLayoutX11 layout = threeDisplays();
    layout.crtcs.pop_back();
    EXPECT_EQ(outputsOf(listed(layout)), (Outputs{1, 2}));
}

TEST(NPDisplayListX11, ListEndsWithTheTenthDisplay)
{
    NPLayoutX11 layout;
    for (std::uint32_t i = 1; i <= 12; ++i) {
        layout.outputs.push_back(output(i, 100 + i));
        layout.crtcs.push_back(crtc(100 + i));
    }
    layout.primary = 12;
    EXPECT_EQ(outputsOf(listed(layout)), (Outputs{12, 1, 2, 3, 4, 5, 6, 7, 8, 9}));
}

TEST(NPDisplayListX11, SecondDisplayOfACrtcIsACopy)
{
    NPLayoutX11 layout = threeDisplays();
    layout.outputs[2].crtc = 11;
    const NPDisplayListX11 list = listed(layout);
    EXPECT_FALSE(list[0].isCopy);
    EXPECT_FALSE(list[1].isCopy);
    EXPECT_TRUE(list[2].isCopy);
}

TEST(NPDisplayListX11, PrimaryDisplayIsNoCopy)
{
    NPLayoutX11 layout = threeDisplays();
    layout.outputs[2].crtc = 11;
    layout.primary = 3;
    const NPDisplayListX11 list = listed(layout);
    ASSERT_EQ(outputsOf(list), (Outputs{3, 1, 2}));
    EXPECT_FALSE(list[0].isCopy);
    EXPECT_TRUE(list[1].isCopy);
}

TEST(NPDisplayListX11, DisplayIsCalledWhatItsEdidSays)
{
    NPLayoutX11 layout = threeDisplays();
    layout.outputs[0].edid = NPTestEdid{.monitorName = "Panorama 34"}.block();
    layout.outputs[1].edid = NPTestEdid{.serial = 2}.block();
    const NPDisplayListX11 list = listed(layout);
    EXPECT_EQ(list[0].name, "Panorama 34");
    EXPECT_EQ(list[1].name, "DP-2");
    EXPECT_EQ(list[2].name, "DP-3");
}

TEST(NPDisplayListX11, DisplayWithADamagedEdidIsKnownByItsConnector)
{
    NPLayoutX11 layout = threeDisplays();
    const NPDisplayID identifier = listed(layout)[0].identifier;
    layout.outputs[0].edid = NPTestEdid{}.block();
    EXPECT_NE(listed(layout)[0].identifier, identifier);
    layout.outputs[0].edid[12] ^= 1;
    EXPECT_EQ(listed(layout)[0].identifier, identifier);
}

TEST(NPDisplayListX11, DisplayThatIsSwitchedOffKeepsItsIdentifierFromItsTwin)
{
    NPLayoutX11 layout = threeDisplays();
    layout.outputs[0].edid = layout.outputs[1].edid = NPTestEdid{}.block();
    const NPDisplayID second = listed(layout)[1].identifier;
    layout.outputs[0].crtc = 0;
    EXPECT_EQ(listed(layout)[0].identifier, second);
}

TEST(NPDisplayChangesX11, EqualListsAreNoChange)
{
    const NPDisplayListX11 list = listed(threeDisplays());
    EXPECT_EQ(NPDisplayChangesX11(list, list, {}), Changes{});
}

TEST(NPDisplayChangesX11, NewDisplayIsAdded)
{
    const NPDisplayListX11 list = listed(threeDisplays());
    const NPDisplayListX11 before(list.begin(), list.begin() + 2);
    EXPECT_EQ(NPDisplayChangesX11(before, list, {}), (Changes{{list[2].identifier, NPDisplayChangeAdd}}));
}

TEST(NPDisplayChangesX11, RemovedDisplaysAreToldFirst)
{
    const NPDisplayListX11 list = listed(threeDisplays());
    const NPDisplayListX11 before = {list[0], list[2]};
    const NPDisplayListX11 after = {list[0], list[1]};
    EXPECT_EQ(NPDisplayChangesX11(before, after, {}),
              (Changes{{list[2].identifier, NPDisplayChangeRemove}, {list[1].identifier, NPDisplayChangeAdd}}));
}

TEST(NPDisplayChangesX11, AnotherPrimaryDisplayIsSetMain)
{
    const NPDisplayListX11 before = listed(threeDisplays());
    NPLayoutX11 layout = threeDisplays();
    layout.primary = 3;
    EXPECT_EQ(NPDisplayChangesX11(before, listed(layout), {}),
              (Changes{{before[2].identifier, NPDisplayChangeSetMain}}));
}

TEST(NPDisplayChangesX11, DisplayThatFollowsTheRemovedMainDisplayIsSetMain)
{
    const NPDisplayListX11 list = listed(threeDisplays());
    const NPDisplayListX11 after(list.begin() + 1, list.end());
    EXPECT_EQ(NPDisplayChangesX11(list, after, {}), (Changes{{list[0].identifier, NPDisplayChangeRemove},
                                                             {list[1].identifier, NPDisplayChangeSetMain}}));
}

TEST(NPDisplayChangesX11, NewDisplayThatIsTheMainOneIsOnlyAdded)
{
    const NPDisplayListX11 list = listed(threeDisplays());
    EXPECT_EQ(NPDisplayChangesX11({list[1]}, {list[0], list[1]}, {}),
              (Changes{{list[0].identifier, NPDisplayChangeAdd}}));
    EXPECT_EQ(NPDisplayChangesX11({}, {list[0]}, {}), (Changes{{list[0].identifier, NPDisplayChangeAdd}}));
}

TEST(NPDisplayChangesX11, AnotherModePositionRotationOrTableSizeIsSetMode)
{
    const NPDisplayListX11 before = listed(threeDisplays());
    const Changes expected = {{before[1].identifier, NPDisplayChangeSetMode}};
    const auto changed = [&](auto change) {
        NPLayoutX11 layout = threeDisplays();
        change(layout.crtcs[1]);
        return NPDisplayChangesX11(before, listed(layout), {});
    };
    EXPECT_EQ(changed([](NPCrtcX11& crtc) { crtc.mode = 6; }), expected);
    EXPECT_EQ(changed([](NPCrtcX11& crtc) { crtc.area.x = 1; }), expected);
    EXPECT_EQ(changed([](NPCrtcX11& crtc) { crtc.rotation = 2; }), expected);
    EXPECT_EQ(changed([](NPCrtcX11& crtc) { crtc.table = NPHardwareTableIdentity(1024); }), expected);
}

TEST(NPDisplayChangesX11, AnotherCrtcIsSetMode)
{
    const NPDisplayListX11 before = listed(threeDisplays());
    NPLayoutX11 layout = threeDisplays();
    layout.outputs[0].crtc = 14;
    layout.crtcs.push_back(crtc(14));
    EXPECT_EQ(NPDisplayChangesX11(before, listed(layout), {}),
              (Changes{{before[0].identifier, NPDisplayChangeSetMode}}));
}

TEST(NPDisplayChangesX11, CrtcThatWasSetToWhatItWasIsSetMode)
{
    const NPDisplayListX11 list = listed(threeDisplays());
    const NPLayoutEventsX11 events{.any = true, .crtcsSet = {12}, .outputsInterrupted = {}};
    EXPECT_EQ(NPDisplayChangesX11(list, list, events), (Changes{{list[1].identifier, NPDisplayChangeSetMode}}));
}

TEST(NPDisplayChangesX11, DisplayThatWentAndCameBackIsAdded)
{
    const NPDisplayListX11 list = listed(threeDisplays());
    const NPLayoutEventsX11 events{.any = true, .crtcsSet = {13}, .outputsInterrupted = {3}};
    EXPECT_EQ(NPDisplayChangesX11(list, list, events),
              (Changes{{list[2].identifier, NPDisplayChangeAdd | NPDisplayChangeSetMode}}));
}
