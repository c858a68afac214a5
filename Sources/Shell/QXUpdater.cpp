#include "Shell/QXUpdater.h"

#include "Foundation/QXBase64.h"
#include "Foundation/QXLog.h"
#include "Foundation/QXString.h"
#include "Foundation/QXVersion.h"
#include "Foundation/QXWeakTarget.h"
#include "Shell/QXAboutBoxText.h"

#include <algorithm>

namespace {

constexpr double defaultInterval = 86400.0;
constexpr double shortestInterval = 3600.0;
constexpr double firstDelay = 60.0; // an overdue check leaves the start of the session to others

constexpr std::size_t mebibyte = std::size_t{1} << 20;
constexpr std::size_t feedLimit = mebibyte;
constexpr std::size_t notesLimit = mebibyte;
constexpr std::size_t packageLimit = 256 * mebibyte;

constexpr std::size_t publicKeySize = 32;
constexpr std::size_t signatureSize = 64;

constexpr std::string_view table = "QXWebStoreUpdate";

bool isWebAddress(std::string_view url)
{
    return url.starts_with("https://") || url.starts_with("http://");
}

// "www.example.org" of "https://www.example.org:8080/feed"
std::string_view hostOf(std::string_view url)
{
    const std::size_t slashes = url.find("//");
    const std::string_view rest = slashes == std::string_view::npos ? url : url.substr(slashes + 2);
    return rest.substr(0, rest.find_first_of(":/?#"));
}

// Names that will never be anybody's.
bool isReservedForExamples(std::string_view url)
{
    static constexpr std::string_view names[] = {"example.org", "example.com", "example.net",
                                                 "example",     "test",        "invalid"};
    const std::string_view host = hostOf(url);
    return std::ranges::any_of(names, [&](std::string_view name) {
        return host == name || (host.ends_with(name) && host[host.size() - name.size() - 1] == '.');
    });
}

std::optional<QXData> bytesOfSize(std::string_view base64, std::size_t size)
{
    std::optional<QXData> data = QXDataFromBase64(base64);
    return data && data->size() == size ? data : std::nullopt;
}

bool isForSystem(const QXAppcastEnclosure& enclosure, const std::string& system)
{
    return enclosure.operatingSystem.empty() || enclosure.operatingSystem == system;
}

} // namespace

struct QXUpdater::Check {
    bool byHand = false;
    QXAppcastItem item = {};
    QXAppcastEnclosure enclosure = {}; // the item's for this system
    NPDownload download = nullptr;
};

// The text of the table with the detail in its place.
struct QXUpdater::Failure {
    std::string reason;
    std::string detail = {};
    std::string forTheLog = {}; // what says nothing to people who have not made the feed
};

QXUpdater::QXUpdater(const NPPlatform& platform, const NPDesktop& desktop) : _platform(platform), _desktop(desktop)
{
}

QXUpdater::~QXUpdater()
{
    if (_timer) {
        _timer->invalidate();
    }
}

std::expected<void, std::string> QXUpdater::startUpdater()
{
    const std::string feed = feedURL();
    if (!isWebAddress(feed)) {
        return std::unexpected(
            QXFormat(QXLocalizedString("The update feed’s address is not valid: %@", table), {feed}));
    }
    const std::string key = NPBundleText(_desktop.bundle, SUPublicEDKeyKey);
    if (!key.empty() && !bytesOfSize(key, publicKeySize)) {
        return std::unexpected(QXLocalizedString("The key that updates are signed with is not valid.", table));
    }
    _isStarted = true;
    _platform.notifications.addObserver(_observer, std::string(NPUserDefaultsDidChangeNotification), nullptr,
                                        [this](const QXNotification&) { _schedule(); });
    _schedule();
    return {};
}

