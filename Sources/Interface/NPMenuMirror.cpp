#include "Interface/NPMenuMirror.h"

#include "Foundation/QXString.h"
#include "Interface/NPAccessibleMenuItem.h"
#include "Interface/NPShortcutText.h"
#include "Interface/QXTemplateImage.h"

#include <QApplication>
#include <QIconEngine>
#include <QPainter>
#include <QPalette>
#include <QPointer>
#include <QProxyStyle>

#include <algorithm>

namespace {

constexpr int indentWidth = 3;        // spaces for each level: styles know no indentation
constexpr int mostCharacters = 60; // of average width; longer names would push the keys off the screen

class DashEngine final : public QIconEngine {
public:
    explicit DashEngine(const QColor& color) : _color(color) {}

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode, QIcon::State) override
    {
        const double thickness = std::max(1.5, rect.height() / 8.0);
        const double length = rect.width() * 0.5;
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        painter->setPen(Qt::NoPen);
        QRectF dash(0.0, 0.0, length, thickness);
        dash.moveCenter(QRectF(rect).center());
        const double contour = 1.0; // a panel that shows the menu has a ground of its own
        painter->setBrush(QXInkOnGround(_color));
        painter->drawRoundedRect(dash.adjusted(-contour, -contour, contour, contour), thickness, thickness);
        painter->setBrush(_color);
        painter->drawRoundedRect(dash, thickness / 2.0, thickness / 2.0);
        painter->restore();
    }

    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override
    {
        QPixmap pixmap(size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        paint(&painter, QRect(QPoint(), size), mode, state);
        return pixmap;
    }

    QIconEngine* clone() const override { return new DashEngine(_color); }

private:
    const QColor _color;
};

// Menus that are higher than the screen scroll. Qt's own way, columns, pushes the last ones off the screen.
class ScrollingStyle final : public QProxyStyle {
public:
    ScrollingStyle() : QProxyStyle(QApplication::style()->name()) { setParent(qApp); }

    int styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                  QStyleHintReturn* result) const override
    {
        return hint == SH_Menu_Scrollable ? 1 : QProxyStyle::styleHint(hint, option, widget, result);
    }

    // For all menus of the application.
    static QStyle* shared()
    {
        static QPointer<QStyle> style;
        if (!style) {
            style = new ScrollingStyle();
        }
        return style;
    }
};

// An ampersand marks a key in Qt, and is a character of the names here.
QString shownTitle(const NPMenuItem& item, const QFontMetrics& metrics)
{
    QString name = QString::fromStdString(item.title());
    name.replace(QLatin1Char('\t'), QLatin1Char(' ')); // a tab would begin the column of the keys
    name = metrics.elidedText(name, Qt::ElideMiddle, mostCharacters * metrics.averageCharWidth());
    name.replace(QLatin1Char('&'), QLatin1String("&&"));
    QString title = QString(item.indentationLevel() * indentWidth, QLatin1Char(' ')) + name;
    if (NPShortcutKeys(item.keyEquivalent(), item.keyEquivalentModifierMask()).isEmpty()) {
        const QString keys = NPShortcutText(item.keyEquivalent(), item.keyEquivalentModifierMask());
        title += keys.isEmpty() ? QString() : QLatin1Char('\t') + keys;
    }
    return title;
}

// What stands for something, an effect for example, can be on and off; other items are commands.
bool hasState(const NPMenuItem& item)
{
    return item.representedObject().has_value() || item.state() != NPMenuItemState::off;
}

} // namespace

QIcon NPMixedStateIcon(const QWidget& menu)
{
    return QIcon(new DashEngine(menu.palette().color(QPalette::WindowText)));
}

QString NPMixedStateText()
{
    return QString::fromStdString(QXLocalizedString("On for some of its screens"));
}

NPMenuMirror::NPMenuMirror(std::shared_ptr<NPMenu> menu, QWidget& widget)
    : QObject(&widget), _menu(std::move(menu)), _widget(widget)
{
    const auto changed = [this] { _setNeedsUpdate(); };
    _subscription = _menu->observe({[changed](std::size_t, std::size_t) { changed(); },
                                    [changed](std::size_t, std::size_t) { changed(); },
                                    [changed](const NPMenuItem&) { changed(); }});
    if (auto* const popUp = qobject_cast<QMenu*>(&widget)) {
        popUp->setStyle(ScrollingStyle::shared());
        connect(popUp, &QMenu::aboutToShow, this, [this] { update(); });
    }
    _needsUpdate = true;
    update();
}

