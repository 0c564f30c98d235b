// The unit file as the tests read it.
#pragma once

#include <sstream>
#include <string>

#include "Support/ScratchDir.h"

inline const std::string UNIT_FILE = ZR_SOURCE_DIR "/Deploy/systemd/zrfpgamng.service";

// The value of a setting that stands there once; empty when it is missing.
inline std::string UnitSetting(const std::string &name) {
    std::istringstream unit(ReadWholeFile(UNIT_FILE));
    for (std::string line; std::getline(unit, line);)
        if (line.starts_with(name + "="))
            return line.substr(name.size() + 1);
    return {};
}