std::string QXUpdater::feedURL() const
{
    if (const std::optional<QXValue> chosen = _platform.defaults.objectForKey(SUFeedURLKey)) {
        return chosen->string() ? *chosen->string() : std::string();
    }
    return NPBundleText(_desktop.bundle, SUFeedURLKey);
}

bool QXUpdater::canCheckAutomatically() const
{
    return !isReservedForExamples(feedURL());
}

bool QXUpdater::automaticallyChecksForUpdates() const
{
    return canCheckAutomatically() && _platform.defaults.boolForKey(SUEnableAutomaticChecksKey);
}

void QXUpdater::setAutomaticallyChecksForUpdates(bool automatically)
{
    _platform.defaults.setObject(automatically, SUEnableAutomaticChecksKey);
}

double QXUpdater::updateCheckInterval() const
{
    const double interval = _platform.defaults.doubleForKey(SUScheduledCheckIntervalKey);
    return interval > 0.0 ? std::max(interval, shortestInterval) : defaultInterval;
}

void QXUpdater::setUpdateCheckInterval(double seconds)
{
    _platform.defaults.setObject(seconds, SUScheduledCheckIntervalKey);
}

std::optional<QXDate> QXUpdater::lastUpdateCheckDate() const
{
    const std::optional<QXValue> stored = _platform.defaults.objectForKey(SULastCheckTimeKey);
    return stored ? stored->date() : std::nullopt;
}

// A timer that is right is kept: settings change often. A last check in the future counts as one of now, so that a
// clock that was wrong once does not end the checks.
void QXUpdater::_schedule()
{
    std::optional<QXDate> due;
    if (_isStarted && !_check && automaticallyChecksForUpdates()) {
        const QXDate now = _platform.clock.now();
        const std::optional<QXDate> last = lastUpdateCheckDate();
        due = last ? std::min(*last, now).addingTimeInterval(updateCheckInterval()) : now;
        if (*due < now.addingTimeInterval(firstDelay)) {
            due = _scheduledDate && *_scheduledDate >= now
                      ? std::min(*_scheduledDate, now.addingTimeInterval(firstDelay))
                      : now.addingTimeInterval(firstDelay);
        }
    }
    if (due == _scheduledDate) {
        return;
    }
    if (_timer) {
        _timer->invalidate();
        _timer.reset();
    }
    _scheduledDate = due;
    if (due) {
        _timer = NPEffectTimer::scheduledEffectTransitionTimerWithFireDate(
            _platform.timers, *due, weakTarget(weak_from_this(), &QXUpdater::_scheduledCheck), {});
    }
}

void QXUpdater::_scheduledCheck(NPEffectTimer&)
{
    _timer.reset();
    _scheduledDate.reset();
    if (!_check) {
        _begin(false);
    }
}

void QXUpdater::checkForUpdates()
{
    if (!_check) {
        _begin(true);
    } else if (!_check->byHand) {
        _check->byHand = true;
        _showCheck();
    }
}

void QXUpdater::_begin(bool byHand)
{
    _check = std::make_unique<Check>(Check{.byHand = byHand});
    if (byHand) {
        _showCheck();
    }
    _platform.defaults.setObject(_platform.clock.now(), SULastCheckTimeKey);
    const std::string feed = feedURL();
    if (!isWebAddress(feed)) {
        _fail({QXLocalizedString("The update feed’s address is not valid: %@", table), feed});
        return;
    }
    _download(feed, feedLimit, &QXUpdater::_feedArrived,
              QXLocalizedString("The update feed cannot be reached: %@", table));
}

void QXUpdater::_showCheck()
{
    _desktop.updater.userDriver.showUserInitiatedUpdateCheck([weak = weak_from_this()] {
        if (const std::shared_ptr<QXUpdater> self = weak.lock()) {
            self->_end();
        }
    });
}

