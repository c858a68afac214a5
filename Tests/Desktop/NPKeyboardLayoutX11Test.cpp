#include "Platform/Linux/NPKeyboardLayoutLinux.h"

#include "Desktop/Support/NPTestEngine.h"
#include "Desktop/Support/NPTestXClient.h"
#include "Platform/Linux/NPTestKeyboardLayouts.h"
#include "Platform/Linux/NPTestSessionBus.h"

#include <gtest/gtest.h>

namespace {

class NPKeyboardLayoutX11Test : public testing::Test {
protected:
    void run(const std::string& command) const
    {
        NPTestOutputOf("DISPLAY=" + server.displayName() + ' ' + command);
    }

    std::string letters() const { return NPTestLetters(layout); }

    const NPTestXServer server = NPTestXServer::xvfb();
    const NPKeyboardLayoutLinux layout{server.displayName(), {NP_TEST_MODULE_FOLDER}};
};

} // namespace

TEST_F(NPKeyboardLayoutX11Test, FollowsTheLayout)
{
    EXPECT_EQ(letters(), "q a z 1 - ");
    for (const NPTestKeyboardLayout& test : NPTestKeyboardLayouts) {
        run(std::string("setxkbmap -layout ") + test.layout + " -variant '" + test.variant + "'");
        EXPECT_EQ(letters(), test.letters) << test.layout;
    }
    run("setxkbmap us");
    EXPECT_EQ(letters(), "q a z 1 - ");
}

TEST_F(NPKeyboardLayoutX11Test, FollowsTheSwitchBetweenTwoLayouts)
{
    NPTestXClient client(server.displayName());
    run("setxkbmap us,ru");
    EXPECT_EQ(letters(), "q a z 1 - ");
    client.lockLayout(1);
    EXPECT_EQ(letters(), "й ф я 1 - ");
    client.lockLayout(0);
    EXPECT_EQ(letters(), "q a z 1 - ");
}

TEST_F(NPKeyboardLayoutX11Test, LocksAndHeldModifiersPlayNoPart)
{
    run("xdotool key Caps_Lock keydown shift");
    EXPECT_EQ(letters(), "q a z 1 - ");
    run("xdotool keyup shift");
}

TEST_F(NPKeyboardLayoutX11Test, AgreesWithTheUSTableOnEveryKeyOfUSKeyboards)
{
    const NPUSKeyboardLayout us;
    for (const NPKey& key : NPKeyTable()) {
        if (key.word != "kp-comma") { // a key of JIS keyboards
            EXPECT_EQ(layout.charactersForKeyCode(key.virtualCode), us.charactersForKeyCode(key.virtualCode))
                << key.virtualCode;
        }
    }
}

TEST_F(NPKeyboardLayoutX11Test, DeadKeysAndFunctionKeysGiveNothing)
{
    run("setxkbmap fr");
    EXPECT_EQ(layout.charactersForKeyCode(33), ""); // dead circumflex
    EXPECT_EQ(layout.charactersForKeyCode(96), ""); // F5
    EXPECT_EQ(layout.charactersForKeyCode(36), ""); // return: a control character
    EXPECT_EQ(layout.charactersForKeyCode(200), "");
}

TEST_F(NPKeyboardLayoutX11Test, KeypadGivesItsCharactersWithoutNumLock)
{
    run("setxkbmap de");
    EXPECT_EQ(layout.charactersForKeyCode(83), "1");
    EXPECT_EQ(layout.charactersForKeyCode(65), ",");
    EXPECT_EQ(layout.charactersForKeyCode(69), "+");
}

TEST_F(NPKeyboardLayoutX11Test, FindsKeysByTheirPlaceWhereKeyCodesDiffer)
{
    run("setxkbmap -layout de -keycodes xfree86");
    EXPECT_EQ(letters(), "q a y 1 ß ");
    EXPECT_EQ(layout.charactersForKeyCode(75), "/"); // of the keypad, which has another key code there
}

TEST(NPKeyboardLayoutLinux, IsTheUSLayoutWithoutAServer)
{
    const NPKeyboardLayoutLinux layout(":61234", {NP_TEST_MODULE_FOLDER});
    EXPECT_EQ(layout.charactersForKeyCode(6), "z");
}

TEST(NPKeyboardLayoutLinux, IsTheXServersWithoutTheCompositorThatTheEnvironmentNames)
{
    const NPTestXServer server = NPTestXServer::xvfb();
    NPTestOutputOf("DISPLAY=" + server.displayName() + " setxkbmap de");
    const NPTestVariable display("DISPLAY", server.displayName());
    const NPTestVariable compositor("WAYLAND_DISPLAY", "/nonexistent/wayland-0");
    const NPKeyboardLayoutLinux layout("", {NP_TEST_MODULE_FOLDER});
    EXPECT_EQ(layout.charactersForKeyCode(6), "y");
}

TEST(NPKeyboardLayoutLinux, IsTheUSLayoutWithoutTheModule)
{
    const NPTestXServer server = NPTestXServer::xvfb();
    NPTestOutputOf("DISPLAY=" + server.displayName() + " setxkbmap de");
    const NPKeyboardLayoutLinux layout(server.displayName(), {"/nonexistent"});
    EXPECT_EQ(layout.charactersForKeyCode(6), "z");
}

TEST(NPKeyboardLayoutLinux, KeepsTheLastLayoutWhenTheServerGoes)
{
    auto server = std::make_unique<NPTestXServer>(NPTestXServer::xvfb());
    NPTestOutputOf("DISPLAY=" + server->displayName() + " setxkbmap de");
    const NPKeyboardLayoutLinux layout(server->displayName(), {NP_TEST_MODULE_FOLDER});
    EXPECT_EQ(layout.charactersForKeyCode(6), "y");
    server.reset();
    EXPECT_EQ(layout.charactersForKeyCode(6), "y");
}
