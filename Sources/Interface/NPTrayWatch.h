// Tells when the desktop has a status area: a StatusNotifier host on the session bus, or an X11 tray. Desktops start
// it in any order with the programs of a session, and Qt decides once, when it is first asked, which kind there is.
#pragma once

#include <QAbstractNativeEventFilter>
#include <QObject>

#include <functional>

class NPTrayWatch final : public QObject, public QAbstractNativeEventFilter {
public:
    // Calls the handler once, as soon as there is one: perhaps at once, perhaps never.
    explicit NPTrayWatch(std::function<void()> appeared);

    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;

private:
    void _watchSessionBus();
    void _watchX11();
    void _appear();

    std::function<void()> _appeared;
    std::uint32_t _managerAtom = 0;
};
