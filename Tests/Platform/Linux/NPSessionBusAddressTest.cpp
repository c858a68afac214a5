#include "Platform/Linux/NPSessionBusAddress.h"

#include "Platform/Linux/NPTestSessionBus.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <chrono>
#include <cstring>

namespace {

constexpr const char* addressVariable = "DBUS_SESSION_BUS_ADDRESS";
constexpr const char* folderVariable = "XDG_RUNTIME_DIR";

// A socket file in a folder; nobody listens there.
void makeSocket(const std::filesystem::path& path)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path.c_str(), sizeof(address.sun_path) - 1);
    const int descriptor = ::socket(AF_UNIX, SOCK_STREAM, 0);
    ASSERT_EQ(0, ::bind(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof(address)));
    ::close(descriptor);
}

std::string unreachable(const std::string& reason)
{
    return "the session bus cannot be reached: " + reason;
}

} // namespace

TEST(NPSessionBusAddress, IsTheOneInTheEnvironment)
{
    const NPTestVariable address(addressVariable, "unix:path=/somewhere");
    EXPECT_EQ("unix:path=/somewhere", NPSessionBusAddress());
}

TEST(NPSessionBusAddress, IsTheSocketInTheRuntimeFolderWhenTheEnvironmentHasNone)
{
    const NPTemporaryFolder folder;
    makeSocket(folder / "bus");
    const NPTestVariable address(addressVariable, std::nullopt);
    const NPTestVariable runtime(folderVariable, folder.path());
    EXPECT_EQ("unix:path=" + (folder / "bus").string(), NPSessionBusAddress());
}

TEST(NPSessionBusAddress, TakesAnEmptyVariableForNone)
{
    const NPTemporaryFolder folder;
    makeSocket(folder / "bus");
    const NPTestVariable address(addressVariable, "");
    const NPTestVariable runtime(folderVariable, folder.path());
    EXPECT_EQ("unix:path=" + (folder / "bus").string(), NPSessionBusAddress());
}

TEST(NPSessionBusAddress, EscapesWhatAnAddressCannotHold)
{
    const NPTemporaryFolder folder;
    std::filesystem::create_directory(folder / "a b,c");
    makeSocket(folder / "a b,c" / "bus");
    const NPTestVariable address(addressVariable, std::nullopt);
    const NPTestVariable runtime(folderVariable, folder / "a b,c");
    EXPECT_EQ("unix:path=" + (folder / "a%20b%2cc/bus").string(), NPSessionBusAddress());
}

TEST(NPSessionBusAddress, IsNoneWithoutARuntimeFolder)
{
    const NPTestVariable address(addressVariable, std::nullopt);
    const NPTestVariable runtime(folderVariable, std::nullopt);
    EXPECT_EQ(std::nullopt, NPSessionBusAddress());
}

TEST(NPSessionBusAddress, IsNoneWhenTheRuntimeFolderHasNoSocket)
{
    const NPTemporaryFolder folder;
    writeFile(folder / "bus", std::string("no socket"));
    const NPTestVariable address(addressVariable, std::nullopt);
    const NPTestVariable runtime(folderVariable, folder.path());
    EXPECT_EQ(std::nullopt, NPSessionBusAddress());
}

TEST(NPCheckBusIsAlive, IsContentWithABusThatAnswers)
{
    const NPTestSessionBus bus;
    EXPECT_TRUE(NPCheckBusIsAlive(bus.address()));
}

TEST(NPCheckBusIsAlive, ReadsEscapedPaths)
{
    const NPTestSessionBus bus;
    std::filesystem::create_symlink(bus.folder() / "bus", bus.folder() / "a b");
    EXPECT_TRUE(NPCheckBusIsAlive("unix:path=" + (bus.folder() / "a%20b").string() + ",guid=0123"));
}

TEST(NPCheckBusIsAlive, TriesEveryAddressOfAList)
{
    const NPTestSessionBus bus;
    EXPECT_TRUE(NPCheckBusIsAlive("unix:path=/no/such/socket;" + bus.address()));
}

TEST(NPCheckBusIsAlive, SaysThatASocketIsMissing)
{
    EXPECT_EQ(unreachable("No such file or directory"), NPCheckBusIsAlive("unix:path=/no/such/socket").error());
}

TEST(NPCheckBusIsAlive, SaysThatNobodyListens)
{
    const NPTemporaryFolder folder;
    makeSocket(folder / "bus");
    EXPECT_EQ(unreachable("Connection refused"),
              NPCheckBusIsAlive("unix:path=" + (folder / "bus").string()).error());
}

TEST(NPCheckBusIsAlive, LooksAtAbstractNames)
{
    EXPECT_EQ(unreachable("Connection refused"),
              NPCheckBusIsAlive("unix:abstract=/nightpane/no/such/name").error());
}

TEST(NPCheckBusIsAlive, SaysThatAPathIsTooLong)
{
    EXPECT_EQ(unreachable("File name too long"), NPCheckBusIsAlive("unix:path=/" + std::string(200, 'a')).error());
}

TEST(NPCheckBusIsAlive, LeavesOtherKindsOfAddressesToTheLibrary)
{
    EXPECT_TRUE(NPCheckBusIsAlive("tcp:host=localhost,port=1"));
}

TEST(NPCheckBusIsAlive, RefusesAnAddressThatNamesNothing)
{
    EXPECT_EQ(unreachable("Cannot assign requested address"), NPCheckBusIsAlive("").error());
}

TEST(NPCheckBusIsAlive, GivesUpOnABusThatHangs)
{
    NPTestSessionBus bus;
    bus.freeze();
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(unreachable("Connection timed out"), NPCheckBusIsAlive(bus.address()).error());
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
}
