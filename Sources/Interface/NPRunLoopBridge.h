// Has Qt's event loop drive another one that offers a file descriptor, such as the engine's. While Qt waits, so does
// the other loop; modal dialogs and menus do not stop it.
#pragma once

#include <QObject>
#include <QSocketNotifier>

#include <functional>

class NPRunLoopBridge final : public QObject {
    // `serve` is called when the descriptor is readable, `prepare` before Qt waits. To be made after the application,
    // in its thread, and destroyed before it.
public:
    NPRunLoopBridge(int descriptor, std::function<void()> serve, std::function<void()> prepare);

private:
    QSocketNotifier _notifier;
};
