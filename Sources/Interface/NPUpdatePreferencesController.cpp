#include "Interface/NPUpdatePreferencesController.h"

#include "Foundation/QXString.h"
#include "Interface/ui_NPUpdatePreferences.h"

#include <QDateTime>
#include <QLocale>

#include <array>
#include <cmath>

namespace {

// Of the entries of the list, in seconds.
constexpr std::array<double, 4> intervals = {3600.0, 86400.0, 604800.0, 2629800.0};

} // namespace

NPUpdatePreferencesController::NPUpdatePreferencesController(std::shared_ptr<QXWebStoreUpdateManager> manager,
                                                             QXNotificationCenter& notifications, QWidget* window)
    : QDialog(window), _manager(std::move(manager)), _interface(std::make_unique<Ui::NPUpdatePreferences>())
{
    _interface->setupUi(this);
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowModality(Qt::WindowModal);
    _connect();
    _update();
    _updateResetButton();
    // A check that ends, or another program, changes what the sheet shows.
    notifications.addObserver(_observer, std::string(NPUserDefaultsDidChangeNotification), nullptr,
                              [this](const QXNotification&) { _update(); });
}

void NPUpdatePreferencesController::_connect()
{
    QXUpdater& updater = *_manager->updaterForMainBundle();
    connect(_interface->automaticChecks, &QCheckBox::clicked, this,
            [&updater](bool isChecked) { updater.setAutomaticallyChecksForUpdates(isChecked); });
    connect(_interface->interval, &QComboBox::activated, this, [&updater](int index) {
        updater.setUpdateCheckInterval(intervals.at(static_cast<std::size_t>(index)));
    });
    connect(_interface->updatesResetFeedButton, &QPushButton::clicked, this, [this] { resetUpdateFeed(); });
    connect(_interface->checkNow, &QPushButton::clicked, this, [this] { checkForUpdates(); });
    connect(_interface->done, &QPushButton::clicked, this, [this] { doneDismiss(); });
}

NPUpdatePreferencesController::~NPUpdatePreferencesController() = default;

QPushButton* NPUpdatePreferencesController::updatesResetFeedButton() const
{
    return _interface->updatesResetFeedButton;
}

void NPUpdatePreferencesController::resetUpdateFeed()
{
    _manager->askForResetUpdateFeed();
    _updateResetButton();
}

void NPUpdatePreferencesController::checkForUpdates()
{
    _manager->checkForUpdates();
}

void NPUpdatePreferencesController::doneDismiss()
{
    accept();
}

void NPUpdatePreferencesController::_update()
{
    const QXUpdater& updater = *_manager->updaterForMainBundle();
    _interface->automaticChecks->setEnabled(updater.canCheckAutomatically());
    _interface->whyNotAutomatic->setHidden(updater.canCheckAutomatically());
    _interface->automaticChecks->setChecked(updater.automaticallyChecksForUpdates());
    _interface->interval->setEnabled(updater.automaticallyChecksForUpdates());
    _interface->intervalLabel->setEnabled(updater.automaticallyChecksForUpdates());
    _updateInterval();
    _updateLastCheck();
}

// The entry whose interval is nearest; somebody may have set another one elsewhere.
void NPUpdatePreferencesController::_updateInterval()
{
    const double seconds = _manager->updaterForMainBundle()->updateCheckInterval();
    std::size_t nearest = 0;
    for (std::size_t index = 1; index < intervals.size(); ++index) {
        if (std::abs(std::log(intervals[index] / seconds)) < std::abs(std::log(intervals[nearest] / seconds))) {
            nearest = index;
        }
    }
    _interface->interval->setCurrentIndex(static_cast<int>(nearest));
}

void NPUpdatePreferencesController::_updateLastCheck()
{
    const std::optional<QXDate> date = _manager->updaterForMainBundle()->lastUpdateCheckDate();
    if (!date) {
        _interface->lastCheck->setText(
            QString::fromStdString(QXLocalizedString("Nobody has checked for updates yet.", "QXWebStoreUpdate")));
        return;
    }
    const double unixSeconds = date->timeIntervalSinceReferenceDate + QXUnixEpochToReferenceDate;
    const QString when =
        QLocale().toString(QDateTime::fromSecsSinceEpoch(static_cast<qint64>(unixSeconds)), QLocale::ShortFormat);
    const std::string format = QXLocalizedString("Last check: %@", "QXWebStoreUpdate");
    _interface->lastCheck->setText(QString::fromStdString(QXFormat(format, {when.toStdString()})));
}

void NPUpdatePreferencesController::_updateResetButton()
{
    _interface->updatesResetFeedButton->setHidden(_manager->isUsingStandardFeed());
}
