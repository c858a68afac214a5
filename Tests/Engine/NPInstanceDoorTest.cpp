// The door of a running instance, with visitors on threads of their own.
#include "Engine/NPInstanceDoor.h"

#include "Platform/Linux/NPTemporaryFolder.h"
#include "Platform/Linux/NPTestSessionBus.h"

#include <gtest/gtest.h>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <chrono>
#include <future>
#include <thread>
#include <vector>

namespace {

class NPInstanceDoorTest : public testing::Test {
protected:
    void open()
    {
        auto opened = NPInstanceDoor::open(loop, [this](const NPInstanceRequest& request) {
            requests.push_back(request.word + '|' + request.argument
                               + (request.token.empty() ? "" : '|' + request.token));
            return duringRequest ? duringRequest(request) : NPInstanceAnswer();
        });
        ASSERT_TRUE(opened) << opened.error();
        door = std::move(*opened);
    }

    // Serves until the visitor has its answer.
    template<class Result> Result serve(std::future<Result> visitor)
    {
        while (visitor.wait_for(std::chrono::seconds(0)) != std::future_status::ready) {
            loop.processEvents(5);
        }
        return visitor.get();
    }

    static std::future<NPInstanceAnswer> asking(const NPInstanceRequest& request)
    {
        return std::async(std::launch::async, [request] { return NPInstanceDoor::ask(request); });
    }

    NPInstanceAnswer ask(const NPInstanceRequest& request) { return serve(asking(request)); }

