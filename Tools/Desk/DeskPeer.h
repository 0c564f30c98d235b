// The peer of a run, as a process of its own: receives every period from the service and
// checks it, and answers each with the next block of its own signal, so that it runs on
// the card's clock.
#pragma once

#include <string>

struct DeskPeerOptions {
    int memoryDescriptor = -1;  // of DeskMemory
    std::string voices;         // where DeskSignal::PrepareVoices wrote
    std::string soundDirectory; // what arrived goes there
    double speed = 1;           // of the card, times real time
};

// Runs until it is told to stop. The process's exit status.
int zr_desk_peer(const DeskPeerOptions &options);
