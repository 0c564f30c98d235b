// Bytes as hexadecimal text in the log. Any thread. A part of Function.h, which its users
// include.
#pragma once

// Bytes on one line of a dump, and characters of its title.
constexpr int HEX_DUMP_LINE_BYTES = 16384;
constexpr int HEX_DUMP_TITLE_LENGTH = 1023;

extern "C" {

// Writes `title`, the length and the `len` bytes at `data` to the access log, as
// "title, len= 3, 0a 0b 0c ". A longer dump than HEX_DUMP_LINE_BYTES goes on in further
// lines of the same form, each with the length of the whole, so that the log cuts none;
// of the title at most HEX_DUMP_TITLE_LENGTH characters are written. `data` may be null
// when `len` is 0. An error line instead for other nulls.
void DumpHexInfo(const char *title, const unsigned char *data, unsigned short len);
}
