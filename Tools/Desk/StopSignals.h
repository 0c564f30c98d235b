// SIGINT, SIGTERM and SIGHUP as a wish to stop in order. Any thread may ask.
#pragma once

// From now on those signals only raise the wish, and writing to a closed pipe is an
// error instead of a signal. Called once, at the start.
void zr_stop_signals_catch();

// True once one of them came, or zr_stop_ask was called.
bool zr_stop_wished();
void zr_stop_ask();
