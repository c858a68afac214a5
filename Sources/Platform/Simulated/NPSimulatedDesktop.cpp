#include "Platform/Simulated/NPSimulatedDesktop.h"

#include "Foundation/QXString.h"

#include <algorithm>

class NPSimulatedStatusBar::Item final : public NPStatusItem {
public:
    explicit Item(NPSimulatedStatusBar& bar) : _bar(bar) { _bar.hasItem = true; }
    ~Item() override
    {
        _bar.hasItem = false;
        _bar.menu.reset();
        _bar.image.clear();
        _bar._log.add("status item removed");
    }
    Item(const Item&) = delete;
    Item& operator=(const Item&) = delete;

    void setMenu(std::shared_ptr<NPMenu> statusMenu) override
    {
        _bar.menu = std::move(statusMenu);
        _bar._log.add("status item menu");
    }
    void setHighlightMode(bool highlight) override
    {
        _bar._log.add(std::string("status item highlight ") + (highlight ? '1' : '0'));
    }
    void setImage(const std::string& name) override
    {
        _bar.image = name;
        _bar._log.add("status item image " + name);
    }

private:
    NPSimulatedStatusBar& _bar;
};

std::unique_ptr<NPStatusItem> NPSimulatedStatusBar::statusItemWithLength(double length)
{
    _log.add("status item " + QXDoubleDescription(length));
    return std::make_unique<Item>(*this);
}

bool NPSimulatedProcessMode::transformProcessType(NPProcessType newType)
{
    type = newType;
    _log.add(type == NPProcessType::uiElement ? "process ui-element" : "process foreground");
    return true;
}

void NPSimulatedProcessMode::activateIgnoringOtherApps(bool ignoringOthers)
{
    _log.add(ignoringOthers ? "activate ignoring others" : "activate");
}

int NPSimulatedAlerts::runModal(const NPAlert& alert)
{
    _log.add("alert " + alert.messageText);
    shown.push_back(alert);
    if (whileOpen) {
        whileOpen();
    }
    if (answers.empty()) {
        const std::size_t buttons = std::max<std::size_t>(alert.buttons.size(), 1);
        return NPAlertFirstButtonReturn + static_cast<int>(buttons) - 1;
    }
    const int answer = answers.front();
    answers.pop_front();
    return answer;
}

void NPSimulatedAlerts::beginSheet(const NPAlert& alert, const std::shared_ptr<NPWindow>&,
                                   std::function<void(int answer)> completion)
{
    _log.add("sheet " + alert.messageText);
    shown.push_back(alert);
    _sheetCompletion = std::move(completion);
}

void NPSimulatedAlerts::answerSheet(int answer)
{
    if (const auto completion = std::exchange(_sheetCompletion, nullptr)) {
        completion(answer);
    }
}

bool NPSimulatedLoginItems::setLoginItemEnabled(const std::string& bundleIdentifier, bool enabled)
{
    _log.add("login set " + bundleIdentifier + (enabled ? " 1" : " 0") + (accepts ? "" : " failed"));
    if (!accepts) {
        return false;
    }
    std::erase_if(jobs, [&](const QXValue& job) {
        const QXValue* label = job.dictionary() ? QXDictionaryValue(*job.dictionary(), NPJobLabelKey) : nullptr;
        return label && *label == QXValue(bundleIdentifier);
    });
    if (enabled) {
        jobs.emplace_back(
            QXDictionary{{std::string(NPJobLabelKey), bundleIdentifier}, {std::string(NPJobOnDemandKey), true}});
    }
    return true;
}

std::optional<std::string>
NPSimulatedWorkspace::absolutePathForAppBundleWithIdentifier(const std::string& identifier) const
{
    _log.add("find " + identifier);
    const auto found = installed.find(identifier);
    return found == installed.end() ? std::nullopt : std::optional(found->second);
}

std::string NPSimulatedWorkspace::displayNameAtPath(const std::string& path) const
{
    return path.substr(path.rfind('/') + 1);
}

std::optional<std::string> NPSimulatedWorkspace::iconForFile(const std::string& path) const
{
    const auto found = icons.find(path);
    return found == icons.end() ? std::nullopt : std::optional(found->second);
}

bool NPSimulatedWorkspace::openURL(const std::string& url)
{
    _log.add("open " + url);
    return opens;
}

void NPSimulatedWorkspace::terminate()
{
    _isTerminating = true;
    _log.add("terminate");
}

std::optional<QXData> NPSimulatedBundle::resource(std::string_view name, std::string_view type) const
{
    const auto found = resources.find(std::string(name) + '.' + std::string(type));
    return found == resources.end() ? std::nullopt
                                    : std::optional(QXData(found->second.begin(), found->second.end()));
}

NPDownload NPSimulatedDownloads::download(const std::string& url, std::size_t limit,
                                          std::function<void(std::expected<QXData, std::string>)> completion)
{
    _log.add("download " + url);
    auto request = std::make_shared<Request>(url, limit, std::move(completion));
    _requests.push_back(request);
    return request;
}

bool NPSimulatedDownloads::finish()
{
    bool finished = false;
    while (!_requests.empty()) {
        const std::shared_ptr<Request> request = _requests.front().lock();
        _requests.erase(_requests.begin());
        if (!request) {
            continue;
        }
        finished = true;
        const auto found = contents.find(request->url);
        if (found == contents.end()) {
            request->completion(std::unexpected(request->url + " cannot be reached"));
        } else if (found->second.size() > request->limit) {
            request->completion(std::unexpected(request->url + " is too large"));
        } else {
            request->completion(QXData(found->second.begin(), found->second.end()));
        }
    }
    return finished;
}

void NPSimulatedUpdateUserDriver::showUserInitiatedUpdateCheck(std::function<void()> cancelCheck)
{
    _log.add("update checking");
    cancel = std::move(cancelCheck);
}

void NPSimulatedUpdateUserDriver::dismissUpdateCheck()
{
    _log.add("update check dismissed");
    cancel = nullptr;
}

void NPSimulatedUpdateUserDriver::showUpdateFound(const NPUpdateOffer& offer, bool userInitiated,
                                                  std::function<void(NPUpdateChoice)> reply)
{
    _log.add("update found " + offer.version + (userInitiated ? " by hand" : ""));
    offers.push_back(offer);
    choose = std::move(reply);
}

void NPSimulatedWindow::close()
{
    _notifications.postNotification(NSWindowWillCloseNotification, this);
    visible = false;
}

void NPSimulatedWindowController::showWindow()
{
    const std::shared_ptr<NPSimulatedWindow> window = simulatedWindow();
    _log.add(_name + " show");
    window->visible = true;
}

std::shared_ptr<NPSimulatedWindow> NPSimulatedWindowController::simulatedWindow()
{
    if (!_window) {
        _log.add(_name + " load");
        _window = std::make_shared<NPSimulatedWindow>(_log, _notifications, _name);
    }
    return _window;
}