    // A visitor that comes in some other way.
    NPFileDescriptor connect() const
    {
        NPFileDescriptor visitor(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
        sockaddr_un name{};
        name.sun_family = AF_UNIX;
        path.native().copy(std::data(name.sun_path), sizeof name.sun_path - 1);
        EXPECT_EQ(::connect(visitor.get(), reinterpret_cast<const sockaddr*>(&name), sizeof name), 0);
        return visitor;
    }

    static void send(const NPFileDescriptor& visitor, std::string_view text)
    {
        while (!text.empty()) {
            const ssize_t sent = ::send(visitor.get(), text.data(), text.size(), MSG_NOSIGNAL);
            if (sent <= 0) {
                return; // it has been shown the door
            }
            text.remove_prefix(static_cast<std::size_t>(sent));
        }
        ::shutdown(visitor.get(), SHUT_WR);
    }

    // All that the visitor is told.
    std::string answerTo(const NPFileDescriptor& visitor)
    {
        return serve(std::async(std::launch::async, [&visitor] {
            std::string answer;
            char buffer[256];
            for (ssize_t count = 0; (count = ::recv(visitor.get(), buffer, sizeof buffer, 0)) > 0;) {
                answer.append(buffer, static_cast<std::size_t>(count));
            }
            return answer;
        }));
    }

    NPTemporaryFolder folder;
    NPTestVariable runtime{"XDG_RUNTIME_DIR", folder.path().string()};
    const std::filesystem::path path = folder / "nightpane.socket";
    NPMainLoopLinux loop;
    std::vector<std::string> requests;
    std::function<NPInstanceAnswer(const NPInstanceRequest& request)> duringRequest;
    std::unique_ptr<NPInstanceDoor> door;
};

using Strings = std::vector<std::string>;

} // namespace

TEST_F(NPInstanceDoorTest, HandsTheRequestOverWhole)
{
    open();
    EXPECT_TRUE(ask({"show", ""}));
    EXPECT_TRUE(ask({"open", "/home/ä b/line\nbreak.nightpane"}));
    EXPECT_TRUE(ask({"show", "", "panel_TIME7"}));
    EXPECT_EQ(requests, (Strings{"show|", "open|/home/ä b/line\nbreak.nightpane", "show||panel_TIME7"}));
}

TEST_F(NPInstanceDoorTest, TellsTheVisitorWhatTheHandlerSays)
{
    open();
    duringRequest = [](const NPInstanceRequest&) { return std::unexpected(std::string("no such word")); };
    const NPInstanceAnswer answer = ask({"sing", ""});
    ASSERT_FALSE(answer);
    EXPECT_EQ(answer.error(), "no such word");
}

TEST_F(NPInstanceDoorTest, IsWaitedForByAVisitorThatComesTooEarly)
{
    std::future<NPInstanceAnswer> visitor = asking({"show", ""});
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    open();
    EXPECT_TRUE(serve(std::move(visitor)));
    EXPECT_EQ(requests, Strings{"show|"});
}

TEST_F(NPInstanceDoorTest, VisitorWithoutADoorSaysWhy)
{
    const NPInstanceAnswer answer = NPInstanceDoor::ask({"show", ""});
    ASSERT_FALSE(answer);
    EXPECT_EQ(answer.error(), "it cannot be reached: No such file or directory");
}

TEST_F(NPInstanceDoorTest, TakesThePlaceOfOneThatWasLeftBehind)
{
    open();
    std::filesystem::rename(path, folder / "kept");
    door.reset();
    std::filesystem::rename(folder / "kept", path); // as after a crash
    open();
    EXPECT_TRUE(ask({"show", ""}));
}

TEST_F(NPInstanceDoorTest, IsOpenToTheUserAloneAndGoesWithTheInstance)
{
    open();
    struct stat status{};
    ASSERT_EQ(::stat(path.c_str(), &status), 0);
    EXPECT_TRUE(S_ISSOCK(status.st_mode));
    EXPECT_EQ(status.st_mode & 0077U, 0U);
    door.reset();
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(NPInstanceDoorTest, WithoutAPlaceForItOneLineSaysSo)
{
    const std::filesystem::path deep = folder / std::string(120, 'x');
    std::filesystem::create_directory(deep);
    const NPTestVariable tooLong("XDG_RUNTIME_DIR", deep.string());
    const auto opened = NPInstanceDoor::open(loop, [](const NPInstanceRequest&) { return NPInstanceAnswer(); });
    ASSERT_FALSE(opened);
    EXPECT_EQ(opened.error(), "there is no folder for a socket by which a second start finds this one");
    EXPECT_TRUE(NPInstanceDoor::ask({"show", ""}).error().starts_with("it cannot be reached"));
}

TEST_F(NPInstanceDoorTest, RequestThatIsNoneReachesNobody)
{
    open();
    for (const std::string_view text :
         {std::string_view(""), std::string_view("show"), std::string_view("show\0", 5)}) {
        const NPFileDescriptor visitor = connect();
        send(visitor, text);
        EXPECT_EQ(answerTo(visitor), "malformed request");
    }
    EXPECT_TRUE(requests.empty());
}

TEST_F(NPInstanceDoorTest, VisitorThatTalksTooMuchIsShownTheDoor)
{
    open();
    const NPFileDescriptor visitor = connect();
    const std::string flood(1 << 20, 'x');
    serve(std::async(std::launch::async, [&] { send(visitor, flood); }));
    EXPECT_EQ(answerTo(visitor), "");
    EXPECT_TRUE(requests.empty());
    EXPECT_TRUE(ask({"show", ""}));
}

TEST_F(NPInstanceDoorTest, SilentVisitorsKeepNobodyElseOut)
{
    open();
    std::vector<NPFileDescriptor> silent;
    for (int i = 0; i < 8; ++i) {
        silent.push_back(connect());
    }
    EXPECT_TRUE(ask({"show", ""}));
    silent.clear(); // they leave without a word
    EXPECT_TRUE(ask({"toggle", ""}));
    EXPECT_EQ(requests, (Strings{"show|", "toggle|"}));
}

TEST_F(NPInstanceDoorTest, VisitorThatLeavesBeforeTheAnswerEndsNothing)
{
    open();
    send(connect(), std::string_view("show\0\0", 6));
    while (requests.empty()) {
        loop.processEvents(5);
    }
    EXPECT_TRUE(ask({"toggle", ""}));
}

// As when the request ends in an alert, which waits for the user.
TEST_F(NPInstanceDoorTest, ServesOthersWhileARequestTakesLong)
{
    open();
    duringRequest = [this](const NPInstanceRequest& request) {
        if (request.word == "open") {
            EXPECT_TRUE(ask({"show", ""}));
        }
        return NPInstanceAnswer();
    };
    EXPECT_TRUE(ask({"open", "/file"}));
    EXPECT_EQ(requests, (Strings{"open|/file", "show|"}));
}
