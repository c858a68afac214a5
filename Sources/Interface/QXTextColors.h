// Texts that come with colours of their own cannot be read on every ground.
#pragma once

class QTextDocument;

// In the view's own colours from now on, so that the text follows the desktop into the dark and back.
void QXRemoveTextColors(QTextDocument& document);
