// Qt's own style, Fusion, with check boxes that can be seen in the dark: there it draws their outline darker than the
// window, so that one that is off looks as if there were none.
#pragma once

#include <QProxyStyle>

class QXContrastStyle final : public QProxyStyle {
public:
    QXContrastStyle();

    // Takes its place where the application has Fusion; desktops with a style of their own keep theirs.
    static void install();

    void drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                       const QWidget* widget) const override;
};
