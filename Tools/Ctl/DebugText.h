// The texts of debug commands: made in the forms that really take their number, and
// checked for what would make the service fail. Any thread.
#pragma once

#include <cstdint>
#include <string>

constexpr int RECORD_SECONDS_MIN = 1;
constexpr int RECORD_SECONDS_MAX = 65535; // the service keeps 16 bits

// "SaveAudio_N_0": the service reads the number only when a second argument follows.
std::string zr_ctl_record_text(std::uint16_t seconds);

// "PrintSwitch_1_0" or "PrintSwitch_0_0", for the same reason.
std::string zr_ctl_print_text(bool on);

// Seconds of a recording as the operator typed them: decimal digits only, 1 to 65535.
// Throws CtlError (WrongUse) for anything else.
std::uint16_t zr_ctl_parse_seconds(const std::string &text);

// Throws CtlError (WrongUse) when the service could not live with `text`: empty, not
// UTF-8, or a SaveAudio or PrintSwitch whose number std::stoi does not convert.
void zr_ctl_check_text(const std::string &text);
