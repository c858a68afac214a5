#include "Interface/NPAccessibleMenuItem.h"

#include <QAccessible>
#include <QMenu>
#include <QMenuBar>
#include <QPointer>
#include <QWindow>

namespace {

constexpr const char* mixedProperty = "nightpaneIsMixed";

// "Quit" of "&Quit\tCtrl+Q", and "Salt & Pepper" of "Salt && Pepper".
QString plainTitle(const QAction& action)
{
    const QString text = action.text().section(QLatin1Char('\t'), 0, 0);
    QString plain;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i] == QLatin1Char('&') && i + 1 < text.size()) {
            ++i;
        }
        plain += text[i];
    }
    return plain.trimmed();
}

class AccessibleMenuItem final : public QAccessibleInterface, public QAccessibleActionInterface {
public:
    explicit AccessibleMenuItem(QAction& action) : _action(&action) {}

    bool isValid() const override { return _action != nullptr; }
    QObject* object() const override { return _action; }
    QWindow* window() const override { return _owner() ? _owner()->window()->windowHandle() : nullptr; }
    QAccessible::Role role() const override
    {
        return _action->isSeparator() ? QAccessible::Separator : QAccessible::MenuItem;
    }

    QAccessibleInterface* parent() const override { return QAccessible::queryAccessibleInterface(_owner()); }
    int childCount() const override { return _action->menu() != nullptr ? 1 : 0; }
    QAccessibleInterface* child(int index) const override
    {
        return index == 0 && _action->menu() != nullptr ? QAccessible::queryAccessibleInterface(_action->menu())
                                                        : nullptr;
    }
    int indexOfChild(const QAccessibleInterface* child) const override
    {
        return _action->menu() != nullptr && child->object() == _action->menu() ? 0 : -1;
    }
    QAccessibleInterface* childAt(int x, int y) const override
    {
        QAccessibleInterface* const menu = child(0);
        return menu != nullptr && menu->rect().contains(x, y) ? menu : nullptr;
    }

    QString text(QAccessible::Text kind) const override
    {
        switch (kind) {
        case QAccessible::Name:
            return plainTitle(*_action);
        case QAccessible::Description:
            return _action->statusTip();
        case QAccessible::Accelerator:
            return _action->shortcut().toString(QKeySequence::NativeText);
        default:
            return {};
        }
    }
    void setText(QAccessible::Text, const QString&) override {}

    QRect rect() const override
    {
        const QWidget* const owner = _owner();
        if (const auto* const menu = qobject_cast<const QMenu*>(owner)) {
            return menu->actionGeometry(_action).translated(menu->mapToGlobal(QPoint()));
        }
        if (const auto* const bar = qobject_cast<const QMenuBar*>(owner)) {
            return bar->actionGeometry(_action).translated(bar->mapToGlobal(QPoint()));
        }
        return {};
    }

    QAccessible::State state() const override
    {
        QAccessible::State state;
        const QWidget* const owner = _owner();
        state.invisible = owner == nullptr || !owner->isVisible() || !_action->isVisible();
        state.disabled = _action->isSeparator() || !_action->isEnabled();
        state.focusable = !state.disabled;
        state.focused = _isActive();
        state.checkStateMixed = _action->property(mixedProperty).toBool();
        state.checkable = _action->isCheckable() || state.checkStateMixed;
        state.checked = _action->isChecked();
        return state;
    }

    void* interface_cast(QAccessible::InterfaceType type) override
    {
        return type == QAccessible::ActionInterface ? static_cast<QAccessibleActionInterface*>(this) : nullptr;
    }
    QStringList actionNames() const override
    {
        if (_action->isSeparator() || !_action->isEnabled()) {
            return {};
        }
        return {_action->menu() != nullptr ? showMenuAction() : pressAction()};
    }
    void doAction(const QString& name) override
    {
        if (!actionNames().contains(name)) {
            return;
        }
        if (name == pressAction()) {
            _action->trigger();
        } else if (auto* const bar = qobject_cast<QMenuBar*>(_owner())) {
            bar->setActiveAction(_action);
        } else if (auto* const menu = qobject_cast<QMenu*>(_owner())) {
            menu->setActiveAction(_action);
        }
    }
    QStringList keyBindingsForAction(const QString&) const override { return {}; }

private:
    // The menu or bar that the action is shown in.
    QWidget* _owner() const
    {
        for (QObject* const object : _action ? _action->associatedObjects() : QList<QObject*>()) {
            if (qobject_cast<QMenu*>(object) != nullptr || qobject_cast<QMenuBar*>(object) != nullptr) {
                return qobject_cast<QWidget*>(object);
            }
        }
        return nullptr;
    }

    bool _isActive() const
    {
        const auto* const menu = qobject_cast<const QMenu*>(_owner());
        const auto* const bar = qobject_cast<const QMenuBar*>(_owner());
        return (menu != nullptr && menu->activeAction() == _action)
               || (bar != nullptr && bar->activeAction() == _action);
    }

    const QPointer<QAction> _action;
};

// Qt asks with the name of each class of the object, the innermost first.
QAccessibleInterface* makeInterface(const QString& className, QObject* object)
{
    auto* const action = className == QLatin1String("QAction") ? qobject_cast<QAction*>(object) : nullptr;
    return action != nullptr ? new AccessibleMenuItem(*action) : nullptr;
}

} // namespace

void NPInstallMenuAccessibility()
{
    QAccessible::installFactory(makeInterface);
}

void NPSetMixedState(QAction& action, const QString& description)
{
    if (action.statusTip() == description) {
        return;
    }
    action.setProperty(mixedProperty, !description.isEmpty());
    action.setStatusTip(description);
}
