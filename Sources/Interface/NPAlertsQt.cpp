#include "Interface/NPAlertsQt.h"

#include "Interface/NPWindowQt.h"

#include <QApplication>
#include <QIcon>
#include <QMessageBox>
#include <QPainter>
#include <QPushButton>
#include <QStyle>

#include <algorithm>

namespace {

constexpr int fewestPixelsOfText = 360; // narrower, a title breaks into a column of words

QIcon iconOfAlert(const NPAlert& alert)
{
    const QString name = QString::fromStdString(alert.icon);
    const QIcon own = name.startsWith(QLatin1Char('/')) ? QIcon(name) : QIcon::fromTheme(name);
    return own.isNull() || own.availableSizes().isEmpty() ? QGuiApplication::windowIcon() : own;
}

// The alert's icon, with the desktop's sign for what is grave in its corner.
QPixmap pictureOfAlert(const NPAlert& alert, const QWidget& box)
{
    const int side = box.style()->pixelMetric(QStyle::PM_MessageBoxIconSize, nullptr, &box) * 3 / 2;
    QPixmap picture = iconOfAlert(alert).pixmap(QSize(side, side), box.devicePixelRatioF());
    if (alert.style == NPAlertStyle::critical && !picture.isNull()) {
        const QPixmap sign = box.style()
                                 ->standardIcon(QStyle::SP_MessageBoxWarning, nullptr, &box)
                                 .pixmap(QSize(side / 2, side / 2), box.devicePixelRatioF());
        QPainter painter(&picture);
        painter.drawPixmap(side - side / 2, side - side / 2, sign);
    }
    return picture;
}

// The style orders buttons by their roles, and the last one is where Escape and the close button lead.
void addButtons(QMessageBox& box, const std::vector<std::string>& titles)
{
    if (titles.empty()) {
        box.setStandardButtons(QMessageBox::Ok);
        return;
    }
    for (std::size_t index = 0; index < titles.size(); ++index) {
        const bool isFirst = index == 0;
        const bool isLast = index + 1 == titles.size();
        QString title = QString::fromStdString(titles[index]);
        title.replace(QLatin1Char('&'), QLatin1String("&&"));
        const auto role =
            isFirst ? QMessageBox::AcceptRole : (isLast ? QMessageBox::RejectRole : QMessageBox::ActionRole);
        QPushButton* const button = box.addButton(title, role);
        if (isFirst) {
            box.setDefaultButton(button);
        }
        if (isLast) {
            box.setEscapeButton(button);
        }
        button->setProperty("answer", NPAlertFirstButtonReturn + static_cast<int>(index));
    }
}

} // namespace

std::unique_ptr<QMessageBox> NPMessageBox(const NPAlert& alert, QWidget* parent)
{
    auto box = std::make_unique<QMessageBox>(parent);
    box->setTextFormat(Qt::PlainText);
    box->setWindowTitle(QGuiApplication::applicationDisplayName());
    box->setText(QString::fromStdString(alert.messageText));
    box->setInformativeText(QString::fromStdString(alert.informativeText));
    addButtons(*box, alert.buttons);
    box->setIconPixmap(pictureOfAlert(alert, *box));
    box->setStyleSheet(
        QStringLiteral("QLabel#qt_msgbox_label, QLabel#qt_msgbox_informativelabel { min-width: %1px; }"
                       "QLabel#qt_msgbox_label { font-weight: bold; }")
            .arg(fewestPixelsOfText));
    return box;
}

int NPAnswerOfMessageBox(const QMessageBox& box)
{
    const QAbstractButton* const clicked = box.clickedButton();
    const QAbstractButton* const chosen = clicked != nullptr ? clicked : box.escapeButton();
    const QVariant answer = chosen != nullptr ? chosen->property("answer") : QVariant();
    return answer.isValid() ? answer.toInt() : NPAlertFirstButtonReturn;
}

int NPAlertsQt::runModal(const NPAlert& alert)
{
    _prepare();
    const std::unique_ptr<QMessageBox> box = NPMessageBox(alert);
    box->show();
    NPBringToFront(*box);
    box->exec();
    return NPAnswerOfMessageBox(*box);
}

void NPAlertsQt::beginSheet(const NPAlert& alert, const std::shared_ptr<NPWindow>& window,
                            std::function<void(int answer)> completion)
{
    _prepare();
    const auto* const shown = dynamic_cast<const NPWindowQt*>(window.get());
    QMessageBox* const box = NPMessageBox(alert, shown != nullptr ? shown->widget() : nullptr).release();
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setWindowModality(Qt::WindowModal);
    QObject::connect(box, &QMessageBox::finished, box, [box, completion = std::move(completion)] {
        if (completion) {
            completion(NPAnswerOfMessageBox(*box));
        }
    });
    box->open();
}
