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
                visitor->disconnectFromHost();
            });
        });
    }

    std::string url() const { return "http://127.0.0.1:" + std::to_string(server.serverPort()) + "/feed.xml"; }

    void answerWith(const QByteArray& status, const QByteArray& headers, const QByteArray& body)
    {
        answer = "HTTP/1.1 " + status + "\r\nConnection: close\r\n" + headers + "\r\n" + body;
    }

    Result get(const std::string& address)
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
    EXPECT_EQ(get(url()).error(), url() + " is larger than 1000 bytes");
}

TEST_F(NPDownloadsQtTest, FailsForAnAnswerThatIsNoSuccess)
{
    answerWith("404 Not Found", "Content-Length: 2\r\n", "no");
    EXPECT_TRUE(get(url()).error().starts_with(url() + " cannot be read: ")) << get(url()).error();
}

TEST_F(NPDownloadsQtTest, FailsWhereNobodyListens)
{
    server.close();
    EXPECT_FALSE(get("http://127.0.0.1:9/feed.xml").has_value());
}

TEST_F(NPDownloadsQtTest, RefusesUnsafeAddresses)
{
    EXPECT_EQ(get("http://updates.example/feed.xml").error(),
              "http://updates.example/feed.xml is neither https nor on this machine");
    EXPECT_FALSE(get("file:///etc/passwd").has_value());
    EXPECT_FALSE(get("ftp://127.0.0.1/feed.xml").has_value());
    EXPECT_FALSE(get("not an address").has_value());
}

TEST_F(NPDownloadsQtTest, FollowsNoRedirectionToAnUnsafeAddress)
{
    answerWith("302 Found", "Location: http://updates.example/feed.xml\r\nContent-Length: 0\r\n", "");
    EXPECT_NE(get(url()).error().find("leads to http://updates.example/feed.xml"), std::string::npos);
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
