// Alerts as message boxes.
#pragma once

#include "Platform/NPAlerts.h"

#include <functional>
#include <memory>

class QMessageBox;

class NPAlertsQt final : public NPAlerts {
public:
    // `prepare` is called before anything is shown: an alert may be the first thing that needs an application.
    explicit NPAlertsQt(std::function<void()> prepare) : _prepare(std::move(prepare)) {}

    int runModal(const NPAlert& alert) override;
    void beginSheet(const NPAlert& alert, const std::shared_ptr<NPWindow>& window,
                    std::function<void(int answer)> completion) override;

private:
    const std::function<void()> _prepare;
};

// The box for an alert, without a parent or on one; its result() is the answer once it is finished.
std::unique_ptr<QMessageBox> NPMessageBox(const NPAlert& alert, class QWidget* parent = nullptr);

// The alert's answer when the box was finished.
int NPAnswerOfMessageBox(const QMessageBox& box);
