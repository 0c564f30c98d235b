// What `zrpeer send` is to send, as the user says it. Main thread.
#pragma once

#include <string>
#include <vector>

#include "PeerTool/BlockSource.h"

namespace CLI {
class App;
}

struct SendOptions {
    std::vector<std::string> files; // "CHANNEL=FILE"
    std::vector<std::string> tones; // "CHANNEL=HERTZ"
    std::string all;                // a file with up to 24 channels
    bool repeat = false;
    bool follow = false;
    double seconds = 0;
};

// Declares the options of the audio on `command`, malformed ones refused as wrong use.
void AddSourceOptions(CLI::App &command, SendOptions &options);

// Makes the source; without any choice it carries the test signal on all channels. False, and
// `error` says why, when a file cannot be used.
bool MakeSource(const SendOptions &options, BlockSource &source, std::string &error);
