#include "Interface/NPMainWindowController.h"

#include "Interface/NPEffectListView.h"
#include "Interface/NPMenuMirror.h"
#include "Interface/NPUpdatePreferencesController.h"
#include "Interface/NPWindowQt.h"
#include "Interface/QXTemplateImage.h"
#include "Interface/ui_NPMainWindow.h"
#include "Screens/NPScreenManager.h"

#include <QMainWindow>
#include <QMenuBar>

namespace {

constexpr int iconSide = 32;
constexpr std::string_view activateAtLaunchKey = "ActivateAtLaunch";
constexpr std::string_view continuouslyApplyKey = "ContinuouslyApply";
constexpr std::string_view deactivateForScreenSaverKey = "NPDeactivateForScreenSaver";
constexpr std::string_view showStatusItemKey = "ShowStatusItem"; // an integer: 1 shows it

} // namespace

NPMainWindowController::NPMainWindowController(NPMainWindowContent content) : _content(std::move(content)) {}

NPMainWindowController::~NPMainWindowController() = default;

std::shared_ptr<NPWindow> NPMainWindowController::window()
{
    if (!_window) {
        _load();
    }
    return _window;
}

void NPMainWindowController::showWindow()
{
    window();
    NPBringToFront(*_view);
}

void NPMainWindowController::_load()
{
    _view = std::make_unique<QMainWindow>();
    _interface = std::make_unique<Ui::NPMainWindow>();
    _interface->setupUi(_view.get());
    _window = std::make_shared<NPWindowQt>(*_view, _content.notifications);
    new NPMenuMirror(_content.mainMenu, *_view->menuBar());
    new NPEffectListView(_content.effectList, *_interface->effectsList);
    QObject::connect(_interface->activateButton, &QPushButton::clicked, _view.get(),
                     [item = _content.activateItem] { item->choose(); });
    _bind(*_interface->activateAtLaunch, activateAtLaunchKey);
    _bind(*_interface->continuouslyApply, continuouslyApplyKey);
    _bind(*_interface->deactivateForScreenSaver, deactivateForScreenSaverKey);
    QObject::connect(_interface->showStatusItem, &QCheckBox::clicked, _view.get(), [this](bool isChecked) {
        _content.defaults.setObject(QXValue(std::int64_t{isChecked}), showStatusItemKey);
    });
    QObject::connect(_interface->automaticUpdatesButton, &QPushButton::clicked, _view.get(),
                     [this] { setupAutomaticUpdates(); });
    // The menu's item has a new title whenever the switch has changed.
    if (const std::shared_ptr<NPMenu> menu = _content.activateItem->menu()) {
        _menuSubscription = menu->observe({{}, {}, [this](const NPMenuItem&) { _updateState(); }});
    }
    _content.notifications.addObserver(_observer, std::string(NPUserDefaultsDidChangeNotification), nullptr,
                                       [this](const QXNotification&) { _updateDefaults(); });
    _updateState();
    _updateDefaults();
    _interface->effectsList->setFocus();
}

void NPMainWindowController::setupAutomaticUpdates()
{
    window();
    (new NPUpdatePreferencesController(sharedUpdateManager(), _content.notifications, _view.get()))->open();
}

void NPMainWindowController::_bind(QCheckBox& box, std::string_view key)
{
    QObject::connect(&box, &QCheckBox::clicked, _view.get(),
                     [this, key](bool isChecked) { _content.defaults.setObject(QXValue(isChecked), key); });
}

void NPMainWindowController::_updateState()
{
    const bool isActive = _content.defaults.boolForKey(NPEffectActiveKey);
    const QString image = isActive ? QStringLiteral("NPStatusActiveTemplate") : QStringLiteral("NPStatusTemplate");
    const QColor ink = _view->palette().color(QPalette::WindowText);
    _interface->stateIcon->setPixmap(
        QXTemplateIcon(image, ink, false).pixmap(QSize(iconSide, iconSide), _view->devicePixelRatioF()));
    _interface->stateLabel->setText(isActive ? QMainWindow::tr("The effects that are on are shown.")
                                             : QMainWindow::tr("No effect is shown."));
    _interface->activateButton->setText(QString::fromStdString(_content.activateItem->title()));
}

void NPMainWindowController::_updateDefaults()
{
    const NPUserDefaults& defaults = _content.defaults;
    _interface->activateAtLaunch->setChecked(defaults.boolForKey(activateAtLaunchKey));
    _interface->continuouslyApply->setChecked(defaults.boolForKey(continuouslyApplyKey));
    _interface->deactivateForScreenSaver->setChecked(defaults.boolForKey(deactivateForScreenSaverKey));
    _interface->showStatusItem->setChecked(defaults.integerForKey(showStatusItemKey) == 1);
    _updateState();
}
