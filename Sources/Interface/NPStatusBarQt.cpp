#include "Interface/NPStatusBarQt.h"

#include "Foundation/QXLog.h"
#include "Interface/NPMenuMirror.h"
#include "Interface/NPQtPlatform.h"
#include "Interface/NPTrayWatch.h"
#include "Interface/QXTemplateImage.h"

#include <QCursor>
#include <QEvent>
#include <QGuiApplication>
#include <QPalette>
#include <QPointer>
#include <QScreen>
#include <QSystemTrayIcon>
#include <QTimer>

#include <algorithm>
#include <chrono>
#include <optional>

namespace {

using namespace std::chrono_literals;

constexpr auto timeForTrays = 3s; // to come, or to answer, before the log says that there is none
constexpr const char* windowOfIcon = "QSystemTrayIconSys"; // what Qt calls the one in an X11 tray
constexpr auto timeToEmbed = 300ms; // until a tray has taken the icon's window in and painted around it

// The panel's colour beside the icon, when the icon is a window whose place is known. The median of the pixels
// along its upper edge, which the image leaves free.
std::optional<QColor> colorAround(const QRect& geometry)
{
    QScreen* const screen = QGuiApplication::screenAt(geometry.center());
    if (screen == nullptr || geometry.width() < 4 || geometry.height() < 4) {
        return std::nullopt;
    }
    const QPoint corner = geometry.topLeft() - screen->geometry().topLeft();
    const QImage edge = screen->grabWindow(0, corner.x(), corner.y(), geometry.width(), 1).toImage();
    if (edge.isNull()) {
        return std::nullopt;
    }
    std::vector<QColor> colors;
    for (int x = 0; x < edge.width(); ++x) {
        colors.push_back(edge.pixelColor(x, 0));
    }
    std::ranges::nth_element(colors, colors.begin() + static_cast<std::ptrdiff_t>(colors.size() / 2), {},
                             [](const QColor& color) { return qGray(color.rgb()); });
    return colors[colors.size() / 2];
}

// An icon in the status area. Lives while there is an application and a status area.
class TrayIcon final : public QObject {
public:
    TrayIcon()
    {
        qGuiApp->installEventFilter(this);
        _colorTimer.setSingleShot(true);
        connect(&_colorTimer, &QTimer::timeout, this, [this] { _takePanelColor(); });
        connect(&_icon, &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
            if (reason == QSystemTrayIcon::Trigger) {
                _openMenu();
            }
        });
        _icon.setToolTip(QGuiApplication::applicationDisplayName());
    }

    void setMenu(const std::shared_ptr<NPMenu>& menu)
    {
        if (menu == _shownMenu) {
            return;
        }
        _shownMenu = menu;
        _icon.setContextMenu(nullptr);
        _menu = menu ? std::make_unique<QMenu>() : nullptr;
        if (_menu) {
            new NPMenuMirror(menu, *_menu);
            _icon.setContextMenu(_menu.get());
        }
    }

    void setImage(const std::string& name)
    {
        _imageName = QString::fromStdString(name);
        _draw();
        if (!_icon.isVisible()) {
            _icon.show();
        }
        _colorTimer.start(timeToEmbed); // the panel may have changed, too
    }

    // The filter sees all events of the application.
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() == QEvent::ApplicationPaletteChange && watched == qGuiApp) {
            _draw();
            _colorTimer.start(timeToEmbed);
        } else if ((event->type() == QEvent::Show || event->type() == QEvent::Move)
                   && watched->inherits(windowOfIcon)) {
            _colorTimer.start(timeToEmbed); // another panel has it
        }
        return QObject::eventFilter(watched, event);
    }

