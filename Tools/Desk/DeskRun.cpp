// See DeskRun.h.
#include "Desk/DeskRun.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <thread>

#include "CardSignal.h"
#include "Desk/StopSignals.h"
#include "Sound/BlockPacer.h"

namespace {

constexpr int START_MS = 20000;                          // for a process to come up, sanitizers included
constexpr int DRAIN_MS = 3000;                           // for what is under way at the end
constexpr int SETTLE_MS = 300;                           // of undisturbed audio before the measuring
constexpr uint64_t LEAD_FRAMES = 64 * DESK_BLOCK_FRAMES; // windows open and close this far ahead
constexpr uint64_t BACKLOG_FRAMES = 2 * DESK_BLOCK_FRAMES;
constexpr int RECORD_SECONDS = 10;            // at most
constexpr int64_t REPORT_NS = 60'000'000'000; // between the reports of an endless run

void Nap(int milliseconds) {
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

uint64_t LaterEnd(const DeskWindow &window, uint64_t frame) {
    return std::min(window.end.load(), std::max(frame + LEAD_FRAMES, window.begin.load()));
}

} // namespace

DeskRun::DeskRun(DeskOptions options) : m_options(std::move(options)) {}

int DeskRun::Run() {
    if (_Prepare() && m_bus.Start(m_folder.Path(), m_options.out + "/bus.txt", m_error) && _StartPeer() &&
        _StartService() && _WarmUp() && _OpenWindows()) {
        _Measure();
        _Drain();
        if (m_caller)
            m_caller->Stop();
        m_final = _Figures(true);
        _AskService();
    }
    _StopAll();
    return _Conclude();
}

bool DeskRun::_Failed(const std::string &error) {
    m_error = error;
    return false;
}

// Bounds are for a card at real time.
int DeskRun::_Scaled(int milliseconds) const {
    return static_cast<int>(milliseconds / std::min(m_options.speed, 1.0));
}

bool DeskRun::_AllRunning() {
    return m_service.IsRunning() && m_peer.IsRunning() && m_bus.Process().IsRunning();
}

bool DeskRun::_WaitFor(const char *what, int timeoutMs, const std::function<bool()> &condition) {
    const int64_t deadline = MonotonicNs() + int64_t{_Scaled(timeoutMs)} * 1'000'000;
    while (!condition()) {
        if (zr_stop_wished())
            return false;
        for (DeskChild *child : {&m_bus.Process(), &m_peer, &m_service})
            if (child->IsStarted() && !child->IsRunning())
                return _Failed(child->Name() + " ended: " + child->Ending());
        if (MonotonicNs() > deadline)
            return _Failed(std::string("waited in vain for ") + what);
        if (m_check)
            m_check->Poll();
        Nap(2);
    }
    return true;
}

bool DeskRun::_Prepare() {
    std::error_code failure;
    std::filesystem::create_directories(m_options.out, failure);
    if (failure)
        return _Failed(m_options.out + ": " + failure.message());
    if (!m_folder.Make() || !m_memory.Create())
        return _Failed("no room for the run's own files below /tmp");
    return DeskSignal::PrepareVoices(m_folder.Path(), m_error) &&
           m_sent.Load(DeskSource::Peer, m_folder.Path(), m_error) &&
           m_recorder.Open(m_options.out + "/card", m_error) && _PrepareCard();
}

bool DeskRun::_PrepareCard() {
    for (const auto &[channel, recording] : DeskSignal::Voices(DeskSource::Card))
        m_config.captureFiles[channel] = DeskSignal::VoicePath(m_folder.Path(), channel);
    m_config.speed = m_options.speed;
    m_configPath = m_config.Write(m_folder.Path());
    if (m_configPath.empty() || !m_card.Open(m_config.ControlPath()))
        return _Failed("the stand-in card cannot be set up in " + m_folder.Path());
    m_check = std::make_unique<PlaybackCheck>(m_card, m_sent, m_memory.Shared(), m_recorder);
    return true;
}

bool DeskRun::_StartPeer() {
    DeskChildCommand command;
    command.argv = {m_options.ownPath, "peer",
                    "--memory",        std::to_string(m_memory.Descriptor()),
                    "--voices",        m_folder.Path(),
                    "--out",           m_options.out + "/peer",
                    "--speed",         std::to_string(m_options.speed)};
    command.keptDescriptor = m_memory.Descriptor();
    command.urgent = true;
    if (!m_peer.Start(command))
        return _Failed("the peer cannot be started");
    return _WaitFor("the peer", START_MS, [this] { return m_memory.Shared().ready.load(); });
}

bool DeskRun::_StartService() {
    DeskChildCommand command;
    command.argv = {m_options.servicePath};
    command.environment = {{"ALSA_CONFIG_PATH", m_configPath}, {"DBUS_SYSTEM_BUS_ADDRESS", m_bus.Address()}};
    command.outputPath = m_options.out + "/service.txt";
    command.urgent = true;
    return m_service.Start(command) || _Failed("the service cannot be started");
}

// The frame behind the last period that the service captured, 0 before the first.
uint64_t DeskRun::_CapturedFrame() const {
    TapPeriod period;
    const uint64_t count = m_card.TapCount(CardSide::Capture);
    if (count == 0 || m_card.ReadTap(CardSide::Capture, count - 1, period) != TapResult::Ready)
        return 0;
    return zr_card_frame_of_period(period.words.data()) + DESK_BLOCK_FRAMES;
}

// What gathered while the service came up goes first, then the peer begins to answer.
bool DeskRun::_WarmUp() {
    DeskShared &shared = m_memory.Shared();
    const auto caughtUp = [&] {
        return shared.receivedFrame > 0 && _CapturedFrame() <= shared.receivedFrame + BACKLOG_FRAMES;
    };
    if (!_WaitFor("audio from the service", START_MS, caughtUp))
        return false;
    shared.send = true;
    const auto playing = [&] { return m_card.Status().Side(CardSide::Playback).running; };
    if (!_WaitFor("the service to play", START_MS, playing))
        return false;
    const int64_t settled = MonotonicNs() + int64_t{_Scaled(SETTLE_MS)} * 1'000'000;
    return _WaitFor("audio both ways", START_MS, [&] { return MonotonicNs() > settled && caughtUp(); });
}

// Begins a little ahead of the audio, so that both checks see the windows in time.
bool DeskRun::_OpenWindows() {
    DeskShared &shared = m_memory.Shared();
    TapPeriod period;
    const uint64_t count = m_card.TapCount(CardSide::Capture);
    if (m_card.ReadTap(CardSide::Capture, count - 1, period) != TapResult::Ready)
        return _Failed("the card's record of what it captured cannot be read");
    const uint64_t captured = zr_card_frame_of_period(period.words.data()) + DESK_BLOCK_FRAMES;
    const double sinceZero = static_cast<double>(captured) * CARD_FRAME_NS / m_options.speed;
    shared.captureZeroNs = static_cast<int64_t>(period.cardNs) - static_cast<int64_t>(sinceZero);

    for (const CardSide side : {CardSide::Capture, CardSide::Playback})
        m_xrunsBefore[static_cast<uint32_t>(side)] = m_card.Status().Side(side).xruns;
    m_usageBefore = ProcessUsage::Of(m_service.Pid());

    const auto periods =
        static_cast<uint64_t>(std::max(1.0, std::round(m_options.seconds * zrpeer::BLOCKS_PER_SECOND)));
    const uint64_t frames = m_options.forever ? UINT64_MAX / 2 : periods * DESK_BLOCK_FRAMES;
    const uint64_t firstSent = shared.blocksSent * DESK_BLOCK_FRAMES + LEAD_FRAMES;
    shared.toPeer.window.Open(captured + LEAD_FRAMES, captured + LEAD_FRAMES + frames);
    shared.toCard.window.Open(firstSent, firstSent + frames);
    m_progress.Say("measuring; sound goes to " + m_options.out);
    _StartOperator();
    return true;
}

void DeskRun::_StartOperator() {
    m_operator = std::make_unique<DeskOperator>(m_options.ctlPath, m_bus.Address(), m_options.out);
    if (m_options.record)
        m_operator->StartRecording(
            m_options.forever ? RECORD_SECONDS : std::clamp(static_cast<int>(m_options.seconds), 1, RECORD_SECONDS));
    if (m_options.callsPerSecond > 0) {
        m_caller = std::make_unique<DeskCaller>(m_bus.Address(), m_options.callsPerSecond);
        m_caller->Start();
    }
}

void DeskRun::_Measure() {
    DeskShared &shared = m_memory.Shared();
    int64_t reportNs = MonotonicNs() + REPORT_NS;
    while (shared.toPeer.next < shared.toPeer.window.end ||
           shared.blocksSent * DESK_BLOCK_FRAMES < shared.toCard.window.end) {
        m_interrupted = zr_stop_wished();
        if (m_interrupted || !_AllRunning())
            return _CloseWindowsNow();
        m_check->Poll();
        m_progress.Tick([this] { return zr_desk_progress(_Figures(false)); });
        if (m_options.forever && MonotonicNs() >= reportNs) {
            m_progress.Say(zr_desk_report(_Figures(false)));
            reportNs += REPORT_NS;
        }
        Nap(10);
    }
}

void DeskRun::_CloseWindowsNow() {
    DeskShared &shared = m_memory.Shared();
    shared.toPeer.window.end = LaterEnd(shared.toPeer.window, std::max(_CapturedFrame(), shared.toPeer.next.load()));
    shared.toCard.window.end = LaterEnd(shared.toCard.window, shared.blocksSent * DESK_BLOCK_FRAMES);
}

// Audio goes on until the last period of both windows is there.
void DeskRun::_Drain() {
    DeskShared &shared = m_memory.Shared();
    const int64_t deadline = MonotonicNs() + int64_t{_Scaled(DRAIN_MS)} * 1'000'000;
    while (MonotonicNs() < deadline && _AllRunning()) {
        if (shared.toPeer.next >= shared.toPeer.window.end && shared.toCard.next >= shared.toCard.window.end)
            break;
        m_check->Poll();
        Nap(5);
    }
}

// The service tells of itself while it still runs, and audio with it.
void DeskRun::_AskService() {
    if (m_service.IsRunning())
        m_answers = m_operator->RecordingLevels() + m_operator->NodeReport();
}

DeskFigures DeskRun::_Figures(bool final) const {
    const DeskShared &shared = m_memory.Shared();
    const ProcessUsage usage = ProcessUsage::Of(m_service.Pid());
    const CardStatus status = m_card.Status();
    DeskFigures figures;
    figures.toPeer = DeskDirectionFigures::Of(shared.toPeer, final ? shared.toPeer.window.end.load() : 0);
    figures.toCard = DeskDirectionFigures::Of(shared.toCard, final ? shared.toCard.window.end.load() : 0);
    figures.toPeer.xruns = status.Side(CardSide::Capture).xruns - m_xrunsBefore[0];
    figures.toCard.xruns = status.Side(CardSide::Playback).xruns - m_xrunsBefore[1];
    figures.seconds = static_cast<double>(usage.atNs - m_usageBefore.atNs) / 1e9;
    figures.cpuPercent = 100 * (usage.cpuSeconds - m_usageBefore.cpuSeconds) / figures.seconds;
    figures.residentKib = usage.residentKib;
    figures.calls = m_caller ? m_caller->Calls() : 0;
    figures.callsPerSecond = m_caller ? static_cast<double>(figures.calls) / m_caller->Seconds() : 0;
    const auto problem = [&](uint64_t count, const char *text) {
        if (count > 0)
            figures.problems.push_back(std::to_string(count) + text);
    };
    problem(shared.badMessages, " messages from the service were not audio");
    problem(shared.sendFailures, " blocks had to be sent again, the service did not take them");
    problem(m_caller ? m_caller->Failed() : 0, " calls of the operator got no {\"res\":0}");
    problem(m_check->Missed(), " played periods went by unchecked, this machine is too slow");
    problem(shared.toPeer.soundLost + shared.toCard.soundLost, " periods are missing in the sound files");
    return figures;
}
