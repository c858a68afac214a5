#include "Interface/NPTrayWatch.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QGuiApplication>

#include <xcb/xcb.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <utility>

namespace {

const QString watcherName = QStringLiteral("org.kde.StatusNotifierWatcher");
const QString watcherPath = QStringLiteral("/StatusNotifierWatcher");

template<class Reply> using Owned = std::unique_ptr<Reply, decltype(&std::free)>;

xcb_connection_t* connection()
{
    const auto* const x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    return x11 != nullptr ? x11->connection() : nullptr;
}

xcb_atom_t atom(xcb_connection_t* display, const std::string& name)
{
    const auto request = xcb_intern_atom(display, 0, static_cast<std::uint16_t>(name.size()), name.c_str());
    const Owned<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(display, request, nullptr), &std::free);
    return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

} // namespace

NPTrayWatch::NPTrayWatch(std::function<void()> appeared) : _appeared(std::move(appeared))
{
    _watchX11();
    _watchSessionBus();
}

void NPTrayWatch::_watchX11()
{
    xcb_connection_t* const display = connection();
    if (display == nullptr) {
        return;
    }
    const auto request = xcb_get_selection_owner(display, atom(display, "_NET_SYSTEM_TRAY_S0"));
    const Owned<xcb_get_selection_owner_reply_t> owner(xcb_get_selection_owner_reply(display, request, nullptr),
                                                       &std::free);
    if (owner && owner->owner != XCB_WINDOW_NONE) {
        _appear();
        return;
    }
    _managerAtom = atom(display, "MANAGER");
    qGuiApp->installNativeEventFilter(this); // Qt itself listens to the root window
}

void NPTrayWatch::_watchSessionBus()
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!_appeared || !bus.isConnected()) {
        return;
    }
    bus.connect(watcherName, watcherPath, watcherName, QStringLiteral("StatusNotifierHostRegistered"), this,
                SLOT(_appear()));
    auto* const watcher =
        new QDBusServiceWatcher(watcherName, bus, QDBusServiceWatcher::WatchForRegistration, this);
    connect(watcher, &QDBusServiceWatcher::serviceRegistered, this, [this] { _askForHost(); });
    _askForHost();
}

// An error means that there is no watcher.
void NPTrayWatch::_askForHost()
{
    QDBusMessage question = QDBusMessage::createMethodCall(
        watcherName, watcherPath, QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
    question << watcherName << QStringLiteral("IsStatusNotifierHostRegistered");
    question.setAutoStartService(false);
    auto* const reply = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(question), this);
    connect(reply, &QDBusPendingCallWatcher::finished, this, [this](QDBusPendingCallWatcher* finished) {
        const QDBusPendingReply<QDBusVariant> answer = *finished;
        finished->deleteLater();
        if (answer.isValid() && answer.value().variant().toBool()) {
            _appear();
        }
    });
}

bool NPTrayWatch::nativeEventFilter(const QByteArray& eventType, void* message, qintptr*)
{
    if (eventType != "xcb_generic_event_t" || !_appeared) {
        return false;
    }
    const auto* const event = static_cast<const xcb_generic_event_t*>(message);
    constexpr std::uint8_t kindMask = 0x7f; // the highest bit says who sent it
    if ((event->response_type & kindMask) == XCB_CLIENT_MESSAGE
        && static_cast<const xcb_client_message_event_t*>(message)->type == _managerAtom) {
        QMetaObject::invokeMethod(this, [this] { _appear(); }, Qt::QueuedConnection);
    }
    return false;
}

void NPTrayWatch::_appear()
{
    if (const auto appeared = std::exchange(_appeared, nullptr)) {
        appeared();
    }
}
