// Downloads from a real server on this machine.
#include "Interface/NPDownloadsQt.h"

#include <gtest/gtest.h>

#include <QEventLoop>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>

namespace {

constexpr int patience = 20'000; // milliseconds
constexpr std::size_t limit = 1000;

using Result = std::expected<QXData, std::string>;

class NPDownloadsQtTest : public testing::Test {
protected:
    NPDownloadsQtTest()
    {
        EXPECT_TRUE(server.listen(QHostAddress::LocalHost));
        QObject::connect(&server, &QTcpServer::newConnection, &server, [this] {
            QTcpSocket* const visitor = server.nextPendingConnection();
            QObject::connect(visitor, &QTcpSocket::readyRead, visitor, [this, visitor] {
                visitor->write(answer);
                if (!isHeldOpen) {
                    visitor->disconnectFromHost();
                }
            });
        });
    }

    std::string url() const { return "http://127.0.0.1:" + std::to_string(server.serverPort()) + "/feed.xml"; }

    void answerWith(const QByteArray& status, const QByteArray& headers, const QByteArray& body)
    {
        answer = "HTTP/1.1 " + status + "\r\nConnection: close\r\n" + headers + "\r\n" + body;
    }

    Result get(const std::string& address) { return get(address, downloads); }

    static Result get(const std::string& address, NPDownloadsQt& downloads)
    {
        Result result = std::unexpected("nothing came");
        QEventLoop events;
        const NPDownload download = downloads.download(address, limit, [&](Result completed) {
            result = std::move(completed);
            events.quit();
        });
        QTimer::singleShot(patience, &events, &QEventLoop::quit);
        events.exec();
        return result;
    }

    QTcpServer server;
    QByteArray answer;
    bool isHeldOpen = false; // the answer goes on, or so it seems
    NPDownloadsQt downloads{[] {}};
};

} // namespace

TEST_F(NPDownloadsQtTest, GivesTheBytes)
{
    answerWith("200 OK", "Content-Length: 5\r\n", "hello");
    EXPECT_EQ(get(url()), Result(QXData({'h', 'e', 'l', 'l', 'o'})));
}

TEST_F(NPDownloadsQtTest, GivesAsManyBytesAsTheLimit)
{
    answerWith("200 OK", "", QByteArray(limit, 'x'));
    EXPECT_EQ(get(url()).value().size(), limit);
}

TEST_F(NPDownloadsQtTest, RefusesMoreThanTheLimit)
{
    answerWith("200 OK", "", QByteArray(limit + 1, 'x'));
    EXPECT_EQ(get(url()).error(), url() + " has more than 1000 bytes.");
}

TEST_F(NPDownloadsQtTest, FailsForAnAnswerThatIsNoSuccess)
{
    answerWith("404 Not Found", "Content-Length: 2\r\n", "no");
    EXPECT_TRUE(get(url()).error().starts_with(url() + " cannot be read. ")) << get(url()).error();
}

TEST_F(NPDownloadsQtTest, FailsWhereNobodyListens)
{
    server.close();
    EXPECT_FALSE(get("http://127.0.0.1:9/feed.xml").has_value());
}

TEST_F(NPDownloadsQtTest, RefusesUnsafeAddresses)
{
    EXPECT_EQ(get("http://updates.example/feed.xml").error(),
              "http://updates.example/feed.xml is neither an https address nor one of this computer.");
    EXPECT_FALSE(get("file:///etc/passwd").has_value());
    EXPECT_FALSE(get("ftp://127.0.0.1/feed.xml").has_value());
    EXPECT_FALSE(get("not an address").has_value());
}

TEST_F(NPDownloadsQtTest, FollowsNoRedirectionToAnUnsafeAddress)
{
    answerWith("302 Found", "Location: http://updates.example/feed.xml\r\nContent-Length: 0\r\n", "");
    EXPECT_NE(get(url()).error().find("leads to http://updates.example/feed.xml"), std::string::npos);
}

TEST_F(NPDownloadsQtTest, FollowsARedirectionOnThisMachine)
{
    QTcpServer other;
    ASSERT_TRUE(other.listen(QHostAddress::LocalHost));
    QObject::connect(&other, &QTcpServer::newConnection, &other, [&] {
        QTcpSocket* const visitor = other.nextPendingConnection();
        QObject::connect(visitor, &QTcpSocket::readyRead, visitor,
                         [visitor] { visitor->write("HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\nhi"); });
    });
    answerWith("302 Found",
               "Location: http://localhost:" + QByteArray::number(other.serverPort())
                   + "/new.xml\r\nContent-Length: 0\r\n",
               "");
    EXPECT_EQ(get(url()), Result(QXData({'h', 'i'})));
}

TEST_F(NPDownloadsQtTest, GivesUpAServerThatSaysNothing)
{
    NPDownloadsQt impatient([] {}, {.silence = std::chrono::milliseconds(50)});
    isHeldOpen = true;
    EXPECT_EQ(get(url(), impatient).error(), url() + " does not answer.");
    answerWith("200 OK", "Content-Length: 5\r\n", "hel");
    EXPECT_EQ(get(url(), impatient).error(), url() + " does not answer.");
}

TEST_F(NPDownloadsQtTest, GivesUpAServerThatSaysTooLittle)
{
    // A second for the limit of a thousand bytes, and half a second more.
    NPDownloadsQt impatient([] {}, {.silence = std::chrono::milliseconds(500), .bytesPerSecond = limit});
    isHeldOpen = true;
    answerWith("200 OK", "", "");
    QTimer drops;
    QObject::connect(&drops, &QTimer::timeout, &server, [this] {
        for (QTcpSocket* const visitor : server.findChildren<QTcpSocket*>()) {
            visitor->write("x");
        }
    });
    drops.start(20);
    EXPECT_EQ(get(url(), impatient).error(), url() + " does not answer.");
}

TEST_F(NPDownloadsQtTest, EndsWithoutAWordWhenItIsDropped)
{
    answerWith("200 OK", "Content-Length: 5\r\n", "hello");
    bool isCompleted = false;
    NPDownload download = downloads.download(url(), limit, [&](const Result&) { isCompleted = true; });
    download = nullptr;
    QEventLoop events;
    QTimer::singleShot(200, &events, &QEventLoop::quit);
    events.exec();
    EXPECT_FALSE(isCompleted);
}

TEST_F(NPDownloadsQtTest, MayBeDroppedByItsCompletion)
{
    answerWith("200 OK", "Content-Length: 5\r\n", "hello");
    QEventLoop events;
    NPDownload download;
    download = downloads.download(url(), limit, [&](const Result&) {
        download = nullptr;
        events.quit();
    });
    QTimer::singleShot(patience, &events, [&] { events.exit(1); });
    EXPECT_EQ(events.exec(), 0);
}
