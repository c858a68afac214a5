// Offers a newer version with its release notes. Nothing is installed from here: that is the package manager's work.
#pragma once

#include "Platform/NPUpdaterServices.h"

#include <QDialog>

#include <functional>

class NPUpdateOfferWindow final : public QDialog {
public:
    // Deletes itself when it is closed. The reply is called once, unless the window is deleted before.
    NPUpdateOfferWindow(const NPUpdateOffer& offer, std::function<void(NPUpdateChoice)> reply);

    void done(int result) override;

private:
    QWidget* _makeNotes(const NPUpdateOffer& offer);
    void _choose(NPUpdateChoice choice);

    std::function<void(NPUpdateChoice)> _reply;
    NPUpdateChoice _choice = NPUpdateChoice::remindLater;
};
