// Downloads over HTTPS, from a server on this machine whose certificate somebody has issued for the test.
#include "Interface/NPDownloadsQt.h"

#include <gtest/gtest.h>

#include <QEventLoop>
#include <QFile>
#include <QProcess>
#include <QSslConfiguration>
#include <QSslKey>
#include <QSslServer>
#include <QSslSocket>
#include <QTemporaryDir>
#include <QTimer>

namespace {

constexpr int patience = 20'000; // milliseconds

using Result = std::expected<QXData, std::string>;

class NPSecureDownloadsTest : public testing::Test {
protected:
    ~NPSecureDownloadsTest() override { QSslConfiguration::setDefaultConfiguration(former); }

    void SetUp() override
    {
        ASSERT_TRUE(QSslSocket::supportsSsl());
        openssl("req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -keyout authority.key "
                "-out authority.pem -days 2 -subj /CN=Authority");
    }

    // With openssl's own words, in the test's folder.
    void openssl(const QString& words) const
    {
        QProcess process;
        process.setWorkingDirectory(folder.path());
        process.start("openssl", words.split(' '));
        ASSERT_TRUE(process.waitForFinished(patience) && process.exitCode() == 0)
            << process.readAllStandardError().toStdString();
    }

    // Has the authority issue a certificate for a name, and answers with it from now on.
    void listenAs(const QString& name)
    {
        QFile extension(folder.filePath("extension"));
        ASSERT_TRUE(extension.open(QFile::WriteOnly));
        extension.write("subjectAltName=" + name.toUtf8() + '\n');
        extension.close();
        openssl("req -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -keyout server.key -out request.pem "
                "-subj /CN=Server");
        openssl("x509 -req -in request.pem -CA authority.pem -CAkey authority.key -CAcreateserial -days 2 "
                "-extfile extension -out server.pem");
        QFile key(folder.filePath("server.key"));
        ASSERT_TRUE(key.open(QFile::ReadOnly));
        QSslConfiguration configuration;
        configuration.setLocalCertificate(certificates("server.pem").constFirst());
        configuration.setPrivateKey(QSslKey(&key, QSsl::Ec));
        server.setSslConfiguration(configuration);
        ASSERT_TRUE(server.listen(QHostAddress::LocalHost));
        QObject::connect(&server, &QSslServer::pendingConnectionAvailable, &server, [this] {
            QTcpSocket* const visitor = server.nextPendingConnection();
            QObject::connect(visitor, &QTcpSocket::readyRead, visitor, [this, visitor] {
                visitor->write(answer);
                visitor->disconnectFromHost();
            });
        });
    }

    void trustAuthority() const
    {
        QSslConfiguration trusting = former;
        trusting.addCaCertificates(certificates("authority.pem"));
        QSslConfiguration::setDefaultConfiguration(trusting);
    }

    QList<QSslCertificate> certificates(const QString& file) const
    {
        return QSslCertificate::fromPath(folder.filePath(file));
    }

    std::string url() const { return "https://127.0.0.1:" + std::to_string(server.serverPort()) + "/feed.xml"; }

    Result get()
    {
        Result result = std::unexpected("nothing came");
        QEventLoop events;
        const NPDownload download = downloads.download(url(), 1000, [&](Result completed) {
            result = std::move(completed);
            events.quit();
        });
        QTimer::singleShot(patience, &events, &QEventLoop::quit);
        events.exec();
        return result;
    }

    const QSslConfiguration former = QSslConfiguration::defaultConfiguration();
    QTemporaryDir folder;
    QByteArray answer = "HTTP/1.1 200 OK\r\nConnection: close\r\nContent-Length: 5\r\n\r\nhello";
    QSslServer server;
    NPDownloadsQt downloads{[] {}};
};

} // namespace

TEST_F(NPSecureDownloadsTest, GivesTheBytesOfAServerThatATrustedAuthorityKnows)
{
    listenAs("IP:127.0.0.1");
    trustAuthority();
    EXPECT_EQ(get(), Result(QXData({'h', 'e', 'l', 'l', 'o'})));
}

TEST_F(NPSecureDownloadsTest, RefusesAServerThatNobodyTrustedKnows)
{
    listenAs("IP:127.0.0.1");
    EXPECT_TRUE(get().error().starts_with("No secure connection to " + url() + " can be made. ")) << get().error();
}

TEST_F(NPSecureDownloadsTest, RefusesAServerThatIsKnownByAnotherName)
{
    listenAs("DNS:updates.example");
    trustAuthority();
    EXPECT_TRUE(get().error().starts_with("No secure connection to " + url() + " can be made. ")) << get().error();
}

TEST_F(NPSecureDownloadsTest, FollowsNoRedirectionThatLeavesTheSecureConnection)
{
    answer = "HTTP/1.1 301 Moved\r\nLocation: http://updates.example/feed.xml\r\nContent-Length: 0\r\n\r\n";
    listenAs("IP:127.0.0.1");
    trustAuthority();
    EXPECT_EQ(get().error(), url()
                                 + " leads to http://updates.example/feed.xml, which is neither an https address "
                                   "nor one of this computer.");
}
