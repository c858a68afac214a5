// A window of Qt, as the logic knows it.
#pragma once

#include "Foundation/QXNotificationCenter.h"
#include "Platform/NPWindows.h"

#include <QObject>
#include <QPointer>
#include <QWidget>

class NPWindowQt final : public QObject, public NPWindow {
public:
    // The widget is a window of its own; whoever owns it owns this, or takes this with it. The centre outlives both.
    NPWindowQt(QWidget& widget, QXNotificationCenter& notifications);

    bool isVisible() const override;
    void setCanHide(bool) override {} // no desktop here hides whole applications

    QWidget* widget() const { return _widget; } // nullptr when it has gone

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    const QPointer<QWidget> _widget;
    QXNotificationCenter& _notifications;
};

// To the front with the keyboard, also while somebody works elsewhere, as far as the desktop allows it.
void NPBringToFront(QWidget& window);
