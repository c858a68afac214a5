// The commands other than run: each asks a control, which is this process's own or a running instance's,
// and prints the answer.
#pragma once

#include "CommandLine/NPArguments.h"
#include "Platform/NPColorProfileServices.h"
#include "Platform/NPControl.h"
#include "Platform/NPKeyboardLayout.h"
#include "Sunset & Sunrise/NPSunriseSunsetCalculator.h"

// Whether the command changes what the screens show, and so needs displays that are being driven.
bool NPCommandShowsEffects(const std::string& command);

// Whether the command has nothing to do without displays.
bool NPCommandAsksDisplays(const std::string& command);

// Whether the command changes anything at all.
bool NPCommandChangesSomething(const NPArguments& arguments);

// Prints what the screen's colour profile says, and writes it to the file that --out names.
NPControlResult<void> NPPrintProfile(const NPArguments& arguments, const NPDisplayProfile& profile);

// What prints and computes needs besides the control.
struct NPCommandContext {
    const QXTimeZone& timeZone;
    const NPClock& clock;
    NPUserDefaults& defaults;
    const NPKeyboardLayout& keyboardLayout;
};

// Prints the result on standard output.
NPControlResult<void> NPPerformCommand(const NPArguments& arguments, NPControl& control,
                                       const NPCommandContext& context);
