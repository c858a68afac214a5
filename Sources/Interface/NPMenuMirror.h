// Shows a menu of the logic as a menu, or menu bar, of Qt.
//
// Changes are gathered and taken over at once before the event loop waits again, or before the menu opens, so that a
// rebuild of a long list costs what has changed in it. Actions are kept where they can be: an open menu stays open,
// and keeps its place, while its items change.
#pragma once

#include "Platform/NPMenu.h"

#include <QAction>
#include <QIcon>
#include <QMenu>
#include <QObject>

#include <memory>
#include <vector>

class NPMenuMirror final : public QObject {
public:
    // The widget is a QMenu or QMenuBar without actions of its own, and owns the mirror.
    NPMenuMirror(std::shared_ptr<NPMenu> menu, QWidget& widget);

    // Takes over what has changed.
    void update();

private:
    struct Entry {
        QAction* action = nullptr; // the widget's
        std::shared_ptr<NPMenuItem> item;
        std::shared_ptr<NPMenu> submenu;
        bool isMixed = false;
    };

    void _setNeedsUpdate();
    void _updateEntry(std::size_t index, const std::shared_ptr<NPMenuItem>& item);
    static bool _isOfTheKind(const Entry& entry, const NPMenuItem& item);
    Entry _makeEntry(const NPMenuItem& item, QAction* before);
    void _removeEntry(std::size_t index);
    void _choose(const QAction* action);

    const std::shared_ptr<NPMenu> _menu;
    QWidget& _widget;
    NPMenuSubscription _subscription;
    std::vector<Entry> _entries;
    bool _needsUpdate = false;
};

// What marks an item that is on for a part of what it stands for: a dash in the colour of the menu's text.
QIcon NPMixedStateIcon(const QWidget& menu);

// What the dash means, for those who cannot see it.
QString NPMixedStateText();
