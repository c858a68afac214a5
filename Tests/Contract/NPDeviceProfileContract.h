// How displays are given custom colour profiles, and what is said of their own ones meanwhile, whoever keeps the
// profiles.
//
// A platform's test instantiates the cases with a harness:
//
//     struct Harness {
//         NPDisplayID display();                        // one that uses NPContractProfile(0.8)
//         std::optional<std::string> ownLocation();     // of that profile
//         NPColorProfileServices& profiles();           // changes by others are noticed already
//         NPDeviceProfileServices& devices();
//         std::string keep(const QXColorProfile&, const std::string& name); // in a file; its URL
//         QXData used();                                // the profile that the display uses now
//         void choose(const QXColorProfile&);           // as another program, has the display use this one
//         void fail();                                  // from now on whoever keeps the profiles is of no use
//         bool eventually(const std::function<bool()>&); // lets time pass until it holds; false when it never does
//     };
#pragma once

#include "Platform/NPColorProfileServices.h"
#include "Platform/NPCustomProfileServices.h"
#include "ScreenGamma/QXDisplayColors.h"
#include "Support/GammaTables.h"

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <string>
#include <vector>

// A whole profile, of which no colour program thinks ill, whose table ends at that level.
inline QXColorProfile NPContractProfile(float level, const std::optional<std::string>& url = {})
{
    QXColorProfile profile = QXColorProfileForDisplay(QXStandardColors, "Display").value();
    QXColorProfileSetGammaTable(profile, scaledTable(level));
    return QXColorProfile::profileWithData(profile.copyData().value(), url).value();
}

template<class Harness> class NPDeviceProfileContract : public testing::Test {
protected:
    NPDeviceProfileContract()
    {
        read();
        ownContent = harness.used();
        subscription = harness.profiles().registerProfileCallback([this](NPDisplayID display) {
            announced.push_back(display);
            read(); // as whoever listens does
        });
    }

    void read() { own = harness.profiles().copyDisplayProfile(harness.display()); }

    // A custom profile, made from the display's own, whose table ends at that level.
    QXColorProfile custom(float level) const
    {
        QXColorProfile profile = *own.profile;
        QXColorProfileSetDescription(profile, "Nightpane");
        QXColorProfileSetBaseURL(profile, own.location);
        QXColorProfileSetBaseGammaTable(profile, own.baseTable);
        QXColorProfileSetGammaTable(profile, scaledTable(level));
        return profile;
    }

    bool give(const std::optional<std::string>& location)
    {
        return harness.devices().setCustomProfile(harness.display(), location);
    }

    // Whether the display uses it afterwards.
    bool give(const QXColorProfile& profile, const std::string& name)
    {
        return give(harness.keep(profile, name)) && eventuallyUses(profile.copyData().value());
    }

    bool eventuallyUses(const QXData& content)
    {
        return harness.eventually([&] { return harness.used() == content; });
    }

    static QXColorProfile otherProfile() { return NPContractProfile(0.6F); }

    Harness harness;
    NPDisplayProfile own;
    QXData ownContent;
    std::vector<NPDisplayID> announced;
    NPDisplaySubscription subscription;
};

TYPED_TEST_SUITE_P(NPDeviceProfileContract);

TYPED_TEST_P(NPDeviceProfileContract, ADisplayUsesTheCustomProfileThatItIsGiven)
{
    EXPECT_TRUE(this->give(this->custom(0.4F), "custom"));
}

TYPED_TEST_P(NPDeviceProfileContract, WithoutACustomProfileADisplayUsesItsOwnAgain)
{
    ASSERT_TRUE(this->give(this->custom(0.4F), "custom"));
    EXPECT_TRUE(this->give(std::nullopt));
    EXPECT_TRUE(this->eventuallyUses(this->ownContent));
}

TYPED_TEST_P(NPDeviceProfileContract, TheLocationOfItsOwnProfileGivesADisplayThatBack)
{
    ASSERT_TRUE(this->give(this->custom(0.4F), "custom"));
    EXPECT_TRUE(this->give(this->harness.ownLocation()));
    EXPECT_TRUE(this->eventuallyUses(this->ownContent));
}

TYPED_TEST_P(NPDeviceProfileContract, ALocationThatHasGoneGivesADisplayItsOwnProfileBack)
{
    ASSERT_TRUE(this->give(this->custom(0.4F), "custom"));
    EXPECT_TRUE(this->give("file:///nowhere/at/all.icc"));
    EXPECT_TRUE(this->eventuallyUses(this->ownContent));
}

