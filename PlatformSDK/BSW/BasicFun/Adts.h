// Headers of ADTS frames (AAC). Any thread. A part of Function.h, which its users include.
#pragma once

// Bytes of a header that are looked at.
constexpr int ADTS_HEADER_SIZE = 7;

extern "C" {

// Logs the fields of the frame header at `data`, which holds `len` bytes, in three lines:
// sync word, version bit as it stands (0 is MPEG-4, 1 MPEG-2), layer and protection bit (1
// is none); version by name, profile and sampling rate (0 Hz for a reserved one); channel
// configuration and length of the frame in bytes, header included. An error line instead
// for null, fewer than ADTS_HEADER_SIZE bytes and bytes without the sync word.
void dumpADTS(unsigned char *data, int len);
}
