// Shows a check for updates, and what it has found, in windows of their own.
#pragma once

#include "Platform/NPUpdaterServices.h"

#include <QDialog>
#include <QPointer>
#include <QProgressDialog>

#include <functional>

class NPUpdateUserDriverQt final : public NPUpdateUserDriver {
public:
    // `prepare` is called before anything is shown.
    explicit NPUpdateUserDriverQt(std::function<void()> prepare) : _prepare(std::move(prepare)) {}

    void showUserInitiatedUpdateCheck(std::function<void()> cancel) override;
    void dismissUpdateCheck() override;
    void showUpdateFound(const NPUpdateOffer& offer, bool userInitiated,
                         std::function<void(NPUpdateChoice)> reply) override;

    // Closes what is open; an offer gets no reply any more. To be called before the application goes.
    void stop();

private:
    const std::function<void()> _prepare;
    QPointer<QProgressDialog> _progress;
    QPointer<QDialog> _offer;
};
