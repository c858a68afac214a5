#include "Interface/NPQtPlatform.h"

#include "Foundation/QXLog.h"

namespace {

const QString withoutScreen = QStringLiteral("offscreen");

bool isWaylandSession()
{
    return !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY")
           || qEnvironmentVariable("XDG_SESSION_TYPE") == QLatin1String("wayland");
}

// Its compositor leaves the frames of windows to the programs, and Qt's own frame looks foreign there.
bool isGnome()
{
    return qEnvironmentVariable("XDG_CURRENT_DESKTOP").contains(QLatin1String("GNOME"), Qt::CaseInsensitive);
}

std::string platformsOfSession()
{
    if (!isWaylandSession()) {
        return "xcb";
    }
    return isGnome() ? "xcb;wayland" : "wayland;xcb";
}

// Qt keeps references to these. The program's own words are none of Qt's.
struct Words {
    std::string platforms = NPQtPlatforms();
    std::string program = "nightpane";
    std::string option = "-platform";
    char* pointers[4] = {program.data(), option.data(), platforms.data(), nullptr};
    int count = 3;
};

QtMessageHandler formerHandler = nullptr;
bool isTrying = false;

// The platform without a screen complains about everything that a window does.
void handleMessage(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    const bool isNoise = isTrying || message.startsWith(QLatin1String("This plugin does not support"));
    if (type == QtFatalMsg || !isNoise) {
        formerHandler(type, context, message);
    }
}

} // namespace

std::string NPQtPlatforms()
{
    const QByteArray asked = qgetenv("QT_QPA_PLATFORM");
    return asked.toStdString() + (asked.isEmpty() ? "" : ";") + platformsOfSession() + ';'
           + withoutScreen.toStdString();
}

std::unique_ptr<QApplication> NPMakeQtApplication()
{
    static Words words;
    formerHandler = qInstallMessageHandler(handleMessage);
    isTrying = true;
    auto application = std::make_unique<QApplication>(words.count, std::data(words.pointers));
    isTrying = false;
    if (!NPHasDesktop()) {
        QXLog(isWaylandSession()
                  ? "Windows cannot be shown: neither the Wayland compositor nor an X server can be "
                    "reached. Is Qt's plugin for Wayland installed?"
                  : "There is no desktop to show windows on");
    }
    return application;
}

bool NPHasDesktop()
{
    return QGuiApplication::platformName() != withoutScreen
           || qgetenv("QT_QPA_PLATFORM").startsWith(withoutScreen.toLatin1());
}
