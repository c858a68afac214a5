// What the about window says, apart from how it is drawn: the texts that take the places of the template's words
// "App", "Version", "Copyright" and "Credits", and the tint of the window's background.
#pragma once

#include "Platform/NPBundle.h"

#include <memory>
#include <string>
#include <string_view>
#include <vector>

// Calibrated components from 0 to 1.
struct QXColor {
    double red = 0.9;
    double green = 0.9;
    double blue = 0.9;
    double alpha = 1.0;
    friend bool operator==(const QXColor&, const QXColor&) = default;
};

// One for the current QXSharedScope; white 0.9 until somebody sets it.
QXColor QXAboutBoxBackgroundTint();
void QXAboutBoxSetBackgroundTint(QXColor tint);

// In which font a replacement is set, always in the size that the template has at its place.
enum class QXAboutBoxFont { asInTemplate, system, boldSystem };

struct QXAboutBoxReplacement {
    std::size_t position = 0; // in UTF-16 units of the template
    std::size_t length = 0;
    std::u16string text; // HTML for the credits, plain text for the others
    bool isHTML = false;
    QXAboutBoxFont font = QXAboutBoxFont::asInTemplate;
};

// In the order in which they are to be made: from the end of the text to its start, so that the positions of the
// later ones stay what they are. A word is replaced where the template first has it; one that it lacks is left out.
std::vector<QXAboutBoxReplacement> QXAboutBoxReplacements(std::u16string_view templateText,
                                                          const NPBundle& bundle);

// The bundle's name; without one, the last component of its path.
std::string QXAboutBoxApplicationName(const NPBundle& bundle);

// "1.2", or "1.2 (340)" where the build bears another number.
std::string QXAboutBoxVersionText(const NPBundle& bundle);

// Empty when the bundle has none, or one that is no text.
std::string QXAboutBoxCopyright(const NPBundle& bundle);

// HTML; empty when there are none.
std::string QXAboutBoxCredits(const NPBundle& bundle);
