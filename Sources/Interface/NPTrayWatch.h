// Tells when the desktop has a status area: a StatusNotifier host on the session bus, or an X11 tray. Desktops start
// it in any order with the programs of a session, and Qt decides once, when it is first asked, which kind there is.
// The watcher that knows of hosts may be there long before the first host is.
#pragma once

#include <QAbstractNativeEventFilter>
#include <QObject>

#include <functional>

class NPTrayWatch final : public QObject, public QAbstractNativeEventFilter {
    Q_OBJECT

public:
    // Calls the handler once, as soon as there is one: perhaps at once, perhaps never.
    explicit NPTrayWatch(std::function<void()> appeared);

    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;

private:
    void _watchSessionBus();
    void _watchX11();
    void _askForHost();

private slots: // by name, as signals of the bus are connected
    void _appear();

private:
    std::function<void()> _appeared;
    std::uint32_t _managerAtom = 0;
};