// The reason is given where it fails.
void QXUpdater::_download(const std::string& url, std::size_t limit, void (QXUpdater::*next)(QXData data),
                          std::string reason)
{
    _check->download = _desktop.updater.downloads.download(
        url, limit,
        [weak = weak_from_this(), next, reason = std::move(reason)](std::expected<QXData, std::string> data) {
            const std::shared_ptr<QXUpdater> self = weak.lock();
            if (!self || !self->_check) {
                return;
            }
            if (data) {
                ((*self).*next)(std::move(*data));
            } else {
                self->_fail({reason, data.error()});
            }
        });
}

void QXUpdater::_feedArrived(QXData data)
{
    const std::string text(data.begin(), data.end());
    auto items = QXAppcastItemsFromText(text);
    if (!items) {
        _fail({QXLocalizedString("The update feed cannot be read: %@", table), feedURL(), items.error()});
        return;
    }
    std::optional<QXAppcastItem> newest = _newestItem(std::move(*items));
    if (!newest) {
        _nothingNew();
        return;
    }
    _check->item = std::move(*newest);
    _considerItem();
}

std::string QXUpdater::_currentVersion() const
{
    const std::string build = NPBundleText(_desktop.bundle, CFBundleVersionKey);
    return build.empty() ? NPBundleText(_desktop.bundle, CFBundleShortVersionStringKey) : build;
}

// None when nothing in the feed is newer than what runs and runs here.
std::optional<QXAppcastItem> QXUpdater::_newestItem(std::vector<QXAppcastItem> items) const
{
    std::erase_if(items, [&](const QXAppcastItem& item) {
        const bool isForUs = item.enclosures.empty()
                             || std::ranges::any_of(item.enclosures, [&](const QXAppcastEnclosure& enclosure) {
                                    return isForSystem(enclosure, _desktop.updater.operatingSystem);
                                });
        return !isForUs || !item.channel.empty() || QXCompareVersions(item.version, _currentVersion()) <= 0
               || QXCompareVersions(_desktop.updater.systemVersion, item.minimumSystemVersion) < 0;
    });
    const auto newest = std::ranges::max_element(items, [](const QXAppcastItem& left, const QXAppcastItem& right) {
        return QXCompareVersions(left.version, right.version) < 0;
    });
    return newest == items.end() ? std::nullopt : std::optional(std::move(*newest));
}

void QXUpdater::_considerItem()
{
    const QXAppcastItem& item = _check->item;
    const std::optional<QXValue> skipped = _platform.defaults.objectForKey(SUSkippedVersionKey);
    if (!_check->byHand && !item.isCritical && skipped && skipped->string()
        && *skipped->string() == item.version) {
        _end();
        return;
    }
    const auto enclosure = std::ranges::find_if(item.enclosures, [&](const QXAppcastEnclosure& candidate) {
        return isForSystem(candidate, _desktop.updater.operatingSystem);
    });
    if (enclosure != item.enclosures.end()) {
        _check->enclosure = *enclosure;
    }
    if (NPBundleText(_desktop.bundle, SUPublicEDKeyKey).empty()) {
        _readNotes();
        return;
    }
    if (!bytesOfSize(_check->enclosure.edSignature, signatureSize)) {
        _fail({QXLocalizedString("The update is not signed.", table)});
        return;
    }
    const std::uint64_t length = _check->enclosure.length;
    const std::size_t limit =
        length > 0 && length < packageLimit ? static_cast<std::size_t>(length) : packageLimit;
    _download(_check->enclosure.url, limit, &QXUpdater::_packageArrived,
              QXLocalizedString("The update cannot be reached: %@", table));
}

void QXUpdater::_packageArrived(QXData data)
{
    const auto signature = bytesOfSize(_check->enclosure.edSignature, signatureSize);
    const auto key = bytesOfSize(NPBundleText(_desktop.bundle, SUPublicEDKeyKey), publicKeySize);
    if (!key || !_desktop.updater.signatures.isValidSignature(*signature, data, *key)) {
        _fail({QXLocalizedString("The update’s signature is wrong.", table)});
        return;
    }
    _readNotes();
}

