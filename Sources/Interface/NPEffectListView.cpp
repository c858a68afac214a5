#include "Interface/NPEffectListView.h"

#include "Interface/NPMenuMirror.h"
#include "Interface/NPShortcutText.h"

#include <QHeaderView>

namespace {

constexpr int nameColumn = 0;
constexpr int keysColumn = 1;

Qt::CheckState checkState(NPMenuItemState state)
{
    switch (state) {
    case NPMenuItemState::on:
        return Qt::Checked;
    case NPMenuItemState::mixed:
        return Qt::PartiallyChecked;
    default:
        return Qt::Unchecked;
    }
}

} // namespace

NPEffectListView::NPEffectListView(std::shared_ptr<NPMenu> menu, QTreeWidget& list)
    : QObject(&list), _menu(std::move(menu)), _list(list)
{
    const auto changed = [this] { _setNeedsUpdate(); };
    _subscription = _menu->observe({[changed](std::size_t, std::size_t) { changed(); },
                                    [changed](std::size_t, std::size_t) { changed(); },
                                    [changed](const NPMenuItem&) { changed(); }});
    _list.header()->setStretchLastSection(false);
    _list.header()->setSectionResizeMode(nameColumn, QHeaderView::Stretch);
    _list.header()->setSectionResizeMode(keysColumn, QHeaderView::ResizeToContents);
    connect(&_list, &QTreeWidget::itemChanged, this, [this](QTreeWidgetItem* row, int column) {
        if (!_isUpdating && column == nameColumn) {
            _toggle(row);
        }
    });
    connect(&_list, &QTreeWidget::itemActivated, this, [this](QTreeWidgetItem* row) { _toggle(row); });
    _update();
}

void NPEffectListView::_setNeedsUpdate()
{
    if (!_needsUpdate) {
        _needsUpdate = true;
        QMetaObject::invokeMethod(this, [this] { _update(); }, Qt::QueuedConnection);
    }
}

void NPEffectListView::_update()
{
    _needsUpdate = false;
    _isUpdating = true;
    _shown.clear();
    for (const std::shared_ptr<NPMenuItem>& item : _menu->items()) {
        if (item->representedObject().has_value() && !item->isHidden()) {
            _shown.push_back(item);
        }
    }
    const int count = static_cast<int>(_shown.size());
    while (_list.topLevelItemCount() > count) {
        delete _list.takeTopLevelItem(count);
    }
    for (int index = 0; index < count; ++index) {
        if (index == _list.topLevelItemCount()) {
            _list.addTopLevelItem(new QTreeWidgetItem());
        }
        _updateRow(*_list.topLevelItem(index), *_shown[static_cast<std::size_t>(index)]);
    }
    if (_list.currentItem() == nullptr && count > 0) {
        _list.setCurrentItem(_list.topLevelItem(0));
    }
    _isUpdating = false;
}

void NPEffectListView::_updateRow(QTreeWidgetItem& row, const NPMenuItem& item)
{
    row.setFlags(item.isEnabled() ? Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsUserCheckable
                                  : Qt::ItemIsSelectable);
    row.setText(nameColumn, QString::fromStdString(item.title()));
    row.setCheckState(nameColumn, checkState(item.state()));
    row.setData(nameColumn, Qt::AccessibleDescriptionRole,
                item.state() == NPMenuItemState::mixed ? NPMixedStateText() : QString());
    row.setText(keysColumn, NPShortcutText(item.keyEquivalent(), item.keyEquivalentModifierMask()));
}

void NPEffectListView::_toggle(QTreeWidgetItem* row)
{
    const auto index = static_cast<std::size_t>(_list.indexOfTopLevelItem(row));
    _setNeedsUpdate(); // Qt has moved the check mark already; the logic decides
    if (index < _shown.size()) {
        const std::shared_ptr<NPMenuItem> item = _shown[index];
        item->choose();
    }
}
