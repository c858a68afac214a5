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
                                                             QWidget* window)
    : QDialog(window), _manager(std::move(manager)), _interface(std::make_unique<Ui::NPUpdatePreferences>())
{
    _interface->setupUi(this);
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowModality(Qt::WindowModal);
    QXUpdater& updater = *_manager->updaterForMainBundle();
    _interface->automaticChecks->setChecked(updater.automaticallyChecksForUpdates());
    _interface->interval->setEnabled(updater.automaticallyChecksForUpdates());
    _loadInterval();
    _updateLastCheck();
    _updateResetButton();
    connect(_interface->automaticChecks, &QCheckBox::clicked, this, [this, &updater](bool isChecked) {
        updater.setAutomaticallyChecksForUpdates(isChecked);
        _interface->interval->setEnabled(isChecked);
    });
    connect(_interface->interval, &QComboBox::activated, this, [&updater](int index) {
        updater.setUpdateCheckInterval(intervals.at(static_cast<std::size_t>(index)));
    });
    connect(_interface->updatesResetFeedButton, &QPushButton::clicked, this, [this] { resetUpdateFeed(); });
    connect(_interface->checkNow, &QPushButton::clicked, this, [this] { checkForUpdates(); });
    connect(_interface->done, &QPushButton::clicked, this, [this] { doneDismiss(); });
}

NPUpdatePreferencesController::~NPUpdatePreferencesController() = default;

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

// The entry whose interval is nearest; somebody may have set another one elsewhere.
void NPUpdatePreferencesController::_loadInterval()
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
        QLocale().toString(QDateTime::fromSecsSinceEpoch(static_cast<qint64>(unixSeconds)), QLocale::LongFormat);
    const std::string format = QXLocalizedString("Last check: %@", "QXWebStoreUpdate");
    _interface->lastCheck->setText(QString::fromStdString(QXFormat(format, {when.toStdString()})));
}

void NPUpdatePreferencesController::_updateResetButton()
{
    _interface->updatesResetFeedButton->setHidden(_manager->isUsingStandardFeed());
}
