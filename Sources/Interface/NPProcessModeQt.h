// What the process is to a Linux desktop: task bar and window switcher list windows, not programs, so the program is
// in them exactly while it has a window, in either mode.
#pragma once

#include "Platform/NPProcessMode.h"

class NPProcessModeQt final : public NPProcessMode {
public:
    bool transformProcessType(NPProcessType) override { return true; }
    void activateIgnoringOtherApps(bool ignoringOthers) override;
};
