// Terminated texts in buffers of their own. Any thread; nothing blocks. White space is what
// it is in the "C" locale: blank, "\t", "\n", "\v", "\f" and "\r"; characters of 128 and
// more are none.
#pragma once

extern "C" {

// Ends `text` behind its last character that is not white space. The first such character
// in `text`, its end when there is none; null with a line in the log for null.
char *trim(char *text);

// 1 for a blank or "\t", else 0; any value may be asked for.
int BlankChar(int c);

// Splits `text` in place at each run of the characters in `separators`, as strtok_r does:
// there are no empty pieces. Stores pointers into `text` to the first `count` pieces; what
// is behind them is dropped. The number of pieces stored, or -1 with a line in the log for
// bad parameters.
int split(char **pieces, char *text, const char *separators, int count);

// Writes each character of `text` as two lower-case hexadecimal digits to `hex` of `size`
// bytes. Digits written, or -1 with a line in the log and an empty `hex` when they do not
// fit with their terminator or for bad parameters. The buffers must not overlap.
int CharToHex(char *text, char *hex, int size);
}
