#include "Platform/Linux/NPHotKeyServicesLinux.h"

#include "Foundation/QXLog.h"
#include "Platform/Simulated/NPSimulatedHotKeys.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

constexpr std::uint16_t keyD = 2;

class NPHotKeyServicesLinuxTest : public testing::Test {
protected:
    // With the simulated service.
    void open()
    {
        hotKeys.open([this]() -> NPHotKeyServicesLinux::Adapter {
            ++made;
            auto adapter = std::make_unique<NPSimulatedHotKeys>(actions);
            simulated = adapter.get();
            return adapter;
        });
    }

    std::string refusal()
    {
        const auto ref = hotKeys.registerHotKey({keyD, NPHotKeyControlMask, {.id = 1}, {}});
        return ref ? "it is not refused" : ref.error();
    }

    std::vector<std::string> logged;
    QXLogRedirection redirection{[this](std::string_view line) { logged.emplace_back(line); }};
    NPActionLog actions;
    NPSimulatedHotKeys* simulated = nullptr;
    int made = 0;
    NPHotKeyServicesLinux hotKeys;
    std::string events;
    NPHotKeySubscription subscription =
        hotKeys.installHandlers({[this](const NPHotKeyEvent&) { events += '+'; },
                                 [this](const NPHotKeyEvent&) { events += '-'; }, [this] { events += '!'; }});
};

} // namespace

TEST_F(NPHotKeyServicesLinuxTest, RefusesBeforeItIsOpen)
{
    EXPECT_EQ(refusal(), "hot keys are not ready yet");
    EXPECT_EQ(logged.size(), 0U);
}

TEST_F(NPHotKeyServicesLinuxTest, OpeningIsAnnouncedAndAsksNobodyYet)
{
    open();
    EXPECT_EQ(events, "!");
    EXPECT_EQ(made, 0);
}

TEST_F(NPHotKeyServicesLinuxTest, FirstHotKeyMakesTheService)
{
    open();
    const auto ref = hotKeys.registerHotKey({keyD, NPHotKeyControlMask, {.id = 1}, {"A", ""}});
    const auto second = hotKeys.registerHotKey({keyD, NPHotKeyOptionMask, {.id = 2}, {}});
    EXPECT_TRUE(ref);
    EXPECT_TRUE(second);
    EXPECT_EQ(made, 1);
    simulated->triggers["A"] = "Press X";
    EXPECT_EQ(hotKeys.trigger({.id = 1}), "Press X");
}

TEST_F(NPHotKeyServicesLinuxTest, EventsOfTheServiceComeThrough)
{
    open();
    const auto ref = hotKeys.registerHotKey({keyD, NPHotKeyControlMask, {.id = 1}, {}});
    simulated->press(keyD, NPHotKeyControlMask);
    simulated->release(keyD, NPHotKeyControlMask);
    simulated->setUnavailable("gone");
    EXPECT_EQ(events, "!+-!");
    EXPECT_EQ(refusal(), "gone");
}

TEST_F(NPHotKeyServicesLinuxTest, ServiceThatCannotBeMadeIsOneLineAndRefusesAll)
{
    hotKeys.open([]() -> NPHotKeyServicesLinux::Adapter { return std::unexpected("nobody is there"); });
    EXPECT_EQ(refusal(), "nobody is there");
    EXPECT_EQ(refusal(), "nobody is there");
    EXPECT_EQ(logged, std::vector<std::string>{"Hot keys do not work: nobody is there"});
    EXPECT_EQ(hotKeys.trigger({.id = 1}), std::nullopt);
}
