// See DebugText.h.
#include "Ctl/DebugText.h"

#include <charconv>
#include <stdexcept>
#include <vector>

#include <dbus/dbus.h>

#include "BSW/BasicFun/StringUtils.h"
#include "Ctl/CtlError.h"

namespace {

[[noreturn]] void Refuse(const std::string &line) {
    throw CtlError(CtlExit::WrongUse, line);
}

bool TakesNumber(const std::string &command) {
    return command == "SaveAudio" || command == "PrintSwitch";
}

bool Converts(const std::string &number) {
    try {
        static_cast<void>(std::stoi(number));
        return true;
    } catch (const std::logic_error &) { // not a number, or out of range
        return false;
    }
}

} // namespace

std::string zr_ctl_record_text(std::uint16_t seconds) {
    return "SaveAudio_" + std::to_string(seconds) + "_0";
}

std::string zr_ctl_print_text(bool on) {
    return on ? "PrintSwitch_1_0" : "PrintSwitch_0_0";
}

std::uint16_t zr_ctl_parse_seconds(const std::string &text) {
    int seconds = 0;
    const char *const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, seconds);
    if (error != std::errc() || stop != end || seconds < RECORD_SECONDS_MIN || seconds > RECORD_SECONDS_MAX)
        Refuse("'" + text + "' is not a number of seconds from 1 to 65535");
    return static_cast<std::uint16_t>(seconds);
}

void zr_ctl_check_text(const std::string &text) {
    if (text.empty())
        Refuse("the command is empty");
    if (!dbus_validate_utf8(text.c_str(), nullptr))
        Refuse("the command is not UTF-8 text");
    const std::vector<std::string> pieces = StringUtils::splitString(text, "_");
    // With fewer than two arguments the service does not look at the number.
    if (pieces.size() >= 3 && TakesNumber(pieces[0]) && !Converts(pieces[1]))
        Refuse("the number '" + pieces[1] + "' in '" + text + "' would end the service");
}