void NPMenuMirror::_setNeedsUpdate()
{
    if (!_needsUpdate) {
        _needsUpdate = true;
        QMetaObject::invokeMethod(this, [this] { update(); }, Qt::QueuedConnection);
    }
}

void NPMenuMirror::update()
{
    if (!_needsUpdate) {
        return;
    }
    _needsUpdate = false;
    const NPMenuItemList& items = _menu->items();
    while (_entries.size() > items.size()) {
        _removeEntry(_entries.size() - 1);
    }
    for (std::size_t index = 0; index < items.size(); ++index) {
        const NPMenuItem& item = *items[index];
        const bool isKept = index < _entries.size() && _isOfTheKind(_entries[index], item);
        if (!isKept) {
            if (index < _entries.size()) {
                _removeEntry(index);
            }
            QAction* const before = index < _entries.size() ? _entries[index].action : nullptr;
            _entries.insert(_entries.begin() + static_cast<std::ptrdiff_t>(index), _makeEntry(item, before));
        }
        _updateEntry(index, items[index]);
    }
}

// The dash belongs to the kind: Qt never tells a panel that shows the menu that an item has lost its check box.
bool NPMenuMirror::_isOfTheKind(const Entry& entry, const NPMenuItem& item)
{
    return entry.action->isSeparator() == item.isSeparatorItem() && entry.submenu == item.submenu()
           && entry.isMixed == (item.state() == NPMenuItemState::mixed);
}

NPMenuMirror::Entry NPMenuMirror::_makeEntry(const NPMenuItem& item, QAction* before)
{
    auto* const action = new QAction(&_widget);
    action->setSeparator(item.isSeparatorItem());
    action->setMenuRole(QAction::NoRole);
    action->setShortcutContext(Qt::WidgetShortcut); // shown, not installed: the keys are registered elsewhere
    if (item.submenu()) {
        auto* const menu = new QMenu(&_widget);
        new NPMenuMirror(item.submenu(), *menu);
        action->setMenu(menu);
    } else {
        connect(action, &QAction::triggered, this, [this, action] { _choose(action); });
    }
    const bool isMixed = item.state() == NPMenuItemState::mixed;
    if (isMixed) {
        action->setIcon(NPMixedStateIcon(_widget));
        action->setIconVisibleInMenu(true);
        NPSetMixedState(*action, NPMixedStateText());
    }
    _widget.insertAction(before, action);
    return {action, nullptr, item.submenu(), isMixed};
}

void NPMenuMirror::_removeEntry(std::size_t index)
{
    QAction* const action = _entries[index].action;
    _entries.erase(_entries.begin() + static_cast<std::ptrdiff_t>(index));
    if (QMenu* const menu = action->menu()) {
        menu->deleteLater();
    }
    _widget.removeAction(action);
    action->deleteLater(); // it may be the one that is being chosen
}

// Setters of QAction do nothing where nothing changes.
void NPMenuMirror::_updateEntry(std::size_t index, const std::shared_ptr<NPMenuItem>& item)
{
    Entry& entry = _entries[index];
    entry.item = item;
    QAction& action = *entry.action;
    action.setVisible(!item->isHidden());
    if (item->isSeparatorItem()) {
        return;
    }
    action.setText(shownTitle(*item, _widget.fontMetrics()));
    action.setEnabled(item->isEnabled());
    const QKeySequence keys = NPShortcutKeys(item->keyEquivalent(), item->keyEquivalentModifierMask());
    if (action.shortcut() != keys) {
        action.setShortcut(keys);
    }
    action.setCheckable(hasState(*item) && !entry.isMixed);
    action.setChecked(item->state() == NPMenuItemState::on);
}

void NPMenuMirror::_choose(const QAction* action)
{
    const auto found = std::ranges::find(_entries, action, &Entry::action);
    if (found == _entries.end()) {
        return;
    }
    _setNeedsUpdate(); // Qt has moved the check mark already; the logic decides
    const std::shared_ptr<NPMenuItem> item = found->item;
    item->choose();
}