// Notes that cannot be had keep nobody from the update.
void QXUpdater::_readNotes()
{
    const QXAppcastItem& item = _check->item;
    if (!item.releaseNotes.empty() || !isWebAddress(item.releaseNotesURL)) {
        _offer();
        return;
    }
    _check->download = _desktop.updater.downloads.download(
        item.releaseNotesURL, notesLimit, [weak = weak_from_this()](std::expected<QXData, std::string> data) {
            const std::shared_ptr<QXUpdater> self = weak.lock();
            if (self && self->_check) {
                self->_notesArrived(data ? std::move(*data) : QXData());
            }
        });
}

void QXUpdater::_notesArrived(QXData data)
{
    _check->item.releaseNotes.assign(data.begin(), data.end());
    _offer();
}

void QXUpdater::_offer()
{
    QXAppcastItem item = _check->item;
    if (item.downloadPage.empty()) {
        item.downloadPage = _check->enclosure.url;
    }
    const bool byHand = _end();
    const std::string version = item.shortVersion == item.version
                                    ? item.version
                                    : QXFormat(QXLocalizedString("%@ (%@)"), {item.shortVersion, item.version});
    const NPUpdateOffer offer{version, QXAboutBoxVersionText(_desktop.bundle), item.releaseNotes, item.isCritical};
    _desktop.updater.userDriver.showUpdateFound(
        offer, byHand, [weak = weak_from_this(), item = std::move(item)](NPUpdateChoice choice) {
            if (const std::shared_ptr<QXUpdater> self = weak.lock()) {
                self->_choose(choice, item);
            }
        });
}

// What the feed names is opened by other programs, so nothing but web pages is.
void QXUpdater::_choose(NPUpdateChoice choice, const QXAppcastItem& item)
{
    if (choice == NPUpdateChoice::skip && !item.isCritical) {
        _platform.defaults.setObject(item.version, SUSkippedVersionKey);
    } else if (choice == NPUpdateChoice::openDownloadPage && isWebAddress(item.downloadPage)
               && !_desktop.workspace.openURL(item.downloadPage)) {
        _desktop.alerts.runModal({.messageText = QXLocalizedString("The download page cannot be opened.", table),
                                  .informativeText = item.downloadPage,
                                  .buttons = {QXLocalizedString("OK", table)}});
    }
}

void QXUpdater::_nothingNew()
{
    if (_end()) {
        const NPAlert alert{
            .messageText = QXLocalizedString("You’re up to date!", table),
            .informativeText =
                QXFormat(QXLocalizedString("%@ %@ is currently the newest version available.", table),
                         {QXAboutBoxApplicationName(_desktop.bundle), QXAboutBoxVersionText(_desktop.bundle)}),
            .buttons = {QXLocalizedString("OK", table)},
            .style = NPAlertStyle::informational};
        _desktop.alerts.runModal(alert);
    }
}

void QXUpdater::_fail(const Failure& failure)
{
    const std::string text = QXFormat(failure.reason, {failure.detail});
    const bool byHand = _end();
    if (!byHand || !failure.forTheLog.empty()) {
        QXLog("Update check failed: " + text
              + (failure.forTheLog.empty() ? std::string() : " (" + failure.forTheLog + ')'));
    }
    if (!byHand) {
        return;
    }
    _desktop.alerts.runModal({.messageText = QXLocalizedString("The check for updates failed.", table),
                              .informativeText = text,
                              .buttons = {QXLocalizedString("OK", table)}});
}

// Whether the check that ends was one by hand.
bool QXUpdater::_end()
{
    const std::unique_ptr<Check> ended = std::exchange(_check, nullptr);
    const bool byHand = ended && ended->byHand;
    if (byHand) {
        _desktop.updater.userDriver.dismissUpdateCheck();
    }
    _schedule();
    return byHand;
}
