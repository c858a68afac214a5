// What a screen reader is told about the items of menus.
//
// Qt's own interface knows no descriptions and no item that is on in part. This one takes an action's status tip for
// the description, and tells that the state of an item is mixed.
#pragma once

#include <QAction>

// To be called once there is an application.
void NPInstallMenuAccessibility();

// Marks an action as mixed, with what that means for people; an empty text takes the mark away.
void NPSetMixedState(QAction& action, const QString& description);
