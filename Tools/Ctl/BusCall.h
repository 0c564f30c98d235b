// The one D-Bus call of the service, from the operator's side. Main thread.
#pragma once

#include <string>

// Calls the service's debug method with `text` (checked before, see DebugText.h) on a
// connection of its own and returns the reply's string. Waits at most `timeoutMs` for
// the reply. Throws CtlError: NoBus, NoService, NoAnswer, Denied, or Refused when the
// reply is no string.
std::string zr_ctl_call(const std::string &text, int timeoutMs);

// The same, for commands whose reply must be {"res":0}; any other one throws CtlError (Refused).
void zr_ctl_command(const std::string &text, int timeoutMs);

// Throws CtlError (NoBus, NoService) when nobody could take a call; sends nothing to the service.
void zr_ctl_check_service();