private:
    void _draw()
    {
        const QColor ground = _panelColor.value_or(QGuiApplication::palette().color(QPalette::Window));
        _icon.setIcon(QXTemplateIcon(_imageName, QXInkOnGround(ground), !_panelColor));
    }

    void _takePanelColor()
    {
        _panelColor = colorAround(_icon.geometry());
        _draw();
    }

    // StatusNotifier hosts open it themselves at a click with the other button; some leave this one to us, and do not
    // tell where the icon is. Wayland places no menu that belongs to no window.
    void _openMenu()
    {
        const QRect icon = _icon.geometry();
        const bool isPlaced = !icon.isEmpty();
        const bool canFollowPointer = qGuiApp->nativeInterface<QNativeInterface::QX11Application>() != nullptr;
        if (!_menu || _menu->isVisible() || (!isPlaced && !canFollowPointer)) {
            return;
        }
        const QPoint place = isPlaced ? icon.center() : QCursor::pos();
        const QScreen* const screen = QGuiApplication::screenAt(place);
        const bool isBelowMiddle = screen != nullptr && place.y() > screen->geometry().center().y();
        const QPoint top = isPlaced ? icon.topLeft() : place;
        const QPoint bottom = isPlaced ? icon.bottomLeft() : place;
        _menu->popup(isBelowMiddle ? top - QPoint(0, _menu->sizeHint().height()) : bottom);
    }

    std::unique_ptr<QMenu> _menu;
    std::shared_ptr<NPMenu> _shownMenu;
    QString _imageName;
    std::optional<QColor> _panelColor; // none where it is not known
    QTimer _colorTimer;
    QSystemTrayIcon _icon;
};

} // namespace

struct NPStatusBarQt::State {
    std::vector<Item*> items;
    std::unique_ptr<NPTrayWatch> watch;
    bool hasTray = false;
    bool hasWaited = false; // for a status area, long enough
    bool hasSaidSo = false;

    void update();
    void sayThatNoneIsThere();
};

class NPStatusBarQt::Item final : public NPStatusItem {
public:
    explicit Item(std::shared_ptr<State> bar) : _bar(std::move(bar)) { _bar->items.push_back(this); }
    ~Item() override { std::erase(_bar->items, this); }
    Item(const Item&) = delete;
    Item& operator=(const Item&) = delete;

    void setMenu(std::shared_ptr<NPMenu> menu) override
    {
        _menu = std::move(menu);
        update();
    }

    void setHighlightMode(bool) override {} // the desktop's hosts do as they please

    void setImage(const std::string& name) override
    {
        _image = name;
        update();
    }

    void update()
    {
        if (!_bar->hasTray) {
            _icon = nullptr;
            _bar->sayThatNoneIsThere();
        } else if (!_image.empty()) {
            if (!_icon) {
                _icon = std::make_unique<TrayIcon>();
            }
            _icon->setMenu(_menu);
            _icon->setImage(_image);
        }
    }

    bool isShown() const { return _icon != nullptr; }

private:
    const std::shared_ptr<State> _bar;
    std::shared_ptr<NPMenu> _menu;
    std::string _image;
    std::unique_ptr<TrayIcon> _icon; // only while there is a status area
};

void NPStatusBarQt::State::update()
{
    for (Item* const item : items) {
        item->update();
    }
}

// Desktops begin their programs in any order: one may come later.
void NPStatusBarQt::State::sayThatNoneIsThere()
{
    if (watch && hasWaited && !hasSaidSo && NPHasDesktop()) {
        hasSaidSo = true;
        QXLog("There is no status area, or not yet: starting Nightpane again opens its window");
    }
}

NPStatusBarQt::NPStatusBarQt() : _state(std::make_shared<State>()) {}
NPStatusBarQt::~NPStatusBarQt() = default;

std::unique_ptr<NPStatusItem> NPStatusBarQt::statusItemWithLength(double)
{
    return std::make_unique<Item>(_state);
}

void NPStatusBarQt::start()
{
    const std::weak_ptr<State> weak = _state;
    auto watch = std::make_unique<NPTrayWatch>([weak] {
        if (const auto state = weak.lock()) {
            state->hasTray = true;
            state->update();
        }
    });
    _state->watch = std::move(watch);
    QTimer::singleShot(timeForTrays, qGuiApp, [weak] {
        if (const auto state = weak.lock()) {
            state->hasWaited = true;
            state->update();
        }
    });
}

void NPStatusBarQt::stop()
{
    _state->watch = nullptr;
    _state->hasTray = false;
    _state->update();
}

bool NPStatusBarQt::isShown() const
{
    return std::ranges::any_of(_state->items, &Item::isShown);
}
