// The about window's ground: a soft vertical gradient in the shared tint, paler while the window is not the active
// one.
#pragma once

#include <QWidget>

class QXAboutBoxBackground final : public QWidget {
    Q_OBJECT
public:
    explicit QXAboutBoxBackground(QWidget* parent = nullptr);

    // Whether the desktop's colours are light on dark.
    bool isDark() const;

    // Whether it covers what is below it: not in the dark, where it lets the window's own colour through.
    bool isOpaque() const { return !isDark(); }

protected:
    void paintEvent(QPaintEvent* event) override;
    void changeEvent(QEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override; // moves the window
};
