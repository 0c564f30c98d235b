// The functions of the basic library for time, processes and diagnostics. Any thread.
//
// Null, sizes of 0 and less, names that are too long and buffers that are too small get an
// error line in the log and the error result, unless a function says otherwise.
#pragma once

#include "BSW/BasicFun/Adts.h"
#include "BSW/BasicFun/Calendar.h"
#include "BSW/BasicFun/Clock.h"
#include "BSW/BasicFun/Command.h"
#include "BSW/BasicFun/Diagnostics.h"
#include "BSW/BasicFun/HexDump.h"
#include "BSW/BasicFun/IntervalPrint.h"
#include "BSW/BasicFun/ProcessFind.h"

// Size of the text of a UUID, its end included.
constexpr int UUID_TEXT_SIZE = 37;

extern "C" {

// A new random UUID of the system, 36 characters, into `uuid`, which holds `size` bytes: at
// least UUID_TEXT_SIZE. 0; -1 after an error line when that is not so or the system gives
// none.
int GetUUID(char *uuid, int size);
}
