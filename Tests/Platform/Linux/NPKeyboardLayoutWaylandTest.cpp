#include "Foundation/QXLog.h"
#include "Platform/Linux/NPKeyboardLayoutLinux.h"

#include "Platform/Linux/NPTestCompositor.h"
#include "Platform/Linux/NPTestKeyboardLayouts.h"
#include "Platform/Linux/NPTestListener.h"
#include "Platform/Linux/NPTestSessionBus.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

const char* const usLetters = "q a z 1 - ";

// No X server either, so that what cannot be read is the US layout.
class NPKeyboardLayoutWaylandTest : public testing::Test {
protected:
    // The layout of the compositor at the socket, which is asked once.
    std::string letters(const std::string& displayName)
    {
        const NPTestVariable compositor("WAYLAND_DISPLAY", displayName);
        layout.emplace("", std::vector<std::string>{NP_TEST_MODULE_FOLDER});
        return NPTestLetters(*layout);
    }

    std::string lettersWith(NPTestSeat seat)
    {
        const NPTestCompositor compositor(std::move(seat));
        return letters(compositor.displayName());
    }

    const std::vector<std::string> unusableKeymap{
        "the keyboard layout cannot be read: the Wayland compositor's keymap cannot be used"};
    const std::vector<std::string> silence{
        "the keyboard layout cannot be read: the Wayland compositor does not respond"};
    const std::vector<std::string> lostConnection{
        "the keyboard layout cannot be read: the connection to the Wayland compositor is lost"};

    std::optional<NPKeyboardLayoutLinux> layout;
    std::vector<std::string> log;

private:
    const NPTestVariable _display{"DISPLAY", ":61234"};
    const NPTestVariable _socket{"WAYLAND_SOCKET", std::nullopt};
    const QXLogRedirection _toLog{[this](std::string_view line) { log.emplace_back(line); }};
};

} // namespace

TEST_F(NPKeyboardLayoutWaylandTest, IsTheCompositorsLayout)
{
    for (const NPTestKeyboardLayout& test : NPTestKeyboardLayouts) {
        EXPECT_EQ(lettersWith({.keymap = NPTestKeymap(test.layout, test.variant)}), test.letters) << test.layout;
    }
    EXPECT_TRUE(log.empty());
}

TEST_F(NPKeyboardLayoutWaylandTest, FindsTheCompositorInTheRuntimeFolder)
{
    const NPTestCompositor compositor(NPTestSeat{.keymap = NPTestKeymap("de")});
    const std::filesystem::path path(compositor.displayName());
    const NPTestVariable folder("XDG_RUNTIME_DIR", path.parent_path());
    EXPECT_EQ(letters(path.filename()), "q a y 1 ß ");
}

TEST_F(NPKeyboardLayoutWaylandTest, IsTheFirstOfSeveralLayoutsUntilAnotherIsSelected)
{
    NPTestCompositor compositor(NPTestSeat{.keymap = NPTestKeymap("us,ru")});
    EXPECT_EQ(letters(compositor.displayName()), usLetters);
    compositor.selectGroup(1);
    EXPECT_EQ(NPTestLetters(*layout), "й ф я 1 - ");
    compositor.selectGroup(0);
    EXPECT_EQ(NPTestLetters(*layout), usLetters);
}

TEST_F(NPKeyboardLayoutWaylandTest, TakesAKeymapThatReplacesTheFormer)
{
    NPTestCompositor compositor(NPTestSeat{.keymap = NPTestKeymap("us")});
    EXPECT_EQ(letters(compositor.displayName()), usLetters);
    compositor.replaceKeymap(NPTestKeymap("de"));
    EXPECT_EQ(NPTestLetters(*layout), "q a y 1 ß ");
}

TEST_F(NPKeyboardLayoutWaylandTest, KeepsTheKeymapThatAnUnusableOneReplaces)
{
    NPTestCompositor compositor(NPTestSeat{.keymap = NPTestKeymap("de")});
    EXPECT_EQ(letters(compositor.displayName()), "q a y 1 ß ");
    compositor.replaceKeymap("xkb_keymap {");
    EXPECT_EQ(NPTestLetters(*layout), "q a y 1 ß ");
    EXPECT_TRUE(log.empty());
}

TEST_F(NPKeyboardLayoutWaylandTest, KeepsTheLastKeymapWhenTheCompositorGoes)
{
    EXPECT_EQ(lettersWith({.keymap = NPTestKeymap("de")}), "q a y 1 ß "); // gone by now
    EXPECT_EQ(NPTestLetters(*layout), "q a y 1 ß ");
    EXPECT_EQ(NPTestLetters(*layout), "q a y 1 ß ");
}

