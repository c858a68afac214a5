#include "Interface/NPDownloadsQt.h"

#include <QHostAddress>
#include <QNetworkReply>
#include <QPointer>

#include <array>
#include <utility>

namespace {

constexpr int timeOfSilence = 30'000; // milliseconds
constexpr int mostRedirections = 10;

// Whether nobody on the way can read or change what comes from there.
bool isSafeAddress(const QUrl& url)
{
    if (url.scheme() == QLatin1String("https")) {
        return !url.host().isEmpty();
    }
    const QHostAddress address(url.host());
    return url.scheme() == QLatin1String("http")
           && (url.host() == QLatin1String("localhost") || address.isLoopback());
}

using Completion = std::function<void(std::expected<QXData, std::string>)>;

class Download final : public QObject {
public:
    Download(QNetworkAccessManager& network, const QUrl& url, std::size_t limit, Completion completion)
        : _url(url), _limit(limit), _completion(std::move(completion))
    {
        if (!isSafeAddress(url)) {
            _failLater("is neither https nor on this machine");
            return;
        }
        QNetworkRequest request(url);
        request.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
                             QNetworkRequest::UserVerifiedRedirectPolicy);
        request.setAttribute(QNetworkRequest::CookieLoadControlAttribute, QNetworkRequest::Manual);
        request.setAttribute(QNetworkRequest::CookieSaveControlAttribute, QNetworkRequest::Manual);
        request.setMaximumRedirectsAllowed(mostRedirections);
        request.setTransferTimeout(timeOfSilence);
        _reply = network.get(request);
        connect(_reply, &QNetworkReply::redirected, this, [this](const QUrl& target) { _redirect(target); });
        connect(_reply, &QNetworkReply::readyRead, this, [this] { _read(); });
        connect(_reply, &QNetworkReply::finished, this, [this] { _finish(); });
    }

    ~Download() override
    {
        if (_reply) {
            _reply->disconnect(this);
            _reply->abort();
            _reply->deleteLater();
        }
    }
    Download(const Download&) = delete;
    Download& operator=(const Download&) = delete;

private:
    void _redirect(const QUrl& target)
    {
        if (isSafeAddress(target)) {
            emit _reply->redirectAllowed();
        } else {
            _fail("leads to " + target.toString().toStdString() + ", which is neither https nor on this machine");
        }
    }

    void _read()
    {
        const QByteArray bytes = _reply->read(static_cast<qint64>(_limit - _data.size()) + 1);
        _data.insert(_data.end(), bytes.begin(), bytes.end());
        if (_data.size() > _limit) {
            _fail("is larger than " + std::to_string(_limit) + " bytes");
        } else if (_reply->bytesAvailable() > 0) {
            _read();
        }
    }

    void _finish()
    {
        if (_reply->error() == QNetworkReply::OperationCanceledError) {
            _fail("does not answer");
        } else if (_reply->error() != QNetworkReply::NoError) {
            _fail("cannot be read: " + _reply->errorString().simplified().toStdString());
        } else {
            _read();
            _complete(std::move(_data));
        }
    }

    void _failLater(const std::string& why)
    {
        QMetaObject::invokeMethod(this, [this, why] { _fail(why); }, Qt::QueuedConnection);
    }

    void _fail(const std::string& why) { _complete(std::unexpected(_url.toString().toStdString() + ' ' + why)); }

    // The completion may drop the download.
    void _complete(std::expected<QXData, std::string> result)
    {
        if (_reply) {
            _reply->disconnect(this);
        }
        if (const Completion completion = std::exchange(_completion, nullptr)) {
            completion(std::move(result));
        }
    }

    const QUrl _url;
    const std::size_t _limit;
    Completion _completion;
    QPointer<QNetworkReply> _reply;
    QXData _data;
};

} // namespace

NPDownload NPDownloadsQt::download(const std::string& url, std::size_t limit, Completion completion)
{
    _prepare();
    if (!_network) {
        _network = std::make_unique<QNetworkAccessManager>();
    }
    // Deleted by the event loop: the last holder may be the download's own completion.
    return {
        new Download(*_network, QUrl(QString::fromStdString(url), QUrl::StrictMode), limit, std::move(completion)),
        [](QObject* download) { download->deleteLater(); }};
}
