// An effect's settings as people write and read them, KEY=VALUE:
//
//   name           any text
//   invert, hide-stripes, hdtv, clear-others          on | off
//   dim            how much darker: off, 30%, or a fraction of 1 (0.3); at most 95%
//   hue            degrees, 0 to 360 (30 is a warm orange)
//   vividness      how much of the other colours goes: off, 40%, or a fraction of 1
//   activate, deactivate                              off | 22:30 | sunrise | sunset
//   manual-fade, timed-fade                           seconds, 0 to 3600
//   hotkey         none, or a combination such as ctrl+alt+d (see JXHotKeyWords.h); characters name keys by
//                  their place on a US keyboard, so that the text means the same in every process
//   screens        all, or positions and identifiers separated by commas: 1,3
#pragma once

#include "Effects/NPEffectGroup.h"
#include "Platform/NPControl.h"

// The group's settings in that form. Values that nobody can write this way (a dim level of −1.2 from an
// edited file) are shown as they are.
NPControlSettings NPEffectSettingsOfGroup(const NPEffectGroup& group);

// The dictionary of an effect that comes from outside, with its numbers where a slider would put them: dim at
// most 95 %, hue 0 to 360 degrees, vividness 0 to 1; what is no number of that kind is left to the getters.
// An effect that a stranger wrote must not blacken the screen on which it could be undone.
QXDictionary NPEffectSettingsWithinRanges(QXDictionary settings);

// Changes the group, or changes nothing and says in one line which setting is wrong. Positions of screens
// count in the given list of online displays.
NPControlResult<void> NPApplyEffectSettings(NPEffectGroup& group, const NPControlSettings& settings,
                                            const NPDisplayList& onlineDisplays);
