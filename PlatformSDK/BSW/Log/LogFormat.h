// What a log line becomes when its already expanded text is expanded once more. Pure
// functions; any thread.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// Conversions (with their "*") of one text that are expanded; those behind them appear
// as they are written.
constexpr std::size_t LOG_FORMAT_MAX_ARGS = 16;

// Digits of a width or a precision; a conversion with more appears as it is written.
constexpr std::size_t LOG_FORMAT_MAX_DIGITS = 4;

// Makes `text` safe as a printf format that gets nothing but zeros as its arguments:
//
//   "%%"                    stays, and so prints one "%"
//   d i o u x X, with       stay, and so print 0; with hh h l ll j z t before them also
//   a A e E f F g G         stay, and so print 0.000000 and the like; also with l or L
//   s p m                   stay, and so print "(null)", "(nil)" and the text of errno
//   c n                     print nothing: a zero character would end the line, and
//                           nothing is written to memory
//   anything else           appears as it is written: other letters and lengths, wide
//                           characters (%lc %ls %C %S), positions (%1$d), a width or
//                           precision of more than LOG_FORMAT_MAX_DIGITS digits, an
//                           unfinished conversion, and what comes behind the first
//                           LOG_FORMAT_MAX_ARGS arguments ("*" counts as one, %m too)
//
// Flags are any of "-+ #0'". The result is at most twice as long as the text, what it
// prints at most 320 KB longer; time is proportional to the length.
std::string LogHarmlessFormat(std::string_view text);
