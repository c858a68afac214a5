// Template images: drawings in one colour whose shape counts. They are shown in a colour that stands out from what
// is behind them, sharp at every size and scale.
#pragma once

#include <QColor>
#include <QIcon>
#include <QString>

// The colour of what stands on a ground of that colour: near black or near white.
QColor QXInkOnGround(const QColor& ground);

// The image of a name ("NPStatusTemplate"), in that colour. A thin contour in the opposite colour keeps it visible
// where the ground is not known. Null when there is no such image.
QIcon QXTemplateIcon(const QString& name, const QColor& ink, bool hasContour);