TEST_F(NPKeyboardLayoutWaylandTest, SaysNothingWithoutACompositorOrAKeyboard)
{
    EXPECT_EQ(letters("/nonexistent/wayland-0"), usLetters);
    EXPECT_EQ(letters('/' + std::string(200, 'a')), usLetters);
    EXPECT_EQ(lettersWith({.hasKeyboard = false}), usLetters);
    const NPTestCompositor compositor(std::nullopt);
    EXPECT_EQ(letters(compositor.displayName()), usLetters);
    EXPECT_TRUE(log.empty());
}

TEST_F(NPKeyboardLayoutWaylandTest, SaysNothingWithoutARuntimeFolder)
{
    const NPTestVariable folder("XDG_RUNTIME_DIR", std::nullopt);
    EXPECT_EQ(letters("wayland-0"), usLetters);
    EXPECT_TRUE(log.empty());
}

TEST_F(NPKeyboardLayoutWaylandTest, RefusesTextThatIsNoKeymap)
{
    testing::internal::CaptureStderr(); // the libraries have nothing to add
    EXPECT_EQ(lettersWith({.keymap = "xkb_keymap { include \"us\" }; garbage"}), usLetters);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(log, unusableKeymap);
}

TEST_F(NPKeyboardLayoutWaylandTest, RefusesAnEmptyKeymap)
{
    EXPECT_EQ(lettersWith({.keymap = ""}), usLetters);
    EXPECT_EQ(log, unusableKeymap);
}

TEST_F(NPKeyboardLayoutWaylandTest, RefusesAKeymapOfAnotherFormat)
{
    EXPECT_EQ(lettersWith({.keymap = NPTestKeymap("de"), .format = WL_KEYBOARD_KEYMAP_FORMAT_NO_KEYMAP}),
              usLetters);
    EXPECT_EQ(log, unusableKeymap);
}

TEST_F(NPKeyboardLayoutWaylandTest, RefusesAKeymapThatIsShorterThanSaid)
{
    EXPECT_EQ(lettersWith({.keymap = NPTestKeymap("de"), .size = 1U << 20U}), usLetters);
    EXPECT_EQ(log, unusableKeymap);
}

TEST_F(NPKeyboardLayoutWaylandTest, RefusesAKeymapOfNoSize)
{
    EXPECT_EQ(lettersWith({.keymap = NPTestKeymap("de"), .size = 0}), usLetters);
    EXPECT_EQ(log, unusableKeymap);
}

TEST_F(NPKeyboardLayoutWaylandTest, TakesKeymapsOfFourMebibytesAndNoLongerOnes)
{
    constexpr std::size_t longest = 4U << 20U;
    const std::string keymap = NPTestKeymap("de");
    const std::string filled = keymap + std::string(longest - 1 - keymap.size(), '\n');
    EXPECT_EQ(lettersWith({.keymap = filled}), "q a y 1 ß ");
    EXPECT_TRUE(log.empty());
    EXPECT_EQ(lettersWith({.keymap = filled + '\n'}), usLetters);
    EXPECT_EQ(log, unusableKeymap);
}

TEST_F(NPKeyboardLayoutWaylandTest, DoesWithoutACompositorThatEndsTheConnection)
{
    EXPECT_EQ(lettersWith({.keymap = NPTestKeymap("de"), .sendsKeymap = false}), usLetters);
    EXPECT_EQ(log, lostConnection);
}

TEST_F(NPKeyboardLayoutWaylandTest, DoesWithoutACompositorThatDoesNotRespond)
{
    const NPTemporaryFolder folder;
    const NPTestListener compositor(folder / "wayland-test");
    EXPECT_EQ(letters(folder / "wayland-test"), usLetters);
    EXPECT_EQ(log, silence);
}

TEST_F(NPKeyboardLayoutWaylandTest, DoesWithoutACompositorThatTakesNoMoreConnections)
{
    const NPTemporaryFolder folder;
    const NPTestListener compositor(folder / "wayland-test");
    std::vector<NPFileDescriptor> others;
    while (NPFileDescriptor other = compositor.connect()) {
        others.push_back(std::move(other));
    }
    EXPECT_EQ(letters(folder / "wayland-test"), usLetters);
    EXPECT_EQ(log, silence);
}

TEST_F(NPKeyboardLayoutWaylandTest, DoesWithoutACompositorThatBreaksTheProtocol)
{
    const NPTemporaryFolder folder;
    const NPTestListener compositor(folder / "wayland-test");
    std::thread speaker([&compositor] {
        const NPFileDescriptor connection = compositor.accept();
        const std::uint32_t event[] = {1, 8U << 16U | 9U}; // of the display, which has no tenth one; of 8 bytes
        EXPECT_EQ(::send(connection.get(), event, sizeof event, MSG_NOSIGNAL), ssize_t(sizeof event));
        char rest = 0;
        while (::recv(connection.get(), &rest, 1, 0) > 0) {
        }
    });
    testing::internal::CaptureStderr();
    EXPECT_EQ(letters(folder / "wayland-test"), usLetters);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    speaker.join();
    EXPECT_EQ(log, lostConnection);
}
