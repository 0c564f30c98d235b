// zrctl against the real service on the stand-in card and a real bus. One thread.
#pragma once

#include "CtlProgram.h"
#include "RecordingDirectory.h"
#include "ServiceDebugFixture.h"

class CtlService : public ServiceDebug {
  protected:
    CtlEnd Zrctl(const std::vector<std::string> &arguments) { return RunCtl(m_bus->Address(), arguments); }

    // Starts zrctl without waiting for its end.
    std::unique_ptr<ChildProcess> StartZrctl(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), ZRCTL);
        return std::make_unique<ChildProcess>("zrctl", arguments,
                                              ChildProcess::Environment{{"DBUS_SYSTEM_BUS_ADDRESS", m_bus->Address()}});
    }
};
