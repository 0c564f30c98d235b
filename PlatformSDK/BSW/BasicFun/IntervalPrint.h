// Statistics of a periodic event. Any thread, one per record at a time. A part of
// Function.h, which its users include.
#pragma once

#include "common/Types.h"

// The record of one event, kept by the caller: all zeros before the first event.
typedef struct tagTimeInterval {
    ZR_U32 u32Cnt;            // events so far
    ZR_U32 u32LastTimeMs;     // time of the event before, monotonic, low 32 bits
    ZR_U32 u32CurTimeMs;      // time of the last event
    ZR_U32 u32MinIntervalCnt; // u32Cnt of the event that ended the shortest interval
    ZR_U32 u32MaxIntervalCnt; // and of the one that ended the longest
    ZR_U32 u32MinIntervalMs;  // the shortest interval
    ZR_U32 u32MaxIntervalMs;  // the longest interval
    ZR_U32 u32IntervalMs;     // the last interval
    ZR_U32 u32Size;           // set by the caller before each event: its size in bytes
    ZR_U32 u32IFrame;         // set by the caller before each event: 1 for a key frame
} TimeInterval;

extern "C" {

// Takes note of an event that happens now and logs it as "name: count [shortest,longest]
// interval ms. Size = size IFrame", the last word only for a key frame. The first event
// has no interval and shows zeros. An error line instead for a null name.
void PrintTimeInterval(char *name, TimeInterval &interval);
}
