// The plot of a transfer table: what each channel gives for what it is asked for, on a labelled grid, with
// a grey ramp before and after beneath it.
#pragma once

#include "Pictures/NPPicture.h"

#include <string_view>

// The table must have 256 samples, all in 0..1. Channels that are alike share one curve, named so in the
// key. The title is cut to fit.
NPPicture NPCurvePlot(const QXGammaTable& table, std::string_view title);
