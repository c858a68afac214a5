#include "Interface/NPDownloadsQt.h"

#include "Foundation/QXString.h"

#include <QHostAddress>
#include <QNetworkReply>
#include <QPointer>
#include <QTimer>

#include <utility>

namespace {

constexpr int mostRedirections = 10;
constexpr std::string_view table = "QXWebStoreUpdate";

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

std::string textOf(const QUrl& url)
{
    return url.toString().toStdString();
}

using Completion = std::function<void(std::expected<QXData, std::string>)>;

class Download final : public QObject {
public:
    Download(const QUrl& url, std::size_t limit, Completion completion)
        : _url(url), _limit(limit), _completion(std::move(completion))
    {
    }

    void start(QNetworkAccessManager& network, const NPDownloadPatience& patience)
    {
        if (!isSafeAddress(_url)) {
            const std::string format =
                QXLocalizedString("%@ is neither an https address nor one of this computer.", table);
            QMetaObject::invokeMethod(
                this, [this, format] { _fail(QXFormat(format, {textOf(_url)})); }, Qt::QueuedConnection);
            return;
        }
        QNetworkRequest request(_url);
        request.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
                             QNetworkRequest::UserVerifiedRedirectPolicy);
        request.setAttribute(QNetworkRequest::CookieLoadControlAttribute, QNetworkRequest::Manual);
        request.setAttribute(QNetworkRequest::CookieSaveControlAttribute, QNetworkRequest::Manual);
        request.setMaximumRedirectsAllowed(mostRedirections);
        request.setTransferTimeout(static_cast<int>(patience.silence.count()));
        _reply = network.get(request);
        connect(_reply, &QNetworkReply::redirected, this, [this](const QUrl& target) { _redirect(target); });
        connect(_reply, &QNetworkReply::readyRead, this, [this] { _read(); });
        connect(_reply, &QNetworkReply::finished, this, [this] { _finish(); });
        const std::chrono::seconds rest(_limit / patience.bytesPerSecond);
        QTimer::singleShot(patience.silence + rest, Qt::VeryCoarseTimer, this, [this] { _failInSilence(); });
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
            const std::string format = QXLocalizedString(
                "%1$@ leads to %2$@, which is neither an https address nor one of this computer.", table);
            _fail(QXFormat(format, {textOf(_url), textOf(target)}));
        }
    }

    void _read()
    {
        const QByteArray bytes = _reply->read(static_cast<qint64>(_limit - _data.size()) + 1);
        _data.insert(_data.end(), bytes.begin(), bytes.end());
        if (_data.size() > _limit) {
            const std::string format = QXLocalizedString("%1$@ has more than %2$@ bytes.", table);
            _fail(QXFormat(format, {textOf(_url), std::to_string(_limit)}));
        } else if (_reply->bytesAvailable() > 0) {
            _read();
        }
    }

    void _finish()
    {
        if (_reply->error() == QNetworkReply::OperationCanceledError) {
            _failInSilence();
        } else if (_reply->error() == QNetworkReply::SslHandshakeFailedError) {
            _failWithReason(QXLocalizedString("No secure connection to %1$@ can be made. %2$@", table));
        } else if (_reply->error() != QNetworkReply::NoError) {
            _failWithReason(QXLocalizedString("%1$@ cannot be read. %2$@", table));
        } else {
            _read();
            _complete(std::move(_data));
        }
    }

    void _failInSilence() { _fail(QXFormat(QXLocalizedString("%@ does not answer.", table), {textOf(_url)})); }

    void _failWithReason(const std::string& format)
    {
        _fail(QXFormat(format, {textOf(_url), _reply->errorString().simplified().toStdString()}));
    }

    void _fail(std::string why) { _complete(std::unexpected(std::move(why))); }

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
    const std::shared_ptr<Download> download(
        new Download(QUrl(QString::fromStdString(url), QUrl::StrictMode), limit, std::move(completion)),
        [](QObject* ended) { ended->deleteLater(); });
    download->start(*_network, _patience);
    return download;
}
