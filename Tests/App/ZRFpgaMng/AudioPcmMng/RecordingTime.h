// The wall clock of a recording test: `time` of the whole program, so that a test knows
// the names of its recordings.
#pragma once

#include <string>

// Sets the clock to a local time, where it stands still.
void SetWallClock(int year, int month, int day, int hour, int minute, int second);
