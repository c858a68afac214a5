// A list of the effects in a window, from a menu that lists them: a check box each, with the dash where an effect is
// on for some of its screens only, and the hot key beside it.
#pragma once

#include "Platform/NPMenu.h"

#include <QObject>
#include <QTreeWidget>

#include <memory>
#include <vector>

class NPEffectListView final : public QObject {
public:
    // Shows the menu's items that stand for something. The list has two columns and owns this.
    NPEffectListView(std::shared_ptr<NPMenu> menu, QTreeWidget& list);

private:
    void _setNeedsUpdate();
    void _update();
    void _updateRow(QTreeWidgetItem& row, const NPMenuItem& item);
    void _toggle(QTreeWidgetItem* row);

    const std::shared_ptr<NPMenu> _menu;
    QTreeWidget& _list;
    NPMenuSubscription _subscription;
    NPMenuItemList _shown; // by row
    bool _needsUpdate = false;
    bool _isUpdating = false;
};
