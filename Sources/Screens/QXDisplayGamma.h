// Plain functions over the displays' transfer tables. They keep no state and report no failures: a table
// that cannot be read comes out empty (sampleCount 0), and an empty table is never written.
#pragma once

#include "Platform/NPDisplayServices.h"

#include <string>

// Fills the table with what the display shows now, and returns it.
QXGammaTable& QXGammaTableGetForDisplay(NPDisplayServices& services, QXGammaTable& table, NPDisplayID display);
void QXGammaTableSetForDisplay(NPDisplayServices& services, NPDisplayID display, const QXGammaTable& table);

// Mirror what the display shows now. Twice gives back the table that it had.
void QXInvertDisplay(NPDisplayServices& services, NPDisplayID display);
void QXInvertAllDisplays(NPDisplayServices& services); // the active ones
void QXInvertDisplaysInRect(NPDisplayServices& services, const NPRect& rect);

// The first display that the rectangle touches, or 0.
NPDisplayID QXDisplayAtRect(const NPDisplayServices& services, const NPRect& rect);

// 1 when in every channel entry 255 is not greater than entry 0 (a flat channel counts), 0 when not, −1 when
// the table cannot be read. The entries are fixed: a table of fewer samples is judged by whatever lies in
// entry 255 of its record.
int QXDisplayIsInverted(NPDisplayServices& services, NPDisplayID display);
int QXMainDisplayIsInverted(NPDisplayServices& services);

void QXRestoreAllDisplays(NPDisplayServices& services);

// "Screen 1, 3": the positions, from 1, of the set's displays in the online list. The localized "No Screen"
// when none of them is online. An empty set, which means all screens, is the caller's to name.
std::string QXScreenSetDescription(const NPDisplayServices& services, const NPDisplayList& screens);
