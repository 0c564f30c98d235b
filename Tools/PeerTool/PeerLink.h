// The tool's end of the sockets: what zrpeer::Socket reports, counted, and told to the
// user as one line where a command cannot go on. Main thread.
#pragma once

#include <cstdint>
#include <functional>

#include "Peer/ZRPeer.h"

// Prints "zrpeer: " and the formatted text as one line on stderr. Returns the exit status 1.
int zr_fail(const char *format, ...) __attribute__((format(printf, 1, 2)));

class PeerLink {
  public:
    // Binds the peer's socket and receives from now on. False (told) when that failed.
    bool BindReceiver();

    // Opens a socket for sending only; not needed after BindReceiver. False (told) when that failed.
    bool OpenSender();

    // Waits at most 100 ms for a block of audio. False when none came: time-out, signal, or a
    // message that is none (counted).
    bool Receive(zrpeer::AudioBlock &block);

    // Sends one message. When the service reads nothing for a second the message is given
    // up and counted. False (told) when nobody is at `path`.
    bool Send(const stModIpcMsg &msg, const char *path);

    std::uint64_t Received() const { return m_received; } // blocks of audio
    std::uint64_t Wrong() const { return m_wrong; }       // datagrams that carried none
    std::uint64_t Sent() const { return m_sent; }         // messages taken by the service
    std::uint64_t NotTaken() const { return m_notTaken; } // messages given up

  private:
    zrpeer::Socket m_socket;
    std::uint64_t m_received = 0;
    std::uint64_t m_wrong = 0;
    std::uint64_t m_sent = 0;
    std::uint64_t m_notTaken = 0;
};

// What a command does with the blocks that come in.
struct BlockHandler {
    // Called for each block with its time of arrival (monotonic, ns). False ends with a failure
    // that was told.
    std::function<bool(const zrpeer::AudioBlock &, std::int64_t)> onBlock;
    // Called after every wait, at least every 100 ms. May be empty.
    std::function<void()> onRound = {};
    // Tells that the command has nothing more to do. May be empty.
    std::function<bool()> isDone = {};
};

// Binds, receives and hands over the blocks for `seconds` from the first one (0: until a
// signal). Returns the exit status: 1 when binding or a block failed, or nothing came in time.
int zr_receive_blocks(PeerLink &link, double seconds, const BlockHandler &handler);