TYPED_TEST_P(NPDeviceProfileContract, ACustomProfileTakesThePlaceOfTheOneBefore)
{
    for (const char* const name : {"first", "second", "third"}) {
        ASSERT_TRUE(this->give(this->custom(name[0] == 's' ? 0.3F : 0.2F), name));
    }
    EXPECT_TRUE(this->give(std::nullopt));
    EXPECT_TRUE(this->eventuallyUses(this->ownContent));
}

TYPED_TEST_P(NPDeviceProfileContract, ACustomProfileWithTheOwnTableGivesADisplayItsOwnProfileBack)
{
    ASSERT_TRUE(this->give(this->custom(0.4F), "custom"));
    QXColorProfile neutral = this->custom(0.4F);
    QXColorProfileSetGammaTable(neutral, this->own.baseTable);
    EXPECT_TRUE(this->give(this->harness.keep(neutral, "neutral")));
    EXPECT_TRUE(this->eventuallyUses(this->ownContent));
}

TYPED_TEST_P(NPDeviceProfileContract, TheOwnTableAndLocationAreTheSameWhateverTheCustomProfile)
{
    EXPECT_NEAR(this->own.baseTable.redTable[255], 0.8F, 1e-4F);
    EXPECT_EQ(this->own.location, this->harness.ownLocation());
    const QXGammaTable base = this->own.baseTable;
    for (int round = 0; round < 3; ++round) {
        ASSERT_TRUE(this->give(this->custom(0.4F), "custom" + std::to_string(round)));
        this->read();
        EXPECT_TRUE(sameTable(this->own.baseTable, base));
        EXPECT_EQ(this->own.location, this->harness.ownLocation());
    }
}

TYPED_TEST_P(NPDeviceProfileContract, WhatAnotherProgramChoosesIsAnnouncedAndIsTheNewBase)
{
    ASSERT_TRUE(this->give(this->custom(0.4F), "custom"));
    this->harness.choose(this->otherProfile());
    ASSERT_TRUE(this->harness.eventually([&] { return !this->announced.empty(); }));
    EXPECT_EQ(this->announced.front(), this->harness.display());
    EXPECT_NEAR(this->own.baseTable.redTable[255], 0.6F, 1e-4F);
    EXPECT_TRUE(this->eventuallyUses(this->otherProfile().copyData().value()));
}

TYPED_TEST_P(NPDeviceProfileContract, ACustomProfileOfOursIsNotAnnounced)
{
    ASSERT_TRUE(this->give(this->custom(0.4F), "custom"));
    ASSERT_TRUE(this->give(this->custom(0.3F), "next"));
    this->harness.choose(this->otherProfile()); // comes after whatever would have been said of ours
    ASSERT_TRUE(this->harness.eventually([&] { return !this->announced.empty(); }));
    EXPECT_EQ(this->announced.size(), 1U);
}

TYPED_TEST_P(NPDeviceProfileContract, WhatAnotherProgramHasChosenComesBack)
{
    ASSERT_TRUE(this->give(this->custom(0.4F), "custom"));
    this->harness.choose(this->otherProfile());
    ASSERT_TRUE(this->harness.eventually([&] { return !this->announced.empty(); }));
    ASSERT_TRUE(this->give(this->custom(0.3F), "next"));
    EXPECT_TRUE(this->give(std::nullopt));
    EXPECT_TRUE(this->eventuallyUses(this->otherProfile().copyData().value()));
}

TYPED_TEST_P(NPDeviceProfileContract, WhatCannotBeDoneIsSaidInGoodTime)
{
    const std::string location = this->harness.keep(this->custom(0.4F), "custom");
    this->harness.fail();
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(this->give(location));
    EXPECT_FALSE(this->give(std::nullopt));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(15)); // 5 each, and a slow machine
}

REGISTER_TYPED_TEST_SUITE_P(
    NPDeviceProfileContract, ADisplayUsesTheCustomProfileThatItIsGiven,
    WithoutACustomProfileADisplayUsesItsOwnAgain, TheLocationOfItsOwnProfileGivesADisplayThatBack,
    ALocationThatHasGoneGivesADisplayItsOwnProfileBack, ACustomProfileTakesThePlaceOfTheOneBefore,
    ACustomProfileWithTheOwnTableGivesADisplayItsOwnProfileBack,
    TheOwnTableAndLocationAreTheSameWhateverTheCustomProfile, WhatAnotherProgramChoosesIsAnnouncedAndIsTheNewBase,
    ACustomProfileOfOursIsNotAnnounced, WhatAnotherProgramHasChosenComesBack, WhatCannotBeDoneIsSaidInGoodTime);
