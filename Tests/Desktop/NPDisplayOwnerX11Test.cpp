// Who drives the displays of a server, as the server itself tells.
#include "Platform/Linux/NPDisplayOwnerX11.h"

#include "Desktop/Support/NPTestEngine.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <string_view>

namespace {

// A client that owns the selection of an X screen, and says on its window what it is told to.
class Owner {
public:
    explicit Owner(const std::string& displayName) : _connection(xcb_connect(displayName.c_str(), nullptr))
    {
        const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(_connection)).data->root;
        _window = xcb_generate_id(_connection);
        xcb_create_window(_connection, 0, _window, root, 0, 0, 1, 1, 0, XCB_WINDOW_CLASS_INPUT_ONLY,
                          XCB_COPY_FROM_PARENT, 0, nullptr);
        xcb_set_selection_owner(_connection, _window, _atom("_NIGHTPANE_S0"), XCB_CURRENT_TIME);
        _atom("WM_NAME"); // waits
    }
    ~Owner() { xcb_disconnect(_connection); }
    Owner(const Owner&) = delete;
    Owner& operator=(const Owner&) = delete;

    void say(std::uint32_t process, std::string_view host)
    {
        xcb_change_property(_connection, XCB_PROP_MODE_REPLACE, _window, _atom("_NET_WM_PID"), XCB_ATOM_CARDINAL,
                            32, 1, &process);
        xcb_change_property(_connection, XCB_PROP_MODE_REPLACE, _window, XCB_ATOM_WM_CLIENT_MACHINE,
                            XCB_ATOM_STRING, 8, static_cast<std::uint32_t>(host.size()), host.data());
        _atom("WM_NAME"); // waits
    }

private:
    xcb_atom_t _atom(std::string_view name)
    {
        const auto request = xcb_intern_atom(_connection, 0, static_cast<std::uint16_t>(name.size()), name.data());
        xcb_intern_atom_reply_t* const reply = xcb_intern_atom_reply(_connection, request, nullptr);
        const xcb_atom_t atom = reply->atom;
        std::free(reply);
        return atom;
    }

    xcb_connection_t* const _connection;
    xcb_window_t _window = 0;
};

// Whether the displays can be opened to drive them.
std::string errorOfOpening(const NPTestXServer& server, NPDisplayGuard& guard)
{
    NPMainLoopLinux loop;
    const auto displays = NPDisplayServicesX11::open(server.displayName(), loop, &guard);
    return displays ? "" : displays.error();
}

class NPDisplayOwnerX11Test : public testing::Test {
protected:
    std::unique_ptr<NPDisplayGuard> guard = NPDisplayGuard::start();
    NPTestXServer server = NPTestXServer::xvfb();
    NPMainLoopLinux loop;
};

} // namespace

TEST_F(NPDisplayOwnerX11Test, NobodyDrivesAFreshServer)
{
    EXPECT_FALSE(NPFindDisplayOwnerX11(server.displayName()));
    EXPECT_FALSE(NPFindDisplayOwnerX11(":4711"));
}

TEST_F(NPDisplayOwnerX11Test, WhoeverOpensTheDisplaysWithAGuardDrivesThem)
{
    const auto displays = NPTestOpen(server, loop, guard.get());
    const auto owner = NPFindDisplayOwnerX11(server.displayName());
    ASSERT_TRUE(owner);
    EXPECT_EQ(owner->process, ::getpid());
    EXPECT_EQ(owner->host, "");
    EXPECT_EQ(NPDisplayOwnerText(*owner), " (process " + std::to_string(::getpid()) + ")");
}

TEST_F(NPDisplayOwnerX11Test, WhoeverOpensThemWithoutAGuardDoesNot)
{
    const auto displays = NPTestOpen(server, loop);
    EXPECT_FALSE(NPFindDisplayOwnerX11(server.displayName()));
    EXPECT_EQ(errorOfOpening(server, *guard), "");
}

TEST_F(NPDisplayOwnerX11Test, ASecondOneIsRefusedAndTouchesNothing)
{
    const NPTestRandR randr(server.displayName());
    const auto displays = NPTestOpen(server, loop, guard.get());
    const NPDisplayID display = displays->mainDisplay();
    displays->setDisplayTransferTable(display, NPTestRecordOf(NPTestSeededGamma(5)));
    displays->finishWriting();
    const auto other = NPDisplayGuard::start();
    EXPECT_EQ(errorOfOpening(server, *other),
              "Nightpane is already running (process " + std::to_string(::getpid()) + ")");
    other->goodbye();
    EXPECT_EQ(randr.gamma("screen"), NPTestSeededGamma(5));
    EXPECT_TRUE(displays->finishWriting()) << "the server is left to the others";
    displays->restoreColorSyncSettings();
}

TEST_F(NPDisplayOwnerX11Test, DisplaysAreFreeAgainWhenTheirOwnerHasGone)
{
    for (int round = 0; round < 20; ++round) {
        NPTestEngine engine([&](const NPTestEngine::Ready& ready) {
            NPTestShowHalfUntilKilled(server.displayName(), true, ready);
        });
        ASSERT_TRUE(NPFindDisplayOwnerX11(server.displayName()));
        engine.kill();
        EXPECT_EQ(errorOfOpening(server, *guard), "");
    }
}

TEST_F(NPDisplayOwnerX11Test, OwnerOnAnotherMachineIsNamedWithIt)
{
    Owner foreign(server.displayName());
    foreign.say(12, "kitchen.example");
    EXPECT_EQ(errorOfOpening(server, *guard), "Nightpane is already running (process 12 on kitchen.example)");
}

TEST_F(NPDisplayOwnerX11Test, OwnerThatSaysNothingIsAnOwner)
{
    const Owner silent(server.displayName());
    EXPECT_TRUE(NPFindDisplayOwnerX11(server.displayName()));
    EXPECT_EQ(errorOfOpening(server, *guard), "Nightpane is already running");
}
