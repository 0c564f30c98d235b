// See DeskPeer.h. One thread receives, answers and checks; the recorder has its own.
#include "Desk/DeskPeer.h"

#include <cstdio>
#include <cstring>

#include "CardDef.h"
#include "Desk/ArrivalCheck.h"
#include "Desk/DeskMemory.h"
#include "Desk/DeskSignal.h"
#include "Desk/SoundRecorder.h"
#include "Desk/StopSignals.h"
#include "Peer/ZRPeer.h"
#include "Sound/BlockPacer.h"

namespace {

constexpr int RECEIVE_MS = 50;
constexpr int SEND_MS = 100;

class DeskPeer {
  public:
    DeskPeer(DeskShared &shared, double speed) : m_shared(shared), m_frameNs(CARD_FRAME_NS / speed) {}

    bool Open(const DeskPeerOptions &options, std::string &error);
    void Run();
    bool Close() { return m_recorder.Close(); }

  private:
    void _Answer();
    void _PrepareAnswer();
    void _Check(const stModIpcMsg &msg, int size, int64_t arrivedNs);

    DeskShared &m_shared;
    double m_frameNs;
    DeskSignal m_own;
    DeskSignal m_card;
    ArrivalCheck m_check{m_card, m_shared.toPeer};
    SoundRecorder m_recorder;
    zrpeer::Socket m_socket;
    stModIpcMsg m_answer{};
    uint64_t m_block = 0;
};

bool DeskPeer::Open(const DeskPeerOptions &options, std::string &error) {
    if (!m_own.Load(DeskSource::Peer, options.voices, error) || !m_card.Load(DeskSource::Card, options.voices, error) ||
        !m_recorder.Open(options.soundDirectory, error))
        return false;
    if (const int result = m_socket.Bind(zrpeer::AUDIO_FROM_SERVICE); result < 0) {
        error = std::string(zrpeer::AUDIO_FROM_SERVICE) + ": " + std::strerror(-result);
        return false;
    }
    _PrepareAnswer();
    m_shared.ready = true;
    return true;
}

void DeskPeer::_PrepareAnswer() {
    m_answer = zrpeer::AudioMessage(m_own.Block(m_block * DESK_BLOCK_FRAMES));
}

void DeskPeer::Run() {
    stModIpcMsg msg;
    while (!m_shared.stop && !zr_stop_wished()) {
        const int size = m_socket.Receive(msg, RECEIVE_MS);
        const int64_t arrivedNs = MonotonicNs();
        if (size < 0)
            continue;
        if (m_shared.send)
            _Answer();
        _Check(msg, size, arrivedNs);
    }
}

// A block that could not be sent is tried again with the next period.
void DeskPeer::_Answer() {
    m_shared.sentNs[m_block % DESK_SENT_KEPT].store(MonotonicNs(), std::memory_order_relaxed);
    if (m_socket.Send(m_answer, zrpeer::AUDIO_TO_SERVICE, SEND_MS) < 0) {
        m_shared.sendFailures.fetch_add(1, std::memory_order_relaxed);
        return;
    }
    m_shared.blocksSent.store(++m_block, std::memory_order_relaxed);
    _PrepareAnswer();
}

void DeskPeer::_Check(const stModIpcMsg &msg, int size, int64_t arrivedNs) {
    zrpeer::AudioBlock block;
    if (zrpeer::Check(msg, static_cast<std::size_t>(size)) != zrpeer::Fault::None || !zrpeer::GetAudio(msg, block)) {
        m_shared.badMessages.fetch_add(1, std::memory_order_relaxed);
        return;
    }
    const auto frame = m_check.Take(block);
    m_shared.receivedFrame.store(m_check.NextFrame(), std::memory_order_relaxed);
    if (!frame)
        return;
    const double captured = static_cast<double>(*frame + DESK_BLOCK_FRAMES) * m_frameNs;
    m_shared.toPeer.latency.Add(arrivedNs - m_shared.captureZeroNs - static_cast<int64_t>(captured));
    if (!m_recorder.Add(block))
        m_shared.toPeer.soundLost.fetch_add(1, std::memory_order_relaxed);
}

} // namespace

int zr_desk_peer(const DeskPeerOptions &options) {
    DeskMemory memory;
    std::string error = "no shared memory";
    if (memory.Attach(options.memoryDescriptor)) {
        DeskPeer peer(memory.Shared(), options.speed);
        if (peer.Open(options, error)) {
            peer.Run();
            if (peer.Close())
                return 0;
            error = options.soundDirectory + ": not all sound could be written";
        }
    }
    std::fprintf(stderr, "peer: %s\n", error.c_str());
    return 1;
}
