// A desktop with its user in memory: windows, alerts, a status area, and what is installed.
#pragma once

#include "Foundation/QXNotificationCenter.h"
#include "Platform/NPDesktop.h"
#include "Platform/Simulated/NPActionLog.h"

#include <deque>
#include <map>
#include <utility>

// "status item 32", "status item menu", "status item highlight 1", "status item image NAME", "status item removed".
class NPSimulatedStatusBar final : public NPStatusBar {
public:
    explicit NPSimulatedStatusBar(NPActionLog& log) : _log(log) {}

    double appKitVersionNumber() const override { return version; }
    std::unique_ptr<NPStatusItem> statusItemWithLength(double length) override;

    double version = NPStatusItemVersion;

    // Of the item that is shown; all empty while there is none.
    std::shared_ptr<NPMenu> menu;
    std::string image;
    bool hasItem = false;

private:
    class Item;

    NPActionLog& _log;
};

// "process foreground", "process ui-element", "activate ignoring others", "activate".
class NPSimulatedProcessMode final : public NPProcessMode {
public:
    explicit NPSimulatedProcessMode(NPActionLog& log) : _log(log) {}

    bool transformProcessType(NPProcessType newType) override;
    void activateIgnoringOtherApps(bool ignoringOthers) override;

    NPProcessType type = NPProcessType::foregroundApplication;

private:
    NPActionLog& _log;
};

// "alert MESSAGE", "sheet MESSAGE".
class NPSimulatedAlerts final : public NPAlerts {
public:
    explicit NPSimulatedAlerts(NPActionLog& log) : _log(log) {}

    // Answers with the next of `answers`; without any, as if closed.
    int runModal(const NPAlert& alert) override;
    void beginSheet(const NPAlert& alert, const std::shared_ptr<NPWindow>& window,
                    std::function<void(int answer)> completion) override;

    void answerSheet(int answer); // the one that is open

    std::deque<int> answers;
    std::function<void()> whileOpen; // what else happens before a modal one is answered; may be empty
    std::vector<NPAlert> shown; // all so far, sheets included

private:
    NPActionLog& _log;
    std::function<void(int)> _sheetCompletion;
};

// "login register URL", "login set IDENTIFIER 1", "login set IDENTIFIER 1 failed".
class NPSimulatedLoginItems final : public NPLoginItems {
public:
    explicit NPSimulatedLoginItems(NPActionLog& log) : _log(log) {}

    QXArray copyAllJobDictionaries() const override { return jobs; }
    void registerURL(const std::string& url) override { _log.add("login register " + url); }
    bool setLoginItemEnabled(const std::string& bundleIdentifier, bool enabled) override;

    QXArray jobs;
    bool accepts = true; // while false, nothing can be set

private:
    NPActionLog& _log;
};

// "find IDENTIFIER", "open URL", "terminate".
class NPSimulatedWorkspace final : public NPWorkspace {
public:
    explicit NPSimulatedWorkspace(NPActionLog& log) : _log(log) {}

    std::optional<std::string>
    absolutePathForAppBundleWithIdentifier(const std::string& identifier) const override;
    std::string displayNameAtPath(const std::string& path) const override; // what follows the last slash
    std::optional<std::string> iconForFile(const std::string& path) const override;
    bool openURL(const std::string& url) override;
    void terminate() override;
    bool isTerminating() const override { return _isTerminating; }

    std::map<std::string, std::string> installed; // paths by identifier
    std::map<std::string, std::string> icons; // by path
    bool opens = true;

private:
    NPActionLog& _log;
    bool _isTerminating = false;
};

class NPSimulatedBundle final : public NPBundle {
public:
    std::string bundleIdentifier() const override { return "org.nightpane.Nightpane"; }
    std::string bundlePath() const override { return path; }
    const QXDictionary& infoDictionary() const override { return info; }
    std::optional<QXData> resource(std::string_view name, std::string_view type) const override;

    std::string path = "/opt/Applications/Nightpane";
    QXDictionary info{{std::string(CFBundleNameKey), "Nightpane"},
                      {std::string(CFBundleShortVersionStringKey), "1.0"},
                      {std::string(CFBundleVersionKey), "100"},
                      {std::string(SUFeedURLKey), "https://updates.example.org/appcast.xml"},
                      {std::string(NPReleaseNotesURLKey), "https://www.example.org/new"},
                      {std::string(NPFAQURLKey), "https://www.example.org/faq"},
                      {std::string(NPSupportURLKey), "mailto:support@example.org"}};
    std::map<std::string, std::string> resources; // by "Credits.html"
};

