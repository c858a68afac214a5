#include "Interface/NPUpdateUserDriverQt.h"

#include "Interface/NPUpdateOfferWindow.h"
#include "Interface/NPWindowQt.h"

#include "Foundation/QXString.h"

void NPUpdateUserDriverQt::showUserInitiatedUpdateCheck(std::function<void()> cancel)
{
    _prepare();
    dismissUpdateCheck();
    auto* const dialog = new QProgressDialog();
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setAutoClose(false);
    dialog->setMinimumDuration(0);
    dialog->setRange(0, 0); // nobody knows how long
    dialog->setLabelText(QString::fromStdString(QXLocalizedString("Checking for updates…", "QXWebStoreUpdate")));
    QObject::connect(dialog, &QProgressDialog::canceled, dialog, [cancel = std::move(cancel)] { cancel(); });
    _progress = dialog;
    NPBringToFront(*dialog);
}

void NPUpdateUserDriverQt::dismissUpdateCheck()
{
    if (_progress) {
        _progress->disconnect();
        delete _progress;
    }
}

void NPUpdateUserDriverQt::showUpdateFound(const NPUpdateOffer& offer, bool userInitiated,
                                           std::function<void(NPUpdateChoice)> reply)
{
    _prepare();
    delete _offer;
    auto* const window = new NPUpdateOfferWindow(offer, std::move(reply));
    _offer = window;
    if (userInitiated) {
        NPBringToFront(*window);
    } else {
        window->setAttribute(Qt::WA_ShowWithoutActivating);
        window->show();
    }
}

void NPUpdateUserDriverQt::stop()
{
    dismissUpdateCheck();
    delete _offer;
}