// "download URL".
class NPSimulatedDownloads final : public NPDownloadServices {
public:
    explicit NPSimulatedDownloads(NPActionLog& log) : _log(log) {}

    NPDownload download(const std::string& url, std::size_t limit,
                        std::function<void(std::expected<QXData, std::string>)> completion) override;

    // Ends the downloads under way, those that begin meanwhile included. False when there was none.
    bool finish();

    std::map<std::string, std::string> contents; // by address; others cannot be reached

private:
    struct Request {
        std::string url;
        std::size_t limit;
        std::function<void(std::expected<QXData, std::string>)> completion;
    };

    NPActionLog& _log;
    std::vector<std::weak_ptr<Request>> _requests;
};

// A signature is good when its message is registered with it.
class NPSimulatedSignatures final : public NPSignatureServices {
public:
    bool isValidSignature(const QXData& signature, const QXData& message, const QXData& publicKey) const override
    {
        const auto found = made.find(signature);
        return found != made.end() && found->second == std::pair(message, publicKey);
    }

    std::map<QXData, std::pair<QXData, QXData>> made; // message and public key
};

// "update checking", "update check dismissed", "update found VERSION", "update found VERSION by hand".
class NPSimulatedUpdateUserDriver final : public NPUpdateUserDriver {
public:
    explicit NPSimulatedUpdateUserDriver(NPActionLog& log) : _log(log) {}

    void showUserInitiatedUpdateCheck(std::function<void()> cancelCheck) override;
    void dismissUpdateCheck() override;
    void showUpdateFound(const NPUpdateOffer& offer, bool userInitiated,
                         std::function<void(NPUpdateChoice)> reply) override;

    std::function<void()> cancel; // empty while no check by hand runs
    std::function<void(NPUpdateChoice)> choose; // empty until something was found
    std::vector<NPUpdateOffer> offers;

private:
    NPActionLog& _log;
};

// "NAME can hide 1".
class NPSimulatedWindow final : public NPWindow {
public:
    NPSimulatedWindow(NPActionLog& log, QXNotificationCenter& notifications, std::string name)
        : _log(log), _notifications(notifications), _name(std::move(name))
    {
    }

    bool isVisible() const override { return visible; }
    void setCanHide(bool canHide) override { _log.add(_name + " can hide " + (canHide ? '1' : '0')); }

    void close(); // announced

    bool visible = false;

private:
    NPActionLog& _log;
    QXNotificationCenter& _notifications;
    std::string _name;
};

// "NAME load", "NAME show".
class NPSimulatedWindowController final : public NPWindowController {
public:
    NPSimulatedWindowController(NPActionLog& log, QXNotificationCenter& notifications, std::string name)
        : _log(log), _notifications(notifications), _name(std::move(name))
    {
    }

    bool isWindowLoaded() const override { return _window != nullptr; }
    std::shared_ptr<NPWindow> window() override { return simulatedWindow(); }
    void showWindow() override;

    std::shared_ptr<NPSimulatedWindow> simulatedWindow();

private:
    NPActionLog& _log;
    QXNotificationCenter& _notifications;
    std::string _name;
    std::shared_ptr<NPSimulatedWindow> _window;
};

class NPSimulatedDesktop {
public:
    explicit NPSimulatedDesktop(NPActionLog& log)
        : workspace(log), processMode(log), alerts(log), statusBar(log), loginItems(log), downloads(log),
          userDriver(log)
    {
    }
    NPSimulatedDesktop(const NPSimulatedDesktop&) = delete;
    NPSimulatedDesktop& operator=(const NPSimulatedDesktop&) = delete;

    NPDesktop services()
    {
        return {bundle,
                workspace,
                processMode,
                alerts,
                statusBar,
                loginItems,
                {downloads, signatures, userDriver, "linux", "12.8"}};
    }

    NPSimulatedBundle bundle;
    NPSimulatedWorkspace workspace;
    NPSimulatedProcessMode processMode;
    NPSimulatedAlerts alerts;
    NPSimulatedStatusBar statusBar;
    NPSimulatedLoginItems loginItems;
    NPSimulatedDownloads downloads;
    NPSimulatedSignatures signatures;
    NPSimulatedUpdateUserDriver userDriver;
};
